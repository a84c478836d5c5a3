// The control words of both floating-point units: rounding pinned and restored, sticky flags seen.
#include "frame/rounding_mode.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <limits>

#include "frame/elementary.h"

namespace kivsr::test {
namespace {

// Both units round 1 + 3/4 of a unit in the last place by the mode in force: nearest and upward agree, 1 + 1/4 tells.
template <class T>
T rounded_sum(T fraction) {
  return in_order(in_order(T{1}) + in_order(fraction * std::numeric_limits<T>::epsilon()));
}
template <class T>
bool rounds_to_nearest() {
  constexpr T kUnit = std::numeric_limits<T>::epsilon();
  return rounded_sum<T>(T(0.75)) == 1 + kUnit && rounded_sum<T>(T(0.25)) == 1 && rounded_sum<T>(T(0.5)) == 1;
}

TEST(RoundingMode, IsPinnedAndRestored) {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
    std::fesetround(mode);
    const unsigned word = simd::control_word();
    const unsigned short extended = simd::extended_control_word();
    const bool before[] = {rounds_to_nearest<float>(), rounds_to_nearest<long double>()};
    bool pinned[2];
    {
      const NearestRounding nearest;
      pinned[0] = rounds_to_nearest<float>() && rounds_to_nearest<double>();
    }
    {
      const NearestExtendedRounding nearest;
      pinned[1] = rounds_to_nearest<long double>();
    }
    const unsigned after = simd::control_word();
    const unsigned short extended_after = simd::extended_control_word();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(before[0], mode == FE_TONEAREST);
    EXPECT_EQ(before[1], mode == FE_TONEAREST);
    EXPECT_TRUE(pinned[0] && pinned[1]) << mode;
    EXPECT_EQ(after & ~0x3FU, word & ~0x3FU) << mode;  // all but the sticky flags
    EXPECT_EQ(extended_after, extended) << mode;
  }
}

TEST(RoundingMode, FlagsAreSticky) {
  const unsigned caller = simd::control_word();
  const auto flags_after = [&](float numerator, float divisor) {
    simd::set_control_word(caller & ~(simd::kInvalidFlag | simd::kZeroDivideFlag));
    in_order(in_order(numerator) / in_order(divisor));
    return simd::control_word() & (simd::kInvalidFlag | simd::kZeroDivideFlag);
  };
  EXPECT_EQ(flags_after(1, 2), 0U);
  EXPECT_EQ(flags_after(0, 0), simd::kInvalidFlag);
  EXPECT_EQ(flags_after(1, 0), simd::kZeroDivideFlag);
  EXPECT_EQ(caller & simd::kMaskBits, simd::kMaskBits);  // nothing traps in a plain program
  simd::set_control_word(caller);
}

}  // namespace
}  // namespace kivsr::test
