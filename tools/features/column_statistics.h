// Mean, variance and covariance of the columns of many files of features, in one pass.
#ifndef KIVSR_TOOLS_FEATURES_COLUMN_STATISTICS_H
#define KIVSR_TOOLS_FEATURES_COLUMN_STATISTICS_H

#include <cstdint>
#include <string>
#include <vector>

#include "features/feature_matrix.h"
#include "support/output_file.h"

namespace kivsr::tools {

struct ColumnMoments {
  std::int64_t files = 0;
  std::int64_t frames = 0;
  std::vector<std::string> columns;  // names: column1, column2, ... until the caller has better ones
  std::vector<double> mean;
  std::vector<double> covariance;  // square, row after row; the sums divided by frames - 1

  double variance(std::size_t column) const { return covariance[column * (mean.size() + 1)]; }
};

// Values and their products are summed in double precision. A column that is far from zero for its spread is taken
// relative to its mean in the first file that shows it, so that neither the size of the values nor the number of frames
// matters; the difference of two floats within a factor of two is exact.
class ColumnStatistics {
 public:
  // Rows of finite values; all of the same width, which the caller sees to.
  void add(const FeatureMatrix& rows);
  int width() const { return width_; }  // 0 before the first file
  std::int64_t frames() const { return frames_; }
  // At least two frames must be there.
  ColumnMoments moments() const;

 private:
  int width_ = 0;
  std::int64_t files_ = 0;
  std::int64_t frames_ = 0;
  std::vector<float> origin_;     // subtracted from every row
  std::vector<double> products_;  // (width + 1) x (width + 1): sums of products of the differences; last, of themselves
};

enum class MomentsFormat {
  npy,   // double, shape (2 + width, width): means, variances, covariance matrix
  csv,   // a line of column names, then the same rows with a name in front
  json,  // an object with files, frames, columns, mean, variance, covariance
};

// By the extension of the name; throws Fault for any other.
MomentsFormat moments_format(const std::string& file);

// Writes to the file and leaves the commit to the caller.
void write_moments(OutputFile& file, MomentsFormat format, const ColumnMoments& moments);

}  // namespace kivsr::tools

#endif
