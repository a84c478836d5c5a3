// Matrices whose columns are signals of their own.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "support/accuracy.h"
#include "support/guarded.h"

namespace kivsr::test {

// Element n of signal c at n * signals.size() + c.
inline std::vector<float> side_by_side(const std::vector<std::vector<float>>& signals) {
  std::vector<float> matrix(signals[0].size() * signals.size());
  for (std::size_t c = 0; c < signals.size(); ++c) {
    for (std::size_t n = 0; n < signals[c].size(); ++n) matrix[n * signals.size() + c] = signals[c][n];
  }
  return matrix;
}

inline std::vector<float> column(const std::vector<float>& matrix, std::size_t step, std::size_t c) {
  std::vector<float> signal;
  for (std::size_t n = c; n < matrix.size(); n += step) signal.push_back(matrix[n]);
  return signal;
}

// call(src, dst, columns) gives each signal of `signals` the results, a column of `rows` values, that it has alone.
// Returns them.
template <class Call>
std::vector<std::vector<float>> results_side_by_side(const std::vector<std::vector<float>>& signals, std::size_t rows,
                                                     Call call) {
  const Guarded<float> src(side_by_side(signals));
  Guarded<float> dst(rows * signals.size());
  EXPECT_EQ(call(src.data(), dst.data(), static_cast<int>(signals.size())), kivStatusOk);
  std::vector<std::vector<float>> results;
  for (std::size_t c = 0; c < signals.size(); ++c) {
    results.push_back(column(dst.values(), signals.size(), c));
    const Guarded<float> alone(signals[c]);
    Guarded<float> result(rows);
    EXPECT_EQ(call(alone.data(), result.data(), 1), kivStatusOk);
    expect_exact(result, results.back(), "alone");
  }
  return results;
}

}  // namespace kivsr::test
