#include "kivsr/speech/front/feature_parameters.h"

#include <cmath>

#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kLongestWindow = 1000;  // frames

std::vector<std::string> static_names(const FeatureParameters& parameters) {
  const FrontEndParameters& front_end = parameters.front_end;
  std::vector<std::string> names;
  const auto add = [&](const char* word, int first, int last) {
    for (int number = first; number <= last; ++number) names.push_back(word + std::to_string(number));
  };
  if (parameters.delta == Delta::kAurora) {
    add("c", 1, 12);
    names.emplace_back("c0_energy");
    return names;
  }
  if (front_end.output == Output::kLogMel) {
    add("mel", 1, front_end.filter_count);
  } else if (front_end.output == Output::kLpcCepstra) {
    add("c", 1, front_end.prediction_order);
  } else {
    if (front_end.zeroth == ZerothCepstrum::kFirst) add("c", 0, 0);
    add("c", 1, front_end.cepstrum_count - 1);
    if (front_end.zeroth == ZerothCepstrum::kLast) add("c", 0, 0);
  }
  if (front_end.energy) names.emplace_back("energy");
  return names;
}

}  // namespace

std::vector<std::string> FeatureParameters::column_names() const {
  const std::vector<std::string> statics = static_names(*this);
  std::vector<std::string> names = statics;
  if (delta == Delta::kNone) return names;
  for (const char* ending : {"_d", "_a"}) {
    for (const std::string& name : statics) names.push_back(name + ending);
  }
  return names;
}

void FeatureParameters::validate() const {
  front_end.validate();
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("features: ") + message);
  };
  if (equalise) EqualisationStage(front_end, equalisation_reference);
  require(!normalise_energy || front_end.energy, "without the log energy there is none to normalise");
  require(std::isfinite(silence_floor) && silence_floor > 0.0F, "the silence floor must be above 0 dB");
  require(std::isfinite(energy_scale) && energy_scale > 0.0F, "the scale of the energy must be above 0");
  require(!energy_maximum || std::isfinite(*energy_maximum), "the maximum of the energy is not a number");
  require(normalisation_frames >= 2, "a running normalisation must remember at least two frames");
  require(delta_window >= 1 && delta_window <= kLongestWindow, "the window of the deltas must be 1 to 1000 frames");
  require(delta != Delta::kAurora || (front_end.output == Output::kCepstra && front_end.cepstrum_count == 13 &&
                                      front_end.energy && front_end.zeroth == ZerothCepstrum::kLast),
          "the aurora deltas need 13 cepstra with c0 last and the log energy");
}

FeatureParameters feature_preset(const std::string& name) {
  FeatureParameters parameters = front_end_preset(name);
  if (name == "htk-like") {
    parameters.normalise_energy = true;
    parameters.delta = Delta::kWin2;
  }
  if (name == "aurora") {
    parameters.delta = Delta::kAurora;
    parameters.equalisation_reference = aurora_reference_cepstrum();
  }
  return parameters;
}

}  // namespace kivsr::speech
