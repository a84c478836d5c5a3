#include "program/recipe_partners.h"

#include "kivsr/speech/io/fault.h"

namespace kivsr::program {

namespace {

struct Partner {
  const char* option;
  const char* needs;
  bool (*is_used)(const Recipe& recipe);
};

bool reduces_noise(const Recipe& recipe) { return recipe.noise_reduction.method != NoiseMethod::kNone; }
bool makes_cepstra(const Recipe& recipe) { return recipe.front_end.output != Output::kLogMel; }
bool predicts(const Recipe& recipe) {
  return recipe.front_end.output == Output::kLpcCepstra || recipe.front_end.output == Output::kPlp;
}
bool equalises(const Recipe& recipe) { return recipe.equalisation != Equalisation::kNone; }
bool normalises_energy(const Recipe& recipe) { return recipe.normalise_energy; }
bool has_reach(const Recipe& recipe) {
  return recipe.dynamics == Dynamics::kRegression || recipe.dynamics == Dynamics::kSplice;
}
bool tracks_pitch(const Recipe& recipe) { return recipe.pitch; }
bool normalises_along(const Recipe& recipe) {
  return recipe.normalisation == Normalisation::kRunningMean ||
         recipe.normalisation == Normalisation::kRunningMeanVariance;
}

constexpr Partner kPartners[] = {
    {"prediction-order", "--output-kind lpc-cepstra or plp", predicts},
    {"cepstrum-count", "an --output-kind of cepstra", makes_cepstra},
    {"lifter", "an --output-kind of cepstra", makes_cepstra},
    {"noise-memory", "--noise-reduction", reduces_noise},
    {"noise-floor", "--noise-reduction", reduces_noise},
    {"noise-residual", "--noise-reduction", reduces_noise},
    {"noise-first", "--noise-reduction", reduces_noise},
    {"noise-smoothing", "--noise-reduction", reduces_noise},
    {"reference-cepstrum", "--equalise", equalises},
    {"silence-floor", "--normalise-energy", normalises_energy},
    {"energy-scale", "--normalise-energy", normalises_energy},
    {"energy-maximum", "--normalise-energy", normalises_energy},
    {"normalise-frames", "--normalise running-mean or running-mean-variance", normalises_along},
    {"regression-window", "--dynamics regression or splice", has_reach},
    {"pitch-low", "--pitch", tracks_pitch},
    {"pitch-high", "--pitch", tracks_pitch},
};

}  // namespace

void require_partners(const Recipe& recipe, const std::function<bool(const std::string& option)>& given) {
  for (const auto& [option, needs, is_used] : kPartners) {
    if (given(option) && !is_used(recipe)) throw Fault("--" + std::string(option) + " needs " + needs);
  }
}

}  // namespace kivsr::program
