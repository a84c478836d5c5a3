// Square roots and their reciprocals against references in wider types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kNaN64 = std::numeric_limits<double>::quiet_NaN();

TEST(Roots, SquareRootIsExactAndWarnsOfNegatives) {
  Elementwise<double, double>::check(
      in_place_alone<double>(kivsSqrt_64f_I), [](double x) { return x < 0 ? kNaN64 : std::sqrt(x); },
      [](double x) { return x < 0 ? kivStatusSqrtNegArg : kivStatusOk; }, Exactly());
}

// The warning comes only if every element was replaced, so the status is checked apart.
TEST(Roots, ReciprocalRootReplacesWhatIsNotAboveTheThreshold) {
  Random random(22);
  for (float val : {1.0F, 1e-42F, 3e20F, kInf}) {
    for (int n : test_lengths()) {
      std::vector<float> data(static_cast<std::size_t>(n));
      for (float& x : data) x = any_value<float>(random);
      if (n > 20) data[17] = std::numeric_limits<float>::min() / 5;
      const bool any_above = std::any_of(data.begin(), data.end(), [=](float x) { return x > val; });
      Guarded<float> dst(data);
      ASSERT_EQ(kivsRecSqrt_32f(dst.data(), n, val), any_above ? kivStatusOk : kivStatusNoOperation);
      for (std::size_t i = 0; i < data.size(); ++i) {
        const double truth = data[i] > val ? 1 / std::sqrt(static_cast<double>(data[i])) : val;
        ASSERT_TRUE(Estimated()(dst[i], truth)) << dst[i] << " of " << data[i];
      }
    }
  }
  float untouched = 4;
  for (float val : {0.0F, -1.0F, kNaN}) EXPECT_EQ(kivsRecSqrt_32f(&untouched, 1, val), kivStatusBadArgument);
  EXPECT_EQ(kivsRecSqrt_32f(&untouched, 0, 0), kivStatusBadSize);
  EXPECT_EQ(untouched, 4);
}

TEST(Roots, IntegerReciprocalRootsScaleAndSaturate) {
  Random random(23);
  for (int n : {1, 3, 16, 100}) {
    auto data = random.values<Kiv32s>(static_cast<std::size_t>(n), -10, 3000);
    if (n > 3) data[1] = 2147483647, data[2] = -2147483647 - 1;
    for (int scale : {-40, -31, -16, -4, 0, 2}) {
      for (Kiv32s val : {1, 1000, 40000}) {
        const Guarded<Kiv32s> src(data);
        Guarded<Kiv32s> wide(data);
        Guarded<Kiv16s> words(data.size());
        const KivStatus status = kivsRecSqrt_32s_Sfs(wide.data(), n, val, scale);
        ASSERT_EQ(kivsRecSqrt_32s16s_Sfs(src.data(), words.data(), n, val, scale), status);
        const bool any_above = std::any_of(data.begin(), data.end(), [=](Kiv32s x) { return x > val; });
        ASSERT_EQ(status, any_above ? kivStatusOk : kivStatusNoOperation);
        for (std::size_t i = 0; i < data.size(); ++i) {
          const long double root = data[i] > val ? 1 / std::sqrt(static_cast<long double>(data[i])) : val;
          const int shift = data[i] > val ? scale : 0;
          ASSERT_EQ(wide[i], scaled_reference<Kiv32s>(root, shift)) << data[i] << ' ' << scale;
          ASSERT_EQ(words[i], scaled_reference<Kiv16s>(root, shift));
        }
      }
    }
  }
  Kiv32s one = 1;
  Kiv16s word = 5;
  EXPECT_EQ(kivsRecSqrt_32s_Sfs(&one, 1, 0, 0), kivStatusBadArgument);
  EXPECT_EQ(kivsRecSqrt_32s16s_Sfs(&one, &word, 1, -3, 0), kivStatusBadArgument);
  EXPECT_EQ(word, 5);
}

TEST(Roots, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  expect_checks<D>(kivsSqrt_64f_I);
  expect_checks<F>(followed_by(kivsRecSqrt_32f, 1.0F));
  expect_checks<L>(followed_by(kivsRecSqrt_32s_Sfs, 1, 0));
  expect_checks<const L, S>(followed_by(kivsRecSqrt_32s16s_Sfs, 1, 0));
}

}  // namespace
}  // namespace kivsr::test
