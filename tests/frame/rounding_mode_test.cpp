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

// Of the word that holds the rounding mode on x86.
#if defined(__SSE2__) && !defined(KIVSR_GENERIC)
constexpr unsigned kStickyFlags = 0x3F;
#else
constexpr int kStickyFlags = 0;
#endif

TEST(RoundingMode, IsPinnedAndRestored) {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
    std::fesetround(mode);
    const auto word = simd::rounding();
    const auto extended = simd::extended_rounding();
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
    const auto after = simd::rounding();
    const auto extended_after = simd::extended_rounding();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(before[0], mode == FE_TONEAREST);
    EXPECT_EQ(before[1], mode == FE_TONEAREST);
    EXPECT_TRUE(pinned[0] && pinned[1]) << mode;
    EXPECT_EQ(after | kStickyFlags, word | kStickyFlags) << mode;
    EXPECT_EQ(extended_after, extended) << mode;
  }
}

// By operations of floats: on 32-bit x86 feraiseexcept would set the flags of another unit too.
void raise_flags(int flags) {
  if ((flags & FE_INVALID) != 0) in_order(in_order(0.0F) / in_order(0.0F));
  if ((flags & FE_DIVBYZERO) != 0) in_order(in_order(1.0F) / in_order(0.0F));
  if ((flags & FE_INEXACT) != 0) in_order(in_order(1.0F) / in_order(3.0F));
}

TEST(RoundingMode, UndefinedOperationsAreSeen) {
  const auto undefined_after = [&](float numerator, float divisor) {
    const auto caller = simd::start_watch();
    in_order(in_order(numerator) / in_order(divisor));
    const bool met = simd::undefined_met();
    simd::end_watch(caller);
    return met;
  };
  for (const int raised : {0, FE_INVALID, FE_DIVBYZERO | FE_INEXACT}) {
    for (const int mode : {FE_UPWARD, FE_TONEAREST}) {
      std::fesetround(mode);
      std::feclearexcept(FE_ALL_EXCEPT);
      raise_flags(raised);
      EXPECT_FALSE(undefined_after(1, 2));
      EXPECT_TRUE(undefined_after(0, 0));
      EXPECT_TRUE(undefined_after(1, 0));
      const auto caller = simd::start_watch();
      const bool pinned = rounds_to_nearest<float>();
      simd::end_watch(caller);
      EXPECT_EQ(std::fegetround(), mode);
      std::fesetround(FE_TONEAREST);
      EXPECT_TRUE(pinned);
      // The caller's flags but that of undefined operations.
      EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO), raised & FE_DIVBYZERO);
    }
  }
}

}  // namespace
}  // namespace kivsr::test
