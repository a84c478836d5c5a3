// Distances: Mahalanobis, Bhattacharyya, and the cost of merging two Gaussians.
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

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class E>
long double distance(const E* x, const E* m, const E* w, int len) {
  long double sum = 0;
  for (int i = 0; i < len; ++i) {
    const long double d = static_cast<long double>(x[i]) - m[i];
    sum += d * d * w[i];
  }
  return sum;
}

template <class T>
struct Mahalanobis;
#define MEMBERS(T, code)                                           \
  template <>                                                      \
  struct Mahalanobis<T> {                                          \
    static constexpr auto single = kivsMahDistSingle_##code;       \
    static constexpr auto d2 = kivsMahDist_##code##_D2;            \
    static constexpr auto d2l = kivsMahDist_##code##_D2L;          \
    static constexpr auto mix = kivsMahDistMultiMix_##code##_D2;   \
    static constexpr auto mixl = kivsMahDistMultiMix_##code##_D2L; \
  };
MEMBERS(float, 32f)
MEMBERS(double, 64f)
#undef MEMBERS

template <class T>
class MahalanobisDistance : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MahalanobisDistance, Types);

TYPED_TEST(MahalanobisDistance, AgreesWithTheDefinitionInBothLayouts) {
  using T = TypeParam;
  using M = Mahalanobis<T>;
  Random random(3);
  for (const int len : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 33, 39, 130}) {
    for (const int height : {1, 2, 3, 4, 5, 9, 130}) {
      const auto number = [&] { return random.value<T>(-2, 2); };
      GuardedMatrix<T> x(height, len, len + height % 3);
      GuardedMatrix<T> m(height, len, x.step());
      GuardedMatrix<T> w(height, len, x.step());
      for (auto* const matrix : {&x, &m, &w}) matrix->fill(number);
      const auto n = static_cast<std::size_t>(height);
      Guarded<T> a(n), b(n), c(n), d(n), one(1);
      ASSERT_EQ(M::d2(x.data(), x.step(), m.row(0), w.row(0), len, a.data(), height), kivStatusOk);
      ASSERT_EQ(M::d2l(x.const_rows(), m.row(0), w.row(0), len, b.data(), height), kivStatusOk);
      ASSERT_EQ(M::mix(m.data(), w.data(), m.step(), x.row(0), len, c.data(), height), kivStatusOk);
      ASSERT_EQ(M::mixl(m.const_rows(), w.const_rows(), x.row(0), len, d.data(), height), kivStatusOk);
      expect_exact(a, b.values());
      expect_exact(c, d.values());
      for (int j = 0; j < height; ++j) {
        const auto at = static_cast<std::size_t>(j);
        const auto close = [&](T actual, const T* v, const T* mean, const T* weight) {
          return within_reduction<T>(actual, static_cast<double>(distance(v, mean, weight, len)), 32.0 * len,
                                     static_cast<std::size_t>(len));
        };
        ASSERT_TRUE(close(a[at], x.row(j), m.row(0), w.row(0))) << len << " frame " << j;
        ASSERT_TRUE(close(c[at], x.row(0), m.row(j), w.row(j))) << len << " Gaussian " << j;
        ASSERT_EQ(M::single(x.row(j), m.row(0), w.row(0), len, one.data()), kivStatusOk);
        ASSERT_TRUE(close(one[0], x.row(j), m.row(0), w.row(0)));
      }
    }
  }
}

TYPED_TEST(MahalanobisDistance, FirstFailureWins) {
  using T = TypeParam;
  using M = Mahalanobis<T>;
  T cells[4] = {1, 2, 3, 4};
  T out[2] = {5, 5};
  const T* rows[2] = {cells, cells};
  const T* const none = nullptr;
  const T** const no_rows = nullptr;
  T* const nowhere = nullptr;
  EXPECT_EQ(M::d2(none, 1, cells, cells, 2, out, 0), kivStatusBadStep);
  EXPECT_EQ(M::mix(none, cells, 1, cells, 2, out, 0), kivStatusBadStep);
  for (int k = 0; k < 4; ++k) {
    const T* const e[3] = {k == 0 ? none : cells, k == 1 ? none : cells, k == 2 ? none : cells};
    T* const o = k == 3 ? nowhere : out;
    EXPECT_EQ(M::single(e[0], e[1], e[2], 0, o), kivStatusNullPointer);
    EXPECT_EQ(M::d2(e[0], 2, e[1], e[2], 0, o, 1), kivStatusNullPointer);
    EXPECT_EQ(M::d2l(k == 0 ? no_rows : rows, e[1], e[2], 0, o, 1), kivStatusNullPointer);
    EXPECT_EQ(M::mix(e[0], e[1], 2, e[2], 0, o, 1), kivStatusNullPointer);
    EXPECT_EQ(M::mixl(k == 0 ? no_rows : rows, k == 1 ? no_rows : rows, e[2], 0, o, 1), kivStatusNullPointer);
  }
  for (const auto& [len, height] : {std::pair{0, 1}, std::pair{1, 0}, std::pair{-3, -2}}) {
    EXPECT_EQ(M::d2(cells, 1, cells, cells, len, out, height), kivStatusBadSize);
    EXPECT_EQ(M::d2l(rows, cells, cells, len, out, height), kivStatusBadSize);
    EXPECT_EQ(M::mix(cells, cells, 1, cells, len, out, height), kivStatusBadSize);
    EXPECT_EQ(M::mixl(rows, rows, cells, len, out, height), kivStatusBadSize);
  }
  EXPECT_EQ(M::single(cells, cells, cells, 0, out), kivStatusBadSize);
  EXPECT_EQ(out[0], T{5});
}

TEST(MahalanobisDistance, WidensBeforeItSubtracts) {
  const Guarded<float> x(std::vector<float>{16777216.0F, 1.0F});
  const Guarded<float> m(std::vector<float>{1.0F, 16777216.0F});
  const Guarded<float> w(std::vector<float>{1.0F, 0.5F});
  double result = 0;
  ASSERT_EQ(kivsMahDistSingle_32f64f(x.data(), m.data(), w.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, 1.5 * 16777215.0 * 16777215.0);
  EXPECT_EQ(kivsMahDistSingle_32f64f(x.data(), nullptr, w.data(), 0, &result), kivStatusNullPointer);
  EXPECT_EQ(kivsMahDistSingle_32f64f(x.data(), m.data(), w.data(), 0, &result), kivStatusBadSize);
}

// Two Gaussians of positive means.
struct Pair {
  Pair(int len, unsigned seed) {
    Random random(seed);
    const auto n = static_cast<std::size_t>(len);
    for (auto& v : vectors) v = random.values<float>(n, 0.05, 4);
  }
  std::vector<float> vectors[4];
  const float* operator[](int k) const { return vectors[k].data(); }
};

TEST(BhattacharyyaDistance, AgreesWithTheDefinition) {
  for (const int len : {1, 2, 3, 4, 5, 8, 9, 15, 16, 17, 39, 513}) {
    const Pair pair(len, static_cast<unsigned>(len));
    const Guarded<float> m1(pair.vectors[0]), s1(pair.vectors[1]), m2(pair.vectors[2]), s2(pair.vectors[3]);
    double q = 0, both = 0, first = 0, second = 0;
    for (std::size_t i = 0; i < m1.size(); ++i) {
      const double d = static_cast<double>(m1[i]) - m2[i];
      const double s = static_cast<double>(s1[i]) + s2[i];
      q += d * d / s;
      both += std::log(s);
      first += std::log(static_cast<double>(s1[i]));
      second += std::log(static_cast<double>(s2[i]));
    }
    const double ratio = 2 * both - first - second;
    const double plain = (0.5 * ratio - len * 1.386294 * 0.5) * 0.5 + 0.25 * q;
    const auto log1 = static_cast<float>(first);
    const auto log2 = static_cast<float>(second);
    const double with_logs = (both - len * 0.693147) * 0.5 - (static_cast<double>(log1) + log2) * 0.25 + q * 0.25;
    float single = 0;
    double wide = 0;
    ASSERT_EQ(kivsBhatDist_32f(m1.data(), s1.data(), m2.data(), s2.data(), len, &single), kivStatusOk);
    ASSERT_EQ(kivsBhatDist_32f64f(m1.data(), s1.data(), m2.data(), s2.data(), len, &wide), kivStatusOk);
    EXPECT_NEAR(wide, plain, 1e-12 * len);
    EXPECT_NEAR(single, plain, 0.25 * len * kEstimateTolerance + 1e-5);
    ASSERT_EQ(kivsBhatDistSLog_32f(m1.data(), s1.data(), m2.data(), s2.data(), len, &single, log1, log2), kivStatusOk);
    ASSERT_EQ(kivsBhatDistSLog_32f64f(m1.data(), s1.data(), m2.data(), s2.data(), len, &wide, log1, log2), kivStatusOk);
    EXPECT_NEAR(wide, with_logs, 1e-12 * len);
    EXPECT_TRUE(within_reduction<float>(single, with_logs, 2.0 * len + q, m1.size()));
  }
}

// The last digits of the definition: truncated constants, and one element's distance by the processor's estimates.
TEST(BhattacharyyaDistance, EqualGaussiansAreNotQuiteZeroApart) {
  const std::vector<float> m(11, 2.0F), s(11, 3.0F);
  double wide = 0;
  float single = 0;
  ASSERT_EQ(kivsBhatDist_32f64f(m.data(), s.data(), m.data(), s.data(), 11, &wide), kivStatusOk);
  EXPECT_NEAR(wide, (2 * std::log(2.0) - 1.386294) * 11 / 4, 1e-14);
  ASSERT_EQ(kivsBhatDist_32f(m.data(), s.data(), m.data(), s.data(), 11, &single), kivStatusOk);
  EXPECT_NE(single, 0.0F);
  EXPECT_NEAR(single, 0.0, 0.25 * 11 * kEstimateTolerance);
  // Every element is treated alike, the last ones of a length too.
  float one = 0;
  ASSERT_EQ(kivsBhatDist_32f(m.data(), s.data(), m.data(), s.data(), 1, &one), kivStatusOk);
  EXPECT_NEAR(single, 11 * one, 1e-5);
  const auto log_sum = static_cast<float>(11 * std::log(3.0));
  ASSERT_EQ(kivsBhatDistSLog_32f64f(m.data(), s.data(), m.data(), s.data(), 11, &wide, log_sum, log_sum), kivStatusOk);
  EXPECT_NEAR(wide, (11 * std::log(6.0) - 11 * 0.693147) / 2 - 0.5 * static_cast<double>(log_sum), 1e-12);
}

TEST(BhattacharyyaDistance, ZerosAndNegativesAnywhereAreSpecial) {
  const auto expect = [](const Pair& p, int len, KivStatus status) {
    float f[2] = {7, 7};
    double d[2] = {7, 7};
    EXPECT_EQ(kivsBhatDist_32f(p[0], p[1], p[2], p[3], len, &f[0]), status);
    EXPECT_EQ(kivsBhatDistSLog_32f(p[0], p[1], p[2], p[3], len, &f[1], 1, 1), status);
    EXPECT_EQ(kivsBhatDist_32f64f(p[0], p[1], p[2], p[3], len, &d[0]), status);
    EXPECT_EQ(kivsBhatDistSLog_32f64f(p[0], p[1], p[2], p[3], len, &d[1], 1, 1), status);
    for (const double x : {static_cast<double>(f[0]), static_cast<double>(f[1]), d[0], d[1]}) {
      if (status == kivStatusInfResult) {
        EXPECT_EQ(x, std::numeric_limits<double>::infinity());
      }
      if (status != kivStatusInfResult) {
        EXPECT_TRUE(std::isnan(x));
      }
    }
  };
  constexpr int kLen = 21;
  for (int vector = 0; vector < 4; ++vector) {
    for (const std::size_t at : {0U, 7U, 8U, 19U, 20U}) {
      Pair pair(kLen, 9);
      pair.vectors[vector][at] = -0.0F;
      expect(pair, kLen, kivStatusInfResult);
      pair.vectors[3 - vector][at] = -1.0F;  // negative beside zero
      expect(pair, kLen, kivStatusNanResult);
      pair.vectors[3 - vector][at] = 1.0F;
      pair.vectors[vector][at] = 0.0F;
      if (at == 7) {
        pair.vectors[1][8] = -1.0F;  // a later negative changes nothing, an earlier one decides
        expect(pair, kLen, kivStatusInfResult);
        pair.vectors[1][6] = -1.0F;
        expect(pair, kLen, kivStatusNanResult);
      }
    }
  }
  Pair pair(kLen, 9);
  pair.vectors[0][3] = kNaN;
  expect(pair, kLen, kivStatusOk);
  pair.vectors[1][3] = 0.0F;
  expect(pair, kLen, kivStatusInfResult);
}

TEST(BhattacharyyaDistance, FailuresLeaveTheResult) {
  Pair p(5, 2);
  for (int k = 0; k < 5; ++k) {
    const auto at = [&](int i) { return i == k ? nullptr : p[i]; };
    float f = 7;
    double d = 7;
    float* const pf = k == 4 ? nullptr : &f;
    double* const pd = k == 4 ? nullptr : &d;
    EXPECT_EQ(kivsBhatDist_32f(at(0), at(1), at(2), at(3), 0, pf), kivStatusNullPointer);
    EXPECT_EQ(kivsBhatDistSLog_32f(at(0), at(1), at(2), at(3), 0, pf, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(kivsBhatDist_32f64f(at(0), at(1), at(2), at(3), 0, pd), kivStatusNullPointer);
    EXPECT_EQ(kivsBhatDistSLog_32f64f(at(0), at(1), at(2), at(3), 0, pd, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(kivsGaussianDist_32f(at(0), at(1), at(2), at(3), 0, pf, 1, 0, 1, 0), kivStatusBadSize);
    EXPECT_EQ(kivsGaussianDist_32f(at(0), at(1), at(2), at(3), 1, pf, 1, 0, 1, 0), kivStatusNullPointer);
    EXPECT_EQ(f, 7.0F);
  }
  float f = 7;
  double d = 7;
  EXPECT_EQ(kivsBhatDist_32f(p[0], p[1], p[2], p[3], 0, &f), kivStatusBadSize);
  EXPECT_EQ(kivsBhatDistSLog_32f64f(p[0], p[1], p[2], p[3], -1, &d, 0, 0), kivStatusBadSize);
  const auto survives = [](auto& result, auto call) {
    expect_survives_failed_allocations([&] {
      result = 7;
      const KivStatus status = call();
      if (status == kivStatusNoMemory) {
        EXPECT_EQ(result, 7);
      }
      return status;
    });
  };
  survives(f, [&] { return kivsBhatDist_32f(p[0], p[1], p[2], p[3], 5, &f); });
  survives(f, [&] { return kivsBhatDistSLog_32f(p[0], p[1], p[2], p[3], 5, &f, 0, 0); });
  survives(d, [&] { return kivsBhatDist_32f64f(p[0], p[1], p[2], p[3], 5, &d); });
  survives(d, [&] { return kivsBhatDistSLog_32f64f(p[0], p[1], p[2], p[3], 5, &d, 0, 0); });
  // The vectors are searched before anything is allocated.
  p.vectors[2][4] = 0.0F;
  const AllocationWatch watch(1);
  EXPECT_EQ(kivsBhatDist_32f(p[0], p[1], p[2], p[3], 5, &f), kivStatusInfResult);
}

// The loss of log-likelihood, from the frames' second moments.
TEST(MergerCost, IsTheLossOfTheMergedGaussian) {
  Random random(4);
  for (const int len : {1, 3, 8, 39, 300}) {
    const auto n = static_cast<std::size_t>(len);
    const Guarded<double> m1(random.values<double>(n, -2, 2)), s1(random.values<double>(n, 0.1, 3));
    const Guarded<double> m2(random.values<double>(n, -2, 2)), s2(random.values<double>(n, 0.1, 3));
    const double w1 = 3, w2 = 5;
    double log1 = 0, log2 = 0, merged = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double mean = (w1 * m1[i] + w2 * m2[i]) / (w1 + w2);
      merged += std::log((w1 * (s1[i] + m1[i] * m1[i]) + w2 * (s2[i] + m2[i] * m2[i])) / (w1 + w2) - mean * mean);
      log1 += std::log(s1[i]);
      log2 += std::log(s2[i]);
    }
    double d = 0;
    ASSERT_EQ(kivsGaussianDist_64f(m1.data(), s1.data(), m2.data(), s2.data(), len, &d, w1, log1, w2, log2),
              kivStatusOk);
    EXPECT_NEAR(d, ((w1 + w2) * merged - w1 * log1 - w2 * log2) / 2, 1e-11 * len);
    EXPECT_GT(d, 0.0);
    ASSERT_EQ(kivsGaussianDist_64f(m1.data(), s1.data(), m1.data(), s1.data(), len, &d, w1, log1, w2, log1),
              kivStatusOk);
    EXPECT_NEAR(d, 0.0, 1e-12 * len);
  }
  const std::vector<float> m(9, 1.0F), s(9, 1.0F);
  std::vector<float> other(9, 1.0F);
  float f = 7;
  other[8] = -1.0F;
  EXPECT_EQ(kivsGaussianDist_32f(m.data(), s.data(), m.data(), other.data(), 9, &f, 1, 0, 1, 0), kivStatusInfResult);
  EXPECT_EQ(f, std::numeric_limits<float>::infinity());
  EXPECT_EQ(kivsGaussianDist_32f(m.data(), s.data(), m.data(), s.data(), 9, &f, 1, 0, -1, 0), kivStatusNanResult);
  EXPECT_TRUE(std::isnan(f));
}

}  // namespace
}  // namespace kivsr::test
