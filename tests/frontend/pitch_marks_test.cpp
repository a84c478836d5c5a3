// Fundamental frequency from pitch marks.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

KivStatus f0_of(const Kiv32s* marks, int n, Kiv32f* f0, int frames, int shift, Kiv32f rate, int longest) {
  return kivsPitchmarkToF0_32s32f(marks, n, f0, frames, shift, rate, longest);
}
KivStatus f0_of(const Kiv32f* marks, int n, Kiv32f* f0, int frames, int shift, Kiv32f rate, int longest) {
  return kivsPitchmarkToF0_32f(marks, n, f0, frames, shift, rate, longest);
}

template <class T>
class PitchMarks : public testing::Test {};
using MarkTypes = testing::Types<Kiv32s, Kiv32f>;
TYPED_TEST_SUITE(PitchMarks, MarkTypes);

TYPED_TEST(PitchMarks, GiveTheFrequencyOfThePeriodAroundAFrame) {
  using T = TypeParam;
  Random random(3);
  std::vector<T> marks = {static_cast<T>(random.integer(-200, 300))};
  while (marks.size() < 200) marks.push_back(marks.back() + static_cast<T>(random.integer(40, 400)));
  const Guarded<T> src(marks);
  for (const int shift : {1, 80, 160, 1000}) {
    const int frames = 60000 / shift;
    Guarded<Kiv32f> f0(static_cast<std::size_t>(frames));
    ASSERT_EQ(f0_of(src.data(), 200, f0.data(), frames, shift, 16000.0F, 320), kivStatusOk);
    for (int t = 0; t < frames; ++t) {
      double expected = 0;
      for (std::size_t k = 0; k + 1 < marks.size(); ++k) {
        const double low = static_cast<double>(marks[k]);
        const double high = static_cast<double>(marks[k + 1]);
        const double at = static_cast<double>(t) * shift;
        if (low <= at && at < high && high - low <= 320) expected = 16000.0 / (high - low);
      }
      ASSERT_EQ(f0[static_cast<std::size_t>(t)], static_cast<Kiv32f>(expected)) << shift << ' ' << t;
    }
  }
}

TYPED_TEST(PitchMarks, ChecksInOrder) {
  using T = TypeParam;
  const T marks[3] = {10, 20, 30};
  const T same[3] = {10, 20, 20};
  Kiv32f f0[4] = {5, 5, 5, 5};
  const Kiv32f nan = std::numeric_limits<Kiv32f>::quiet_NaN();
  EXPECT_EQ(f0_of(static_cast<const T*>(nullptr), 1, f0, 0, 0, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(f0_of(same, 3, nullptr, 0, 0, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(f0_of(same, 1, f0, 4, 1, 0, 0), kivStatusBadSize);
  EXPECT_EQ(f0_of(same, 3, f0, 0, 1, 0, 0), kivStatusBadSize);
  EXPECT_EQ(f0_of(same, 3, f0, 4, 0, 0, 0), kivStatusBadSize);
  for (const Kiv32f rate : {0.0F, -1.0F, nan}) EXPECT_EQ(f0_of(same, 3, f0, 4, 1, rate, 1), kivStatusBadArgument);
  EXPECT_EQ(f0_of(same, 3, f0, 4, 1, 8000, 0), kivStatusBadArgument);
  EXPECT_EQ(f0_of(same, 3, f0, 4, 1, 8000, 100), kivStatusOutOfRange);
  EXPECT_EQ(f0[0], 5.0F);
  EXPECT_EQ(f0_of(marks, 3, f0, 4, 10, 8000, 100), kivStatusOk);
  expect_exact<Kiv32f>(std::vector<Kiv32f>(f0, f0 + 4), {0, 800, 800, 0});
}

TEST(PitchMarksBetweenSamples, ExtremesAndNaN) {
  const Kiv32f marks[3] = {0.25F, 100.5F, std::numeric_limits<Kiv32f>::infinity()};
  Kiv32f f0[3];
  ASSERT_EQ(kivsPitchmarkToF0_32f(marks, 3, f0, 3, 100, 8000, 200), kivStatusOk);
  expect_exact<Kiv32f>(std::vector<Kiv32f>(f0, f0 + 3), {0, 8000 / 100.25F, 0});
  const Kiv32f bad[3] = {1, std::numeric_limits<Kiv32f>::quiet_NaN(), 3};
  EXPECT_EQ(kivsPitchmarkToF0_32f(bad, 3, f0, 3, 100, 8000, 200), kivStatusOutOfRange);
  const Kiv32s far[2] = {std::numeric_limits<Kiv32s>::min(), std::numeric_limits<Kiv32s>::max()};
  ASSERT_EQ(kivsPitchmarkToF0_32s32f(far, 2, f0, 3, std::numeric_limits<int>::max(), 8000, 200), kivStatusOk);
  expect_exact<Kiv32f>(std::vector<Kiv32f>(f0, f0 + 3), {0, 0, 0});
}

}  // namespace
}  // namespace kivsr::test
