// Square matrices of some dozens of rows, in double precision, row after row.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kivsr::speech {

// Eigenvalues of a symmetric matrix without negative ones, the largest first, and its eigenvectors [vector][element].
struct SymmetricEigen {
  std::vector<double> values;
  std::vector<double> vectors;
};
SymmetricEigen symmetric_eigen(const std::vector<double>& matrix, std::size_t size);

// rows [row][size] M rows^T, for a symmetric M.
std::vector<double> congruence(std::span<const double> rows, const std::vector<double>& matrix, std::size_t size);
// row M row^T, for a symmetric M.
double quadratic_form(std::span<const double> row, const std::vector<double>& matrix);

// x of M x = right, by elimination with pivots. Throws Fault where M is singular.
std::vector<double> solve(std::vector<double> matrix, std::vector<double> right);

}  // namespace kivsr::speech
