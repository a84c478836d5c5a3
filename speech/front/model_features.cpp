#include "kivsr/speech/front/model_features.h"

#include <cmath>
#include <string>
#include <utility>

#include "kivsr/speech/front/dynamic_features.h"
#include "kivsr/speech/front/feature_input.h"
#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"

namespace kivsr::speech {

namespace {

constexpr double kFrameSeconds = 0.01;  // of a feature file that does not say

// A column that does not vary keeps the factor 1.
void normalise_mean_variance(FeatureMatrix& rows) {
  if (rows.height() < 2) return subtract_utterance_mean(rows);
  std::vector<float> mean(static_cast<std::size_t>(rows.width));
  std::vector<float> factor(static_cast<std::size_t>(rows.width));
  check(kivsMeanVarColumn_32f_D2(rows.values.data(), rows.height(), rows.width, mean.data(), factor.data(), rows.width),
        "kivsMeanVarColumn_32f_D2");
  for (float& value : factor) value = value > 1e-12F ? 1.0F / std::sqrt(value) : 1.0F;
  check(
      kivsNormalizeColumn_32f_D2(rows.values.data(), rows.width, rows.height(), mean.data(), factor.data(), rows.width),
      "kivsNormalizeColumn_32f_D2");
}

void check_values(const std::filesystem::path& file, const FeatureMatrix& rows, const ModelFeatures& features) {
  if (rows.width != features.width) {
    throw Fault(file.string() + ": rows of " + std::to_string(rows.width) + " values, not of " +
                std::to_string(features.width));
  }
  if (rows.height() == 0) throw Fault(file.string() + ": has no frame");
  require_finite(rows, file);
}

}  // namespace

FeatureMatrix ModelFeatures::apply(FeatureMatrix rows) const {
  if (normalisation == UtteranceNormalisation::kMean) subtract_utterance_mean(rows);
  if (normalisation == UtteranceNormalisation::kMeanVariance) normalise_mean_variance(rows);
  return dynamics == UtteranceDynamics::kNone ? std::move(rows) : append_dynamics(rows);
}

LoadedUtterance load_utterance(const std::filesystem::path& file, const ModelFeatures& features, const RawFormat& raw) {
  LoadedUtterance result;
  FeatureMatrix rows;
  if (is_feature_file(file)) {
    rows = read_feature_file(file, features.width);
    result.seconds = rows.height() * (features.front_end ? features.front_end->frame_seconds() : kFrameSeconds);
  } else {
    if (!features.front_end) {
      throw Fault(file.string() + ": not a feature file, and the model was trained from features, not from audio");
    }
    const Audio audio = read_audio_at(file, features.front_end->sample_rate, raw);
    rows = FrontEnd(*features.front_end).run(audio.samples);
    if (rows.height() == 0) throw Fault(file.string() + ": shorter than one frame");
    result.seconds = audio.seconds();
  }
  check_values(file, rows, features);
  result.features = features.apply(std::move(rows));
  return result;
}

}  // namespace kivsr::speech
