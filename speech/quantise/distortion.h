// How far decoded features are from their originals, by column and over all columns.
#pragma once

#include <cstdint>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

class Distortion {
 public:
  explicit Distortion(int width);
  // Matrices of the width and of the same height.
  void add(const FeatureMatrix& original, const FeatureMatrix& decoded);
  // What another one of the same width has seen.
  void add(const Distortion& other);

  std::int64_t frames() const { return frames_; }
  double root_mean_square_error(int column) const;
  // 10 lg(variance of the originals / mean square error); the total has the sums over the columns in both places.
  double decibel(int column) const;
  double total_decibel() const;

 private:
  struct Column {
    double sum = 0.0;
    double squares = 0.0;
    double errors = 0.0;  // squared
  };
  double variance(const Column& column) const;

  std::vector<Column> columns_;
  std::int64_t frames_ = 0;
};

}  // namespace kivsr::speech
