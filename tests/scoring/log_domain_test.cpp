// Log-domain arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr double kCutOff = -15.3195879547406;
constexpr double kLogZero = -4500000.0;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNan = std::nan("");

// The definitions, in extended precision.
long double log_add(long double a, long double b) {
  const long double high = b > a ? b : a;
  const long double low = b > a ? a : b;
  if (low - high < kCutOff) return std::max<long double>(high, kLogZero);
  return high + std::log1p(std::exp(low - high));
}
template <class T>
long double log_sum(const std::vector<T>& x) {
  long double running = x[0];
  for (std::size_t i = 1; i < x.size(); ++i) running = log_add(running, x[i]);
  return running;
}

KivStatus add(const float* a, float* b, int n, int hint) { return kivsLogAdd_32f(a, b, n, hint); }
KivStatus add(const double* a, double* b, int n, int hint) { return kivsLogAdd_64f(a, b, n, hint); }
KivStatus add(const Kiv32s* a, Kiv32s* b, int n, int sf, int hint) { return kivsLogAdd_32s_Sfs(a, b, n, sf, hint); }
KivStatus add(const Kiv16s* a, Kiv16s* b, int n, int sf, int hint) { return kivsLogAdd_16s_Sfs(a, b, n, sf, hint); }
KivStatus sum(const float* x, float* y, int n) { return kivsLogSum_32f(x, y, n); }
KivStatus sum(const double* x, double* y, int n) { return kivsLogSum_64f(x, y, n); }
KivStatus sum(const Kiv32s* x, Kiv32s* y, int n, int sf) { return kivsLogSum_32s_Sfs(x, y, n, sf); }
KivStatus sum(const Kiv16s* x, Kiv16s* y, int n, int sf) { return kivsLogSum_16s_Sfs(x, y, n, sf); }
KivStatus subtract(const float* a, float* b, int n) { return kivsLogSub_32f(a, b, n); }
KivStatus subtract(const double* a, double* b, int n) { return kivsLogSub_64f(a, b, n); }
KivStatus subtract(const Kiv32s* a, Kiv32s* b, int n, int sf) { return kivsLogSub_32s_Sfs(a, b, n, sf); }
KivStatus subtract(const Kiv16s* a, Kiv16s* b, int n, int sf) { return kivsLogSub_16s_Sfs(a, b, n, sf); }

template <class T>
T added(double a, double b, int hint = kivLogAddHintAc) {
  const T x = static_cast<T>(a);
  T y = static_cast<T>(b);
  EXPECT_EQ(add(&x, &y, 1, hint), kivStatusOk);
  return y;
}
template <class T>
T summed(const std::vector<T>& x) {
  const Guarded<T> src(x);
  Guarded<T> dst(1);
  EXPECT_EQ(sum(src.data(), dst.data(), static_cast<int>(x.size())), kivStatusOk);
  return dst[0];
}

template <class T>
class LogDomain : public ::testing::Test {};
using Floats = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LogDomain, Floats);

TYPED_TEST(LogDomain, AdditionAtEveryLengthAndHint) {
  using T = TypeParam;
  Random random;
  for (const int n : test_lengths()) {
    const std::size_t len = static_cast<std::size_t>(n);
    for (const int hint : {kivLogAddHintAc, kivLogAddHintSp, kivLogAddHintFpu}) {
      const double range = n % 2 == 0 ? 18 : 4000;
      const Guarded<T> a(random.values<T>(len, -range, 0));
      Guarded<T> b(random.values<T>(len, -range, 0));
      const std::vector<T> old = b.values();
      ASSERT_EQ(add(a.data(), b.data(), n, hint), kivStatusOk);
      // The polynomial's own error, and the roundings of the evaluation at the size of the larger term.
      const double approximation = std::is_same_v<T, float> ? 5e-9 : 5e-15;
      const double roundings = std::is_same_v<T, float> && hint != kivLogAddHintSp ? 0.51 : 2;
      for (std::size_t i = 0; i < len; ++i) {
        const double truth = static_cast<double>(log_add(a[i], old[i]));
        const double bound = approximation + roundings * unit<T>(std::max(std::abs(truth), hint == 1 ? 1.0 : 0.0)) +
                             (std::is_same_v<T, double> ? 4e-16 : 0.0);
        ASSERT_NEAR(b[i], truth, bound) << a[i] << " " << old[i] << " hint " << hint;
        ASSERT_TRUE(same_bits(b[i], added<T>(a[i], old[i], hint))) << "depends on its place, length " << n;
      }
    }
  }
}

// Terms whose sum is near zero, where no rounding of the result hides that of the evaluation, and terms whose
// difference is no single-precision number.
TEST(LogDomainAccuracy, AdditionNearZero) {
  constexpr std::size_t kPairs = 20000;
  Random random;
  for (const double spread : {0.0, 1e-7, 1e-3, 1.0}) {
    std::vector<float> a(kPairs), b(kPairs);
    const std::vector<double> gap = random.values<double>(kPairs, -16, 0);
    const std::vector<double> offset = random.values<double>(kPairs, -spread, spread);
    for (std::size_t i = 0; i < kPairs; ++i) {
      const double d = i % 2 == 0 ? gap[i] : gap[i] / 8;
      a[i] = static_cast<float>(offset[i] - (i % 3 == 0 ? 0 : std::log1p(std::exp(d))));
      b[i] = static_cast<float>(d + offset[i] / 2 + static_cast<double>(a[i]));
    }
    std::vector<float> c = b;
    ASSERT_EQ(kivsLogAdd_32f(a.data(), c.data(), static_cast<int>(kPairs), kivLogAddHintAc), kivStatusOk);
    for (std::size_t i = 0; i < kPairs; ++i) {
      const double truth = static_cast<double>(log_add(a[i], b[i]));
      ASSERT_NEAR(c[i], truth, 5e-9 + 0.5 * unit<float>(std::abs(truth))) << a[i] << " " << b[i];
    }
  }
}

TYPED_TEST(LogDomain, AdditionDropsBelowTheCutOffOnly) {
  using T = TypeParam;
  // The last value that is kept, and the first one that is not.
  T kept = static_cast<T>(kCutOff);
  if (kept < kCutOff) kept = std::nextafter(kept, T{0});
  const T dropped = std::nextafter(kept, T(-99));
  for (const int hint : {0, 1, 2}) {
    EXPECT_GT(added<T>(0, kept, hint), 2e-7);
    EXPECT_GT(added<T>(kept, 0, hint), 2e-7);
    EXPECT_EQ(added<T>(0, dropped, hint), 0);
    EXPECT_EQ(added<T>(dropped, 0, hint), 0);
    // Log zero is the floor of a dropped sum, not of a kept one, and does not absorb.
    EXPECT_EQ(added<T>(kLogZero - 100, kLogZero - 200, hint), T(kLogZero));
    EXPECT_NEAR(added<T>(kLogZero - 100, kLogZero - 100, hint), kLogZero - 100 + std::log(2.0), 0.26);
    EXPECT_NEAR(added<T>(kLogZero, kLogZero, hint), T(kLogZero + std::log(2.0)), 3e-9);
    EXPECT_EQ(added<T>(-kInfinity, -3, hint), -3);
    EXPECT_EQ(added<T>(-3, kInfinity, hint), kInfinity);
    EXPECT_TRUE(std::isnan(added<T>(-kInfinity, -kInfinity, hint)));
    EXPECT_TRUE(std::isnan(added<T>(kNan, 0, hint)));
    EXPECT_TRUE(std::isnan(added<T>(0, kNan, hint)));
  }
  EXPECT_EQ(added<T>(-1, -2, 3), -2);
  EXPECT_EQ(added<T>(-1, -2, -1), -2);
}

TYPED_TEST(LogDomain, SumFollowsTheRunningAddition) {
  using T = TypeParam;
  Random random;
  const double half_unit = std::numeric_limits<T>::epsilon() / 2;
  for (const int n : test_lengths()) {
    const std::size_t len = static_cast<std::size_t>(n);
    for (const double range : {1.0, 12.0, 60.0, 2000.0}) {
      std::vector<T> x = random.values<T>(len, -range, 0);
      for (int order = 0; order < 3; ++order) {  // as drawn, rising, falling
        if (order == 1) std::sort(x.begin(), x.end());
        if (order == 2) std::reverse(x.begin(), x.end());
        const double truth = static_cast<double>(log_sum(x));
        ASSERT_NEAR(summed(x), truth, (n + 2) * half_unit * std::max(1.0, std::abs(truth)) + (n == 2 ? 5e-9 : 0))
            << "length " << n << " range " << range << " order " << order;
      }
    }
  }
}

TYPED_TEST(LogDomain, SumDropsByTheRunningValue) {
  using T = TypeParam;
  const std::size_t n = 1000;
  std::vector<T> falling(n, T(-16));
  falling[0] = 0;
  EXPECT_EQ(summed(falling), 0) << "every term is dropped";
  std::vector<T> rising(n, T(-16));
  rising[n - 1] = 0;
  EXPECT_NEAR(summed(rising), static_cast<double>(log_sum(rising)), 5e-6) << "together the terms are kept";
  EXPECT_GT(summed(rising), 1e-4);
  std::vector<T> replaced(n, T(-40));
  replaced[n - 1] = 0;
  EXPECT_NEAR(summed(replaced), 0, 1e-14);
  EXPECT_EQ(summed<T>({-20, 0}), 0);
  EXPECT_EQ(summed<T>({0, -20}), 0);
  T kept = static_cast<T>(kCutOff);
  if (kept < kCutOff) kept = std::nextafter(kept, T{0});
  EXPECT_GT(summed<T>({0, kept}), 2e-7);
  EXPECT_EQ(summed<T>({0, std::nextafter(kept, T(-99))}), 0);
}

TYPED_TEST(LogDomain, SumOfSpecialValues) {
  using T = TypeParam;
  const T infinity = std::numeric_limits<T>::infinity();
  EXPECT_EQ(summed<T>({T(-5e6)}), T(-5e6));
  EXPECT_TRUE(std::isnan(summed<T>({T(kNan)})));
  EXPECT_EQ(summed<T>({-infinity}), -infinity);
  for (const std::size_t n : {2U, 3U, 9U, 64U, 200U}) {
    std::vector<T> x(n, T(-1));
    x[n - 1] = T(kNan);
    EXPECT_TRUE(std::isnan(summed(x))) << n;
    std::swap(x[0], x[n - 1]);
    EXPECT_TRUE(std::isnan(summed(x))) << n;
    x.assign(n, -infinity);
    EXPECT_TRUE(std::isnan(summed(x))) << "two terms of -infinity first";
    x.assign(n, T(-1));
    x[n - 1] = -infinity;
    EXPECT_NEAR(summed(x), -1 + std::log(static_cast<double>(n - 1)), 1e-4);
    x[n - 1] = infinity;
    EXPECT_EQ(summed(x), infinity);
    // Below the log zero: the floor is where a term is dropped.
    x.assign(n, T(-6e6));
    x[0] = T(-5e6);
    EXPECT_EQ(summed(x), T(kLogZero));
  }
  EXPECT_NEAR(summed<T>({T(-5e6), T(-5e6)}), -5e6 + std::log(2.0), 0.26);
  // Log zeros are terms like others, as many as there are.
  const double half_unit = 4500000 * static_cast<double>(std::numeric_limits<T>::epsilon()) / 2;
  for (const int n : test_lengths()) {
    const std::vector<T> x(static_cast<std::size_t>(n), T(kLogZero));
    if (n > 8) {
      EXPECT_NEAR(summed(x), kLogZero + std::log(n), half_unit * 8) << n;
    }
  }
}

TYPED_TEST(LogDomain, SubtractionInvertsAddition) {
  using T = TypeParam;
  Random random;
  for (const int n : {1, 2, 7, 64, 129}) {
    const std::size_t len = static_cast<std::size_t>(n);
    const Guarded<T> x(random.values<T>(len, -50, 0));
    const std::vector<T> gap = random.values<T>(len, 0.01, 30);
    Guarded<T> y(len);
    for (std::size_t i = 0; i < len; ++i) y[i] = x[i] - gap[i];
    const std::vector<T> old = y.values();
    ASSERT_EQ(subtract(x.data(), y.data(), n), kivStatusOk);
    for (std::size_t i = 0; i < len; ++i) {
      const double d = static_cast<double>(old[i]) - static_cast<double>(x[i]);
      const double relative = std::is_same_v<T, float> ? 1e-5 : 1e-13;
      ASSERT_NEAR(y[i], d < kCutOff ? x[i] : x[i] + std::log(-std::expm1(d)), relative * 50);
    }
    ASSERT_EQ(add(old.data(), y.data(), n, 0), kivStatusOk);
    for (std::size_t i = 0; i < len; ++i) ASSERT_NEAR(y[i], x[i], (std::is_same_v<T, float> ? 2e-4 : 3e-7));
  }
}

TYPED_TEST(LogDomain, SubtractionAtTheEdges) {
  using T = TypeParam;
  const auto difference = [](double a, double b) {
    const T x = static_cast<T>(a);
    T y = static_cast<T>(b);
    EXPECT_EQ(subtract(&x, &y, 1), kivStatusOk) << a << " " << b;
    return y;
  };
  EXPECT_EQ(difference(0, -1e-40), T(kLogZero));
  EXPECT_EQ(difference(-5e6, -6e6), T(kLogZero));
  EXPECT_EQ(difference(-3, -kInfinity), -3);
  EXPECT_EQ(difference(kInfinity, 1), kInfinity);
  EXPECT_TRUE(std::isnan(difference(kNan, 0)));
  EXPECT_TRUE(std::isnan(difference(0, kNan)));
  EXPECT_TRUE(std::isnan(difference(-kInfinity, -kInfinity)));
  const std::vector<T> x = {0, 0, 0};
  std::vector<T> y = {-1, -2, 0};
  EXPECT_EQ(subtract(x.data(), y.data(), 3), kivStatusOutOfRange);
  EXPECT_EQ(y, (std::vector<T>{-1, -2, 0}));
}

template <class T>
class LogDomainIntegers : public ::testing::Test {};
using Integers = ::testing::Types<Kiv16s, Kiv32s>;
TYPED_TEST_SUITE(LogDomainIntegers, Integers);

TYPED_TEST(LogDomainIntegers, AgreeWithTheDefinitions) {
  using T = TypeParam;
  Random random;
  for (const int scale : {0, 8, -3}) {
    const double real = std::ldexp(1.0, -scale);
    for (const int n : {1, 2, 6, 7, 127, 128, 129, 300}) {
      const std::size_t len = static_cast<std::size_t>(n);
      const Guarded<T> a(random.values<T>(len, -25 / real, 0));
      const std::vector<T> old = random.values<T>(len, -25 / real, 0);
      for (const int hint : {0, 1, 2}) {
        Guarded<T> b(old);
        ASSERT_EQ(add(a.data(), b.data(), n, scale, hint), kivStatusOk);
        for (std::size_t i = 0; i < len; ++i) {
          const double truth = static_cast<double>(log_add(a[i] * real, old[i] * real)) / real;
          ASSERT_NEAR(b[i], truth, 0.5 + 1e-4 / real) << "scale " << scale;
        }
      }
      Guarded<T> result(1);
      ASSERT_EQ(sum(a.data(), result.data(), n, scale), kivStatusOk);
      std::vector<double> scaled;
      for (const T v : a.values()) scaled.push_back(v * real);
      ASSERT_NEAR(result[0], std::trunc(static_cast<double>(log_sum(scaled)) / real), 0.01 + 1e-3 / real);

      Guarded<T> lower(len);
      for (std::size_t i = 0; i < len; ++i) lower[i] = static_cast<T>(a[i] - 1 - static_cast<int>(i % 40));
      const std::vector<T> before = lower.values();
      ASSERT_EQ(subtract(a.data(), lower.data(), n, scale), kivStatusOk);
      for (std::size_t i = 0; i < len; ++i) {
        const double d = (before[i] - a[i]) * real;
        const double truth = d < kCutOff ? a[i] : (a[i] * real + std::log(1 - std::exp(d))) / real;
        ASSERT_NEAR(lower[i], std::trunc(truth), 1e-9);
      }
    }
  }
}

TYPED_TEST(LogDomainIntegers, RoundTruncateAndSaturate) {
  using T = TypeParam;
  using L = std::numeric_limits<T>;
  const auto total = [](std::vector<T> x, int scale) {
    T result = 77;
    EXPECT_EQ(sum(x.data(), &result, static_cast<int>(x.size()), scale), kivStatusOk);
    return result;
  };
  // ln 2 = 0.69: to the nearest when added, towards zero when summed.
  const std::vector<T> x = {2};
  std::vector<T> y = {2};
  ASSERT_EQ(add(x.data(), y.data(), 1, 0, 0), kivStatusOk);
  EXPECT_EQ(y[0], 3);
  for (const std::size_t n : {2U, 8U}) {
    std::vector<T> rest(n, T(-30));
    rest[0] = rest[n - 1] = 2;
    EXPECT_EQ(total(rest, 0), 2);
    rest[0] = rest[n - 1] = -3;
    EXPECT_EQ(total(rest, 0), -2);
    EXPECT_EQ(total(std::vector<T>(n, L::max()), 0), L::max());
    EXPECT_EQ(total(std::vector<T>(n, T(1)), 2000), L::max()) << "every value is zero, ln n has no integer";
    EXPECT_EQ(total(std::vector<T>(n, T(0)), -2000), L::min()) << "zero times infinity";
  }
  EXPECT_EQ(total({L::max()}, 5), L::max());
  EXPECT_EQ(total({L::min()}, std::numeric_limits<int>::min()), L::min());

  // A difference of integers does not wrap.
  const std::vector<T> high = {L::max()};
  std::vector<T> low = {L::min()};
  EXPECT_EQ(subtract(high.data(), low.data(), 1, 0), kivStatusOk);
  EXPECT_EQ(low[0], L::max());
  EXPECT_EQ(subtract(low.data(), low.data(), 1, 0), kivStatusOutOfRange);
  std::vector<T> bottom = {L::min()};
  EXPECT_EQ(subtract(bottom.data(), low.data(), 1, 0), kivStatusOutOfRange);
  EXPECT_EQ(low[0], L::max());
  for (const int scale : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    std::vector<T> z = {5};
    EXPECT_EQ(add(x.data(), z.data(), 1, scale, 0), kivStatusOk);
  }
  // An unknown hint: the value is converted there and back.
  std::vector<T> kept(300, T(12345));
  const std::vector<T> other(300, T(12345));
  EXPECT_EQ(add(other.data(), kept.data(), 300, 4, 3), kivStatusOk);
  EXPECT_EQ(kept, other);
  if constexpr (sizeof(T) == 4) {
    T fine = (1 << 24) + 1;
    EXPECT_EQ(add(x.data(), &fine, 1, 0, 9), kivStatusOk);
    EXPECT_EQ(fine, 1 << 24) << "rounded to single precision on the way";
  }
}

template <class T, class... Mode>
void expect_statuses(Mode... mode) {
  const std::vector<T> x = {3, 3};
  std::vector<T> y = {2, 2};
  const T* const none = nullptr;
  T* const nowhere = nullptr;
  const auto each = [&](const T* a, T* b, int n, KivStatus expected) {
    EXPECT_EQ(sum(a, b, n, mode...), expected);
    EXPECT_EQ(subtract(a, b, n, mode...), expected);
    EXPECT_EQ(add(a, b, n, mode..., 0), expected);
  };
  each(none, nowhere, 0, kivStatusBadSize);
  each(x.data(), y.data(), -1, kivStatusBadSize);
  each(none, y.data(), 2, kivStatusNullPointer);
  each(x.data(), nowhere, 2, kivStatusNullPointer);
  EXPECT_EQ(y, (std::vector<T>{2, 2}));
}

TYPED_TEST(LogDomainIntegers, IgnoreTheRoundingMode) {
  using T = TypeParam;
  Random random;
  const auto x = random.values<T>(3000, -300, 300);
  auto y = random.values<T>(3000, -3000, 0);
  for (std::size_t i = 0; i < y.size(); ++i) y[i] = static_cast<T>(x[i] - 1 + y[i]);
  for (const int scale : {0, 9, 13}) {
    const auto results = under_rounding_modes([&] {
      std::vector<T> all;
      for (const int hint : {0, 1, 2}) {
        auto added = y;
        add(x.data(), added.data(), 3000, scale, hint);
        all.insert(all.end(), added.begin(), added.end());
      }
      auto difference = y;
      subtract(x.data(), difference.data(), 3000, scale);
      all.insert(all.end(), difference.begin(), difference.end());
      for (int n : {5, 20}) {
        for (std::size_t first = 0; first + 20 <= x.size(); first += 10) {
          T total;
          sum(&x[first], &total, n, scale);
          all.push_back(total);
        }
      }
      return all;
    });
    for (const auto& result : results) EXPECT_EQ(result, results[0]) << scale;
  }
}

TEST(LogDomainStatuses, SizeBeforePointers) {
  expect_statuses<float>();
  expect_statuses<double>();
  expect_statuses<Kiv16s>(0);
  expect_statuses<Kiv32s>(0);
}

TEST(LogDomainTables, EvaluateToTheLogarithm) {
  const auto check = [](auto get, int degree, const double(&centres)[3], double bound) {
    const Kiv64f* p[3];
    get(&p[0], &p[1], &p[2]);
    for (double d = kCutOff; d <= 0; d += 0.01) {
      const int interval = d > centres[1] ? 0 : d > centres[2] ? 1 : 2;
      double value = 0;
      for (int k = 0; k <= degree; ++k) value = value * (d - centres[interval]) + p[interval][k];
      ASSERT_NEAR(value, std::log1p(std::exp(d)), bound) << d;
    }
    const Kiv64f* again;
    get(&again, &p[1], &p[2]);
    EXPECT_EQ(again, p[0]);
  };
  check(GetLogAddConst, 21, {0, -3.5, -9}, 1e-14);
  check(GetLogAddConst_F, 10, {0, -2.55, -6.8}, 5e-9);
  const Kiv64f* p[3];
  GetLogAddConst_F(&p[0], &p[1], &p[2]);
  EXPECT_EQ(p[2][11], kCutOff);
}

}  // namespace
}  // namespace kivsr::test
