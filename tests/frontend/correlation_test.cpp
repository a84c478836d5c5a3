// Correlation coefficients against their definition in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <class T>
long double product_sum(const T* a, const T* b, std::size_t len) {
  long double sum = 0;
  for (std::size_t i = 0; i < len; ++i) sum += static_cast<long double>(a[i]) * b[i];
  return sum;
}

KivStatus coefficient(const Kiv32f* a, const Kiv32f* b, int n, Kiv32f* r) { return kivsCrossCorrCoeff_32f(a, b, n, r); }
KivStatus coefficient(const Kiv16s* a, const Kiv16s* b, int n, Kiv32f* r) {
  return kivsCrossCorrCoeff_16s32f(a, b, n, r);
}
KivStatus over(const Kiv32f* a, const Kiv32f* b, int n, Kiv32f val, Kiv32f* r) {
  return kivsCrossCorrCoeffPartial_32f(a, b, n, val, r);
}
KivStatus over(const Kiv16s* a, const Kiv16s* b, int n, Kiv32f val, Kiv32f* r) {
  return kivsCrossCorrCoeffPartial_16s32f(a, b, n, val, r);
}
KivStatus lags(const Kiv32f* x, int n, int low, int high, Kiv32f* r) {
  return kivsCrossCorrCoeffLag_32f(x, n, low, high, r);
}
KivStatus lags(const Kiv16s* x, int n, int low, int high, Kiv32f* r) {
  return kivsCrossCorrCoeffLag_16s32f(x, n, low, high, r);
}

template <class T>
class CrossCorrelation : public testing::Test {};
using SampleTypes = testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(CrossCorrelation, SampleTypes);

TYPED_TEST(CrossCorrelation, OfTwoVectorsIsTheRoundedDefinition) {
  using T = TypeParam;
  Random random(5);
  for (const int n : test_lengths()) {
    const std::size_t len = static_cast<std::size_t>(n);
    const Guarded<T> a(random.values<T>(len, -32768, 32767));
    const Guarded<T> b(random.values<T>(len, -32768, 32767));
    const long double sum = product_sum(a.data(), b.data(), len);
    const long double energies = product_sum(a.data(), a.data(), len) * product_sum(b.data(), b.data(), len);
    Guarded<Kiv32f> r(1);
    if (energies > 0) {
      ASSERT_EQ(coefficient(a.data(), b.data(), n, r.data()), kivStatusOk);
      ASSERT_NEAR(r[0], static_cast<double>(sum / std::sqrt(energies)), 6e-8) << n;
      ASSERT_EQ(coefficient(a.data(), a.data(), n, r.data()), kivStatusOk);
      ASSERT_EQ(r[0], 1.0F) << n;
    }
    ASSERT_EQ(over(a.data(), b.data(), n, -2.5e6F, r.data()), kivStatusOk);
    const double magnitudes = 32768.0 * 32768.0 * n;
    ASSERT_NEAR(r[0], static_cast<double>(sum / -2.5e6L),
                1e-7 * std::abs(static_cast<double>(sum / 2.5e6L)) + 1e-16 * magnitudes);
  }
}

TEST(CrossCorrelationOfTwo, ExtremesStayInRange) {
  // The largest 16-bit energy, exact in 64 bits; floats whose squares leave single precision.
  const std::vector<Kiv16s> lowest(70000, -32768);
  Kiv32f r;
  ASSERT_EQ(kivsCrossCorrCoeff_16s32f(lowest.data(), lowest.data(), 70000, &r), kivStatusOk);
  EXPECT_EQ(r, 1.0F);
  for (const float size : {1e-30F, 1e30F}) {
    const Kiv32f x[3] = {size, 2 * size, -size};
    const Kiv32f y[3] = {-size, -2 * size, size};
    ASSERT_EQ(kivsCrossCorrCoeff_32f(x, y, 3, &r), kivStatusOk);
    EXPECT_EQ(r, -1.0F);
  }
  const Kiv32f zeros[3] = {};
  const Kiv32f bad[3] = {1, static_cast<Kiv32f>(kNaN), 2};
  EXPECT_EQ(kivsCrossCorrCoeff_32f(zeros, zeros, 3, &r), kivStatusDivByZero);
  EXPECT_TRUE(std::isnan(r));
  EXPECT_EQ(kivsCrossCorrCoeff_32f(bad, bad, 3, &r), kivStatusOk);
  EXPECT_TRUE(std::isnan(r));
}

template <class T>
std::vector<double> expected_lags(const std::vector<T>& x, std::size_t len, std::size_t low, std::size_t high) {
  std::vector<double> r;
  const long double first = product_sum(x.data(), x.data(), len);
  for (std::size_t lag = low; lag <= high; ++lag) {
    const long double energy = product_sum(x.data() + lag, x.data() + lag, len);
    const long double sum = product_sum(x.data(), x.data() + lag, len);
    r.push_back(first * energy == 0 ? 0.0 : static_cast<double>(sum / std::sqrt(first * energy)));
  }
  return r;
}

TYPED_TEST(CrossCorrelation, OfLagsIsTheDefinition) {
  using T = TypeParam;
  Random random(6);
  for (const int len : {1, 2, 3, 8, 31, 120, 129, 300}) {
    for (const int count : {1, 2, 3, 7, 8, 9, 15, 16, 17, 33, 64, 65, 200}) {
      for (const int low : {0, 1, 20}) {
        const int high = low + count - 1;
        const auto x = random.values<T>(static_cast<std::size_t>(len + high), -32768, 32767);
        const Guarded<T> src(x, count % 2 == 0 ? GuardAt::kEnd : GuardAt::kStart);
        Guarded<Kiv32f> r(static_cast<std::size_t>(count));
        ASSERT_EQ(lags(src.data(), len, low, high, r.data()), kivStatusOk);
        const auto truth = expected_lags(x, static_cast<std::size_t>(len), static_cast<std::size_t>(low),
                                         static_cast<std::size_t>(high));
        for (std::size_t k = 0; k < r.size(); ++k) ASSERT_NEAR(r[k], truth[k], 2e-6) << len << ' ' << count << ' ' << k;
        if (low == 0) {
          ASSERT_NEAR(r[0], 1.0F, 1e-6);
        }
      }
    }
  }
}

TYPED_TEST(CrossCorrelation, OfALagDoesNotDependOnTheOthers) {
  using T = TypeParam;
  const auto x = Random(7).values<T>(700, -32768, 32767);
  std::vector<Kiv32f> all(400);
  ASSERT_EQ(lags(x.data(), 300, 1, 400, all.data()), kivStatusOk);
  for (const auto& [low, high] : {std::pair(1, 1), std::pair(3, 12), std::pair(5, 300), std::pair(399, 400)}) {
    std::vector<Kiv32f> some(static_cast<std::size_t>(high - low + 1));
    ASSERT_EQ(lags(x.data(), 300, low, high, some.data()), kivStatusOk);
    expect_exact<Kiv32f>(some, std::vector<Kiv32f>(all.begin() + low - 1, all.begin() + high));
  }
}

TYPED_TEST(CrossCorrelation, ThroughTheFftAgrees) {
  using T = TypeParam;
  const auto x = Random(8).values<T>(2500, -32768, 32767);
  const Guarded<T> src(x);
  for (const auto& [len, low, high] :
       {std::tuple(1200, 0, 1000), std::tuple(1024, 476, 1476), std::tuple(800, 300, 1700)}) {
    Guarded<Kiv32f> r(static_cast<std::size_t>(high - low + 1));
    ASSERT_EQ(lags(src.data(), len, low, high, r.data()), kivStatusOk);
    const auto truth =
        expected_lags(x, static_cast<std::size_t>(len), static_cast<std::size_t>(low), static_cast<std::size_t>(high));
    for (std::size_t k = 0; k < r.size(); ++k) ASSERT_NEAR(r[k], truth[k], 2e-6) << len << ' ' << k;
  }
}

// A quiet stretch behind a loud one: sums that subtract what leaves a window would be left with its rounding.
TEST(CrossCorrelationOfLags, QuietStretchesHaveTheirOwnEnergy) {
  std::vector<Kiv32f> x(1000);
  Random random(9);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = static_cast<Kiv32f>(random.normal() * (i < 400 ? 1e4 : i < 700 ? 1e-5 : 0.0));
  }
  std::vector<Kiv32f> r(801);
  ASSERT_EQ(kivsCrossCorrCoeffLag_32f(x.data(), 200, 0, 800, r.data()), kivStatusDivByZero);
  const auto truth = expected_lags(x, 200, 0, 800);
  for (std::size_t k = 0; k < r.size(); ++k) ASSERT_NEAR(r[k], truth[k], 2e-6) << k;
  EXPECT_EQ(r[700], 0.0F);
  EXPECT_NE(r[450], 0.0F);

  x[405] = static_cast<Kiv32f>(kNaN);
  ASSERT_EQ(kivsCrossCorrCoeffLag_32f(x.data(), 200, 0, 300, r.data()), kivStatusOk);
  for (int k = 0; k <= 300; ++k) ASSERT_EQ(std::isnan(r[static_cast<std::size_t>(k)]), k > 205) << k;
}

TYPED_TEST(CrossCorrelation, ChecksInOrder) {
  using T = TypeParam;
  const T x[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const T* const none = nullptr;
  Kiv32f r[8];
  EXPECT_EQ(coefficient(none, x, 0, r), kivStatusNullPointer);
  EXPECT_EQ(coefficient(x, none, 4, r), kivStatusNullPointer);
  EXPECT_EQ(coefficient(x, x, 4, nullptr), kivStatusNullPointer);
  EXPECT_EQ(coefficient(x, x, 0, r), kivStatusBadSize);
  EXPECT_EQ(over(x, none, 0, 0, r), kivStatusNullPointer);
  EXPECT_EQ(over(x, x, -1, 0, r), kivStatusBadSize);
  for (const double val : {0.0, -0.0, kNaN}) {
    EXPECT_EQ(over(x, x, 4, static_cast<Kiv32f>(val), r), kivStatusOutOfRange);
  }
  EXPECT_EQ(over(x, x, 4, std::numeric_limits<Kiv32f>::denorm_min(), r), kivStatusOk);
  EXPECT_EQ(lags(none, 0, -1, -1, r), kivStatusNullPointer);
  EXPECT_EQ(lags(x, 4, 0, 4, nullptr), kivStatusNullPointer);
  EXPECT_EQ(lags(x, 0, -1, 4, r), kivStatusBadSize);
  EXPECT_EQ(lags(x, 4, -1, 4, r), kivStatusOutOfRange);
  EXPECT_EQ(lags(x, 4, 3, 2, r), kivStatusOutOfRange);
  EXPECT_EQ(lags(x, 4, 2, 2, r), kivStatusOk);
}

TEST(CrossCorrelationOfLags, SurvivesFailedAllocations) {
  const std::vector<Kiv32f> x(3000, 1.0F);
  const std::vector<Kiv16s> y(3000, 1);
  std::vector<Kiv32f> r(1501);
  expect_survives_failed_allocations([&] { return kivsCrossCorrCoeffLag_32f(x.data(), 600, 0, 1100, r.data()); });
  expect_survives_failed_allocations([&] { return kivsCrossCorrCoeffLag_32f(x.data(), 1500, 0, 1500, r.data()); }, 2);
  expect_survives_failed_allocations([&] { return kivsCrossCorrCoeffLag_16s32f(y.data(), 100, 0, 50, r.data()); });
  const AllocationWatch watch;
  ASSERT_EQ(kivsCrossCorrCoeffLag_32f(x.data(), 512, 0, 1023, r.data()), kivStatusOk);
  EXPECT_EQ(AllocationWatch::calls(), 0);
}

}  // namespace
}  // namespace kivsr::test
