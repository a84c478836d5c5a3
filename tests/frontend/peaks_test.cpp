// Peaks of a sequence against the three conditions.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

KivStatus find(const Kiv32s* x, Kiv8u* peaks, int n, int reach, int average) {
  return kivsFindPeaks_32s8u(x, peaks, n, reach, average);
}
KivStatus find(const Kiv32f* x, Kiv8u* peaks, int n, int reach, int average) {
  return kivsFindPeaks_32f8u(x, peaks, n, reach, average);
}

template <class T>
bool is_peak(const std::vector<T>& x, long i, long reach, long average) {
  const long n = static_cast<long>(x.size());
  const auto at = [&](long j) { return x[static_cast<std::size_t>(j)]; };
  for (long j = std::max(0L, i - reach); j < i; ++j) {
    if (!(at(i) > at(j))) return false;
  }
  for (long j = i + 1; j <= std::min(n - 1, i + reach); ++j) {
    if (!(at(i) >= at(j))) return false;
  }
  long double sum = 0;
  for (long j = std::max(0L, i - average); j <= std::min(n - 1, i + average); ++j) sum += at(j);
  return at(i) == at(i) && (average == 0 || static_cast<long double>(2 * average + 1) * at(i) > sum);
}

template <class T>
class Peaks : public testing::Test {};
using ElementTypes = testing::Types<Kiv32s, Kiv32f>;
TYPED_TEST_SUITE(Peaks, ElementTypes);

TYPED_TEST(Peaks, MeetTheThreeConditions) {
  using T = TypeParam;
  Random random(2);
  for (const int n : {1, 2, 3, 10, 100, 257}) {
    for (const int reach : {1, 2, 7, 300}) {
      for (const int average : {0, 1, 20, 300}) {
        // Small whole numbers, so that equal neighbours are common; below zero too.
        std::vector<T> x(static_cast<std::size_t>(n));
        for (T& v : x) v = static_cast<T>(random.integer(-9, 9));
        const Guarded<T> src(x);
        Guarded<Kiv8u> peaks(x.size());
        ASSERT_EQ(find(src.data(), peaks.data(), n, reach, average), kivStatusOk);
        for (std::size_t i = 0; i < x.size(); ++i) {
          ASSERT_EQ(peaks[i], is_peak(x, static_cast<long>(i), reach, average) ? 1 : 0)
              << n << ' ' << reach << ' ' << average << ' ' << i;
        }
      }
    }
  }
}

TYPED_TEST(Peaks, ChecksInOrder) {
  const std::vector<TypeParam> x(65536);
  std::vector<Kiv8u> peaks(65536, 7);
  EXPECT_EQ(find(static_cast<const TypeParam*>(nullptr), peaks.data(), 0, 0, -1), kivStatusNullPointer);
  EXPECT_EQ(find(x.data(), nullptr, 0, 0, -1), kivStatusNullPointer);
  EXPECT_EQ(find(x.data(), peaks.data(), 0, 0, -1), kivStatusBadLength);
  EXPECT_EQ(find(x.data(), peaks.data(), 65536, 1, 1), kivStatusBadLength);
  EXPECT_EQ(find(x.data(), peaks.data(), 10, 0, 1), kivStatusBadArgument);
  EXPECT_EQ(find(x.data(), peaks.data(), 10, 1, -1), kivStatusBadArgument);
  EXPECT_EQ(peaks[0], 7);
  EXPECT_EQ(find(x.data(), peaks.data(), 65535, std::numeric_limits<int>::max(), std::numeric_limits<int>::max()),
            kivStatusOk);
}

TEST(PeaksOfIntegers, SumsDoNotWrap) {
  std::vector<Kiv32s> x(101, std::numeric_limits<Kiv32s>::max() - 1);
  x[50] = std::numeric_limits<Kiv32s>::max();
  std::vector<Kiv8u> peaks(x.size());
  ASSERT_EQ(kivsFindPeaks_32s8u(x.data(), peaks.data(), 101, 40, 50), kivStatusOk);
  EXPECT_EQ(peaks[50], 1);
  EXPECT_EQ(peaks[49], 0);
}

TEST(PeaksOfFloats, NoPeakAtOrBesideNaN) {
  const Kiv32f nan = std::numeric_limits<Kiv32f>::quiet_NaN();
  const Kiv32f x[9] = {0, 5, nan, 0, 0, 6, 0, nan, 0};
  Kiv8u peaks[9];
  ASSERT_EQ(kivsFindPeaks_32f8u(x, peaks, 9, 1, 0), kivStatusOk);
  expect_exact<Kiv8u>(std::vector<Kiv8u>(peaks, peaks + 9), {0, 0, 0, 0, 0, 1, 0, 0, 0});
  ASSERT_EQ(kivsFindPeaks_32f8u(&nan, peaks, 1, 1, 0), kivStatusOk);
  EXPECT_EQ(peaks[0], 0);
}

}  // namespace
}  // namespace kivsr::test
