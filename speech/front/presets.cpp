#include "kivsr/speech/front/presets.h"

#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

FrontEndParameters sphinx_en_us() {
  FrontEndParameters parameters;
  parameters.filter_count = 25;
  parameters.low_frequency = 130.0F;
  parameters.high_frequency = 6800.0F;
  parameters.transform = Transform::kDct;
  parameters.lifter = 22;
  return parameters;
}

FrontEndParameters usual_mfcc() {
  FrontEndParameters parameters;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kMel;
  parameters.filter_count = 23;
  parameters.low_frequency = 20.0F;
  parameters.high_frequency = 8000.0F;
  parameters.transform = Transform::kDct;
  parameters.lifter = 22;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 1.0F;  // the energy of a signal far below one unit of a 16-bit sample
  return parameters;
}

// HTK's defaults with 26 filters: c1 .. c12 and log energy.
FrontEndParameters htk_front_end() {
  FrontEndParameters parameters;
  parameters.frame_emphasis = true;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.spectrum = Spectrum::kMagnitude;
  parameters.filters = Filters::kMel;
  parameters.filter_count = 26;
  parameters.low_frequency = 1e-3F;  // stands for 0 Hz
  parameters.high_frequency = 8000.0F;
  parameters.transform = Transform::kHtk;
  parameters.lifter = 22;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 1.0F;
  parameters.zeroth = ZerothCepstrum::kNone;
  parameters.energy = true;
  return parameters;
}

FrontEndParameters lpc_cepstrum() {
  FrontEndParameters parameters;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.output = Output::kLpcCepstra;
  parameters.lifter = 22;
  return parameters;
}

Recipe sphinx_39() {
  Recipe recipe = sphinx_en_us();
  recipe.normalisation = Normalisation::kMean;
  recipe.dynamics = Dynamics::kDifferences;
  return recipe;
}

Recipe htk_like() {
  Recipe recipe = htk_front_end();
  recipe.normalise_energy = true;
  recipe.dynamics = Dynamics::kWin2;
  return recipe;
}

Recipe aurora() {
  Recipe recipe = aurora_front_end();
  recipe.dynamics = Dynamics::kAurora;
  recipe.reference_cepstrum = aurora_reference_cepstrum();
  return recipe;
}

Recipe etsi_afe(int sample_rate) {
  Recipe recipe = etsi_afe_front_end(sample_rate);
  recipe.equalisation = Equalisation::kFromZero;
  recipe.reference_cepstrum = aurora_reference_cepstrum();
  recipe.speech_column = true;
  return recipe;
}

struct Preset {
  const char* name;
  Recipe (*make)();
};
constexpr Preset kPresets[] = {
    {"sphinx-en-us", [] { return Recipe(sphinx_en_us()); }},
    {"sphinx-39", sphinx_39},
    {"sphinx", [] { return Recipe(); }},
    {"mfcc", [] { return Recipe(usual_mfcc()); }},
    {"htk-like", htk_like},
    {"lpc-cepstrum", [] { return Recipe(lpc_cepstrum()); }},
    {"aurora", aurora},
    {"etsi-afe", [] { return etsi_afe(16000); }},
};

}  // namespace

Recipe preset(const std::string& name) {
  std::string known;
  for (const Preset& preset : kPresets) {
    if (name == preset.name) return preset.make();
    known += (known.empty() ? "" : ", ") + std::string(preset.name);
  }
  throw Fault("no preset '" + name + "' (there are " + known + ")");
}

Recipe preset(const std::string& name, int file_rate) {
  const Recipe recipe = preset(name);
  const bool narrow = file_rate > 0 && file_rate < recipe.front_end.sample_rate;
  return narrow && recipe.front_end.kind == FrontEndKind::kEtsiAfe ? etsi_afe(8000) : recipe;
}

std::vector<std::string> preset_names() {
  std::vector<std::string> names;
  for (const Preset& preset : kPresets) names.emplace_back(preset.name);
  return names;
}

}  // namespace kivsr::speech
