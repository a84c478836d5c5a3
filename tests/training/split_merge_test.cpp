// Splitting and merging of Gaussians.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr double kLogTwoPi = 1.8378770664093453;

template <class T>
struct Api;
template <>
struct Api<Kiv32f> {
  static constexpr auto split = kivsGaussianSplit_32f;
  static constexpr auto merge = kivsGaussianMerge_32f;
};
template <>
struct Api<Kiv64f> {
  static constexpr auto split = kivsGaussianSplit_64f;
  static constexpr auto merge = kivsGaussianMerge_64f;
};

template <class T>
class SplitMerge : public ::testing::Test {
 protected:
  Random random{7};
  Guarded<T> vector(std::size_t n, double low, double high) { return Guarded<T>(random.values<T>(n, low, high)); }
};
using Floats = ::testing::Types<Kiv32f, Kiv64f>;
TYPED_TEST_SUITE(SplitMerge, Floats);

TYPED_TEST(SplitMerge, MovesTheMeansByStandardDeviations) {
  using T = TypeParam;
  for (const int len : test_lengths()) {
    const auto n = static_cast<std::size_t>(len);
    Guarded<T> mean = this->vector(n, -3, 3), variance = this->vector(n, 0, 3), mean2(n), variance2(n);
    variance[n - 1] = -1;
    const std::vector<T> old = mean.values(), old_variance = variance.values();
    const T value = T(0.2);
    ASSERT_EQ(Api<T>::split(mean.data(), variance.data(), mean2.data(), variance2.data(), len, value), kivStatusOk);
    expect_exact(variance2, old_variance);
    for (std::size_t i = 0; i + 1 < n; ++i) {
      const T e = value * std::sqrt(old_variance[i]);
      ASSERT_EQ(mean[i], old[i] + e) << i;
      ASSERT_EQ(mean2[i], old[i] - e) << i;
    }
    EXPECT_TRUE(std::isnan(mean[n - 1]) && std::isnan(mean2[n - 1])) << "a negative variance";

    Guarded<T> again(old), again2(n);
    ASSERT_EQ(Api<T>::split(again.data(), variance.data(), again2.data(), variance.data(), len, value), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_TRUE(same_bits(again[i], mean[i]) && same_bits(again2[i], mean2[i])) << "the variances in place";
    }
    ASSERT_EQ(Api<T>::split(again.data(), variance.data(), again2.data(), variance2.data(), len - (len > 1), 0),
              kivStatusOk);
    if (len > 1) {
      EXPECT_EQ(again[0], again2[0]) << "at no distance both are the old mean";
    }
  }
}

TYPED_TEST(SplitMerge, MergingKeepsTheMoments) {
  using T = TypeParam;
  for (const int len : {1, 4, 7, 13, 40, 129}) {
    const auto n = static_cast<std::size_t>(len);
    Guarded<T> m1 = this->vector(n, -3, 3), v1 = this->vector(n, 0.5, 3);
    const Guarded<T> m2 = this->vector(n, -3, 3), v2 = this->vector(n, 0.5, 3);
    Guarded<T> mean(n), variance(n);
    T term = 0;
    ASSERT_EQ(Api<T>::merge(m1.data(), v1.data(), m2.data(), v2.data(), mean.data(), variance.data(), len, &term, 3, 1),
              kivStatusOk);
    long double logarithms = 0;
    long double magnitude = len * kLogTwoPi;
    for (std::size_t i = 0; i < n; ++i) {
      const long double a = m1[i], b = m2[i];
      const long double m = (3 * a + b) / 4;
      const long double v = (3 * (a * a + v1[i]) + b * b + v2[i]) / 4 - m * m;
      ASSERT_NEAR(mean[i], static_cast<double>(m), unit<T>(4)) << i;
      ASSERT_NEAR(variance[i], static_cast<double>(v), 4 * unit<T>(16)) << i;
      logarithms += std::log(v);
      magnitude += std::abs(std::log(v));
    }
    const double truth = static_cast<double>(len * static_cast<long double>(kLogTwoPi) - logarithms);
    // The constant has thirteen decimals.
    EXPECT_NEAR(term, truth, 2 * unit<T>(static_cast<double>(magnitude)) + 1e-13 * len);
    const std::vector<T> merged = mean.values();
    ASSERT_EQ(Api<T>::merge(m1.data(), v1.data(), m2.data(), v2.data(), m1.data(), v1.data(), len, &term, 3, 1),
              kivStatusOk);
    expect_exact(m1, merged, "in place");
    expect_exact(v1, variance.values(), "in place");
  }
}

TYPED_TEST(SplitMerge, StopsAtAVarianceThatIsNotPositive) {
  using T = TypeParam;
  using A = Api<T>;
  const T m[] = {1, 1, 1}, zero[] = {1, 0, 1}, negative[] = {1, -1, 1};
  T mean[] = {9, 9, 9}, variance[] = {9, 9, 9}, term = 0;
  EXPECT_EQ(A::merge(m, zero, m, zero, mean, variance, 3, &term, 1, 1), kivStatusInfResult);
  EXPECT_EQ(term, std::numeric_limits<T>::infinity());
  expect_exact(std::vector<T>(mean, mean + 3), std::vector<T>{1, 1, 9}, "written up to the zero");
  expect_exact(std::vector<T>(variance, variance + 3), std::vector<T>{1, 0, 9}, "written up to the zero");
  EXPECT_EQ(A::merge(m, negative, m, negative, mean, variance, 3, &term, 1, 1), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(term));
  EXPECT_EQ(variance[2], 9);
  EXPECT_EQ(A::merge(m, zero, m, zero, mean, variance, 3, &term, 1, -1), kivStatusInfResult) << "0 / 0";
  EXPECT_EQ(term, std::numeric_limits<T>::infinity());
}

TYPED_TEST(SplitMerge, SizesAreCheckedBeforePointers) {
  using T = TypeParam;
  using A = Api<T>;
  T x[] = {1, 1};
  for (int k = 0; k < 7; ++k) {
    const auto p = [&](int i) { return i == k ? nullptr : x; };
    for (const int len : {0, -1, 2}) {
      const KivStatus expected = len < 1 ? kivStatusBadSize : kivStatusNullPointer;
      EXPECT_EQ(A::merge(p(0), p(1), p(2), p(3), p(4), p(5), len, p(6), 1, 1), expected) << k;
      if (k < 4) {
        EXPECT_EQ(A::split(p(0), p(1), p(2), p(3), len, 1), expected) << k;
      }
    }
  }
  EXPECT_EQ(x[0], 1);
}

}  // namespace
}  // namespace kivsr::test
