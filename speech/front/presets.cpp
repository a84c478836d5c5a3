#include "kivsr/speech/front/presets.h"

#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/toolkit_presets.h"
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
    {"lpc-cepstrum", [] { return Recipe(lpc_cepstrum()); }},
    {"aurora", aurora},
    {"etsi-afe", [] { return etsi_afe(16000); }},
};

}  // namespace

Recipe preset(const std::string& name) {
  for (const Preset& preset : kPresets) {
    if (name == preset.name) return preset.make();
  }
  if (const auto recipe = toolkit_preset(name, 0)) return *recipe;
  std::string known;
  for (const std::string& other : preset_names()) known += (known.empty() ? "" : ", ") + other;
  throw Fault("no preset '" + name + "' (there are " + known + ")");
}

Recipe preset(const std::string& name, int file_rate) {
  const Recipe recipe = preset(name);
  const bool narrow = file_rate > 0 && file_rate < recipe.front_end.sample_rate;
  return narrow && recipe.front_end.kind == FrontEndKind::kEtsiAfe ? etsi_afe(8000) : recipe;
}

std::optional<Recipe> preset_at(const std::string& name, int sample_rate) { return toolkit_preset(name, sample_rate); }

std::vector<std::string> preset_names() {
  std::vector<std::string> names;
  for (const Preset& preset : kPresets) names.emplace_back(preset.name);
  for (const std::string& name : toolkit_preset_names()) names.push_back(name);
  return names;
}

}  // namespace kivsr::speech
