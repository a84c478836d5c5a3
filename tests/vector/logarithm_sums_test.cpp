// Sums of logarithms against references in extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

template <class T>
void check_logarithm_sum(KivStatus (*sum)(const T*, int, T*)) {
  using L = std::numeric_limits<T>;
  Random random(11);
  auto lengths = test_lengths();
  for (int n : {511, 512, 514, 1537, 5000}) lengths.push_back(n);
  const auto sum_of = [&](const std::vector<T>& data, KivStatus expected) {
    T result = -5;
    at_both_guards(data, [&](const T* src, int len) {
      T here = -5;
      EXPECT_EQ(sum(src, len, &here), expected) << len;
      EXPECT_TRUE(result == -5 || same_bits(here, result));
      result = here;
    });
    return result;
  };
  for (int n : lengths) {
    for (double spread : {1e-7, 1.0, 300.0}) {
      const double widest = sizeof(T) == 4 ? std::min(spread, 37.0) : spread;
      std::vector<T> data(n);
      for (T& x : data) x = static_cast<T>(std::pow(10.0, random.uniform(-widest, widest)));
      if (spread > 1 && n > 4) data[0] = L::denorm_min(), data[n / 2] = L::min() / 3, data[n - 1] = L::max();
      long double truth = 0, magnitudes = 0;
      for (T x : data) truth += std::log(static_cast<long double>(x)), magnitudes += std::abs(std::log(1.0L * x));
      const T result = sum_of(data, kivStatusOk);
      // No worse than correctly rounded logarithms added in double precision.
      const long double bound = L::epsilon() * std::abs(truth) + 4e-16L * magnitudes + n * 1e-21L;
      EXPECT_LE(std::abs(result - truth), bound) << n << " elements, spread " << spread;
    }
  }
  // A chunk reports a zero before a negative; an earlier chunk stops the call.
  for (int n : {1, 3, 64, 511, 512, 513, 2000}) {
    const auto with = [&](std::vector<std::pair<int, T>> places) {
      std::vector<T> data(n, T{2});
      for (auto [place, x] : places) data[place] = x;
      return data;
    };
    for (int place : {0, n / 2, n - 1}) {
      EXPECT_EQ(sum_of(with({{place, T{0}}}), kivStatusInfResult), L::infinity());
      EXPECT_EQ(sum_of(with({{place, -T{0}}}), kivStatusInfResult), L::infinity());
      EXPECT_EQ(sum_of(with({{place, L::infinity()}}), kivStatusOk), L::infinity());
      for (T bad : {T{-1}, -L::denorm_min(), -L::infinity(), L::quiet_NaN()}) {
        EXPECT_TRUE(std::isnan(sum_of(with({{place, bad}}), kivStatusNanResult)));
      }
    }
    if (n >= 3 && n <= 512) {
      EXPECT_EQ(sum_of(with({{0, T{-1}}, {n - 1, T{0}}}), kivStatusInfResult), L::infinity());
      EXPECT_TRUE(std::isnan(sum_of(with({{0, L::infinity()}, {n - 1, T{-1}}}), kivStatusNanResult)));
    }
    if (n > 512) {
      EXPECT_TRUE(std::isnan(sum_of(with({{0, T{-1}}, {n - 1, T{0}}}), kivStatusNanResult)));
      EXPECT_EQ(sum_of(with({{0, T{0}}, {n - 1, T{-1}}}), kivStatusInfResult), L::infinity());
    }
  }
}

TEST(SumOfLogarithms, IsAccurateAndReportsSpecialElements) {
  check_logarithm_sum<Kiv32f>(kivsSumLn_32f);
  check_logarithm_sum<Kiv64f>(kivsSumLn_64f);
}

TEST(SumOfLogarithms, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  expect_checks<const F, F>(reduction(kivsSumLn_32f));
  expect_checks<const D, D>(reduction(kivsSumLn_64f));
}

}  // namespace
}  // namespace kivsr::test
