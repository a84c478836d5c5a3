#include "kivsr/speech/train/discriminant_analysis.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/train/small_matrix.h"

namespace kivsr::speech {

namespace {

// Of a symmetric matrix without negative eigenvalues.
double log_determinant(const std::vector<double>& matrix, std::size_t size) {
  const SymmetricEigen eigen = symmetric_eigen(matrix, size);
  return std::accumulate(eigen.values.begin(), eigen.values.end(), 0.0,
                         [](double sum, double value) { return sum + std::log(value); });
}

// Rows r with r within r^T = 1, all at right angles to each other in this sense: the inverse square root of within,
// found for columns of variance 1, so that their units do not matter.
std::vector<double> whitening_rows(const std::vector<double>& within, std::size_t size) {
  constexpr double kLeastShare = 1e-10;  // of the greatest eigenvalue
  std::vector<double> scale(size);
  for (std::size_t i = 0; i < size; ++i) {
    const double variance = within[i * (size + 1)];
    if (!(variance > 0.0)) throw Fault("the features cannot be transformed: a column does not vary");
    scale[i] = 1.0 / std::sqrt(variance);
  }
  std::vector<double> scaled(within);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) scaled[i * size + k] *= scale[i] * scale[k];
  }
  const SymmetricEigen eigen = symmetric_eigen(scaled, size);
  if (!(eigen.values.back() > kLeastShare * eigen.values.front())) {
    throw Fault("the features cannot be transformed: a column follows from the others");
  }
  std::vector<double> rows(eigen.vectors);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) rows[i * size + k] *= scale[k] / std::sqrt(eigen.values[i]);
  }
  return rows;
}

void make_largest_positive(std::span<double> row) {
  const auto larger = [](double a, double b) { return std::abs(a) < std::abs(b); };
  if (*std::max_element(row.begin(), row.end(), larger) > 0.0) return;
  for (double& value : row) value = -value;
}

}  // namespace

Scatter scatter_of(const std::vector<ClassMoments>& classes) {
  if (classes.empty()) throw Fault("the features cannot be transformed: there is no class of frames");
  const std::size_t size = classes.front().mean.size();
  double frames = 0.0;
  std::vector<double> mean(size);
  for (const ClassMoments& one : classes) {
    frames += one.frames;
    for (std::size_t i = 0; i < size; ++i) mean[i] += one.frames * one.mean[i];
  }
  for (double& value : mean) value /= frames;
  Scatter scatter{std::vector<double>(size * size), std::vector<double>(size * size)};
  for (const ClassMoments& one : classes) {
    const double share = one.frames / frames;
    for (std::size_t i = 0; i < size; ++i) {
      for (std::size_t k = 0; k < size; ++k) {
        scatter.within[i * size + k] += share * one.covariance[i * size + k];
        scatter.between[i * size + k] += share * (one.mean[i] - mean[i]) * (one.mean[k] - mean[k]);
      }
    }
  }
  return scatter;
}

std::vector<double> discriminant_rows(const Scatter& scatter, std::size_t columns, std::size_t rows) {
  if (rows > columns) throw Fault("the analysis cannot keep more values than a row has");
  const std::vector<double> white = whitening_rows(scatter.within, columns);
  const SymmetricEigen eigen = symmetric_eigen(congruence(white, scatter.between, columns), columns);
  std::vector<double> result(rows * columns);
  for (std::size_t row = 0; row < rows; ++row) {
    const std::span<double> own = std::span(result).subspan(row * columns, columns);
    for (std::size_t i = 0; i < columns; ++i) {
      for (std::size_t k = 0; k < columns; ++k) own[k] += eigen.vectors[row * columns + i] * white[i * columns + k];
    }
    make_largest_positive(own);
  }
  return result;
}

SemiTiedCovariance::SemiTiedCovariance(const std::vector<ClassMoments>& classes)
    : size_(classes.empty() ? 0 : classes.front().mean.size()),
      classes_(classes),
      within_(scatter_of(classes).within),
      rows_(size_ * size_),
      variances_(size_ * classes.size()) {
  const auto prior = static_cast<double>(size_);
  for (ClassMoments& one : classes_) {
    frames_ += one.frames;
    for (std::size_t i = 0; i < within_.size(); ++i) {
      one.covariance[i] = (one.frames * one.covariance[i] + prior * within_[i]) / (one.frames + prior);
    }
  }
  for (std::size_t i = 0; i < size_; ++i) rows_[i * (size_ + 1)] = 1.0 / std::sqrt(within_[i * (size_ + 1)]);
  for (std::size_t row = 0; row < size_; ++row) find_variances(row);
  whitening_rows(within_, size_);  // throws for columns that no transform can part
}

void SemiTiedCovariance::find_variances(std::size_t row) {
  const std::span<const double> own = std::span(rows_).subspan(row * size_, size_);
  double* variance = variances_.data() + row * classes_.size();
  for (const ClassMoments& one : classes_) *variance++ = quadratic_form(own, one.covariance);
}

double SemiTiedCovariance::improve_row(std::size_t row) {
  const std::span<double> own = std::span(rows_).subspan(row * size_, size_);
  const std::span<const double> variances = std::span(variances_).subspan(row * classes_.size(), classes_.size());
  std::vector<double> weighted(size_ * size_);  // G
  double gain = 0.0;
  for (std::size_t c = 0; c < classes_.size(); ++c) {
    const double share = classes_[c].frames / frames_;
    gain += 0.5 * share * std::log(variances[c]);
    for (std::size_t i = 0; i < weighted.size(); ++i) weighted[i] += share / variances[c] * classes_[c].covariance[i];
  }
  std::vector<double> unit(size_);
  unit[row] = 1.0;
  const std::vector<double> cofactors = solve(rows_, unit);  // the column of A^-1
  const std::vector<double> direction = solve(std::move(weighted), cofactors);
  const double length = std::inner_product(direction.begin(), direction.end(), cofactors.begin(), 0.0);
  for (std::size_t i = 0; i < size_; ++i) own[i] = direction[i] / std::sqrt(length);
  find_variances(row);
  for (std::size_t c = 0; c < classes_.size(); ++c) {
    gain -= 0.5 * classes_[c].frames / frames_ * std::log(variances[c]);
  }
  return gain + 0.5 * std::log(length);  // the determinant's, of which the old row has 1
}

double SemiTiedCovariance::log_likelihood() const {
  std::vector<double> identity(size_ * size_);
  for (std::size_t i = 0; i < size_; ++i) identity[i * (size_ + 1)] = 1.0;
  double sum = 0.5 * log_determinant(congruence(rows_, identity, size_), size_);
  for (const ClassMoments& one : classes_) {
    for (std::size_t row = 0; row < size_; ++row) {
      const double variance = quadratic_form(std::span(rows_).subspan(row * size_, size_), one.covariance);
      sum -= 0.5 * one.frames / frames_ * std::log(variance);
    }
  }
  return sum;
}

double SemiTiedCovariance::improve() {
  double gain = 0.0;
  for (std::size_t row = 0; row < size_; ++row) gain += improve_row(row);
  return gain;
}

void SemiTiedCovariance::find() {
  constexpr int kMostTurns = 100;
  constexpr double kLeastGain = 1e-4;
  for (int turn = 0; turn < kMostTurns && improve() > kLeastGain; ++turn) {
  }
}

std::vector<double> SemiTiedCovariance::rows() const {
  std::vector<double> result(rows_);
  for (std::size_t row = 0; row < size_; ++row) {
    const std::span<double> own = std::span(result).subspan(row * size_, size_);
    const double scale = 1.0 / std::sqrt(quadratic_form(own, within_));
    for (double& value : own) value *= scale;
    make_largest_positive(own);
  }
  return result;
}

}  // namespace kivsr::speech
