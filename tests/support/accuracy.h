// Accuracy classes: one threshold for each class that the documentation names.
//   exact          bit for bit (a NaN equals any NaN)
//   last-bit       so many units in the last place of the result's type from the true value
//   reduction(n)   n terms added in any order: n/2 + 2 roundings of the sum of magnitudes
//   estimate       the processor's reciprocal estimates: 12 bits, or 22 after one correction step
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace kivsr::test {

template <class T>
bool same_bits(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
  } else {
    return a == b;
  }
}

template <class T, class Range>
void expect_exact(const Range& actual, const std::vector<T>& expected, const char* what = "") {
  ASSERT_EQ(actual.size(), expected.size()) << what;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_TRUE(same_bits<T>(actual[i], expected[i]))
        << what << " element " << i << " of " << expected.size() << ": " << +actual[i] << ", expected " << +expected[i];
  }
}

// One unit in the last place of T at |x|.
template <class T>
double unit(double x) {
  const double magnitude = std::max(std::abs(x), static_cast<double>(std::numeric_limits<T>::min()));
  return std::ldexp(1.0, std::ilogb(magnitude) - std::numeric_limits<T>::digits + 1);
}

// `actual` lies within `units` last places of T from the true value; infinities and NaN must match.
template <class T>
::testing::AssertionResult within_units(T actual, double truth, double units) {
  if (std::isnan(truth) || std::isinf(truth) || std::isnan(actual) || std::isinf(actual)) {
    return same_bits<double>(static_cast<double>(actual), static_cast<double>(static_cast<T>(truth)))
               ? ::testing::AssertionSuccess()
               : ::testing::AssertionFailure() << actual << ", expected " << truth;
  }
  const double error = std::abs(static_cast<double>(actual) - truth) / unit<T>(truth);
  if (error <= units) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << actual << ", expected " << truth << ": " << error
                                       << " units in the last place";
}

// A sum of n terms of type T whose magnitudes add up to `magnitudes`.
template <class T>
::testing::AssertionResult within_reduction(double actual, double truth, double magnitudes, std::size_t n) {
  const double bound = (static_cast<double>(n) / 2 + 2) * std::numeric_limits<T>::epsilon() * magnitudes;
  if (std::abs(actual - truth) <= bound) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << actual << ", expected " << truth << ", bound " << bound;
}

inline constexpr double kEstimateTolerance = 1.5 / 4096;        // the estimate alone
inline constexpr double kCorrectedTolerance = 1.0 / (1 << 21);  // after one correction step

inline ::testing::AssertionResult within_relative(double actual, double truth, double tolerance) {
  if (std::abs(actual - truth) <= tolerance * std::abs(truth)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << actual << ", expected " << truth << " within " << tolerance;
}

}  // namespace kivsr::test
