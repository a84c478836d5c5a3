#include "program/feature_options.h"

#include <map>

#include <CLI/CLI.hpp>

namespace kivsr::program {

namespace {

constexpr const char* kGroup = "Behind the front end";

const std::map<std::string, Delta>& deltas() {
  static const std::map<std::string, Delta> all = {{"none", Delta::kNone},
                                                   {"win1", Delta::kWin1},
                                                   {"win2", Delta::kWin2},
                                                   {"regression", Delta::kRegression},
                                                   {"aurora", Delta::kAurora}};
  return all;
}

const std::map<std::string, Normalisation>& normalisations() {
  static const std::map<std::string, Normalisation> all = {
      {"none", Normalisation::kNone},
      {"mean", Normalisation::kMean},
      {"mean-variance", Normalisation::kMeanVariance},
      {"running-mean", Normalisation::kRunningMean},
      {"running-mean-variance", Normalisation::kRunningMeanVariance}};
  return all;
}

}  // namespace

FeatureOptions::FeatureOptions(CLI::App& command) : front_end_(command) {
  command
      .add_flag("--equalise", given_.equalise,
                "Take a fixed channel out of c1, c2, ... frame by frame (blind equalisation)")
      ->group(kGroup);
  reference_ = command
                   .add_option("--reference-cepstrum", given_.equalisation_reference,
                               "c1, c2, ... without a channel, for --equalise (default: zeros, or the preset's)")
                   ->delimiter(',')
                   ->group(kGroup);
  command.add_option("--delta", delta_, "Deltas and accelerations: none, win1, win2, regression, aurora")
      ->check(CLI::IsMember(deltas()))
      ->group(kGroup);
  delta_window_ =
      command.add_option("--delta-window", given_.delta_window, "Frames on either side that the regression sees")
          ->group(kGroup);
  command
      .add_option("--normalise", normalisation_,
                  "Of an utterance: mean, mean-variance; along with it: running-mean, running-mean-variance; or none")
      ->check(CLI::IsMember(normalisations()))
      ->group(kGroup);
  frames_ = command.add_option("--normalise-frames", given_.normalisation_frames, "Memory of the running forms")
                ->group(kGroup);
  normalise_energy_ = command
                          .add_flag("--normalise-energy,!--no-normalise-energy", given_.normalise_energy,
                                    "Log energy against its maximum, which becomes 1")
                          ->group(kGroup);
  silence_floor_ =
      command.add_option("--silence-floor", given_.silence_floor, "dB below the maximum, where the log energy ends")
          ->group(kGroup);
  energy_scale_ =
      command.add_option("--energy-scale", given_.energy_scale, "Factor of the normalised log energy")->group(kGroup);
  maximum_ = command.add_option("--energy-maximum", energy_maximum_, "Known maximum of the log energy")->group(kGroup);
}

FeatureParameters FeatureOptions::parameters() const {
  FeatureParameters parameters =
      front_end_.preset().empty() ? FeatureParameters() : feature_preset(front_end_.preset());
  parameters.front_end = front_end_.parameters();
  parameters.equalise = given_.equalise;
  if (reference_->count() > 0) parameters.equalisation_reference = given_.equalisation_reference;
  if (!delta_.empty()) parameters.delta = deltas().at(delta_);
  if (!normalisation_.empty()) parameters.normalisation = normalisations().at(normalisation_);
  if (delta_window_->count() > 0) parameters.delta_window = given_.delta_window;
  if (frames_->count() > 0) parameters.normalisation_frames = given_.normalisation_frames;
  if (normalise_energy_->count() > 0) parameters.normalise_energy = given_.normalise_energy;
  if (silence_floor_->count() > 0) parameters.silence_floor = given_.silence_floor;
  if (energy_scale_->count() > 0) parameters.energy_scale = given_.energy_scale;
  if (maximum_->count() > 0) parameters.energy_maximum = energy_maximum_;
  if (normalise_energy_->count() == 0 && !parameters.front_end.energy) {
    parameters.normalise_energy = false;  // --no-energy undoes what the preset asked for
  }
  // These deltas read c1 .. c12, c0 and the log energy, whatever the front end would give by itself.
  if (parameters.delta == Delta::kAurora) {
    parameters.front_end.zeroth = ZerothCepstrum::kLast;
    parameters.front_end.energy = true;
  }
  parameters.validate();
  return parameters;
}

}  // namespace kivsr::program
