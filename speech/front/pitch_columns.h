// The pitch of each frame beside its row: f0, correlation, probability of voicing.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Of the middle of each frame of the recipe.
PitchParameters pitch_parameters(const Recipe& recipe);

// Samples and rows come apart. A frame whose middle lies behind the last sample is unvoiced.
class PitchColumns {
 public:
  explicit PitchColumns(const Recipe& recipe) : tracker_(pitch_parameters(recipe)) {}

  void take(std::span<const float> samples) { tracker_.push(samples, frames_); }
  void end_of_audio();
  // Appends the rows that are complete to result.
  void push(const FeatureMatrix& rows, FeatureMatrix& result);
  // Of the utterance nothing is left.
  void reset();

 private:
  PitchTracker tracker_;
  std::vector<PitchFrame> frames_;  // whose rows have not come
  FeatureMatrix rows_;              // whose frames have not
  bool ended_ = false;
};

}  // namespace kivsr::speech
