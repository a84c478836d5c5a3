#include "kivsr/speech/front/pitch_columns.h"

#include <algorithm>

#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

PitchParameters pitch_parameters(const Recipe& recipe) {
  PitchParameters parameters;
  parameters.sample_rate = recipe.front_end.sample_rate;
  parameters.shift = recipe.front_end.shift;
  parameters.first = recipe.front_end.window_length / 2 - static_cast<int>(recipe.front_end.samples_before_first());
  parameters.low_frequency = recipe.pitch_low_frequency;
  parameters.high_frequency = recipe.pitch_high_frequency;
  return parameters;
}

void PitchColumns::end_of_audio() {
  tracker_.finish(frames_);
  ended_ = true;
}

void PitchColumns::push(const FeatureMatrix& rows, FeatureMatrix& result) {
  rows_.width = rows.width;
  append_rows(rows.values, rows_);
  if (ended_) frames_.resize(std::max(frames_.size(), static_cast<std::size_t>(rows_.height())), {0.0F, 0.0F, 0.0F});
  const int complete = std::min(rows_.height(), static_cast<int>(frames_.size()));
  for (int t = 0; t < complete; ++t) {
    const PitchFrame& frame = frames_[static_cast<std::size_t>(t)];
    append_rows(rows_.row(t), result);
    result.values.insert(result.values.end(), {frame.frequency, frame.correlation, frame.probability});
  }
  frames_.erase(frames_.begin(), frames_.begin() + complete);
  rows_.values.erase(rows_.values.begin(), rows_.values.begin() + complete * rows_.width);
}

void PitchColumns::reset() {
  frames_.clear();
  rows_.values.clear();
  ended_ = false;
}

}  // namespace kivsr::speech
