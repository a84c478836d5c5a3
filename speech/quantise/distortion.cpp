#include "kivsr/speech/quantise/distortion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

// The library sums in single precision; sums of this many rows are added in double.
constexpr int kBlockRows = 256;

}  // namespace

Distortion::Distortion(int width) : columns_(static_cast<std::size_t>(width)) {}

void Distortion::add(const FeatureMatrix& original, const FeatureMatrix& decoded) {
  const int width = original.width;
  const auto size = static_cast<std::size_t>(width);
  std::vector<float> difference;
  std::vector<float> sum(size);
  std::vector<float> squares(size);
  for (int first = 0; first < original.height(); first += kBlockRows) {
    const int rows = std::min(kBlockRows, original.height() - first);
    const float* const source = original.row(first).data();
    difference.assign(source, source + size * static_cast<std::size_t>(rows));
    call<kivsSub_32f_I>(decoded.row(first), difference, width * rows);
    call<kivsSumMeanVar_32f>(source, width, rows, sum, squares, width);
    for (std::size_t j = 0; j < size; ++j) {
      columns_[j].sum += static_cast<double>(sum[j]);
      columns_[j].squares += static_cast<double>(squares[j]);
    }
    call<kivsSumMeanVar_32f>(difference, width, rows, sum, squares, width);
    for (std::size_t j = 0; j < size; ++j) columns_[j].errors += static_cast<double>(squares[j]);
    frames_ += rows;
  }
}

void Distortion::add(const Distortion& other) {
  frames_ += other.frames_;
  for (std::size_t j = 0; j < columns_.size(); ++j) {
    columns_[j].sum += other.columns_[j].sum;
    columns_[j].squares += other.columns_[j].squares;
    columns_[j].errors += other.columns_[j].errors;
  }
}

double Distortion::variance(const Column& column) const {
  const double mean = column.sum / static_cast<double>(frames_);
  return std::max(0.0, column.squares / static_cast<double>(frames_) - mean * mean);
}

double Distortion::root_mean_square_error(int column) const {
  return std::sqrt(columns_[static_cast<std::size_t>(column)].errors / static_cast<double>(frames_));
}

double Distortion::decibel(int column) const {
  const Column& values = columns_[static_cast<std::size_t>(column)];
  return 10.0 * std::log10(variance(values) * static_cast<double>(frames_) / values.errors);
}

double Distortion::total_decibel() const {
  double variances = 0.0;
  double errors = 0.0;
  for (const Column& column : columns_) {
    variances += variance(column);
    errors += column.errors;
  }
  return 10.0 * std::log10(variances * static_cast<double>(frames_) / errors);
}

}  // namespace kivsr::speech
