// Mean and variance of the columns of all frames of a list, whoever of a team has them.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/train/training_list.h"

namespace kivsr::speech {

class FrameMoments {
 public:
  explicit FrameMoments(std::size_t width) : values_(1 + 2 * width) {}

  void add(const FeatureMatrix& rows);
  // Those of other frames (T. Chan, G. Golub, R. LeVeque, The American Statistician 37, 1983).
  void add(std::span<const double> other);

  std::size_t width() const { return values_.size() / 2; }
  double frames() const { return values_[0]; }
  double mean(std::size_t column) const { return values_[1 + column]; }
  double variance(std::size_t column) const { return values_[1 + width() + column] / (frames() - 1.0); }
  // The number of frames, means, and sums of squared distances from the means.
  std::span<const double> values() const { return values_; }

 private:
  std::vector<double> values_;
};

// Of the utterances; in a team at rank 0 those of all members, elsewhere of nothing. The sums of the blocks of the list
// are added in their order.
FrameMoments moments_of(const TrainingUtterances& utterances, std::size_t width);

}  // namespace kivsr::speech
