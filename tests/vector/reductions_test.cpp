// Reductions and searches against references in wider types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Kiv32s kLow = std::numeric_limits<Kiv32s>::min();
constexpr Kiv32s kHigh = std::numeric_limits<Kiv32s>::max();

// Calls visit(array) with the data at the end of its page (every length gives another alignment) and at the start.
template <class T, class Visit>
void at_both_guards(const std::vector<T>& data, Visit visit) {
  for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
    const Guarded<T> array(data, guard);
    visit(array.data(), static_cast<int>(data.size()));
  }
}

// x * 2^-scale to nearest even and saturated, in extended precision.
Kiv32s scaled_reference(long double x, int scale) {
  const long double y = std::nearbyint(std::ldexp(x, -scale));
  return static_cast<Kiv32s>(std::clamp<long double>(y, kLow, kHigh));
}

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
          ASSERT_EQ(total, scaled_reference(exact, scale)) << n << " elements, scale " << scale;
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

// --- extrema ------------------------------------------------------------------

// The rule: element i replaces the running best only when it is strictly better.
template <class T, class Better>
int first_best(const std::vector<T>& data, Better better) {
  int index = 0;
  for (int i = 1; i < static_cast<int>(data.size()); ++i) {
    if (better(data[i], data[index])) index = i;
  }
  return index;
}

template <class T, class Better>
void expect_index(const std::vector<T>& data, Better better, KivStatus (*plain)(const T*, int, T*),
                  KivStatus (*with_index)(const T*, int, T*, int*)) {
  const int expected = first_best(data, better);
  at_both_guards(data, [&](const T* src, int len) {
    T value = 5;
    ASSERT_EQ(plain(src, len, &value), kivStatusOk);
    ASSERT_TRUE(same_bits(value, data[expected])) << value << " in place of " << data[expected];
    if (with_index == nullptr) return;
    int index = -1;
    value = 5;
    ASSERT_EQ(with_index(src, len, &value, &index), kivStatusOk);
    ASSERT_EQ(index, expected) << "of " << len;
    ASSERT_TRUE(same_bits(value, data[expected]));
    value = 5;
    ASSERT_EQ(with_index(src, len, &value, nullptr), kivStatusOk);
    ASSERT_TRUE(same_bits(value, data[expected]));
  });
}

void expect_extrema(const std::vector<float>& data) {
  const std::vector<double> wide(data.begin(), data.end());
  expect_index<float>(data, std::greater<>(), kivsMax_32f, kivsMaxIndx_32f);
  expect_index<float>(data, std::less<>(), kivsMin_32f, kivsMinIndx_32f);
  expect_index<double>(wide, std::greater<>(), kivsMax_64f, kivsMaxIndx_64f);
  expect_index<double>(wide, std::less<>(), kivsMin_64f, nullptr);
  const Guarded<float> src(data);
  float low = 5, high = 5;
  ASSERT_EQ(kivsMinMax_32f(src.data(), static_cast<int>(data.size()), &low, &high), kivStatusOk);
  ASSERT_TRUE(same_bits(low, data[first_best(data, std::less<>())]));
  ASSERT_TRUE(same_bits(high, data[first_best(data, std::greater<>())]));
}

TEST(Extremum, IsTheFirstOfEqualElementsAtEveryLength) {
  Random random(6);
  for (int n : test_lengths()) {
    for (int distinct : {1, 2, 5, 1000000}) {
      std::vector<float> data(n);
      for (float& x : data) x = static_cast<float>(random.integer(-distinct, distinct));
      expect_extrema(data);
      std::sort(data.begin(), data.end());
      expect_extrema(data);
    }
    for (int place : {0, n / 3, n - 1}) {  // one best element among equals, infinite values, both zeros
      std::vector<float> data(n, 1.0F);
      data[place] = 2.0F;
      expect_extrema(data);
      data.assign(n, -kInf);
      data[place] = kInf;
      expect_extrema(data);
      data.assign(n, 0.0F);
      data[place] = -0.0F;
      expect_extrema(data);
    }
  }
}

TEST(Extremum, PassesOverNaNExceptInFront) {
  Random random(7);
  for (int n : test_lengths()) {
    for (int trial = 0; trial < 4; ++trial) {
      auto data = random.values<float>(n, -1, 1);
      for (int i = 1; i < n; ++i) {
        if (random.integer(0, 3) <= trial) data[i] = kNaN;
      }
      expect_extrema(data);
      data[0] = kNaN;
      expect_extrema(data);
    }
  }
}

// --- order --------------------------------------------------------------------

template <class T>
void check_nth(KivStatus (*nth)(const T*, int, int, T*)) {
  Random random(8);
  std::vector<std::vector<T>> arrays = {{5, 1, 5, 3}, std::vector<T>(100, 4)};
  for (int n : {1, 2, 17, 64, 300}) {
    arrays.push_back(random.values<T>(n, -1e6, 1e6));
    arrays.push_back(random.values<T>(n, -2, 2));
    arrays.push_back(arrays.back());
    std::sort(arrays.back().begin(), arrays.back().end());
    arrays.push_back(arrays.back());
    std::reverse(arrays.back().begin(), arrays.back().end());
  }
  for (const auto& data : arrays) {
    auto sorted = data;
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    const Guarded<T> src(data);
    const int len = static_cast<int>(data.size());
    for (int n = 0; n < len; ++n) {
      T result = 99;
      ASSERT_EQ(nth(src.data(), len, n, &result), kivStatusOk);
      ASSERT_EQ(result, sorted[n]) << n << " of " << len;
    }
    expect_exact<T>(src.values(), data);  // never reordered
  }
  // Sorted and equal data in reasonable time.
  std::vector<T> large(2000000, 7);
  T result = 0;
  EXPECT_EQ(nth(large.data(), 2000000, 1000000, &result), kivStatusOk);
  EXPECT_EQ(result, 7);
  std::iota(large.begin(), large.end(), T{0});
  EXPECT_EQ(nth(large.data(), 2000000, 0, &result), kivStatusOk);
  EXPECT_EQ(result, 1999999);

  const std::vector<T> four = {5, 1, 5, 3};
  result = 99;
  EXPECT_EQ(nth(nullptr, 0, 9, &result), kivStatusNullPointer);
  EXPECT_EQ(nth(four.data(), 4, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(nth(four.data(), 0, 9, &result), kivStatusBadSize);
  EXPECT_EQ(nth(four.data(), 4, 4, &result), kivStatusBadArgument);
  EXPECT_EQ(nth(four.data(), 4, -1, &result), kivStatusBadArgument);
  expect_survives_failed_allocations([&] {
    const KivStatus status = nth(four.data(), 1, 0, &result);
    EXPECT_EQ(result, status == kivStatusOk ? 5 : 99);
    return status;
  });
}

TEST(NthMaximum, IsThePlaceInDecreasingOrder) {
  check_nth<Kiv32s>(kivsNthMaxElement_32s);
  check_nth<Kiv32f>(kivsNthMaxElement_32f);
  check_nth<Kiv64f>(kivsNthMaxElement_64f);
}

TEST(NthMaximum, SortsNaNLast) {
  const std::vector<float> data = {kNaN, 2, -kInf, kNaN, 3, kNaN};
  const std::vector<float> sorted = {3, 2, -kInf, kNaN, kNaN, kNaN};
  for (int n = 0; n < 6; ++n) {
    float result = 99;
    EXPECT_EQ(kivsNthMaxElement_32f(data.data(), 6, n, &result), kivStatusOk);
    EXPECT_TRUE(same_bits(result, sorted[n]));
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
        EXPECT_EQ(result, scaled_reference(truth, scale)) << scale;
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

// call(src, len, result) with each pointer null and bad lengths: null first, nothing written.
template <class S, class D, class Call>
void expect_checks(Call call) {
  const std::vector<S> src(4, S{});
  D result[4];
  std::fill_n(reinterpret_cast<char*>(result), sizeof result, 77);
  for (int len : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(call(nullptr, len, result), kivStatusNullPointer);
    EXPECT_EQ(call(src.data(), len, nullptr), kivStatusNullPointer);
    EXPECT_EQ(call(src.data(), len, result), kivStatusBadSize);
  }
  EXPECT_EQ(call(nullptr, 4, result), kivStatusNullPointer);
  EXPECT_EQ(call(src.data(), 4, nullptr), kivStatusNullPointer);
  for (const char c : std::vector<char>(reinterpret_cast<char*>(result), reinterpret_cast<char*>(result + 4))) {
    EXPECT_EQ(c, 77);
  }
}

TEST(Statuses, NullPointersThenSizes) {
  expect_checks<Kiv32f, Kiv32f>([](auto... a) { return kivsSum_32f(a..., 0); });
  expect_checks<Kiv16s, Kiv32s>([](auto... a) { return kivsSum_16s32s_Sfs(a..., 0); });
  expect_checks<Kiv32s, Kiv32s>([](auto... a) { return kivsSum_32s_Sfs(a..., 0); });
  expect_checks<Kiv32f, Kiv32f>(kivsMax_32f);
  expect_checks<Kiv64f, Kiv64f>(kivsMax_64f);
  expect_checks<Kiv32f, Kiv32f>(kivsMin_32f);
  expect_checks<Kiv64f, Kiv64f>(kivsMin_64f);
  expect_checks<Kiv32f, Kiv32f>([](auto... a) { return kivsMaxIndx_32f(a..., nullptr); });
  expect_checks<Kiv64f, Kiv64f>([](auto... a) { return kivsMaxIndx_64f(a..., nullptr); });
  expect_checks<Kiv32f, Kiv32f>([](auto... a) { return kivsMinIndx_32f(a..., nullptr); });
  expect_checks<Kiv32f, Kiv32f>(kivsEntropy_32f);
  expect_checks<Kiv16s, Kiv32s>([](auto... a) { return kivsEntropy_16s32s_Sfs(a..., 0); });
  expect_checks<Kiv32f, Kiv32f>(kivsSumLn_32f);
  expect_checks<Kiv64f, Kiv64f>(kivsSumLn_64f);
  expect_checks<Kiv64f, Kiv64f>(kivsSumRowAbs_64f);
  expect_checks<Kiv64f, Kiv64f>(kivsSumRowSqr_64f);
  expect_checks<Kiv32fc, Kiv32f>([](auto src, int len, auto dst) { return kivsMagnitude_32fc(src, dst, len); });
  expect_checks<Kiv32sc, Kiv32s>([](auto src, int len, auto dst) { return kivsMagnitude_32sc_Sfs(src, dst, len, 0); });

  const auto product = [](auto call) {
    return [call](auto src, int len, auto dst) {
      const std::remove_cv_t<std::remove_pointer_t<decltype(src)>> other[4] = {};
      EXPECT_EQ(call(other, nullptr, len, dst), kivStatusNullPointer);
      return call(src, other, len, dst);
    };
  };
  expect_checks<Kiv32f, Kiv32f>([&](const Kiv32f* s, int n, Kiv32f* d) { return product(kivsDotProd_32f)(s, n, d); });
  expect_checks<Kiv64f, Kiv64f>([&](const Kiv64f* s, int n, Kiv64f* d) { return product(kivsDotProd_64f)(s, n, d); });
  expect_checks<Kiv32f, Kiv64f>(
      [&](const Kiv32f* s, int n, Kiv64f* d) { return product(kivsDotProd_32f64f)(s, n, d); });
  expect_checks<Kiv16s, Kiv64s>(
      [&](const Kiv16s* s, int n, Kiv64s* d) { return product(kivsDotProd_16s64s)(s, n, d); });
  expect_checks<Kiv16s, Kiv32f>(
      [&](const Kiv16s* s, int n, Kiv32f* d) { return product(kivsDotProd_16s32f)(s, n, d); });

  const float one = 1;
  float other = 5;
  EXPECT_EQ(kivsMinMax_32f(nullptr, 0, &other, &other), kivStatusNullPointer);
  EXPECT_EQ(kivsMinMax_32f(&one, 1, nullptr, &other), kivStatusNullPointer);
  EXPECT_EQ(kivsMinMax_32f(&one, 1, &other, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsMinMax_32f(&one, 0, &other, &other), kivStatusBadSize);

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
