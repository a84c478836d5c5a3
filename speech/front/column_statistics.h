// Mean, variance and covariance of the columns of many files of features, in one pass.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

struct ColumnMoments {
  std::int64_t files = 0;
  std::int64_t frames = 0;
  std::vector<std::string> columns;  // names: column1, column2, ... until the caller has better ones
  std::vector<double> mean;
  std::vector<double> covariance;  // square, row after row; the sums divided by frames - 1

  double variance(std::size_t column) const { return covariance[column * (mean.size() + 1)]; }
};

// Values and their products are summed in double precision. A column that is far from zero for its spread is taken
// relative to its mean in the first 1024 rows, so that neither the size of the values nor the number of frames
// matters; the difference of two floats within a factor of two is exact. The sums are the same bits however the rows
// are cut into blocks.
class ColumnStatistics {
 public:
  // Rows of finite values; all of the same width, which the caller sees to.
  void add(const FeatureMatrix& rows);
  void end_file() { ++files_; }
  int width() const { return width_; }  // 0 before the first row
  std::int64_t frames() const { return frames_; }
  // At least two frames must be there.
  ColumnMoments moments() const;

 private:
  void add_waiting();

  int width_ = 0;
  std::int64_t files_ = 0;
  std::int64_t frames_ = 0;
  std::vector<float> waiting_;    // rows of the next block, a one behind each
  std::vector<float> origin_;     // subtracted from every row
  std::vector<double> products_;  // (width + 1) x (width + 1): sums of products of the differences; last, of themselves
};

}  // namespace kivsr::speech
