// Statistics of decision-tree state clustering.
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
  static constexpr auto accumulate = kivsDcsClustLAccumulate_32f;
  static constexpr auto accumulate_direct = kivsDcsClustLAccumulate_DirectVar_32f;
  static constexpr auto likelihood = kivsDcsClustLCompute_32f64f;
};
template <>
struct Api<Kiv64f> {
  static constexpr auto accumulate = kivsDcsClustLAccumulate_64f;
  static constexpr auto accumulate_direct = kivsDcsClustLAccumulate_DirectVar_64f;
  static constexpr auto likelihood = kivsDcsClustLCompute_64f;
};

template <class T>
class Clustering : public ::testing::Test {};
using Floats = ::testing::Types<Kiv32f, Kiv64f>;
TYPED_TEST_SUITE(Clustering, Floats);

TYPED_TEST(Clustering, StatisticsOfOneState) {
  using T = TypeParam;
  Random random(3);
  for (const int len : test_lengths()) {
    const auto n = static_cast<std::size_t>(len);
    const Guarded<T> mean(random.values<T>(n, -2, 2)), values(random.values<T>(n, 0.5, 3));
    const T occ = T(12.5);
    Guarded<T> sum(n), square(n), sum_direct(n), square_direct(n);
    ASSERT_EQ(Api<T>::accumulate(mean.data(), values.data(), sum.data(), square.data(), len, occ), kivStatusOk);
    ASSERT_EQ(Api<T>::accumulate_direct(mean.data(), values.data(), sum_direct.data(), square_direct.data(), len, occ),
              kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      const T m = mean[i];
      ASSERT_EQ(sum[i], m * occ);
      ASSERT_EQ(sum_direct[i], m * occ);
      ASSERT_EQ(square[i], (1 / values[i] + m * m) * occ);
      ASSERT_EQ(square_direct[i], (m * m + values[i]) * occ);
    }
  }
}

// Two states, pooled by addition: the likelihood is that of the mixture's moments.
TYPED_TEST(Clustering, LikelihoodOfAPool) {
  using T = TypeParam;
  Random random(4);
  for (const int len : {1, 5, 8, 11, 39}) {
    const auto n = static_cast<std::size_t>(len);
    Guarded<T> sum(n), square(n), more_sum(n), more_square(n);
    const std::vector<T> m1 = random.values<T>(n, -2, 2), m2 = random.values<T>(n, -2, 2);
    const std::vector<T> v1 = random.values<T>(n, 0.5, 3), v2 = random.values<T>(n, 0.5, 3);
    const double occ1 = 12.5, occ2 = 4, occ = occ1 + occ2;
    Api<T>::accumulate_direct(m1.data(), v1.data(), sum.data(), square.data(), len, T(occ1));
    Api<T>::accumulate_direct(m2.data(), v2.data(), more_sum.data(), more_square.data(), len, T(occ2));
    double logarithms = 0;
    for (std::size_t i = 0; i < n; ++i) {
      sum[i] += more_sum[i];
      square[i] += more_square[i];
      const double m = (occ1 * m1[i] + occ2 * m2[i]) / occ;
      const double s = (occ1 * (double{m1[i]} * m1[i] + v1[i]) + occ2 * (double{m2[i]} * m2[i] + v2[i])) / occ;
      logarithms += std::log(s - m * m);
    }
    double result = 0;
    ASSERT_EQ(Api<T>::likelihood(sum.data(), square.data(), len, &result, T(occ)), kivStatusOk);
    // The statistics are rounded to the type, at most 16 times the variance.
    EXPECT_NEAR(result, -0.5 * occ * (len * (1 + kLogTwoPi) + logarithms),
                occ * len * 16 * double{std::numeric_limits<T>::epsilon()} * 4);
  }
  const T zeros[] = {0}, ones[] = {1};
  double result = 0;
  ASSERT_EQ(Api<T>::likelihood(zeros, ones, 1, &result, 1), kivStatusOk);
  EXPECT_EQ(result, -0.5 * (1 + 1.8378770664093456));
}

TYPED_TEST(Clustering, VariancesThatAreNotPositive) {
  using T = TypeParam;
  const T sums[] = {0, 0, 0}, zero[] = {1, 0, 1}, zero_then_negative[] = {0, -1, 1};
  const T nan[] = {1, std::numeric_limits<T>::quiet_NaN(), 1};
  double result = 1;
  EXPECT_EQ(Api<T>::likelihood(sums, zero, 3, &result, 1), kivStatusInfResult);
  EXPECT_EQ(result, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(Api<T>::likelihood(sums, zero_then_negative, 3, &result, 1), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(result));
  result = 1;
  EXPECT_EQ(Api<T>::likelihood(sums, nan, 3, &result, 1), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(result));
  EXPECT_EQ(Api<T>::likelihood(sums, zero, 3, &result, 0), kivStatusZeroOccupation);
  EXPECT_EQ(result, -1e10);
  EXPECT_EQ(Api<T>::likelihood(sums, zero, 1, &result, std::numeric_limits<T>::denorm_min()), kivStatusOk)
      << "only zero counts as zero";
}

TYPED_TEST(Clustering, ChecksInOrder) {
  using T = TypeParam;
  const T x[] = {1, 2};
  T sum[] = {7, 7}, square[] = {7, 7};
  double result = 7;
  for (int k = 0; k < 4; ++k) {
    const T* const a = k == 0 ? nullptr : x;
    const T* const b = k == 1 ? nullptr : x;
    T* const c = k == 2 ? nullptr : sum;
    T* const d = k == 3 ? nullptr : square;
    EXPECT_EQ(Api<T>::accumulate(a, b, c, d, 0, 1), kivStatusNullPointer) << k;
    EXPECT_EQ(Api<T>::accumulate_direct(a, b, c, d, 0, 1), kivStatusNullPointer) << k;
    if (k < 3) {
      EXPECT_EQ(Api<T>::likelihood(a, b, 0, k == 2 ? nullptr : &result, -1), kivStatusNullPointer) << k;
    }
  }
  EXPECT_EQ(Api<T>::accumulate(x, x, sum, square, 0, 1), kivStatusBadSize);
  EXPECT_EQ(Api<T>::accumulate_direct(x, x, sum, square, -1, 1), kivStatusBadSize);
  EXPECT_EQ(Api<T>::likelihood(x, x, 0, &result, -1), kivStatusBadSize);
  EXPECT_EQ(Api<T>::likelihood(x, x, 2, &result, -1), kivStatusNegOccupation);
  EXPECT_EQ(Api<T>::likelihood(x, x, 2, &result, std::numeric_limits<T>::quiet_NaN()), kivStatusNegOccupation);
  EXPECT_EQ(sum[0] + square[0] + result, 21);
}

}  // namespace
}  // namespace kivsr::test
