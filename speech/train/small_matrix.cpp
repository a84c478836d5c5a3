#include "kivsr/speech/train/small_matrix.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

std::vector<double> product(std::span<const double> row, const std::vector<double>& matrix) {
  std::vector<double> result(row.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    const double* const other = matrix.data() + i * row.size();
    for (std::size_t k = 0; k < row.size(); ++k) result[k] += row[i] * other[k];
  }
  return result;
}

}  // namespace

// The singular vectors of a matrix like this are its eigenvectors.
SymmetricEigen symmetric_eigen(const std::vector<double>& matrix, std::size_t size) {
  constexpr int kMostSweeps = 100;
  const auto width = static_cast<int>(size);
  SymmetricEigen result{std::vector<double>(size), std::vector<double>(size * size)};
  std::vector<double> left(size * size);
  std::vector<double> right(size * size);
  call<kivsSVDSort_64f_D2>(matrix.data(), width, left.data(), width, result.values.data(), right.data(), width, width,
                           width, kMostSweeps);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) result.vectors[k * size + i] = right[i * size + k];
  }
  return result;
}

std::vector<double> congruence(std::span<const double> rows, const std::vector<double>& matrix, std::size_t size) {
  const std::size_t height = rows.size() / size;
  std::vector<double> result(height * height);
  for (std::size_t i = 0; i < height; ++i) {
    const std::vector<double> half = product(rows.subspan(i * size, size), matrix);
    for (std::size_t k = 0; k <= i; ++k) {
      const auto other = rows.subspan(k * size, size);
      result[i * height + k] = std::inner_product(half.begin(), half.end(), other.begin(), 0.0);
      result[k * height + i] = result[i * height + k];
    }
  }
  return result;
}

// Twice the terms below the diagonal: the matrix is symmetric.
double quadratic_form(std::span<const double> row, const std::vector<double>& matrix) {
  double diagonal = 0.0;
  double below = 0.0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const double* const other = matrix.data() + i * row.size();
    below += row[i] * std::inner_product(other, other + i, row.begin(), 0.0);
    diagonal += row[i] * row[i] * other[i];
  }
  return diagonal + 2.0 * below;
}

std::vector<double> solve(std::vector<double> matrix, std::vector<double> right) {
  const std::size_t size = right.size();
  const auto at = [&](std::size_t row, std::size_t column) -> double& { return matrix[row * size + column]; };
  for (std::size_t column = 0; column < size; ++column) {
    std::size_t pivot = column;
    for (std::size_t row = column + 1; row < size; ++row) {
      if (std::abs(at(row, column)) > std::abs(at(pivot, column))) pivot = row;
    }
    if (!(std::abs(at(pivot, column)) > 0.0)) throw Fault("a system of equations has no single solution");
    if (pivot != column) {
      for (std::size_t k = column; k < size; ++k) std::swap(at(pivot, k), at(column, k));
      std::swap(right[pivot], right[column]);
    }
    for (std::size_t row = column + 1; row < size; ++row) {
      const double factor = at(row, column) / at(column, column);
      for (std::size_t k = column; k < size; ++k) at(row, k) -= factor * at(column, k);
      right[row] -= factor * right[column];
    }
  }
  for (std::size_t row = size; row-- > 0;) {
    for (std::size_t k = row + 1; k < size; ++k) right[row] -= at(row, k) * right[k];
    right[row] /= at(row, row);
  }
  return right;
}

}  // namespace kivsr::speech
