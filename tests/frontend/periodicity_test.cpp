// Periodicity against its definition in double precision and on signals of known period.
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

constexpr double kPi = 3.14159265358979323846;

template <class T>
std::vector<T> harmonics(std::size_t n, double period, double amplitude) {
  std::vector<T> x(n);
  for (std::size_t i = 0; i < n; ++i) {
    double sum = 0;
    for (int h = 1; h <= 5; ++h) sum += std::cos(2 * kPi * h * static_cast<double>(i) / period + h * h) / h;
    x[i] = static_cast<T>(amplitude * sum);
  }
  return x;
}

KivStatus peak(const Kiv32f* x, int n, int low, int high, Kiv32f* height, Kiv32f* period) {
  return kivsPeriodicity_32f(x, n, low, high, height, period);
}
KivStatus peak(const Kiv16s* x, int n, int low, int high, Kiv32f* height, Kiv32f* period) {
  return kivsPeriodicity_16s32f(x, n, low, high, height, period);
}
KivStatus lspe(const Kiv32f* x, int n, Kiv32f* r, int* period, int low, int high) {
  return kivsPeriodicityLSPE_32f(x, n, r, period, low, high);
}
KivStatus lspe(const Kiv16s* x, int n, Kiv16s* r, int* period, int low, int high) {
  return kivsPeriodicityLSPE_16s(x, n, r, period, low, high);
}

template <class T>
class Periodicity : public testing::Test {};
using SampleTypes = testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(Periodicity, SampleTypes);

TYPED_TEST(Periodicity, FindsThePeriodWithItsFractionAndNotAMultiple) {
  for (const double period : {20.0, 37.3, 80.0, 133.33, 250.5}) {
    const Guarded<TypeParam> x(harmonics<TypeParam>(1600, period, 8000));
    Guarded<Kiv32f> height(1);
    Guarded<Kiv32f> found(1);
    ASSERT_EQ(peak(x.data(), 1600, 16, 800, height.data(), found.data()), kivStatusOk);
    EXPECT_NEAR(found[0], period, 0.05);
    EXPECT_GT(height[0], 0.99F);
    EXPECT_LE(height[0], 1.0F);
  }
}

TYPED_TEST(Periodicity, HasNoPeakInSilenceAndRamps) {
  std::vector<TypeParam> x(300);
  Kiv32f height = -1;
  Kiv32f period = -1;
  ASSERT_EQ(peak(x.data(), 300, 20, 100, &height, &period), kivStatusOk);
  EXPECT_EQ(height, 0.0F);
  EXPECT_EQ(period, 0.0F);
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = static_cast<TypeParam>(i);
  for (const int high : {20, 21, 100}) {
    ASSERT_EQ(peak(x.data(), 300, 20, high, &height, &period), kivStatusOk);
    EXPECT_EQ(height, 0.0F);
    EXPECT_EQ(period, 0.0F);
  }
}

// R(P) of the documentation, sums in the order of the definition.
template <class T>
double explained(const std::vector<T>& x, std::size_t period) {
  long double i0 = 0;
  long double i1 = 0;
  long double energy = 0;
  for (const T v : x) energy += static_cast<long double>(v) * v;
  for (std::size_t i = 0; i < period && i < x.size(); ++i) {
    long double sum = 0;
    long double squares = 0;
    int count = 0;
    for (std::size_t n = i; n < x.size(); n += period, ++count) {
      sum += x[n];
      squares += static_cast<long double>(x[n]) * x[n];
    }
    i0 += sum * sum / count;
    i1 += squares / count;
  }
  return energy == i1 ? 0.0 : static_cast<double>((i0 - i1) / (energy - i1));
}

TYPED_TEST(Periodicity, LeastSquaresIsTheDefinition) {
  using T = TypeParam;
  Random random(4);
  const double unit = std::is_same_v<T, Kiv16s> ? 32768.0 : 1.0;
  for (const int n : {1, 2, 5, 63, 64, 65, 200, 320, 1023, 1024}) {
    const int high = std::max((n + 15) / 16, 130);
    for (const int low : {1, 20, 100}) {
      const auto x = random.values<T>(static_cast<std::size_t>(n), -30000, 30000);
      const Guarded<T> src(x);
      Guarded<T> r(1);
      Guarded<int> period(1);
      ASSERT_EQ(lspe(src.data(), n, r.data(), period.data(), low, high), kivStatusOk);
      int best = low;
      double most = explained(x, static_cast<std::size_t>(low));
      for (int p = low + 1; p <= high; ++p) {
        const double value = explained(x, static_cast<std::size_t>(p));
        if (value > most + 1e-12) {
          best = p;
          most = value;
        }
      }
      ASSERT_EQ(period[0], best) << n << ' ' << low;
      ASSERT_NEAR(r[0], std::min(most * unit, unit == 1.0 ? 2.0 : 32767.0), unit == 1.0 ? 1e-6 : 0.501)
          << n << ' ' << low;
    }
  }
}

TYPED_TEST(Periodicity, LeastSquaresTakesTheShortestOfEqualPeriods) {
  auto x = harmonics<TypeParam>(40, 40, 5000);
  std::vector<TypeParam> repeated;
  for (int k = 0; k < 20; ++k) repeated.insert(repeated.end(), x.begin(), x.end());
  TypeParam r;
  int period;
  ASSERT_EQ(lspe(repeated.data(), 800, &r, &period, 30, 200), kivStatusOk);
  EXPECT_EQ(period, 40);
  EXPECT_EQ(r, (std::is_same_v<TypeParam, Kiv16s> ? TypeParam{32767} : TypeParam{1}));
  const std::vector<TypeParam> silence(800);
  ASSERT_EQ(lspe(silence.data(), 800, &r, &period, 30, 200), kivStatusOk);
  EXPECT_EQ(period, 30);
  EXPECT_EQ(r, TypeParam{0});
}

TYPED_TEST(Periodicity, ChecksInOrder) {
  using T = TypeParam;
  const std::vector<T> x(2000, T{1});
  const T* const none = nullptr;
  Kiv32f height = 5;
  Kiv32f lag = 5;
  EXPECT_EQ(peak(none, 0, 0, 0, &height, &lag), kivStatusNullPointer);
  EXPECT_EQ(peak(x.data(), 100, 1, 9, nullptr, &lag), kivStatusNullPointer);
  EXPECT_EQ(peak(x.data(), 100, 1, 9, &height, nullptr), kivStatusNullPointer);
  EXPECT_EQ(peak(x.data(), 0, 0, 0, &height, &lag), kivStatusBadSize);
  EXPECT_EQ(peak(x.data(), 100, 0, 200, &height, &lag), kivStatusOutOfRange);
  EXPECT_EQ(peak(x.data(), 100, 9, 8, &height, &lag), kivStatusOutOfRange);
  EXPECT_EQ(peak(x.data(), 100, 9, 100, &height, &lag), kivStatusBadSize);
  EXPECT_EQ(height, 5.0F);
  T r = 5;
  int period = 5;
  EXPECT_EQ(lspe(none, 0, &r, &period, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(lspe(x.data(), 100, nullptr, &period, 1, 9), kivStatusNullPointer);
  EXPECT_EQ(lspe(x.data(), 100, &r, nullptr, 1, 9), kivStatusNullPointer);
  EXPECT_EQ(lspe(x.data(), 0, &r, &period, 0, 0), kivStatusBadSize);
  EXPECT_EQ(lspe(x.data(), 2000, &r, &period, 0, 9), kivStatusOutOfRange);
  EXPECT_EQ(lspe(x.data(), 2000, &r, &period, 9, 8), kivStatusOutOfRange);
  EXPECT_EQ(lspe(x.data(), 1025, &r, &period, 9, 500), kivStatusBadLength);
  EXPECT_EQ(lspe(x.data(), 145, &r, &period, 1, 9), kivStatusBadLength);
  EXPECT_EQ(r, T{5});
  EXPECT_EQ(period, 5);
  EXPECT_EQ(lspe(x.data(), 144, &r, &period, 1, 9), kivStatusOk);
}

TEST(PeriodicityOfFloats, NaNsAndFailedAllocations) {
  auto x = harmonics<Kiv32f>(3000, 50, 1);
  x[500] = std::numeric_limits<Kiv32f>::quiet_NaN();
  Kiv32f r;
  int period;
  ASSERT_EQ(kivsPeriodicityLSPE_32f(x.data(), 1000, &r, &period, 20, 100), kivStatusOk);
  EXPECT_TRUE(std::isnan(r));
  EXPECT_EQ(period, 20);
  Kiv32f lag;
  expect_survives_failed_allocations([&] { return kivsPeriodicity_32f(x.data(), 3000, 20, 1100, &r, &lag); }, 2);
}

}  // namespace
}  // namespace kivsr::test
