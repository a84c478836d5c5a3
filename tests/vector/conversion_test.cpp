// Conversions between element types against references in extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

TEST(Conversion, ToFloatRoundsOnce) {
  const auto narrowed = [](auto x) { return static_cast<float>(x); };
  Elementwise<float, Kiv8u>::check(kivsConvert_8u32f, narrowed);
  Elementwise<float, Kiv16s>::check(kivsConvert_16s32f, narrowed);
  Elementwise<float, Kiv32s>::check(kivsConvert_32s32f, narrowed);
  Elementwise<float, double>::check(kivsConvert_64f32f, narrowed);
  for (int scale : {-2147483647 - 1, -200, -112, -3, 0, 15, 126, 200, 2147483647}) {
    const double factor = std::ldexp(1.0, -std::clamp(scale, -112, 126));
    Elementwise<float, Kiv16s>::check([=](auto s, auto d, int n) { return kivsConvert_16s32f_Sfs(s, d, n, scale); },
                                      [=](Kiv16s x) { return static_cast<float>(x * factor); });
    Elementwise<float, Kiv32s>::check([=](auto s, auto d, int n) { return kivsConvert_32s32f_Sfs(s, d, n, scale); },
                                      [=](Kiv32s x) { return static_cast<float>(x * factor); });
    Elementwise<double, Kiv16s>::check([=](auto s, auto d, int n) { return kivsConvert_16s64f_Sfs(s, d, n, scale); },
                                       [=](Kiv16s x) { return x * factor; });
  }
}

TEST(Conversion, IntegersRescale) {
  for (int scale : {-2147483647 - 1, -16, -15, -7, -1, 0, 1, 2, 15, 16, 30, 31, 32, 2147483647}) {
    Elementwise<Kiv16s, Kiv32s>::check(
        [=](auto s, auto d, int n) { return kivsConvert_32s16s_Sfs(s, d, n, scale); },
        [=](Kiv32s x) { return scaled_reference<Kiv16s>(x, std::clamp(scale, -15, 31)); });
  }
}

// The factor by repeated halving or doubling in single precision, as the definition has it.
float stepwise_factor(int scale) {
  volatile float factor = 1;
  for (int i = 0; i < std::abs(scale) && factor != 0 && factor <= 3e38F; ++i)
    factor = factor * (scale > 0 ? 0.5F : 2.0F);
  return factor;
}

template <class D, class S>
void check_to_integer(KivStatus (*convert)(const S*, D*, int, int, int)) {
  // Halves and quarters at every magnitude, and anything.
  const auto value = [](Random& random) {
    if (random.integer(0, 3) == 0) return any_value<S>(random);
    return static_cast<S>(std::ldexp(random.integer(-9000, 9000) / 4.0, random.integer(0, 22)));
  };
  for (int scale : {-1000, -128, -127, -20, -1, 0, 1, 2, 16, 126, 149, 150, 1000}) {
    for (int mode : {int{kivRndZero}, int{kivRndNear}, -1, 7}) {
      const S factor = stepwise_factor(scale);
      Elementwise<D, S>::check([=](const S* s, D* d, int n) { return convert(s, d, n, mode, scale); },
                               [=](S x) {
                                 const S y = x * factor;
                                 return std::isnan(y) ? std::numeric_limits<D>::min()
                                                      : scaled_reference<D>(y, 0, mode != kivRndZero);
                               },
                               [](S) { return kivStatusOk; }, Exactly(), {value});
    }
  }
}

TEST(Conversion, ToIntegersRoundsAsAskedAndSaturates) {
  check_to_integer<Kiv16s, Kiv32f>(kivsConvert_32f16s_Sfs);
  check_to_integer<Kiv32s, Kiv32f>(kivsConvert_32f32s_Sfs);
  check_to_integer<Kiv32s, Kiv64f>(kivsConvert_64f32s_Sfs);
}

TEST(Conversion, DoesNotDependOnTheCallersRoundingModeAndKeepsIt) {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    const std::vector<float> floats(9, 2.5F);
    const std::vector<double> doubles(9, 1 + 0x1p-24 + 0x1p-40);
    const std::vector<Kiv32s> integers(9, 16777217);
    Kiv16s words[9];
    Kiv32s longs[9], more[9];
    float nearest[9], scaled[9], narrow[9];
    std::fesetround(mode);
    kivsConvert_32f16s_Sfs(floats.data(), words, 9, kivRndNear, 0);
    kivsConvert_32f32s_Sfs(floats.data(), longs, 9, kivRndNear, 0);
    kivsConvert_64f32s_Sfs(doubles.data(), more, 9, kivRndNear, 0);
    kivsConvert_32s32f(integers.data(), nearest, 9);
    kivsConvert_32s32f_Sfs(integers.data(), scaled, 9, 1);
    kivsConvert_64f32f(doubles.data(), narrow, 9);
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(after, mode);
    for (int i : {0, 8}) {
      EXPECT_EQ(words[i], 2);
      EXPECT_EQ(longs[i], 2);
      EXPECT_EQ(more[i], 1);
      EXPECT_EQ(nearest[i], 16777216.0F);
      EXPECT_EQ(scaled[i], 8388608.0F);
      EXPECT_EQ(narrow[i], 1 + 0x1p-23F);
    }
  }
}

TEST(Conversion, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  using B = Kiv8u;
  expect_checks<const B, F>(kivsConvert_8u32f);
  expect_checks<const S, F>(kivsConvert_16s32f);
  expect_checks<const L, F>(kivsConvert_32s32f);
  expect_checks<const D, F>(kivsConvert_64f32f);
  expect_checks<const S, F>(followed_by(kivsConvert_16s32f_Sfs, 0));
  expect_checks<const L, F>(followed_by(kivsConvert_32s32f_Sfs, 0));
  expect_checks<const S, D>(followed_by(kivsConvert_16s64f_Sfs, 0));
  expect_checks<const L, S>(followed_by(kivsConvert_32s16s_Sfs, 0));
  expect_checks<const F, S>(followed_by(kivsConvert_32f16s_Sfs, 1, 0));
  expect_checks<const F, L>(followed_by(kivsConvert_32f32s_Sfs, 1, 0));
  expect_checks<const D, L>(followed_by(kivsConvert_64f32s_Sfs, 1, 0));
}

}  // namespace
}  // namespace kivsr::test
