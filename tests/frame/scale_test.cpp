// Powers of two, scale factors, rounding and saturation, against extended precision, whose 64 bits hold every integer.
#include "frame/scale.h"

#include <gtest/gtest.h>

#include <climits>

#include "frame/simd/lanes.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

using Integer = std::int64_t;
using Word = std::int32_t;

std::vector<Integer> integers() {
  std::vector<Integer> all = edge_values<Integer>();
  for (int bit = 0; bit < 63; ++bit) {
    for (const Integer near : {-1, 0, 1}) {
      all.push_back((Integer{1} << bit) + near);
      all.push_back(-(Integer{1} << bit) + near);
    }
  }
  for (Integer x = -40; x <= 40; ++x) all.push_back(x);  // ties of every parity
  return all;
}

TEST(Scale, ShiftRightRounded) {
  for (const Integer x : integers()) {
    for (int shift = 0; shift < 70; ++shift) {
      const long double truth = std::nearbyint(std::ldexp(static_cast<long double>(x), -shift));
      ASSERT_EQ(shift_right_rounded(x, shift), truth) << x << " >> " << shift;
    }
    ASSERT_EQ(shift_right_rounded(x, INT_MAX), 0);
  }
}

template <class D>
D saturated(long double x) {
  using L = std::numeric_limits<D>;
  return static_cast<D>(std::clamp<long double>(x, L::min(), L::max()));
}

template <class D>
class Integers : public ::testing::Test {};
using Destinations = ::testing::Types<std::uint8_t, std::int16_t, std::int32_t>;
TYPED_TEST_SUITE(Integers, Destinations);

TYPED_TEST(Integers, ScaledAndSaturated) {
  using D = TypeParam;
  for (const Integer x : integers()) {
    ASSERT_EQ(saturate<D>(x), saturated<D>(x));
    for (int scale = -70; scale <= 70; ++scale) {
      const D expected = saturated<D>(std::nearbyint(std::ldexp(static_cast<long double>(x), -scale)));
      ASSERT_EQ(scaled<D>(x, scale), expected) << x << " scaled by " << scale;
      const D down = saturated<D>(scale > 63 ? 0 : std::floor(std::ldexp(static_cast<long double>(x), -scale)));
      ASSERT_EQ(scaled_down<D>(x, scale), down) << x << " scaled down by " << scale;
    }
    for (const int scale : {INT_MIN, INT_MAX}) {
      const D expected = scale > 0 || x == 0 ? D{0} : saturated<D>(x > 0 ? 1e30L : -1e30L);
      ASSERT_EQ(scaled<D>(x, scale), expected);
      ASSERT_EQ(scaled_down<D>(x, 2 * Integer{scale}), expected);
    }
  }
}

TYPED_TEST(Integers, RoundedAndSaturatedInTheModeInForce) {
  using D = TypeParam;
  std::vector<double> pool = edge_values<double>();
  for (const Integer x : integers()) {
    for (const double off : {-0.5, -0.25, 0.0, 0.5}) pool.push_back(static_cast<double>(x) + off);
  }
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD}) {
    const RoundingMode in_force(mode);
    for (const double x : pool) {
      const D expected = std::isnan(x) ? std::numeric_limits<D>::min() : saturated<D>(std::nearbyint(x));
      ASSERT_EQ(round_saturated<D>(x), expected) << x << " in mode " << mode;
    }
  }
}

TEST(Scale, PowersOfTwo) {
  for (int n = -126; n <= 127; ++n) EXPECT_EQ(power_of_two(n), std::ldexp(1.0F, n));
  for (int n = -1022; n <= 1023; ++n) EXPECT_EQ(power_of_two_64(n), std::ldexp(1.0, n));
}

TEST(Scale, FactorsOfScaleFactors) {
  for (int scale = -1200; scale <= 1200; ++scale) {
    EXPECT_EQ(single_scale(scale), std::ldexp(1.0F, -scale)) << scale;
    EXPECT_EQ(full_double_scale(scale), std::ldexp(1.0, -scale)) << scale;
    EXPECT_EQ(integer_scale(scale), std::ldexp(1.0F, std::clamp(-scale, -126, 112))) << scale;
    EXPECT_EQ(double_scale(scale), std::ldexp(1.0, std::clamp(-scale, -1000, 1000))) << scale;
  }
  EXPECT_EQ(single_scale(INT_MAX), 0.0F);
  EXPECT_EQ(single_scale(INT_MIN), std::numeric_limits<float>::infinity());
  EXPECT_EQ(full_double_scale(INT_MAX), 0.0);
  EXPECT_EQ(full_double_scale(INT_MIN), std::numeric_limits<double>::infinity());
  EXPECT_EQ(integer_scale(INT_MIN), std::ldexp(1.0F, 112));
  EXPECT_EQ(double_scale(INT_MAX), std::ldexp(1.0, -1000));
}

TEST(Scale, LanesRoundAndShiftAsOneElementDoes) {
  using V = simd::Vec<Word>;
  for (int shift = 1; shift < 32; ++shift) {
    expect_lanewise<1, Word>(
        "shift_right_rounded", [&](V x) { return shift_right_rounded(x, shift); },
        [&](Word x) { return static_cast<Word>(shift_right_rounded(Integer{x}, shift)); });
    if (shift > 16) continue;
    expect_lanewise<1, Word>(
        "shift_left_for_16_bits",
        [&](V x) { return max(min(shift_left_for_16_bits(x, shift - 1), V::broadcast(32767)), V::broadcast(-32768)); },
        [&](Word x) { return Word{saturate<std::int16_t>(Integer{x} << (shift - 1))}; });
  }
}

TEST(Scale, LanesScaledTo16Bits) {
  using V = simd::Vec<Word>;
  for (const int scale : {INT_MIN, -40, -16, -15, -14, -1, 0, 1, 2, 15, 16, 30, 31, 32, 33, INT_MAX}) {
    scale_to_16_bits(scale, [&](auto scale_lanes) {
      expect_lanewise<1, Word>(
          "scale_to_16_bits", [&](V x) { return max(min(scale_lanes(x), V::broadcast(32767)), V::broadcast(-32768)); },
          [&](Word x) { return Word{scaled<std::int16_t>(x, scale)}; });
    });
  }
}

}  // namespace
}  // namespace kivsr::test
