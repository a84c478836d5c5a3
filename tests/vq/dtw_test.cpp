// Dynamic time warping against a whole table in long double, and against every path of small ones.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
using Distance = std::function<long double(int, int)>;

bool inside(int i, int j, int h1, int h2, int band) {
  const long long centre = static_cast<long long>(i) * (h2 - 1) - static_cast<long long>(j) * (h1 - 1);
  return band < 0 || std::llabs(centre) <= static_cast<long long>(band) * (h1 - 1);
}

// The table; with `open`, paths begin in any column.
struct Table {
  Table(int h1, int h2, const Distance& d, int band, bool open = false)
      : columns(h2), sums(static_cast<std::size_t>(h1 * h2), HUGE_VALL), starts(sums.size(), -1) {
    for (int i = 0; i < h1; ++i) {
      for (int j = 0; j < h2; ++j) {
        if (!inside(i, j, h1, h2, band) || std::isnan(d(i, j))) continue;
        long double best = (i == 0 && (j == 0 || open)) ? 0 : HUGE_VALL;
        int start = j;
        const auto consider = [&](int k, int l) {
          if (k < 0 || l < 0 || at(k, l) >= best) return;
          best = at(k, l);
          start = starts[static_cast<std::size_t>(k * columns + l)];
        };
        consider(i - 1, j - 1);
        consider(i - 1, j);
        consider(i, j - 1);
        sums[static_cast<std::size_t>(i * columns + j)] = best + d(i, j);
        starts[static_cast<std::size_t>(i * columns + j)] = start;
      }
    }
  }
  long double at(int i, int j) const { return sums[static_cast<std::size_t>(i * columns + j)]; }
  int columns;
  std::vector<long double> sums;
  std::vector<int> starts;
};

template <class T>
struct Pair {
  Pair(int h1, int h2, int w, unsigned seed, double range = 10) : first(h1, w, w + 2), second(h2, w, w + 1), width(w) {
    Random random(seed);
    first.fill([&] { return random.value<T>(-range, range); });
    second.fill([&] { return random.value<T>(-range, range); });
  }
  Distance distance() {
    return [this](int i, int j) {
      long double sum = 0;
      for (int k = 0; k < width; ++k) {
        const long double d = static_cast<long double>(first.at(i, k)) - second.at(j, k);
        sum += d * d;
      }
      return std::sqrt(sum);
    };
  }
  template <class Form, class... A>
  KivStatus by_step(Form form, A... arguments) {
    return form(first.data(), first.step(), first.height(), second.data(), second.step(), second.height(), width,
                arguments...);
  }
  template <class Form, class... A>
  KivStatus by_pointers(Form form, A... arguments) {
    return form(first.const_rows(), first.height(), second.const_rows(), second.height(), width, arguments...);
  }
  GuardedMatrix<T> first, second;
  int width;
};

::testing::AssertionResult near_sum(double actual, long double truth, int terms, int width) {
  if (std::isinf(actual) || std::isinf(truth)) {
    return actual == static_cast<double>(truth)
               ? ::testing::AssertionSuccess()
               : ::testing::AssertionFailure() << actual << ", expected " << static_cast<double>(truth);
  }
  return within_reduction<float>(actual, static_cast<double>(truth), static_cast<double>(truth),
                                 static_cast<std::size_t>(terms + width));
}

const std::vector<std::vector<int>> kShapes = {{1, 1},   {1, 9},   {9, 1},   {2, 3},   {3, 2},
                                               {4, 4},   {5, 8},   {7, 7},   {8, 16},  {9, 17},
                                               {16, 33}, {31, 30}, {50, 20}, {20, 95}, {64, 65}};
const int kBands[] = {-1, 0, 1, 2, 5, 17, 1000000000};

TEST(Dtw, FullAndBandedTablesAgreeWithTheDefinition) {
  unsigned seed = 1;
  for (const auto& shape : kShapes) {
    for (const int w : {1, 3, 13, 39}) {
      Pair<float> pair(shape[0], shape[1], w, seed++);
      const int terms = shape[0] + shape[1];
      for (const int band : kBands) {
        SCOPED_TRACE(testing::Message() << shape[0] << " x " << shape[1] << ", width " << w << ", band " << band);
        const long double truth = Table(shape[0], shape[1], pair.distance(), band).sums.back();
        const KivStatus expected = std::isinf(truth) ? kivStatusInfResult : kivStatusOk;
        float sum = -1, other = -1, limited = -1;
        ASSERT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &sum, band), expected);
        ASSERT_TRUE(near_sum(sum, truth, terms, w));
        ASSERT_EQ(pair.by_pointers(kivsDTW_L2_32f_D2L, &other, band), expected);
        ASSERT_TRUE(same_bits(sum, other));
        // A threshold at the result keeps it bit for bit, one below leaves nothing.
        ASSERT_EQ(pair.by_step(kivsDTW_L2Thresh_32f_D2, &limited, band, sum), expected);
        ASSERT_TRUE(same_bits(sum, limited));
        for (const float below : {std::nextafter(sum, 0.0F), sum / 2, -1.0F, std::nanf("")}) {
          if (std::isinf(below)) continue;
          ASSERT_EQ(pair.by_pointers(kivsDTW_L2Thresh_32f_D2L, &limited, band, below), kivStatusInfResult);
          ASSERT_EQ(limited, kInfinity);
        }
        ASSERT_EQ(pair.by_pointers(kivsDTW_L2Thresh_32f_D2L, &limited, band, 1.01F * sum), expected);
        ASSERT_TRUE(same_bits(sum, limited));
      }
    }
  }
}

TEST(Dtw, BandsThatHoldThePathChangeNoBit) {
  Random random(4);
  Pair<float> pair(60, 60, 5, 9);
  for (int j = 0; j < 60; ++j) {  // the same sequence, moved and disturbed
    for (int k = 0; k < 5; ++k) {
      pair.second.at(j, k) = pair.first.at(std::max(j - 3, 0), k) + static_cast<float>(random.normal());
    }
  }
  float all = 0, banded = 0;
  ASSERT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &all, -1), kivStatusOk);
  ASSERT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &banded, 8), kivStatusOk);
  EXPECT_TRUE(same_bits(all, banded));
}

// The best of all paths, found one by one.
TEST(Dtw, SmallTablesAgreeWithEveryPath) {
  for (int h1 = 1; h1 <= 5; ++h1) {
    for (int h2 = 1; h2 <= 5; ++h2) {
      Pair<float> pair(h1, h2, 2, static_cast<unsigned>(10 * h1 + h2));
      const Distance d = pair.distance();
      long double best = HUGE_VALL;
      const std::function<void(int, int, long double)> walk = [&](int i, int j, long double sum) {
        if (i >= h1 || j >= h2) return;
        sum += d(i, j);
        if (i == h1 - 1 && j == h2 - 1) best = std::min(best, sum);
        walk(i + 1, j + 1, sum);
        walk(i + 1, j, sum);
        walk(i, j + 1, sum);
      };
      walk(0, 0, 0);
      float sum = 0;
      ASSERT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &sum, -1), kivStatusOk);
      EXPECT_TRUE(near_sum(sum, best, h1 + h2, 2));
    }
  }
}

TEST(Dtw, PathsAreTheBestOnes) {
  unsigned seed = 100;
  for (const auto& shape : kShapes) {
    for (const bool ties : {false, true}) {
      // Small integers of width 1 make equal sums, and exact ones.
      Pair<float> pair(shape[0], shape[1], ties ? 1 : 7, seed++);
      for (int r = 0; ties && r < shape[0]; ++r) pair.first.at(r, 0) = std::round(pair.first.at(r, 0) / 5);
      for (int r = 0; ties && r < shape[1]; ++r) pair.second.at(r, 0) = std::round(pair.second.at(r, 0) / 5);
      for (const int band : kBands) {
        SCOPED_TRACE(testing::Message() << shape[0] << " x " << shape[1] << ", band " << band);
        const Table table(shape[0], shape[1], pair.distance(), band);
        const std::size_t room = 2 * static_cast<std::size_t>(shape[0] + shape[1] - 1);
        Guarded<Kiv32s> path(room), other(room);
        float plain = 0, sum = 0;
        int length = -1, other_length = -1;
        const KivStatus status = pair.by_step(kivsDTW_L2_32f_D2, &plain, band);
        ASSERT_EQ(pair.by_step(kivsDTW_L2Path_32f_D2, &sum, path.data(), &length, band), status);
        ASSERT_TRUE(same_bits(plain, sum));
        ASSERT_EQ(pair.by_pointers(kivsDTW_L2Path_32f_D2L, &sum, other.data(), &other_length, band), status);
        ASSERT_EQ(length, other_length);
        if (status != kivStatusOk) {
          ASSERT_EQ(length, 0);
          continue;
        }
        long double along = 0;
        int i = path[0], j = path[1];
        ASSERT_TRUE(i == 0 && j == 0);
        for (int k = 0; k < length; ++k) {
          const int ni = path[static_cast<std::size_t>(2 * k)];
          const int nj = path[static_cast<std::size_t>(2 * k + 1)];
          ASSERT_EQ(ni, other[static_cast<std::size_t>(2 * k)]);
          ASSERT_TRUE(k == 0 || (ni - i >= 0 && ni - i <= 1 && nj - j >= 0 && nj - j <= 1 && ni + nj > i + j));
          ASSERT_TRUE(inside(ni, nj, shape[0], shape[1], band));
          if (ties && ni > 0 && nj > 0) {
            // On equal sums both go on, else the first sequence.
            const long double diagonal = table.at(ni - 1, nj - 1);
            const long double above = table.at(ni - 1, nj);
            const long double left = table.at(ni, nj - 1);
            const bool both = diagonal <= above && diagonal <= left;
            const bool first = !both && above <= left;
            ASSERT_EQ(ni - i, both || first ? 1 : 0);
            ASSERT_EQ(nj - j, first ? 0 : 1);
          }
          i = ni;
          j = nj;
          along += pair.distance()(i, j);
        }
        ASSERT_TRUE(i == shape[0] - 1 && j == shape[1] - 1);
        ASSERT_TRUE(near_sum(sum, along, shape[0] + shape[1], 7));
      }
    }
  }
}

TEST(Dtw, OpenPathsBeginAnywhere) {
  unsigned seed = 200;
  for (const auto& shape : kShapes) {
    for (const int w : {1, 13}) {
      SCOPED_TRACE(testing::Message() << shape[0] << " x " << shape[1] << ", width " << w);
      Pair<float> pair(shape[0], shape[1], w, seed++);
      for (int r = 0; w == 1 && r < shape[0]; ++r) pair.first.at(r, 0) = std::round(pair.first.at(r, 0) / 5);
      for (int r = 0; w == 1 && r < shape[1]; ++r) pair.second.at(r, 0) = std::round(pair.second.at(r, 0) / 5);
      if (w == 13 && shape[1] > 4) pair.second.at(3, 0) = std::nanf("");  // nothing passes
      const Table table(shape[0], shape[1], pair.distance(), -1, true);
      const auto n = static_cast<std::size_t>(shape[1]);
      Guarded<float> sums(n), other(n);
      Guarded<Kiv32s> starts(n), other_starts(n);
      const KivStatus status = pair.by_step(kivsDTW_L2Open_32f_D2, sums.data(), starts.data());
      ASSERT_EQ(pair.by_pointers(kivsDTW_L2Open_32f_D2L, other.data(), other_starts.data()), status);
      KivStatus expected = kivStatusOk;
      for (std::size_t j = 0; j < n; ++j) {
        const std::size_t cell = static_cast<std::size_t>(shape[0] - 1) * n + j;
        ASSERT_TRUE(near_sum(sums[j], table.sums[cell], shape[0] + shape[1], w)) << "row " << j;
        ASSERT_EQ(starts[j], std::isinf(table.sums[cell]) ? -1 : table.starts[cell]) << "row " << j;
        ASSERT_TRUE(same_bits(sums[j], other[j]) && starts[j] == other_starts[j]);
        if (std::isinf(table.sums[cell])) expected = kivStatusInfResult;
      }
      ASSERT_EQ(status, expected);
    }
  }
}

TEST(Dtw, IntegersAreSummedExactlyAndRoundedOnce) {
  unsigned seed = 300;
  for (const auto& shape : kShapes) {
    for (const double range : {9.0, 32767.0}) {
      const int w = 1 + static_cast<int>(seed % 20);
      Pair<Kiv16s> pair(shape[0], shape[1], w, seed++, range);
      const Distance low = [&](int i, int j) {
        std::int64_t sum = 0;
        for (int k = 0; k < w; ++k) {
          const std::int64_t d = std::clamp(pair.first.at(i, k) - pair.second.at(j, k), -32768, 32767);
          sum += d * d;
        }
        return std::sqrt(static_cast<long double>(std::min<std::int64_t>(sum, std::numeric_limits<Kiv32s>::max())));
      };
      for (const int band : {-1, 3, 0}) {
        for (const int scale : {0, 3, -4, -31, 40}) {
          SCOPED_TRACE(testing::Message() << shape[0] << " x " << shape[1] << ", band " << band << ", scale " << scale);
          const auto expect = [&](auto step_form, auto pointer_form, const Distance& d) {
            const long double truth = Table(shape[0], shape[1], d, band).sums.back();
            const KivStatus status = std::isinf(truth) ? kivStatusInfResult : kivStatusOk;
            Kiv32s sum = -1, other = -1;
            ASSERT_EQ(pair.by_step(step_form, &sum, band, scale), status);
            ASSERT_EQ(pair.by_pointers(pointer_form, &other, band, scale), status);
            ASSERT_EQ(sum, other);
            const long double scaled = std::min(std::ldexp(truth, -scale), 2147483647.0L);
            ASSERT_LE(std::abs(sum - scaled), 0.5L + 1e-9L);
          };
          expect(kivsDTW_L2_16s32s_D2Sfs, kivsDTW_L2_16s32s_D2LSfs, pair.distance());
          expect(kivsDTW_L2Low_16s32s_D2Sfs, kivsDTW_L2Low_16s32s_D2LSfs, low);
        }
      }
    }
  }
}

TEST(Dtw, NotANumberClosesItsCells) {
  Pair<float> pair(12, 12, 3, 1);
  pair.second.at(5, 1) = std::nanf("");
  float sum = 0;
  EXPECT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &sum, -1), kivStatusInfResult);
  EXPECT_EQ(sum, kInfinity);
  pair.second.at(5, 1) = kInfinity;
  EXPECT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &sum, -1), kivStatusInfResult);
  pair.first.at(7, 1) = kInfinity;  // infinity less infinity
  EXPECT_EQ(pair.by_step(kivsDTW_L2_32f_D2, &sum, -1), kivStatusInfResult);
}

TEST(Dtw, ChecksComeInOrder) {
  Pair<float> pair(3, 4, 2, 1);
  const float* a = pair.first.data();
  const float* b = pair.second.data();
  float sum = 7;
  Kiv32s cells[14];
  int length = 7;
  EXPECT_EQ(kivsDTW_L2_32f_D2(nullptr, 0, 0, b, 2, 4, 2, &sum, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 0, 0, nullptr, 2, 4, 2, &sum, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 0, 0, b, 2, 4, 2, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 0, 0, b, 2, 4, 2, &sum, 0), kivStatusBadSize);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 0, 3, b, 2, 0, 2, &sum, 0), kivStatusBadSize);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, -1, 3, b, 2, 4, 0, &sum, 0), kivStatusBadSize);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 1, 3, b, 2, 4, 2, &sum, 0), kivStatusBadStep);
  EXPECT_EQ(kivsDTW_L2_32f_D2(a, 2, 3, b, 1, 4, 2, &sum, 0), kivStatusBadStep);
  EXPECT_EQ(kivsDTW_L2Thresh_32f_D2(a, 2, 3, b, 1, 4, 2, &sum, 0, 1), kivStatusBadStep);
  EXPECT_EQ(kivsDTW_L2Path_32f_D2(a, 2, 3, b, 3, 4, 2, &sum, nullptr, &length, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2Path_32f_D2(a, 2, 3, b, 3, 4, 2, &sum, cells, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2Open_32f_D2(a, 2, 3, b, 3, 4, 2, &sum, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDTW_L2Open_32f_D2(a, 2, 3, b, 3, 4, 0, &sum, cells), kivStatusBadSize);
  Kiv32s integer = 7;
  const Kiv16s word[2] = {0, 0};
  EXPECT_EQ(kivsDTW_L2_16s32s_D2Sfs(word, 1, 1, word, 2, 1, 2, &integer, 0, 0), kivStatusBadStep);
  EXPECT_EQ(kivsDTW_L2Low_16s32s_D2Sfs(word, 2, 1, word, 2, 1, 2, nullptr, 0, 0), kivStatusNullPointer);
  EXPECT_TRUE(sum == 7 && length == 7 && integer == 7);
}

TEST(Dtw, SurvivesFailedAllocations) {
  Pair<float> small(20, 20, 13, 1), large(700, 600, 80, 1);
  float sum = 0;
  {
    const AllocationWatch watch;
    EXPECT_EQ(small.by_step(kivsDTW_L2_32f_D2, &sum, -1), kivStatusOk);
    EXPECT_EQ(AllocationWatch::calls(), 0);
  }
  expect_survives_failed_allocations([&] { return large.by_step(kivsDTW_L2_32f_D2, &sum, 10); }, 3);
  std::vector<Kiv32s> path(2 * (700 + 600));
  std::vector<float> sums(600);
  int length;
  expect_survives_failed_allocations(
      [&] { return large.by_step(kivsDTW_L2Path_32f_D2, &sum, path.data(), &length, 10); }, 5);
  expect_survives_failed_allocations([&] { return large.by_step(kivsDTW_L2Open_32f_D2, sums.data(), path.data()); }, 3);
}

}  // namespace
}  // namespace kivsr::test
