// Sums of vectors, rows and columns against references in wider types.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

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

TEST(RowAndColumnSums, AgreeWithTheMatrix) {
  Random random(5);
  for (int height : {1, 2, 7, 40}) {
    GuardedMatrix<Kiv64f> m(height, 9, 11);
    m.fill([&] { return random.uniform(-1, 1); });
    double absolute = 0, square = 0;
    for (int r = 0; r < height; ++r) {
      absolute += std::abs(m.at(r, 8));
      square += m.at(r, 8) * m.at(r, 8);
    }
    const auto close = [&](Kiv64f actual, double truth) {
      EXPECT_TRUE(within_reduction<Kiv64f>(actual, truth, height, static_cast<std::size_t>(height)));
    };
    Kiv64f result = 0;
    EXPECT_EQ(kivsSumColumnAbs_64f_D2L(m.const_rows(), 8, height, &result), kivStatusOk);
    close(result, absolute);
    EXPECT_EQ(kivsSumColumnSqr_64f_D2L(m.const_rows(), 8, height, &result), kivStatusOk);
    close(result, square);
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

TEST(Sum, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  expect_checks<const F, F>(reduction(kivsSum_32f, 0));
  expect_checks<const S, L>(reduction(kivsSum_16s32s_Sfs, 0));
  expect_checks<const L, L>(reduction(kivsSum_32s_Sfs, 0));
  for (auto f : {kivsSumRowAbs_64f, kivsSumRowSqr_64f}) expect_checks<const D, D>(reduction(f));

  const Kiv64f cell = 1;
  const Kiv64f* rows[] = {&cell};
  Kiv64f result = 5;
  for (auto f : {kivsSumColumnAbs_64f_D2L, kivsSumColumnSqr_64f_D2L}) {
    EXPECT_EQ(f(nullptr, -1, 0, &result), kivStatusNullPointer);
    EXPECT_EQ(f(rows, -1, 0, nullptr), kivStatusNullPointer);
    EXPECT_EQ(f(rows, -1, 0, &result), kivStatusBadSize);
    EXPECT_EQ(f(rows, -1, 1, &result), kivStatusBadArgument);
  }
  EXPECT_EQ(result, 5);
}

}  // namespace
}  // namespace kivsr::test
