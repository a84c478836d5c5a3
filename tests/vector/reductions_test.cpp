// Sums, products, entropies, logarithms and magnitudes against references in wider types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/elementwise.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Kiv32s kLow = std::numeric_limits<Kiv32s>::min();
constexpr Kiv32s kHigh = std::numeric_limits<Kiv32s>::max();

// --- sums and products --------------------------------------------------------

TEST(Sum, FloatIsTheSumInAnyOrderAndIgnoresTheHint) {
  Random random(1);
  for (int n : test_lengths()) {
    const auto data = random.values<float>(n, -3, 3);
    double truth = 0, magnitudes = 0;
    for (float x : data) truth += x, magnitudes += std::abs(x);
    float first = kNaN;
    at_both_guards(data, [&](const float* src, int len) {
      for (int hint : {0, 1, 2, -7}) {
        float total = kNaN;
        ASSERT_EQ(kivsSum_32f(src, len, &total, hint), kivStatusOk);
        EXPECT_TRUE(within_reduction<float>(total, truth, magnitudes, data.size()));
        if (std::isnan(first)) first = total;
        EXPECT_TRUE(same_bits(total, first));
      }
    });
  }
}

template <class S>
void check_integer_sum(KivStatus (*sum)(const S*, int, Kiv32s*, int)) {
  Random random(2);
  for (int n : test_lengths()) {
    for (int regime = 0; regime < 3; ++regime) {
      std::vector<S> data(n);
      for (S& x : data) x = random.extreme<S>(regime);
      const auto exact = std::accumulate(data.begin(), data.end(), Kiv64s{0});
      at_both_guards(data, [&](const S* src, int len) {
        for (int scale : {-64, -31, -3, 0, 1, 2, 5, 12, 31, 40, 63, 64, 1000}) {
          Kiv32s total = 77;
          ASSERT_EQ(sum(src, len, &total, scale), kivStatusOk);
          ASSERT_EQ(total, scaled_reference<Kiv32s>(exact, scale)) << n << " elements, scale " << scale;
        }
      });
    }
  }
}

TEST(Sum, IntegersAddExactlyAndScaleOnce) {
  check_integer_sum<Kiv16s>(kivsSum_16s32s_Sfs);
  check_integer_sum<Kiv32s>(kivsSum_32s_Sfs);
}

template <class S, class D>
void check_dot_product(KivStatus (*product)(const S*, const S*, int, D*)) {
  Random random(3);
  for (int n : test_lengths()) {
    const auto a = random.values<S>(n, -2, 2);
    const auto b = random.values<S>(n, -2, 2);
    long double truth = 0, magnitudes = 0;
    for (int i = 0; i < n; ++i) truth += 1.0L * a[i] * b[i], magnitudes += std::abs(1.0L * a[i] * b[i]);
    at_both_guards(a, [&](const S* first, int len) {
      const Guarded<S> second(b);
      D result = -1;
      ASSERT_EQ(product(first, second.data(), len, &result), kivStatusOk);
      EXPECT_TRUE(within_reduction<D>(result, truth, magnitudes, a.size()));
    });
  }
}

TEST(DotProduct, FloatsAccumulateInTheTypeOfTheResult) {
  check_dot_product<Kiv32f, Kiv32f>(kivsDotProd_32f);
  check_dot_product<Kiv64f, Kiv64f>(kivsDotProd_64f);
  check_dot_product<Kiv32f, Kiv64f>(kivsDotProd_32f64f);
}

TEST(DotProduct, WordsAreExact) {
  Random random(4);
  auto lengths = test_lengths();
  lengths.push_back(70000);
  for (int n : lengths) {
    for (int regime = 0; regime < 4; ++regime) {
      std::vector<Kiv16s> a(n, -32768), b(n, -32768);  // regime 3: every pair of products is 2^31
      for (int i = 0; regime < 3 && i < n; ++i) a[i] = random.extreme<Kiv16s>(regime), b[i] = random.extreme<Kiv16s>(2);
      Kiv64s exact = 0;
      for (int i = 0; i < n; ++i) exact += Kiv64s{a[i]} * b[i];
      at_both_guards(a, [&](const Kiv16s* first, int len) {
        const Guarded<Kiv16s> second(b);
        Kiv64s wide = 1;
        Kiv32f narrow = 1;
        ASSERT_EQ(kivsDotProd_16s64s(first, second.data(), len, &wide), kivStatusOk);
        ASSERT_EQ(kivsDotProd_16s32f(first, second.data(), len, &narrow), kivStatusOk);
        ASSERT_EQ(wide, exact);
        ASSERT_EQ(narrow, static_cast<Kiv32f>(exact));
      });
    }
  }
}

TEST(RowAndColumnSums, AgreeWithTheMatrix) {
  Random random(5);
  for (int height : {1, 2, 7, 40}) {
    GuardedMatrix<Kiv64f> m(height, 9, 11);
    m.fill([&] { return random.uniform(-1, 1); });
    double absolute = 0, square = 0, product = 0;
    for (int r = 0; r < height; ++r) {
      absolute += std::abs(m.at(r, 8));
      square += m.at(r, 8) * m.at(r, 8);
      product += m.at(r, 0) * m.at(r, 8);
    }
    const auto close = [&](Kiv64f actual, double truth) {
      EXPECT_TRUE(within_reduction<Kiv64f>(actual, truth, height, static_cast<std::size_t>(height)));
    };
    Kiv64f result = 0;
    EXPECT_EQ(kivsSumColumnAbs_64f_D2L(m.const_rows(), 8, height, &result), kivStatusOk);
    close(result, absolute);
    EXPECT_EQ(kivsSumColumnSqr_64f_D2L(m.const_rows(), 8, height, &result), kivStatusOk);
    close(result, square);
    EXPECT_EQ(kivsDotProdColumn_64f_D2L(m.const_rows(), 0, 8, height, &result), kivStatusOk);
    close(result, product);
    // The column as a row.
    std::vector<Kiv64f> column;
    for (int r = 0; r < height; ++r) column.push_back(m.at(r, 8));
    const Guarded<Kiv64f> row(column);
    EXPECT_EQ(kivsSumRowAbs_64f(row.data(), height, &result), kivStatusOk);
    close(result, absolute);
    EXPECT_EQ(kivsSumRowSqr_64f(row.data(), height, &result), kivStatusOk);
    close(result, square);
  }
}

// --- entropy and logarithms -----------------------------------------------------

TEST(Entropy, IsTheSumOfPLog2PWithoutMinus) {
  Random random(9);
  for (int n : test_lengths()) {
    auto data = random.values<float>(n, 0, 1);
    if (n > 2) data[n / 2] = 0;
    if (n > 3) data[0] = 1e-42F, data[n - 1] = -0.0F;
    double truth = 0, magnitudes = 0;
    for (float p : data) {
      const double term = p > 0 ? p * std::log2(static_cast<double>(p)) : 0;
      truth += term, magnitudes += std::abs(term);
    }
    at_both_guards(data, [&](const float* src, int len) {
      float result = kNaN;
      ASSERT_EQ(kivsEntropy_32f(src, len, &result), kivStatusOk);
      EXPECT_TRUE(within_reduction<float>(result, truth, magnitudes, 2 * data.size()));
    });
    for (int place : {0, n / 2, n - 1}) {
      auto bad = data;
      bad[place] = place % 2 == 0 ? -1e-40F : kNaN;
      float result = 0;
      EXPECT_EQ(kivsEntropy_32f(bad.data(), n, &result), kivStatusNanResult);
      EXPECT_TRUE(std::isnan(result));
    }
  }
  float result;
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{0.5F, 0.5F}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, -1.0F);
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{1, 0}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, 0.0F);
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{0, kInf}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, kInf);
}

TEST(Entropy, OfWordsReadsFifteenFractionalBits) {
  Random random(10);
  for (int n : {1, 2, 5, 33, 200}) {
    const auto data = random.values<Kiv16s>(n, 0, 32767);
    long double truth = 0;
    for (Kiv16s p : data) truth += p > 0 ? p / 32768.0L * std::log2(p / 32768.0L) : 0;
    at_both_guards(data, [&](const Kiv16s* src, int len) {
      for (int scale : {-40, -20, -10, 0, 3, 2000}) {
        Kiv32s result = 1;
        ASSERT_EQ(kivsEntropy_16s32s_Sfs(src, len, &result, scale), kivStatusOk);
        EXPECT_EQ(result, scaled_reference<Kiv32s>(truth, scale)) << scale;
      }
    });
  }
  Kiv32s result = 1;
  EXPECT_EQ(kivsEntropy_16s32s_Sfs(std::vector<Kiv16s>{16384, 0, 16384}.data(), 3, &result, -15), kivStatusOk);
  EXPECT_EQ(result, -32768);
  EXPECT_EQ(kivsEntropy_16s32s_Sfs(std::vector<Kiv16s>{16384, -1}.data(), 2, &result, 0), kivStatusNanResult);
  EXPECT_EQ(result, kLow);
}

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

// --- magnitudes -----------------------------------------------------------------

TEST(Magnitude, FloatNeitherOverflowsNorDependsOnNeighbours) {
  Random random(12);
  for (int n : test_lengths()) {
    for (double exponent : {0.0, 30.0, 120.0, 126.9, -60.0, -140.0}) {
      std::vector<Kiv32fc> data(n);
      for (Kiv32fc& z : data) {
        const auto part = [&] {
          return static_cast<float>(
              std::ldexp(random.uniform(-1, 1), random.integer(0, 1) + static_cast<int>(exponent)));
        };
        z = {part(), part()};
      }
      if (n > 5)
        data[0] = {3, -4}, data[1] = {0, -0.0F}, data[2] = {kInf, 1}, data[3] = {1, kNaN}, data[n - 1] = {3e38F, 3e38F};
      at_both_guards(data, [&](const Kiv32fc* src, int len) {
        Guarded<Kiv32f> dst(len);
        ASSERT_EQ(kivsMagnitude_32fc(src, dst.data(), len), kivStatusOk);
        for (int i = 0; i < len; ++i) {
          const double re = data[i].re, im = data[i].im;
          EXPECT_TRUE(within_units<float>(dst[i], std::sqrt(re * re + im * im), 1.5)) << re << ' ' << im;
          float alone;
          kivsMagnitude_32fc(src + i, &alone, 1);
          EXPECT_TRUE(same_bits(alone, dst[i]));
        }
      });
    }
  }
}

// Whether `result` is the nearest integer (ties to even) to sqrt(n) 2^-scale: every square here fits 64 bits.
bool is_nearest_root(Kiv32s result, long double n, int scale) {
  const long double unit = std::ldexp(1.0L, std::max(scale, 0));
  const long double square = std::ldexp(n, -2 * std::min(scale, 0));
  const auto middle = [&](long double offset) { return (result + offset) * unit * (result + offset) * unit; };
  const bool even = result % 2 == 0;
  const bool low_enough = result == kHigh || square < middle(0.5L) || (even && square == middle(0.5L));
  const bool high_enough = result == 0 || square > middle(-0.5L) || (even && square == middle(-0.5L));
  return low_enough && high_enough;
}

TEST(Magnitude, IntegersRoundTheTrueRootOnce) {
  Random random(13);
  for (int n : test_lengths()) {
    for (int regime = 0; regime < 4; ++regime) {
      std::vector<Kiv32sc> data(n);
      for (Kiv32sc& z : data) {
        z = {random.extreme<Kiv32s>(regime), random.extreme<Kiv32s>(2 - regime / 2)};
        if (regime == 3) z = {random.integer(-40, 40), random.integer(0, 2) * random.integer(-40, 40)};
      }
      if (n > 2) data[0] = {kLow, kLow}, data[1] = {0, 0};
      for (int scale : {-1000, -40, -31, -5, -1, 0, 1, 2, 7, 20, 31, 32, 33, 1000}) {
        at_both_guards(data, [&](const Kiv32sc* src, int len) {
          Guarded<Kiv32s> dst(len);
          ASSERT_EQ(kivsMagnitude_32sc_Sfs(src, dst.data(), len, scale), kivStatusOk);
          for (int i = 0; i < len; ++i) {
            const long double re = data[i].re, im = data[i].im;
            const long double square = re * re + im * im;
            const int s = std::clamp(scale, -31, 40);
            ASSERT_GE(dst[i], 0);
            ASSERT_TRUE(is_nearest_root(dst[i], square, s)) << re << ' ' << im << ' ' << scale << ": " << dst[i];
          }
        });
      }
    }
  }
}

// --- statuses -------------------------------------------------------------------

// A reduction in the order of expect_checks: pointers, then the length.
template <class Function, class... A>
auto reduction(Function f, A... arguments) {
  return [=](auto* src, auto* result, int len) { return f(src, len, result, arguments...); };
}
template <class Function>
auto product(Function f) {
  return [=](auto* a, auto* b, auto* result, int len) { return f(a, b, len, result); };
}

TEST(Reductions, CheckNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  expect_checks<const F, F>(reduction(kivsSum_32f, 0));
  expect_checks<const S, L>(reduction(kivsSum_16s32s_Sfs, 0));
  expect_checks<const L, L>(reduction(kivsSum_32s_Sfs, 0));
  for (auto f : {kivsMax_32f, kivsMin_32f, kivsEntropy_32f, kivsSumLn_32f}) expect_checks<const F, F>(reduction(f));
  for (auto f : {kivsMax_64f, kivsMin_64f, kivsSumLn_64f, kivsSumRowAbs_64f, kivsSumRowSqr_64f}) {
    expect_checks<const D, D>(reduction(f));
  }
  for (auto f : {kivsMaxIndx_32f, kivsMinIndx_32f}) expect_checks<const F, F>(reduction(f, nullptr));
  expect_checks<const D, D>(reduction(kivsMaxIndx_64f, nullptr));
  expect_checks<const S, L>(reduction(kivsEntropy_16s32s_Sfs, 0));
  expect_checks<const F, const F, F>(product(kivsDotProd_32f));
  expect_checks<const D, const D, D>(product(kivsDotProd_64f));
  expect_checks<const F, const F, D>(product(kivsDotProd_32f64f));
  expect_checks<const S, const S, Kiv64s>(product(kivsDotProd_16s64s));
  expect_checks<const S, const S, F>(product(kivsDotProd_16s32f));
  expect_checks<const F, F, F>(
      [](auto* src, auto* low, auto* high, int n) { return kivsMinMax_32f(src, n, low, high); });

  const Kiv32fc number = {3, 4};
  const Kiv32sc integer = {3, 4};
  float other = 5;
  Kiv32s whole = 5;
  EXPECT_EQ(kivsMagnitude_32fc(nullptr, &other, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32fc(&number, nullptr, 1), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32fc(&number, &other, 0), kivStatusBadSize);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(nullptr, &whole, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(&integer, nullptr, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(&integer, &whole, -1, 0), kivStatusBadSize);
  EXPECT_EQ(whole, 5);

  const Kiv64f cell = 1;
  const Kiv64f* rows[] = {&cell};
  Kiv64f result = 5;
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(nullptr, -1, 0, 0, &result), kivStatusNullPointer);
  EXPECT_EQ(kivsSumColumnAbs_64f_D2L(rows, 0, 1, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsSumColumnSqr_64f_D2L(rows, -1, 0, &result), kivStatusBadSize);
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(rows, 0, -1, 1, &result), kivStatusBadArgument);
  EXPECT_EQ(kivsSumColumnAbs_64f_D2L(rows, -1, 1, &result), kivStatusBadArgument);
  EXPECT_EQ(other, 5);
  EXPECT_EQ(result, 5);
}

}  // namespace
}  // namespace kivsr::test
