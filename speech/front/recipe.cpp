#include "kivsr/speech/front/recipe.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/pitch_columns.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kLongestWindow = 1000;        // frames
constexpr int kLongestSplice = 10;          // frames
constexpr int kLongestMemory = 10'000'000;  // frames
constexpr int kWidestSource = 10000;        // values
constexpr float kLongestSpan = 3600.0F;     // s

std::vector<std::string> static_names(const Recipe& recipe) {
  const FrontEndParameters& front_end = recipe.front_end;
  std::vector<std::string> names;
  const auto add = [&](const char* word, int first, int last) {
    for (int number = first; number <= last; ++number) names.push_back(word + std::to_string(number));
  };
  if (recipe.dynamics == Dynamics::kAurora) {
    add("c", 1, 12);
    names.emplace_back("c0_energy");
    return names;
  }
  if (recipe.source == Source::kFeatures) {
    add("x", 1, recipe.source_width);
    return names;
  }
  if (front_end.energy && front_end.energy_first) names.emplace_back("energy");
  if (front_end.output == Output::kLogMel) add("mel", 1, front_end.filter_count);
  if (front_end.has_zeroth() && front_end.zeroth == ZerothCepstrum::kFirst) add("c", 0, 0);
  add("c", 1, front_end.cepstra_behind_zeroth());
  if (front_end.has_zeroth() && front_end.zeroth == ZerothCepstrum::kLast) add("c", 0, 0);
  if (front_end.energy && !front_end.energy_first) names.emplace_back("energy");
  return names;
}

void validate(const NoiseReductionParameters& noise, const FrontEndParameters& front_end) {
  const auto within = [](float value, float least, float most, const char* message) {
    if (!(value >= least && value <= most)) throw Fault(std::string("noise reduction: ") + message);
  };
  within(noise.memory, 0.0F, 1.0F, "the memory must lie between 0 and 1");
  within(noise.floor, 0.0F, 1.0F, "the smallest gain must lie between 0 and 1");
  within(noise.residual, 0.0F, 1.0F, "the residual must lie between 0 and 1");
  within(noise.first_seconds, 0.0F, kLongestSpan, "its beginning must be 0 to 3600 s");
  within(noise.smoothing_seconds, 0.0F, kLongestSpan, "its smoothing must be 0 to 3600 s");
  if (noise.method == NoiseMethod::kNone) return;
  if (front_end.output == Output::kLpcCepstra) {
    throw Fault("noise reduction: linear prediction has no filters, whose bands it works on");
  }
  if ((front_end.fft_length & (front_end.fft_length - 1)) != 0) {
    throw Fault("noise reduction: its estimate of the noise needs an FFT of a power of two");
  }
}

// The columns but the first, their differences over four frames and over eight; the first with its derivatives; the
// second derivatives of the others.
std::vector<std::string> stream_names(const std::vector<std::string>& statics) {
  std::vector<std::string> names;
  const auto add_others = [&](const char* ending) {
    for (std::size_t i = 1; i < statics.size(); ++i) names.push_back(statics[i] + ending);
  };
  for (const char* const ending : {"", "_d", "_l"}) add_others(ending);
  for (const char* const ending : {"", "_d", "_a"}) names.push_back(statics.front() + ending);
  add_others("_a");
  return names;
}

void validate_columns(const Recipe& recipe) {
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("recipe: ") + message);
  };
  const FrontEndParameters& front_end = recipe.front_end;
  const bool derived = recipe.dynamics != Dynamics::kNone;
  const bool fixed = recipe.dynamics == Dynamics::kStreams || recipe.dynamics == Dynamics::kSplice;
  const bool whole =
      recipe.normalisation == Normalisation::kMean || recipe.normalisation == Normalisation::kMeanVariance;
  require(!recipe.normalise_cepstra_only || (whole && front_end.energy),
          "only a log energy can be left out, of what is normalised over the whole utterance");
  require(recipe.derivatives >= 1 && recipe.derivatives <= 3, "the derivatives must be 1 to 3");
  require(derived || recipe.derivatives == 2, "without dynamics there are no derivatives to choose");
  require(!fixed || (recipe.derivatives == 2 && !recipe.drop_energy), "the columns of streams and splices are fixed");
  require(recipe.dynamics != Dynamics::kStreams ||
              (!recipe.pitch && !recipe.speech_column && recipe.feature_transform.empty()),
          "the columns of streams are fixed");
  require(!recipe.drop_energy || (derived && front_end.energy && recipe.dynamics != Dynamics::kAurora),
          "only a log energy with derivatives can be left out");
  require(recipe.equalisation == Equalisation::kNone || front_end.logarithm == Logarithm::kNatural,
          "the equalisation needs natural logarithms");
}

void validate_transform(const Recipe& recipe) {
  const std::vector<float>& matrix = recipe.feature_transform;
  const auto columns = static_cast<std::size_t>(recipe.derived_width());
  if (matrix.size() % columns != 0 || matrix.size() / columns > columns) {
    throw Fault("recipe: the feature transform does not have rows of " + std::to_string(columns) +
                " values, at most as many");
  }
  if (!std::all_of(matrix.begin(), matrix.end(), [](float value) { return std::isfinite(value); })) {
    throw Fault("recipe: the feature transform has a value that is not finite");
  }
}

std::vector<std::string> spliced_names(const std::vector<std::string>& statics, int reach) {
  std::vector<std::string> names;
  for (int offset = -reach; offset <= reach; ++offset) {
    for (const std::string& name : statics) names.push_back(name + "_" + std::to_string(offset));
  }
  return names;
}

std::vector<std::string> derived_names(const Recipe& recipe) {
  const std::vector<std::string> statics = static_names(recipe);
  if (recipe.dynamics == Dynamics::kStreams) return stream_names(statics);
  if (recipe.dynamics == Dynamics::kSplice) return spliced_names(statics, recipe.regression_window);
  std::vector<std::string> names = statics;
  if (recipe.drop_energy) names.erase(names.begin() + recipe.front_end.energy_column());
  const char* const endings[] = {"_d", "_a", "_t"};
  for (int i = 0; recipe.dynamics != Dynamics::kNone && i < recipe.derivatives; ++i) {
    for (const std::string& name : statics) names.push_back(name + endings[i]);
  }
  return names;
}

}  // namespace

Recipe Recipe::of_features(int width) {
  Recipe recipe;
  recipe.source = Source::kFeatures;
  recipe.source_width = width;
  return recipe;
}

int Recipe::input_width() const { return source == Source::kFeatures ? source_width : front_end.row_width(); }

int Recipe::derived_width() const {
  switch (dynamics) {
    case Dynamics::kNone: return static_width() - (drop_energy ? 1 : 0);
    case Dynamics::kStreams: return 4 * static_width() - 1;
    case Dynamics::kSplice: return (2 * regression_window + 1) * static_width();
    default: return (1 + derivatives) * static_width() - (drop_energy ? 1 : 0);
  }
}

std::vector<std::string> Recipe::column_names() const {
  std::vector<std::string> names;
  if (feature_transform.empty()) {
    names = derived_names(*this);
  } else {
    for (int i = 1; i <= feature_width(); ++i) names.push_back("y" + std::to_string(i));
  }
  if (pitch) names.insert(names.end(), {"f0", "correlation", "probability"});
  if (speech_column) names.emplace_back("vad");
  return names;
}

std::string Recipe::needs_whole_utterance() const {
  if (noise_reduction.method != NoiseMethod::kNone) return "the noise is estimated from both ends of the utterance";
  if (front_end.dynamic_range > 0.0F) {
    return "the logarithms end so far below the largest of the utterance";
  }
  if (equalisation == Equalisation::kFromMean) return "the equalisation starts from the mean of the utterance";
  if (normalise_energy && !energy_maximum) return "the energy is taken relative to its maximum in the utterance";
  if (normalisation == Normalisation::kMean || normalisation == Normalisation::kMeanVariance) {
    return "the columns are normalised by their mean over the utterance";
  }
  if (dynamics == Dynamics::kRegression) return "the regression is computed over the whole utterance";
  return "";
}

void Recipe::validate() const {
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("recipe: ") + message);
  };
  front_end.validate();
  speech::validate(noise_reduction, front_end);
  require(source_width >= 1 && source_width <= kWidestSource, "the rows of the source must have 1 to 10000 values");
  if (source == Source::kFeatures) {
    require(front_end == FrontEndParameters() && noise_reduction == NoiseReductionParameters() &&
                equalisation == Equalisation::kNone && !normalise_energy && dynamics != Dynamics::kAurora && !pitch,
            "rows of features as the source go through no front end and nothing that needs to know their columns");
  }
  const bool etsi_afe = front_end.kind == FrontEndKind::kEtsiAfe;
  require(etsi_afe || (!speech_column && !drop_frames), "only etsi-afe decides which frames hold speech");
  require(!etsi_afe || noise_reduction.method == NoiseMethod::kNone, "etsi-afe reduces the noise by itself");
  validate_columns(*this);
  if (pitch) pitch_parameters(*this).validate();
  if (equalisation != Equalisation::kNone) EqualisationStage(front_end, reference_cepstrum);
  require(!normalise_energy || front_end.energy, "without the log energy there is none to normalise");
  require(silence_floor > 0.0F && silence_floor <= 1000.0F, "the silence floor must be above 0 and at most 1000 dB");
  require(energy_scale > 0.0F && energy_scale <= 1e6F, "the scale of the energy must be above 0 and at most 10^6");
  require(!energy_maximum || std::abs(*energy_maximum) <= 1000.0F,
          "the maximum of the energy must be -1000 to 1000 as a natural logarithm");
  require(normalisation_frames >= 2 && normalisation_frames <= kLongestMemory,
          "a running normalisation must remember at least two frames, at most 10^7");
  require(regression_window >= 1 && regression_window <= kLongestWindow,
          "the window of the regression must be 1 to 1000 frames");
  require(dynamics != Dynamics::kSplice || regression_window <= kLongestSplice,
          "a splice reaches 1 to 10 frames to either side");
  validate_transform(*this);
  require(dynamics != Dynamics::kAurora ||
              (front_end.output == Output::kCepstra && front_end.cepstrum_count == 13 && front_end.energy &&
               !front_end.energy_first && front_end.zeroth == ZerothCepstrum::kLast),
          "the aurora dynamics need 13 cepstra with c0 last and the log energy behind it");
}

}  // namespace kivsr::speech
