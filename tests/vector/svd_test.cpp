// Singular value decomposition, against one-sided Jacobi in long double and against its own properties.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "../support/accuracy.h"
#include "../support/failed_allocations.h"
#include "../support/guarded.h"
#include "../support/random.h"
#include "kivsr.h"

namespace kivsr::test {
namespace {

using Matrix = GuardedMatrix<double>;
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr int kSweeps = 30;

struct Result {
  Result(int h, int w) : height(h), width(w), u(h, w, w + 2), v(w, w, w + 1), s(static_cast<std::size_t>(w)) {}
  int height, width;
  Matrix u, v;
  Guarded<double> s;
  KivStatus status = kivStatusOk;
};

void decompose(Matrix& a, Result& result, int sweeps = kSweeps) {
  result.status = kivsSVDSort_64f_D2(a.data(), a.step(), result.u.data(), result.u.step(), result.s.data(),
                                     result.v.data(), result.v.step(), result.width, result.height, sweeps);
}

// Singular values from the largest to the smallest: columns rotated in pairs, in the plainest order.
std::vector<long double> reference_values(Matrix& a) {
  const int h = a.height();
  const int w = a.width();
  std::vector<std::vector<long double>> columns(w, std::vector<long double>(h));
  for (int r = 0; r < h; ++r) {
    for (int c = 0; c < w; ++c) columns[c][r] = a.at(r, c);
  }
  const auto product = [&](int p, int q) {
    return std::inner_product(columns[p].begin(), columns[p].end(), columns[q].begin(), 0.0L);
  };
  bool changed = true;
  for (int sweep = 0; changed && sweep < 60; ++sweep) {
    changed = false;
    for (int p = 0; p < w; ++p) {
      for (int q = p + 1; q < w; ++q) {
        const long double d = product(p, q);
        const long double lengths = std::sqrt(product(p, p)) * std::sqrt(product(q, q));
        if (std::abs(d) <= 1e-18L * lengths) continue;
        changed = true;
        const long double angle = 0.5L * std::atan2(2 * d, product(p, p) - product(q, q));
        const long double c = std::cos(angle);
        const long double s = std::sin(angle);
        for (int r = 0; r < h; ++r) {
          const long double x = columns[p][r];
          const long double y = columns[q][r];
          columns[p][r] = c * x + s * y;
          columns[q][r] = c * y - s * x;
        }
      }
    }
  }
  std::vector<long double> values(w);
  for (int k = 0; k < w; ++k) values[k] = std::sqrt(product(k, k));
  std::sort(values.rbegin(), values.rend());
  return values;
}

// |A - U S V^T| / |A|, Frobenius norms.
double residual(Matrix& a, Result& result) {
  long double difference = 0;
  long double whole = 0;
  for (int i = 0; i < result.height; ++i) {
    for (int j = 0; j < result.width; ++j) {
      // Powers of two leave squares of every magnitude in the range of long double.
      long double x = a.at(i, j);
      whole += x * x;
      for (int k = 0; k < result.width; ++k) {
        x -= static_cast<long double>(result.u.at(i, k)) * result.s[k] * result.v.at(j, k);
      }
      difference += x * x;
    }
  }
  return whole == 0 ? static_cast<double>(difference) : static_cast<double>(std::sqrt(difference / whole));
}

// |M^T M - I|, Frobenius norm.
double deviation_from_orthogonal(Matrix& m) {
  long double sum = 0;
  for (int k = 0; k < m.width(); ++k) {
    for (int l = 0; l < m.width(); ++l) {
      long double x = k == l ? -1 : 0;
      for (int i = 0; i < m.height(); ++i) x += static_cast<long double>(m.at(i, k)) * m.at(i, l);
      sum += x * x;
    }
  }
  return static_cast<double>(std::sqrt(sum));
}

void expect_properties(Matrix& a, Result& result, double residual_bound = 0) {
  const int w = result.width;
  if (residual_bound == 0) residual_bound = 4 * std::sqrt(w) * kEpsilon;
  EXPECT_LE(residual(a, result), residual_bound);
  EXPECT_LE(deviation_from_orthogonal(result.u), 2 * (w + 2) * kEpsilon);
  EXPECT_LE(deviation_from_orthogonal(result.v), 2 * (w + 2) * kEpsilon);
  for (int k = 0; k < w; ++k) {
    EXPECT_GE(result.s[k], 0);
    EXPECT_LE(result.s[k], result.s[std::max(k - 1, 0)]);
    double largest = 0;
    for (int i = 0; i < w; ++i) {
      if (std::abs(result.v.at(i, k)) > std::abs(largest)) largest = result.v.at(i, k);
    }
    EXPECT_GT(largest, 0) << "sign of column " << k;
  }
}

void fill_normal(Matrix& a, unsigned seed) {
  Random random(seed);
  a.fill([&] { return random.normal(); });
}

TEST(Svd, HasItsPropertiesAtEveryShape) {
  for (const int w : {1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 16, 17, 26, 33, 39, 40, 41, 64, 83}) {
    for (const int more : {0, 1, 2, 3, 30}) {
      SCOPED_TRACE(testing::Message() << w + more << " x " << w);
      Matrix a(w + more, w, w + more % 3);
      fill_normal(a, static_cast<unsigned>(100 * w + more));
      Result result(w + more, w);
      decompose(a, result);
      ASSERT_EQ(result.status, kivStatusOk);
      expect_properties(a, result, w <= 64 ? 3e-15 : 0);
      if (w > 41) continue;
      const std::vector<long double> values = reference_values(a);
      for (int k = 0; k < w; ++k) {
        EXPECT_NEAR(result.s[k], static_cast<double>(values[k]), 4 * std::sqrt(w) * kEpsilon * result.s[0]);
      }
    }
  }
}

TEST(Svd, TallMatricesKeepTheBounds) {
  for (const int w : {13, 39}) {
    Matrix a(1000, w, w);
    fill_normal(a, static_cast<unsigned>(w));
    Result result(1000, w);
    decompose(a, result);
    ASSERT_EQ(result.status, kivStatusOk);
    expect_properties(a, result, 3e-15);
  }
}

// Columns of very different scales, in any order, lose nothing.
TEST(Svd, SmallValuesAreAsAccurateAsLargeOnes) {
  constexpr int kWidth = 39;
  for (const int height : {kWidth, 100}) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
      Matrix a(height, kWidth, kWidth);
      fill_normal(a, seed);
      std::vector<int> order(kWidth);
      std::iota(order.begin(), order.end(), 0);
      std::shuffle(order.begin(), order.end(), std::mt19937(seed));
      for (int r = 0; r < height; ++r) {
        for (int c = 0; c < kWidth; ++c) a.at(r, c) *= std::pow(10.0, -14.0 * order[c] / (kWidth - 1));
      }
      Result result(height, kWidth);
      decompose(a, result);
      ASSERT_EQ(result.status, kivStatusOk);
      expect_properties(a, result);
      const std::vector<long double> values = reference_values(a);
      for (int k = 0; k < kWidth; ++k) {
        EXPECT_TRUE(within_relative(result.s[k], static_cast<double>(values[k]), 2e-14)) << "value " << k;
      }
    }
  }
}

TEST(Svd, ScalesNeitherOverflowNorVanish) {
  for (const int height : {7, 20}) {
    Matrix plain(height, 7, 7);
    fill_normal(plain, 5);
    Result expected(height, 7);
    decompose(plain, expected);
    // 2^+-996 is about 1e+-300; the last one makes every element subnormal and loses digits of them.
    for (const int exponent : {-996, -500, 500, 996, -1040}) {
      SCOPED_TRACE(exponent);
      Matrix a(height, 7, 8);
      for (int r = 0; r < height; ++r) {
        for (int c = 0; c < 7; ++c) a.at(r, c) = std::ldexp(plain.at(r, c), exponent);
      }
      Result result(height, 7);
      decompose(a, result);
      ASSERT_EQ(result.status, kivStatusOk);
      if (exponent < -1000) {
        expect_properties(a, result, std::ldexp(1.0, -30));
        continue;
      }
      for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(result.s[k], std::ldexp(expected.s[k], exponent));
        for (int i = 0; i < height; ++i) EXPECT_EQ(result.u.at(i, k), expected.u.at(i, k));
      }
    }
  }
  // Both ends in one matrix.
  Matrix a(3, 3, 3);
  a.fill([] { return 0.0; });
  const double scales[] = {1e-140, 1e145, 1};
  for (int k = 0; k < 3; ++k) a.at(k, k) = scales[k];
  Result result(3, 3);
  decompose(a, result);
  const double sorted[] = {1e145, 1, 1e-140};
  for (int k = 0; k < 3; ++k) EXPECT_TRUE(within_units(result.s[k], sorted[k], 2));
}

TEST(Svd, RankDeficientMatricesHaveWholeBases) {
  for (const int height : {9, 25}) {
    for (const int rank : {0, 1, 2, 5, 8}) {
      SCOPED_TRACE(testing::Message() << height << " rows of rank " << rank);
      Matrix a(height, 9, 9);
      Random random(static_cast<unsigned>(rank + height));
      Matrix left(height, 9, 9), right(9, 9, 9);
      left.fill([&] { return random.integer(-3, 3); });
      right.fill([&] { return random.integer(-3, 3); });
      for (int i = 0; i < height; ++i) {
        for (int j = 0; j < 9; ++j) {
          a.at(i, j) = 0;
          for (int k = 0; k < rank; ++k) a.at(i, j) += left.at(i, k) * right.at(k, j);
        }
      }
      Result result(height, 9);
      decompose(a, result);
      ASSERT_EQ(result.status, kivStatusOk);
      expect_properties(a, result);
      for (int k = rank; k < 9; ++k) EXPECT_LE(result.s[k], 1e-14 * result.s[0]);
      if (rank > 0) continue;
      for (int i = 0; i < height; ++i) {
        for (int k = 0; k < 9; ++k) EXPECT_EQ(result.u.at(i, k), i == k ? 1 : 0);
      }
    }
  }
  // Columns of zeros among others, and equal ones.
  Matrix a(6, 5, 5);
  fill_normal(a, 3);
  for (int r = 0; r < 6; ++r) {
    a.at(r, 0) = a.at(r, 3) = 0;
    a.at(r, 4) = a.at(r, 2);
  }
  Result result(6, 5);
  decompose(a, result);
  ASSERT_EQ(result.status, kivStatusOk);
  expect_properties(a, result);
  EXPECT_EQ(result.s[4], 0);
}

TEST(Svd, OneSweepIsReportedAndStillAFactorisation) {
  for (const int height : {20, 50}) {
    Matrix a(height, 20, 20);
    fill_normal(a, 11);
    Result result(height, 20);
    decompose(a, result, 1);
    ASSERT_EQ(result.status, kivStatusNoConvergence);
    EXPECT_LE(residual(a, result), 4 * std::sqrt(20) * kEpsilon);
    decompose(a, result);
    EXPECT_EQ(result.status, kivStatusOk);
  }
}

// Layouts, in place, and unsorted forms: the same columns bit for bit.
TEST(Svd, FormsAgreeBitForBit) {
  for (const int w : {1, 5, 13, 41}) {
    for (const int h : {w, w + 7}) {
      SCOPED_TRACE(testing::Message() << h << " x " << w);
      Matrix a(h, w, w + 3);
      fill_normal(a, static_cast<unsigned>(h));
      Result sorted(h, w), other(h, w), found(h, w);
      decompose(a, sorted);
      const auto expect_same = [&](const char* what) {
        for (int k = 0; k < w; ++k) {
          ASSERT_TRUE(same_bits(other.s[k], sorted.s[k])) << what;
          for (int i = 0; i < h; ++i) ASSERT_TRUE(same_bits(other.u.at(i, k), sorted.u.at(i, k))) << what;
          for (int i = 0; i < w; ++i) ASSERT_TRUE(same_bits(other.v.at(i, k), sorted.v.at(i, k))) << what;
        }
      };
      const auto fill_u = [&] {
        for (int i = 0; i < h; ++i) std::copy_n(a.row(i), w, other.u.row(i));
      };
      ASSERT_EQ(kivsSVDSort_64f_D2L(a.const_rows(), other.u.rows(), other.s.data(), other.v.rows(), w, h, kSweeps),
                kivStatusOk);
      expect_same("D2L");
      fill_u();
      ASSERT_EQ(kivsSVDSort_64f_D2_I(other.u.data(), other.u.step(), other.s.data(), other.v.data(), other.v.step(), w,
                                     h, kSweeps),
                kivStatusOk);
      expect_same("D2 in place");
      fill_u();
      ASSERT_EQ(kivsSVDSort_64f_D2L_I(other.u.rows(), other.s.data(), other.v.rows(), w, h, kSweeps), kivStatusOk);
      expect_same("D2L in place");

      // Unsorted: put into order they are the sorted ones.
      const auto expect_same_when_sorted = [&](const char* what) {
        std::vector<int> order(w);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](int x, int y) { return found.s[x] > found.s[y]; });
        for (int k = 0; k < w; ++k) {
          other.s[k] = found.s[order[k]];
          for (int i = 0; i < h; ++i) other.u.at(i, k) = found.u.at(i, order[k]);
          for (int i = 0; i < w; ++i) other.v.at(i, k) = found.v.at(i, order[k]);
        }
        expect_same(what);
      };
      ASSERT_EQ(kivsSVD_64f_D2(a.data(), a.step(), found.u.data(), found.u.step(), found.s.data(), found.v.data(),
                               found.v.step(), w, h, kSweeps),
                kivStatusOk);
      expect_same_when_sorted("unsorted");
      ASSERT_EQ(kivsSVD_64f_D2L(a.const_rows(), found.u.rows(), found.s.data(), found.v.rows(), w, h, kSweeps),
                kivStatusOk);
      expect_same_when_sorted("unsorted D2L");
      for (int i = 0; i < h; ++i) std::copy_n(a.row(i), w, found.u.row(i));
      ASSERT_EQ(kivsSVD_64f_D2_I(found.u.data(), found.u.step(), found.s.data(), found.v.data(), found.v.step(), w, h,
                                 kSweeps),
                kivStatusOk);
      expect_same_when_sorted("unsorted in place");
      for (int i = 0; i < h; ++i) std::copy_n(a.row(i), w, found.u.row(i));
      ASSERT_EQ(kivsSVD_64f_D2L_I(found.u.rows(), found.s.data(), found.v.rows(), w, h, kSweeps), kivStatusOk);
      expect_same_when_sorted("unsorted D2L in place");
    }
  }
}

TEST(Svd, ChecksComeInOrderBeforeAnythingIsWritten) {
  Matrix a(4, 3, 5), u(4, 3, 5), v(3, 3, 5);
  Guarded<double> s(3);
  fill_normal(a, 1);
  u.fill([] { return 7.0; });
  const auto call = [&](const double* src, int src_step, double* left, int left_step, double* values, double* right,
                        int right_step, int width, int height, int sweeps) {
    return kivsSVDSort_64f_D2(src, src_step, left, left_step, values, right, right_step, width, height, sweeps);
  };
  const double bad[] = {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::quiet_NaN()};
  EXPECT_EQ(call(nullptr, 5, u.data(), 5, s.data(), v.data(), 5, 0, 4, 9), kivStatusNullPointer);
  EXPECT_EQ(call(a.data(), 5, nullptr, 5, s.data(), v.data(), 5, 3, 4, 9), kivStatusNullPointer);
  EXPECT_EQ(call(a.data(), 5, u.data(), 5, nullptr, v.data(), 5, 3, 4, 9), kivStatusNullPointer);
  EXPECT_EQ(call(a.data(), 5, u.data(), 5, s.data(), nullptr, 5, 3, 4, 9), kivStatusNullPointer);
  EXPECT_EQ(call(a.data(), -1, u.data(), 5, s.data(), v.data(), 5, 0, 4, 9), kivStatusBadSize);
  EXPECT_EQ(call(a.data(), 1, u.data(), 5, s.data(), v.data(), 5, 3, 0, 9), kivStatusBadSize);
  EXPECT_EQ(call(a.data(), 1, u.data(), 5, s.data(), v.data(), 5, 3, 4, 0), kivStatusBadSize);
  EXPECT_EQ(call(a.data(), 1, u.data(), 5, s.data(), v.data(), 5, 3, 2, 9), kivStatusBadSize);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) {
      for (const double x : bad) {
        const double before = a.at(r, c);
        a.at(r, c) = x;
        EXPECT_EQ(call(a.data(), 2, u.data(), 5, s.data(), v.data(), 5, 3, 4, 9), kivStatusBadStep);
        EXPECT_EQ(call(a.data(), 5, u.data(), 2, s.data(), v.data(), 5, 3, 4, 9), kivStatusBadStep);
        EXPECT_EQ(call(a.data(), 5, u.data(), 5, s.data(), v.data(), 2, 3, 4, 9), kivStatusBadStep);
        EXPECT_EQ(call(a.data(), 5, u.data(), 5, s.data(), v.data(), 5, 3, 4, 9), kivStatusOutOfRange);
        a.at(r, c) = before;
      }
    }
  }
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(u.at(r, c), 7);
  }
  // Numbers whose squares or sums are not finite are.
  a.fill([] { return std::numeric_limits<double>::max(); });
  EXPECT_EQ(call(a.data(), 5, u.data(), 5, s.data(), v.data(), 5, 3, 4, 9), kivStatusOk);
}

TEST(Svd, AllocatesAboveFortyColumnsAndSurvivesFailures) {
  const auto at_width = [](int w) {
    return [w] {
      Matrix a(w + 1, w, w);
      fill_normal(a, 1);
      Result result(w + 1, w);
      decompose(a, result);
      return result.status;
    };
  };
  {
    const AllocationWatch watch;
    EXPECT_EQ(at_width(40)(), kivStatusOk);
    EXPECT_EQ(AllocationWatch::calls(), 0);
  }
  expect_survives_failed_allocations(at_width(41));
}

// Sweeps of rotations add their rounding errors up; they stay small however many there are.
TEST(Svd, ResidualOfLargeMatrices) {
  for (const int w : {64, 128, 256}) {
    Matrix a(w, w, w);
    fill_normal(a, static_cast<unsigned>(w));
    Result result(w, w);
    decompose(a, result);
    ASSERT_EQ(result.status, kivStatusOk);
    EXPECT_LE(residual(a, result), w > 128 ? 3.5e-15 : 3e-15) << w;
  }
}

TEST(Svd, QrTransColumnRotatesTwoColumns) {
  Matrix a(5, 4, 4), before(5, 4, 4);
  fill_normal(a, 2);
  for (int r = 0; r < 5; ++r) std::copy_n(a.row(r), 4, before.row(r));
  ASSERT_EQ(kivsQRTransColumn_64f_D2L(a.rows(), 3, 1, 5, 0.8, 0.6), kivStatusOk);
  for (int r = 0; r < 5; ++r) {
    EXPECT_DOUBLE_EQ(a.at(r, 3), 0.8 * before.at(r, 3) + 0.6 * before.at(r, 1));
    EXPECT_DOUBLE_EQ(a.at(r, 1), 0.8 * before.at(r, 1) - 0.6 * before.at(r, 3));
    EXPECT_EQ(a.at(r, 0), before.at(r, 0));
    EXPECT_EQ(a.at(r, 2), before.at(r, 2));
  }
  EXPECT_EQ(kivsQRTransColumn_64f_D2L(nullptr, -1, 1, 0, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsQRTransColumn_64f_D2L(a.rows(), -1, 1, 0, 1, 0), kivStatusBadSize);
  EXPECT_EQ(kivsQRTransColumn_64f_D2L(a.rows(), -1, 1, 5, 1, 0), kivStatusBadArgument);
  EXPECT_EQ(kivsQRTransColumn_64f_D2L(a.rows(), 1, -1, 5, 1, 0), kivStatusBadArgument);
  EXPECT_EQ(kivsQRTransColumn_64f_D2L(a.rows(), 1, 1, 5, 1, 0), kivStatusBadArgument);
}

}  // namespace
}  // namespace kivsr::test
