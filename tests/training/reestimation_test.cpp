// Re-estimation: one body per operation over both float types.
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

TYPED_TEST(Training, FormulasBitForBit) {
  using T = TypeParam;
  using A = Api<T>;
  for (const int len : test_lengths()) {
    const auto n = static_cast<std::size_t>(len);
    const Guarded<T> x = this->vector(len, -3, 3), m = this->vector(len, -3, 3), squares = this->vector(len, 9, 30);
    const Guarded<T> floors = this->vector(len, 1e-3, 1);
    Guarded<T> mean = this->vector(len, -1, 1), mean_sum(x.values()), about(squares.values()), variance(n), moments(n);
    const std::vector<T> old = mean.values();
    const T weight = T(0.7), occ = T(6.3), r = 1 / occ, r2 = 1 / T(2.9);
    ASSERT_EQ(A::accumulate(x.data(), m.data(), mean_sum.data(), about.data(), len, weight), kivStatusOk);
    ASSERT_EQ(A::mean(x.data(), mean.data(), len, occ), kivStatusOk);
    ASSERT_EQ(A::variance(x.data(), squares.data(), floors.data(), variance.data(), len, occ, T(2.9)), kivStatusOk);
    ASSERT_EQ(A::moments(x.data(), squares.data(), moments.data(), len, T(0.9), T(1.1)), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      const T d = x[i] - m[i];
      const T scaled = x[i] * r;
      const T square = x[i] * x[i];
      ASSERT_EQ(mean_sum[i], x[i] + weight * x[i]);
      ASSERT_EQ(about[i], squares[i] + weight * (d * d));
      ASSERT_EQ(mean[i], old[i] + scaled) << "the mean is added to";
      ASSERT_EQ(variance[i], squares[i] * r2 - scaled * scaled);
      ASSERT_EQ(moments[i], static_cast<T>((squares[i] - square * double{T(0.9)}) * double{T(1.1)}));
    }
    Guarded<T> in_place(squares.values());
    ASSERT_EQ(A::moments_in_place(x.data(), in_place.data(), len, T(0.9), T(1.1)), kivStatusOk);
    expect_exact(in_place, moments.values());
  }
}

// What the formulas are for: weighted sums of random vectors give back the distribution's parameters.
TYPED_TEST(Training, RecoversTheParametersOfItsData) {
  using T = TypeParam;
  using A = Api<T>;
  const T mean = T(1.5), deviation = T(0.8), zero = 0, floor = T(1e-3);
  T mean_sum = 0, square_sum = 0, about = 0, unused = 0, estimate = 0, variance = 0, occ = 0;
  for (int t = 0; t < 4000; ++t) {
    const T weight = static_cast<T>(this->random.uniform(0.1, 1));
    const T x = mean + deviation * static_cast<T>(this->random.normal());
    occ += weight;
    ASSERT_EQ(A::accumulate(&x, &zero, &mean_sum, &square_sum, 1, weight), kivStatusOk);
    ASSERT_EQ(A::accumulate(&x, &mean, &unused, &about, 1, weight), kivStatusOk);
  }
  ASSERT_EQ(A::mean(&mean_sum, &estimate, 1, occ), kivStatusOk);
  ASSERT_EQ(A::variance(&mean_sum, &square_sum, &floor, &variance, 1, occ, occ), kivStatusOk);
  EXPECT_NEAR(estimate, mean, 0.05);
  EXPECT_NEAR(variance, deviation * deviation, 0.05);
  EXPECT_NEAR(about / occ, deviation * deviation, 0.05);
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

}  // namespace
}  // namespace kivsr::test
