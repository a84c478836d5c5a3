// Scale factors, saturation and rounding of integer results.
// A scaled result is x * 2^-scaleFactor, rounded to nearest with ties to even, saturated to its type.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "simd/vec.h"

namespace kivsr {

template <class Dst>
constexpr Dst saturate(std::int64_t x) {
  constexpr std::int64_t kLow = std::numeric_limits<Dst>::min();
  constexpr std::int64_t kHigh = std::numeric_limits<Dst>::max();
  return static_cast<Dst>(std::clamp(x, kLow, kHigh));
}

// x / 2^shift to nearest, ties to even; any shift >= 0.
constexpr std::int64_t shift_right_rounded(std::int64_t x, int shift) {
  if (shift == 0) return x;
  if (shift > 63) return 0;
  const std::int64_t quotient = x >> shift;
  const std::uint64_t rest = static_cast<std::uint64_t>(x) & ((std::uint64_t{1} << shift) - 1);
  const std::uint64_t half = std::uint64_t{1} << (shift - 1);
  const bool up = rest > half || (rest == half && (quotient & 1) != 0);
  return quotient + (up ? 1 : 0);
}

// The scale-factor rule for an exact 64-bit result.
template <class Dst>
constexpr Dst scaled(std::int64_t x, int scale_factor) {
  if (scale_factor >= 0) return saturate<Dst>(shift_right_rounded(x, scale_factor));
  if (x == 0 || scale_factor < -31) return saturate<Dst>(x == 0 ? 0 : x > 0 ? INT64_MAX : INT64_MIN);
  constexpr std::int64_t kRange = std::int64_t{1} << 31;
  return saturate<Dst>(std::clamp(x, -kRange, kRange) * (std::int64_t{1} << -scale_factor));
}

// The same rounded down instead of to nearest; 0 where every bit is shifted out.
template <class Dst>
constexpr Dst scaled_down(std::int64_t x, std::int64_t scale_factor) {
  if (scale_factor < 0) return scaled<Dst>(x, static_cast<int>(std::max<std::int64_t>(scale_factor, -32)));
  return scale_factor > 63 ? Dst{0} : saturate<Dst>(x >> scale_factor);
}

// 2^exponent, exact, for exponents of normal numbers.
constexpr float power_of_two(int exponent) {
  return std::bit_cast<float>(static_cast<std::uint32_t>(127 + exponent) << 23);
}
constexpr double power_of_two_64(int exponent) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(1023 + exponent) << 52);
}

// 2^-scaleFactor in single precision as repeated halving or doubling gives it: it ends in 0 or in infinity.
constexpr float single_scale(int scale_factor) {
  if (scale_factor > 149) return 0.0F;
  if (scale_factor < -127) return std::numeric_limits<float>::infinity();
  if (scale_factor <= 126) return power_of_two(-scale_factor);
  return std::bit_cast<float>(std::uint32_t{1} << (149 - scale_factor));
}

// The same in double precision.
constexpr double full_double_scale(int scale_factor) {
  if (scale_factor > 1074) return 0.0;
  if (scale_factor < -1023) return std::numeric_limits<double>::infinity();
  if (scale_factor <= 1022) return power_of_two_64(-scale_factor);
  return std::bit_cast<double>(std::uint64_t{1} << (1074 - scale_factor));
}

// The factor of integer-to-float conversions: scale factors clamped to the exponents of normal numbers.
constexpr float integer_scale(int scale_factor) { return power_of_two(-std::clamp(scale_factor, -112, 126)); }

// 2^-scaleFactor in double precision for integer results: factors beyond 2^1000 either way end there, where every
// result already is zero or saturated.
constexpr double double_scale(int scale_factor) { return power_of_two_64(-std::clamp(scale_factor, -1000, 1000)); }

// A double to nearest (ties to even) and saturated; NaN gives the lowest value. It rounds by the mode in force, towards
// zero as downwards: callers whose results are integers pin the mode (rounding_mode.h).
template <class Dst>
inline Dst round_saturated(double x) {
  constexpr double kLow = std::numeric_limits<Dst>::min();
  constexpr double kHigh = std::numeric_limits<Dst>::max();
  if (!(x > kLow)) return std::numeric_limits<Dst>::min();
  if (x >= kHigh) return std::numeric_limits<Dst>::max();
  // 1.5 * 2^52 leaves the integer in the low bits.
  constexpr double kMagic = 6755399441055744.0;
  return static_cast<Dst>(std::bit_cast<std::int64_t>(x + kMagic) - std::bit_cast<std::int64_t>(kMagic));
}

// Lanes divided by 2^shift to nearest, ties to even, 0 < shift < 32.
template <int W>
inline simd::Lanes<std::int32_t, W> shift_right_rounded(simd::Lanes<std::int32_t, W> x, int shift) {
  using V = simd::Lanes<std::int32_t, W>;
  const V quotient = simd::shift_right(x, shift);
  const V rest = x & V::broadcast(static_cast<std::int32_t>((std::uint32_t{1} << shift) - 1));
  const V half = V::broadcast(static_cast<std::int32_t>(std::uint32_t{1} << (shift - 1)));
  // rest > half, or rest == half and an odd quotient; the mask is -1 where true.
  const V odd = quotient & V::broadcast(1);
  return quotient - simd::as_integer(rest > half - odd);
}

// Lanes times 2^shift for a store that saturates to 16 bits, 0 <= shift < 16.
template <int W>
inline simd::Lanes<std::int32_t, W> shift_left_for_16_bits(simd::Lanes<std::int32_t, W> x, int shift) {
  using V = simd::Lanes<std::int32_t, W>;
  return simd::shift_left(simd::max(simd::min(x, V::broadcast(32767)), V::broadcast(-32768)), shift);
}

// The scale-factor rule for exact 32-bit lanes that a store saturates to 16 bits: apply(scale) is called once, scale a
// function of vectors of any width.
template <class Apply>
inline void scale_to_16_bits(int scale_factor, Apply apply) {
  if (scale_factor > 31) {
    apply([](auto x) { return decltype(x)::zero(); });
  } else if (scale_factor > 0) {
    apply([=](auto x) { return shift_right_rounded(x, scale_factor); });
  } else if (scale_factor == 0) {
    apply([](auto x) { return x; });
  } else {
    // 15 places take every number but zero to the bounds or beyond.
    const int shift = -std::max(scale_factor, -15);
    apply([=](auto x) { return shift_left_for_16_bits(x, shift); });
  }
}

}  // namespace kivsr
