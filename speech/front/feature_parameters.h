// Everything that decides the rows that `kivsr features` writes: the front end and what follows it.
// Next: feature_chain.h, which computes them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

enum class Normalisation { kNone, kMean, kMeanVariance, kRunningMean, kRunningMeanVariance };

// Deltas and accelerations behind the statics.
enum class Delta {
  kNone,
  kWin1,        // over three frames
  kWin2,        // over five frames
  kRegression,  // over 2 W + 1 frames
  kAurora       // over nine frames, of c1 .. c12 and a mean of c0 and log energy
};

// In the order in which the stages act.
struct FeatureParameters {
  FeatureParameters() = default;
  FeatureParameters(const FrontEndParameters& parameters) : front_end(parameters) {}  // rows of the front end alone

  FrontEndParameters front_end;

  bool equalise = false;                      // blind equalisation of c1, c2, ...
  std::vector<float> equalisation_reference;  // their values without a channel; empty: zeros

  bool normalise_energy = false;        // log energy against its maximum; needs front_end.energy
  float silence_floor = 50.0F;          // decibels below the maximum
  float energy_scale = 0.1F;            // of the natural logarithm
  std::optional<float> energy_maximum;  // a known maximum; without it that of the utterance

  Normalisation normalisation = Normalisation::kNone;
  int normalisation_frames = 300;  // memory of the running forms

  Delta delta = Delta::kNone;
  int delta_window = 2;  // W of the regression

  // Columns before the deltas, and all.
  int static_width() const { return delta == Delta::kAurora ? 13 : front_end.row_width(); }
  int row_width() const { return delta == Delta::kNone ? static_width() : 3 * static_width(); }
  // "c0", "c1", ... or "mel1", ... , then "energy"; deltas and accelerations with "_d" and "_a" behind the name.
  std::vector<std::string> column_names() const;
  // Throws Fault for values that contradict each other.
  void validate() const;
};

// The front-end preset of that name, and what belongs to it behind the front end.
FeatureParameters feature_preset(const std::string& name);

}  // namespace kivsr::speech
