// Re-estimation, splitting and merging, clustering: one body per operation over both float types.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr double kLogTwoPi = 1.8378770664093453;

template <class T>
struct Api;
template <>
struct Api<Kiv32f> {
  static constexpr auto mean = kivsUpdateMean_32f;
  static constexpr auto variance = kivsUpdateVar_32f;
  static constexpr auto weight = kivsUpdateWeight_32f;
  static constexpr auto constant = kivsUpdateGConst_32f;
  static constexpr auto constant_direct = kivsUpdateGConst_DirectVar_32f;
  static constexpr auto output = kivsOutProbPreCalc_32f;
  static constexpr auto output_in_place = kivsOutProbPreCalc_32f_I;
  static constexpr auto blend = kivsWeightedSum_32f;
  static constexpr auto blend_half = kivsWeightedSumHalf_32f;
  static constexpr auto moments = kivsNewVar_32f;
  static constexpr auto moments_in_place = kivsNewVar_32f_I;
  static constexpr auto accumulate = kivsMeanVarAcc_32f;
  static constexpr auto split = kivsGaussianSplit_32f;
  static constexpr auto merge = kivsGaussianMerge_32f;
  static constexpr auto cluster = kivsDcsClustLAccumulate_32f;
  static constexpr auto cluster_direct = kivsDcsClustLAccumulate_DirectVar_32f;
  static constexpr auto likelihood = kivsDcsClustLCompute_32f64f;
};
template <>
struct Api<Kiv64f> {
  static constexpr auto mean = kivsUpdateMean_64f;
  static constexpr auto variance = kivsUpdateVar_64f;
  static constexpr auto weight = kivsUpdateWeight_64f;
  static constexpr auto constant = kivsUpdateGConst_64f;
  static constexpr auto constant_direct = kivsUpdateGConst_DirectVar_64f;
  static constexpr auto output = kivsOutProbPreCalc_64f;
  static constexpr auto output_in_place = kivsOutProbPreCalc_64f_I;
  static constexpr auto blend = kivsWeightedSum_64f;
  static constexpr auto blend_half = kivsWeightedSumHalf_64f;
  static constexpr auto moments = kivsNewVar_64f;
  static constexpr auto moments_in_place = kivsNewVar_64f_I;
  static constexpr auto accumulate = kivsMeanVarAcc_64f;
  static constexpr auto split = kivsGaussianSplit_64f;
  static constexpr auto merge = kivsGaussianMerge_64f;
  static constexpr auto cluster = kivsDcsClustLAccumulate_64f;
  static constexpr auto cluster_direct = kivsDcsClustLAccumulate_DirectVar_64f;
  static constexpr auto likelihood = kivsDcsClustLCompute_64f;
};

template <class T>
class Training : public ::testing::Test {
 protected:
  Random random{7};
  Guarded<T> vector(int n, double low, double high) {
    return Guarded<T>(random.values<T>(static_cast<std::size_t>(n), low, high));
  }
};
using Floats = ::testing::Types<Kiv32f, Kiv64f>;
TYPED_TEST_SUITE(Training, Floats);

TYPED_TEST(Training, RecoversTheParametersOfItsData) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int n : {1, 2, 3, 5, 8, 13, 39, 100}) {
    auto truth_mean = this->vector(n, -3, 3);
    auto truth_deviation = this->vector(n, 0.5, 2);
    Guarded<T> mean_sum(n), square_sum(n), moment(n), about(n), mean(n), variance(n), floor(n);
    for (auto* v : {&mean_sum, &square_sum, &moment, &about, &mean}) std::fill(v->begin(), v->end(), T{0});
    std::fill(floor.begin(), floor.end(), T(1e-3));
    Guarded<T> x(n);
    double occupation = 0;
    for (int t = 0; t < 4000; ++t) {
      const T weight = static_cast<T>(this->random.uniform(0.1, 1));
      occupation += weight;
      for (int i = 0; i < n; ++i) x[i] = static_cast<T>(truth_mean[i] + truth_deviation[i] * this->random.normal());
      ASSERT_EQ(A::accumulate(x.data(), truth_mean.data(), mean_sum.data(), about.data(), n, weight), 0);
      for (int i = 0; i < n; ++i) square_sum[i] += weight * x[i] * x[i];
    }
    const T occ = static_cast<T>(occupation);
    ASSERT_EQ(A::mean(mean_sum.data(), mean.data(), n, occ), kivStatusOk);
    ASSERT_EQ(A::variance(mean_sum.data(), square_sum.data(), floor.data(), variance.data(), n, occ, occ), kivStatusOk);
    for (int i = 0; i < n; ++i) {
      EXPECT_NEAR(mean[i], truth_mean[i], 0.25);
      EXPECT_NEAR(variance[i] / (truth_deviation[i] * truth_deviation[i]), 1, 0.25);
      EXPECT_NEAR(about[i] / occ, variance[i], 0.1);
      moment[i] = square_sum[i] / occ;
    }
    Guarded<T> from_moments(n);
    ASSERT_EQ(A::moments(mean.data(), moment.data(), from_moments.data(), n, 1, 1), 0);
    ASSERT_EQ(A::moments_in_place(mean.data(), moment.data(), n, 1, 1), 0);
    expect_exact(moment, from_moments.values());
    for (int i = 0; i < n; ++i) EXPECT_NEAR(from_moments[i], variance[i], 1e-3);
    // The mean is added to.
    const auto once = mean.values();
    ASSERT_EQ(A::mean(mean_sum.data(), mean.data(), n, occ), kivStatusOk);
    for (int i = 0; i < n; ++i) EXPECT_EQ(mean[i], once[i] + mean_sum[i] * (T{1} / occ));
  }
}

TYPED_TEST(Training, FloorsCountEqualValues) {
  using T = TypeParam;
  using A = Api<T>;
  for (int n = 1; n <= 19; ++n) {
    for (int floored = -1; floored < n; ++floored) {
      Guarded<T> zeros(n), squares(n), floors(n), result(n);
      for (int i = 0; i < n; ++i) {
        zeros[i] = 0;
        squares[i] = T(i + 2);
        floors[i] = i == floored ? squares[i] : T{1};
      }
      ASSERT_EQ(A::variance(zeros.data(), squares.data(), floors.data(), result.data(), n, 1, 1),
                floored >= 0 ? kivStatusFloored : kivStatusOk);
      expect_exact(result, squares.values());
      T sum;
      const T floor = floored >= 0 ? T(floored + 2) : T(0.5);
      ASSERT_EQ(A::weight(squares.data(), result.data(), n, &sum, 1, floor),
                floored >= 0 ? kivStatusFloored : kivStatusOk);
      T expected = 0;
      for (int i = 0; i < n; ++i) {
        EXPECT_EQ(result[i], std::max(floor, squares[i]));
        expected += result[i];
      }
      EXPECT_EQ(sum, expected);
    }
  }
}

TYPED_TEST(Training, OccupationsAreCheckedInOrder) {
  using T = TypeParam;
  using A = Api<T>;
  T x[] = {1, 2}, y[] = {5, 6}, sum = 9;
  const T nan = std::numeric_limits<T>::quiet_NaN(), tiny = std::numeric_limits<T>::min();
  EXPECT_EQ(A::mean(nullptr, y, 0, -1), kivStatusNullPointer);
  EXPECT_EQ(A::mean(x, y, 0, -1), kivStatusBadSize);
  for (const T occ : {T{-1}, nan, -std::numeric_limits<T>::infinity()}) {
    EXPECT_EQ(A::mean(x, y, 2, occ), kivStatusNegOccupation);
    EXPECT_EQ(A::variance(x, x, x, y, 2, 0, occ), kivStatusNegOccupation);
    EXPECT_EQ(A::weight(x, y, 2, &sum, occ, 0), kivStatusNegOccupation);
  }
  for (const T occ : {T{0}, T{-0.0}, tiny, tiny / 2}) {
    EXPECT_EQ(A::mean(x, y, 2, occ), kivStatusZeroOccupation);
    EXPECT_EQ(A::variance(x, x, x, y, 2, 1, occ), kivStatusZeroOccupation);
    EXPECT_EQ(A::variance(x, x, x, y, 2, occ, 1), kivStatusZeroOccupation);
    EXPECT_EQ(A::weight(x, y, 2, &sum, occ, 0), kivStatusZeroOccupation);
  }
  EXPECT_EQ(y[0], 5);
  EXPECT_EQ(sum, 9);
  EXPECT_EQ(A::mean(x, y, 2, tiny * 2), kivStatusOk);
}

TYPED_TEST(Training, GaussianConstants) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int n : {1, 3, 39, 1000}) {
    auto variance = this->vector(n, 0.1, 10);
    Guarded<T> inverse(n);
    double truth = n * kLogTwoPi;
    for (int i = 0; i < n; ++i) {
      inverse[i] = 1 / variance[i];
      truth += std::log(static_cast<double>(variance[i]));
    }
    const double tolerance = 3e-7 * n * 3 + 1e-12;
    T direct, from_inverse;
    ASSERT_EQ(A::constant(inverse.data(), n, &from_inverse), kivStatusOk);
    ASSERT_EQ(A::constant_direct(variance.data(), n, &direct), kivStatusOk);
    EXPECT_NEAR(from_inverse, truth, tolerance);
    EXPECT_NEAR(direct, truth, tolerance);
  }
  T one = 1, result;
  for (const auto form : {A::constant, A::constant_direct}) {
    ASSERT_EQ(form(&one, 1, &result), kivStatusOk);
    EXPECT_EQ(result, static_cast<T>(1.8378770664093));
    T zero[] = {1, 0}, negative[] = {1, -2};
    EXPECT_EQ(form(zero, 2, &result), kivStatusInfResult);
    EXPECT_EQ(result, std::numeric_limits<T>::infinity());
    EXPECT_EQ(form(negative, 2, &result), kivStatusNanResult);
    EXPECT_TRUE(std::isnan(result));
    EXPECT_EQ(form(nullptr, 0, &result), kivStatusNullPointer);
    EXPECT_EQ(form(zero, 0, &result), kivStatusBadSize);
  }
}

TYPED_TEST(Training, BlendsAndOutputConstants) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int n : {1, 3, 4, 11, 12, 39}) {
    auto a = this->vector(n, -9, 9), b = this->vector(n, -9, 9);
    Guarded<T> result(n);
    ASSERT_EQ(A::blend(a.data(), b.data(), result.data(), n, 3, 1), kivStatusOk);
    for (int i = 0; i < n; ++i) EXPECT_TRUE(within_units<T>(result[i], (3.0 * a[i] + b[i]) / 4, 8)) << i;
    ASSERT_EQ(A::blend_half(a.data(), b.data(), result.data(), n, 3, 2), kivStatusOk);
    Guarded<T> same(n);
    ASSERT_EQ(A::blend(a.data(), b.data(), same.data(), n, 3, 1), kivStatusOk);
    expect_exact(result, same.values());
    ASSERT_EQ(A::output(a.data(), b.data(), result.data(), n), kivStatusOk);
    for (int i = 0; i < n; ++i) EXPECT_EQ(result[i], a[i] - b[i] * T(0.5));
    ASSERT_EQ(A::output_in_place(a.data(), b.data(), n), kivStatusOk);
    expect_exact(a, result.values());
  }
  T x[] = {1, 2, 3, 1}, y[] = {2, 1, 3, std::numeric_limits<T>::quiet_NaN()}, z[4];
  const T inf = std::numeric_limits<T>::infinity();
  EXPECT_EQ(A::blend(x, y, z, 4, 1, -1), kivStatusDivByZero);
  EXPECT_EQ(z[0], -inf);
  EXPECT_EQ(z[1], inf);
  EXPECT_TRUE(std::isnan(z[2]) && std::isnan(z[3]));
  EXPECT_EQ(A::blend(x, y, z, 4, std::numeric_limits<T>::quiet_NaN(), 1), kivStatusDivByZero);
}

TEST(TrainingIntegers, RoundToNearestEven) {
  Kiv16s a[] = {3, 5, -3, 32767}, b[] = {0, 0, 0, 32767}, r[4];
  ASSERT_EQ(kivsWeightedSum_16s(a, b, r, 4, 1, 1), kivStatusOk);  // 1.5, 2.5, -1.5
  expect_exact(std::vector<Kiv16s>(r, r + 4), std::vector<Kiv16s>{2, 2, -2, 32767});
  ASSERT_EQ(kivsWeightedSum_16s(a, b, r, 4, 32767, -32766), kivStatusOk);
  expect_exact(std::vector<Kiv16s>(r, r + 4), std::vector<Kiv16s>{32767, 32767, -32768, 32767});
  ASSERT_EQ(kivsWeightedSumHalf_16s(a, b, r, 4, 1, 2), kivStatusOk);
  expect_exact(std::vector<Kiv16s>(r, r + 4), std::vector<Kiv16s>{2, 2, -2, 32767});
  ASSERT_EQ(kivsWeightedSum_16s(a, b, r, 4, 5, -5), kivStatusDivByZero);
  expect_exact(std::vector<Kiv16s>(r, r + 4), std::vector<Kiv16s>(4, -32768));

  const Kiv32s mean[] = {3, 46341, -46341, 2}, square[] = {14, 2147483647, 0, 4};
  Kiv32s v[] = {14, 2147483647, 0, 4};
  Kiv32s d[4];
  ASSERT_EQ(kivsNewVar_32s_Sfs(mean, square, d, 4, 1, 1, 1), kivStatusOk);  // 2.5, -2317, -1073744140.5
  expect_exact(std::vector<Kiv32s>(d, d + 4), std::vector<Kiv32s>{2, -2317, -1073744140, 0});
  ASSERT_EQ(kivsNewVar_32s_ISfs(mean, v, 4, 1, 1, -40), kivStatusOk);
  expect_exact(std::vector<Kiv32s>(v, v + 4), std::vector<Kiv32s>{2147483647, -2147483647 - 1, -2147483647 - 1, 0});
}

TEST(TrainingIntegers, IgnoreTheCallersRoundingMode) {
  const std::vector<Kiv16s> a = {3, 5, -3, 7}, b(4);
  const std::vector<Kiv32s> mean = {3, 1, -2, 0}, square = {14, -2, 7, 3};
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv16s> blend(4);
    std::vector<Kiv32s> moments(4);
    kivsWeightedSum_16s(a.data(), b.data(), blend.data(), 4, 1, 1);
    kivsNewVar_32s_Sfs(mean.data(), square.data(), moments.data(), 4, 1, 1, 1);
    moments.insert(moments.end(), blend.begin(), blend.end());
    return moments;
  });
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

TYPED_TEST(Training, SplitAndMergeKeepTheMoments) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int n : {1, 4, 7, 13, 40}) {
    auto mean = this->vector(n, -3, 3), variance = this->vector(n, 0.5, 3);
    const auto old = mean.values();
    Guarded<T> mean2(n), variance2(n), merged(n), merged_variance(n);
    ASSERT_EQ(A::split(mean.data(), variance.data(), mean2.data(), variance2.data(), n, T(0.2)), kivStatusOk);
    expect_exact(variance2, variance.values());
    T term;
    ASSERT_EQ(A::merge(mean.data(), variance.data(), mean2.data(), variance2.data(), merged.data(),
                       merged_variance.data(), n, &term, 2, 2),
              kivStatusOk);
    double truth = n * kLogTwoPi;
    for (int i = 0; i < n; ++i) {
      EXPECT_NEAR(mean[i] - mean2[i], 0.4 * std::sqrt(variance[i]), 1e-5);
      EXPECT_NEAR(merged[i], old[i], 1e-5);
      EXPECT_NEAR(merged_variance[i], variance[i] * 1.04, 1e-4);
      truth -= std::log(static_cast<double>(merged_variance[i]));
    }
    EXPECT_NEAR(term, truth, 1e-4);
  }
  T m[] = {1, 1, 1}, v[] = {1, 0, 1}, bad[] = {1, -1, 1}, dm[] = {9, 9, 9}, dv[] = {9, 9, 9}, det = 0;
  EXPECT_EQ(A::merge(m, v, m, v, dm, dv, 3, &det, 1, 1), kivStatusInfResult);
  EXPECT_TRUE(det == std::numeric_limits<T>::infinity() && dm[1] == 1 && dv[1] == 0 && dm[2] == 9 && dv[2] == 9);
  EXPECT_EQ(A::merge(m, bad, m, bad, dm, dv, 3, &det, 1, 1), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(det));
  EXPECT_EQ(A::merge(m, v, m, v, dm, dv, 3, &det, 1, -1), kivStatusInfResult);  // 0/0: neither below nor above zero
  EXPECT_EQ(A::merge(m, v, m, v, dm, dv, 0, nullptr, 1, 1), kivStatusBadSize);
  EXPECT_EQ(A::merge(m, v, m, v, dm, dv, 3, nullptr, 1, 1), kivStatusNullPointer);
  EXPECT_EQ(A::split(m, bad, dm, dv, 2, 1), kivStatusOk);
  EXPECT_TRUE(std::isnan(dm[1]) && std::isnan(m[1]));
  EXPECT_EQ(A::split(nullptr, v, dm, dv, 0, 1), kivStatusBadSize);
  EXPECT_EQ(A::split(nullptr, v, dm, dv, 1, 1), kivStatusNullPointer);
}

TYPED_TEST(Training, ClusterLikelihoods) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int n : {1, 5, 8, 11, 39}) {
    auto mean = this->vector(n, -2, 2), variance = this->vector(n, 0.5, 3);
    Guarded<T> inverse(n), sum(n), square(n), sum2(n), square2(n);
    double logs = 0;
    for (int i = 0; i < n; ++i) {
      inverse[i] = 1 / variance[i];
      logs += std::log(static_cast<double>(variance[i]));
    }
    ASSERT_EQ(A::cluster(mean.data(), inverse.data(), sum.data(), square.data(), n, T(12.5)), 0);
    ASSERT_EQ(A::cluster_direct(mean.data(), variance.data(), sum2.data(), square2.data(), n, T(12.5)), 0);
    expect_exact(sum, sum2.values());
    for (int i = 0; i < n; ++i) EXPECT_TRUE(within_units<T>(square[i], square2[i], 4));
    double result;
    ASSERT_EQ(A::likelihood(sum.data(), square.data(), n, &result, T(12.5)), kivStatusOk);
    EXPECT_NEAR(result, -0.5 * 12.5 * (n * (1 + kLogTwoPi) + logs), 1e-3 * n);
  }
  double result = 1;
  T s[] = {0, 0}, zero_then_negative[] = {0, -1}, one[] = {1, 0};
  EXPECT_EQ(A::likelihood(s, one, 1, &result, 1), kivStatusOk);
  EXPECT_EQ(result, -0.5 * (1 + 1.8378770664093456));
  EXPECT_EQ(A::likelihood(s, one, 2, &result, 1), kivStatusInfResult);
  EXPECT_EQ(result, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(A::likelihood(s, zero_then_negative, 2, &result, 1), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(result));
  EXPECT_EQ(A::likelihood(s, one, 2, &result, 0), kivStatusZeroOccupation);
  EXPECT_EQ(result, -1e10);
  EXPECT_EQ(A::likelihood(s, one, 0, &result, -1), kivStatusBadSize);
  EXPECT_EQ(A::likelihood(s, one, 2, &result, -1), kivStatusNegOccupation);
  EXPECT_EQ(A::likelihood(nullptr, one, 0, &result, -1), kivStatusNullPointer);
  EXPECT_EQ(A::cluster(s, one, nullptr, s, 0, 1), kivStatusNullPointer);
  EXPECT_EQ(A::cluster_direct(s, one, s, s, 0, 1), kivStatusBadSize);
}

}  // namespace
}  // namespace kivsr::test
