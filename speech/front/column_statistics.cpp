#include "kivsr/speech/front/column_statistics.h"

#include <algorithm>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

// The mean of a column whose mean is more than ten times its standard deviation, 0 for any other.
std::vector<float> origin_of(const FeatureMatrix& rows) {
  std::vector<float> mean(size_of(rows.width), 0.0F);
  if (rows.height() < 2) return mean;
  std::vector<float> variance(mean.size());
  call<kivsMeanVarColumn_32f_D2>(rows.values, rows.height(), rows.width, mean, variance, rows.width);
  for (std::size_t k = 0; k < mean.size(); ++k) {
    if (!(mean[k] * mean[k] > 100.0F * variance[k])) mean[k] = 0.0F;
  }
  return mean;
}

}  // namespace

void ColumnStatistics::add(const FeatureMatrix& rows) {
  ++files_;
  const int height = rows.height();
  if (height == 0) return;
  if (width_ == 0) {
    width_ = rows.width;
    origin_ = origin_of(rows);
    products_.assign(size_of(width_ + 1) * size_of(width_ + 1), 0.0);
  }
  // A column of ones behind the others: its products with them are their sums.
  const int wide = width_ + 1;
  std::vector<float> differences(size_of(height) * size_of(wide), 1.0F);
  for (int t = 0; t < height; ++t) {
    std::copy(rows.row(t).begin(), rows.row(t).end(), differences.begin() + static_cast<std::ptrdiff_t>(t) * wide);
  }
  call<kivsSubRow_32f_D2>(origin_, width_, differences, wide, height);
  const std::vector<float> zeros(size_of(wide), 0.0F);
  call<kivsAccCovarianceMatrix_32f64f_D2>(differences, wide, height, zeros, products_, wide, wide, 1.0);
  frames_ += height;
}

ColumnMoments ColumnStatistics::moments() const {
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
