#include "kivsr/speech/front/utterance.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "kivsr/speech/front/noise_reduction.h"
#include "kivsr/speech/front/row_stage.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_reader.h"

namespace kivsr::speech {

namespace {

// Returns how many rows were read.
std::int64_t stream_rows(const std::filesystem::path& file, FeatureChain& chain, const RowTaker& take) {
  const Recipe& recipe = chain.recipe();
  FeatureReader reader(file, recipe.file_width());
  if (reader.width() != recipe.file_width()) {
    throw Fault(file.string() + ": rows of " + std::to_string(reader.width()) + " values, " +
                std::to_string(recipe.file_width()) + " are needed");
  }
  if (needs_audio(recipe.noise_reduction.method)) {
    throw Fault(file.string() + ": noise is reduced in audio, not in features");
  }
  FeatureMatrix input;
  std::int64_t rows = 0;
  for (; reader.read(input); input.values.clear()) {
    require_finite(input, file, rows);
    rows += input.height();
    chain.push_rows(input, take);
  }
  return rows;
}

// What is known about the file, its frames aside.
UtteranceInfo stream_audio(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw,
                           const RowTaker& take, std::size_t block, const SampleTaker& listen) {
  const Recipe& recipe = chain.recipe();
  if (recipe.source != Source::kAudio) {
    throw Fault(file.string() + ": not a file of features, and the recipe starts from features, not from audio");
  }
  MonoReader reader(file, recipe.front_end.sample_rate, raw);
  for (auto left = reader.read(); !left.empty(); left = reader.read()) {
    if (listen) listen(left);
    while (!left.empty()) {
      const auto part = left.first(block == 0 ? left.size() : std::min(block, left.size()));
      chain.push(part, take);
      left = left.subspan(part.size());
    }
  }
  return {.seconds = static_cast<double>(reader.samples()) / recipe.front_end.sample_rate,
          .file_channels = reader.file().channels(),
          .file_sample_rate = reader.file().sample_rate(),
          .remark = reader.file().remark()};
}

UtteranceInfo stream(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw, const RowTaker& take,
                     std::size_t block, const SampleTaker& listen) {
  std::int64_t frames = 0;
  const RowTaker checked = [&](const FeatureMatrix& rows) {
    require_finite(rows, file, frames);
    frames += rows.height();
    take(rows);
  };
  UtteranceInfo info;
  if (is_feature_file(file)) {
    info.seconds = static_cast<double>(stream_rows(file, chain, checked)) * chain.recipe().frame_seconds();
  } else {
    info = stream_audio(file, chain, raw, checked, block, listen);
  }
  chain.finish(checked);
  info.frames = frames;
  if (frames == 0 && chain.recipe().drop_frames) throw Fault(file.string() + ": no frame holds speech");
  if (frames == 0) throw Fault(file.string() + ": shorter than one frame");
  return info;
}

}  // namespace

UtteranceInfo stream_utterance(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw,
                               const RowTaker& take, std::size_t block, const SampleTaker& listen) {
  try {
    return stream(file, chain, raw, take, block, listen);
  } catch (...) {
    chain = FeatureChain(chain.recipe());  // what it holds of this utterance is not for the next
    throw;
  }
}

Utterance load_utterance(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw,
                         std::size_t block) {
  Utterance result;
  result.features.width = chain.recipe().width();
  const auto take = [&](const FeatureMatrix& rows) { append_rows(rows.values, result.features); };
  result.info = stream_utterance(file, chain, raw, take, block);
  return result;
}

void require_finite(const FeatureMatrix& rows, const std::filesystem::path& file, std::int64_t first_frame) {
  const auto bad = std::find_if_not(rows.values.begin(), rows.values.end(), [](float v) { return std::isfinite(v); });
  if (bad == rows.values.end()) return;
  const auto place = static_cast<std::int64_t>(bad - rows.values.begin());
  throw Fault(file.string() + ": frame " + std::to_string(first_frame + place / rows.width) + ", value " +
              std::to_string(place % rows.width) + " is not finite");
}

}  // namespace kivsr::speech
