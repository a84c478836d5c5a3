#include "kivsr/speech/front/column_statistics.h"

#include <algorithm>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

constexpr std::size_t kBlockRows = 1024;

// The mean of a column whose mean is more than ten times its standard deviation, 0 for any other.
std::vector<float> origin_of(const std::vector<float>& rows, int height, int width, int step) {
  std::vector<float> mean(size_of(width), 0.0F);
  if (height < 2) return mean;
  std::vector<float> variance(mean.size());
  call<kivsMeanVarColumn_32f_D2>(rows, height, step, mean, variance, width);
  for (std::size_t k = 0; k < mean.size(); ++k) {
    if (!(mean[k] * mean[k] > 100.0F * variance[k])) mean[k] = 0.0F;
  }
  return mean;
}

}  // namespace

void ColumnStatistics::add(const FeatureMatrix& rows) {
  if (rows.height() == 0) return;
  width_ = rows.width;
  frames_ += rows.height();
  const std::size_t full = kBlockRows * size_of(width_ + 1);
  for (int t = 0; t < rows.height(); ++t) {
    waiting_.insert(waiting_.end(), rows.row(t).begin(), rows.row(t).end());
    waiting_.push_back(1.0F);
    if (waiting_.size() == full) add_waiting();
  }
}

// The column of ones behind the others: its products with them are their sums.
void ColumnStatistics::add_waiting() {
  const int wide = width_ + 1;
  const int height = static_cast<int>(waiting_.size()) / wide;
  if (origin_.empty()) {
    origin_ = origin_of(waiting_, height, width_, wide);
    products_.assign(size_of(wide) * size_of(wide), 0.0);
  }
  call<kivsSubRow_32f_D2>(origin_, width_, waiting_, wide, height);
  const std::vector<float> zeros(size_of(wide), 0.0F);
  call<kivsAccCovarianceMatrix_32f64f_D2>(waiting_, wide, height, zeros, products_, wide, wide, 1.0);
  waiting_.clear();
}

ColumnMoments ColumnStatistics::moments() const {
  if (!waiting_.empty()) {
    ColumnStatistics whole = *this;
    whole.add_waiting();
    return whole.moments();
  }
  const auto frames = static_cast<double>(frames_);
  const std::size_t width = size_of(width_);
  const double* const sums = products_.data() + width * (width + 1);
  ColumnMoments moments;
  moments.files = files_;
  moments.frames = frames_;
  for (std::size_t i = 0; i < width; ++i) {
    moments.columns.push_back("column" + std::to_string(i + 1));
    moments.mean.push_back(static_cast<double>(origin_[i]) + sums[i] / frames);
    for (std::size_t j = 0; j < width; ++j) {
      moments.covariance.push_back((products_[i * (width + 1) + j] - sums[i] * sums[j] / frames) / (frames - 1.0));
    }
  }
  return moments;
}

}  // namespace kivsr::speech
