// SIMD wrapper: value types Lanes<T, width>, and Vec<T> for the registers of the target that is being compiled for
// (T = float, double, int32_t; sums and exponents in int64_t, words in int16_t). Kernels are written against this
// header and know Vec<T>::width only as a compile-time constant. Intrinsics stand in this folder only.
//
// generic.h defines every operation for any width in the compiler's vector extensions. A file per instruction set
// overloads what the compiler does not find by itself; the results are the same bits. a, b, ... stand for vectors and
// a[l] for a lane; where no other is given the definition of a lane l follows "=". The tests hold every backend to it.
//
// Memory
//   load<T>(p)               = T(p[l]) of any convertible memory type; load_as<V>(p) the same for a type of vector
//   load_some<T>(p, n)       = l < n ? T(p[l]) : 0, n < width; reads nothing behind them
//   load_filled<T>(p, n)     = T(p[l < n ? l : 0]), 0 < n <= width
//   store(p, a)              p[l] = a[l]; integers saturate when the memory type is narrower than the lanes
//   store_some(p, a, n)      the same for l < n; writes nothing behind them
//   load_part<n>(p), store_part<n>(p, a)   the same of a constant power of two n < width floats, by plain loads and
//                            stores, between which nothing has to wait for the cache
//   Vec<T>::zero()           = 0
//   Vec<T>::broadcast(x)     = x
//   Vec<T>::in_first_lane(x) = l == 0 ? x : 0
//   a.first()                a[0] as a number
//
// Arithmetic
//   a + b, a - b             = a[l] + b[l], ...; integers wrap
//   a * b, a / b, sqrt(a), abs(a)   of floats and doubles, each rounded once by the mode in force; abs clears the sign
//   mul_add(a, b, c)         = a[l] * b[l] + c[l]: one rounding in the x86 libraries with fused instructions, two
//                            elsewhere; for sums only
//   neg_mul_add(a, b, c)     = c[l] - a[l] * b[l], in the same way
//   max(a, b), min(a, b)     = a[l] > b[l] ? a[l] : b[l], so b for a NaN on either side; < for min
//   at_most(a, limit)        = a[l] > limit ? limit : a[l], a NaN for a NaN; the limit is neither zero nor a NaN
//   reciprocal_estimate(a), reciprocal_sqrt_estimate(a)   = 1 / a[l] and 1 / sqrt(a[l]) to 12 bits on x86, exact or
//                            rounded twice elsewhere
//   floor(a)                 = floor(a[l]) of doubles below 2^51, whichever rounding mode is in force
//   quotients(n, d, &q)      q[l] = n[l] / d[l]; false if a divisor is zero. Exact, but for floats in the SSE2 library,
//                            which corrects the estimate of 1/d once; lanes whose estimate is of no use are exact there,
//                            and so is a group of four with a zero divisor
//   product_shifted<n>(a, b, c)   = (uint64(uint32(a[l])) * uint32(b[l]) + c) >> n; 0 < n < 32, the result fits 32 bits
//   multiply_words(a, b)     = int16(a[l]) * int16(b[l]), the low halves of the lanes
//   products_of_pairs(p, q)  = p[2l] * q[2l] + p[2l+1] * q[2l+1] of 16-bit elements; only four -32768 wrap, to INT32_MIN
//   subtract_saturated(a, b) = clamp(a[l] - b[l], INT16_MIN, INT16_MAX) of words
//   product_error(a, b, p)   = a[l] * b[l] - p[l] exactly, p the rounded product, where nothing overflows or underflows
//
// Bits
//   a & b, a | b, a ^ b      of the bits, in vectors of one type
//   bits(a), from_bits(a)    = bit_cast<int32_t>(a[l]), bit_cast<float>(a[l])
//   shift_left(a, n), shift_right(a, n)   = a[l] << n, a[l] >> n arithmetic; every n >= 0, as if shifted bit by bit
//   exponent_field(a), mantissa(a)   the biased exponent, and a[l] 2^-exponent in [1, 2), of positive normal doubles
//   scale_by_power_of_two(a, b)      = a[l] 2^n for a normal result, n held in the low bits of the doubles n + 1.5 2^52
//
// Comparison gives a Mask<T>
//   a < b, a <= b, a > b, a >= b, a == b   = a[l] < b[l], ...
//   m1 & m2, m1 | m2         = m1[l] && m2[l], m1[l] || m2[l]
//   bit_mask(m)              bit l set if m[l]
//   any(m), all(m)           whether one of the m[l] is true, whether all are
//   select(m, a, b)          = m[l] ? a[l] : b[l]
//   keep_where(m, a)         = m[l] ? a[l] : 0
//   as_integer(m)            = m[l] ? -1 : 0
//   choose(one_of_three<T>(m1, m2), four)  = m1[l] ? four[0] : m2[l] ? four[1] : four[2]; m1 implies m2; four is a table
//                            of four, aligned to its size
//
// Conversion
//   to_float(a)              = float(a[l]) of integers
//   round_to_integer(a)      = lrint(a[l]), by the mode in force; NaN and values out of range give INT32_MIN
//   truncate_to_integer(a)   = int32_t(a[l]), in the same way
//   store_rounded(p, a), store_truncated(p, a)   doubles to integers in the same way; 16-bit results saturate after that
//   widen_low(a), widen_high(a)   = double(a[l]), double(a[width / 2 + l])
//   narrow(a, b)             = float of a, then of b: the inverse
//
// Lanes
//   sum_lanes(a)             lanes folded in halves, (a0 + a2) + (a1 + a3); more lanes first fold to four
//   max_lanes(a), min_lanes(a)    the same with max and min
//   store_lane_sums(p, a, b, c, d)   p[0] = sum_lanes(a), ... p[3] = sum_lanes(d)
//   sum_pairs(a, b)          = a[2l] + a[2l+1], then those of b
//   add_unsigned(a, b)       = a[l] + uint32(b[2l]) + uint32(b[2l+1]), 64-bit sums of 32-bit lanes
//   low_half(a), high_half(a), joined<V>(a, b)   half vectors, and back
//   reverse(a)               = a[width - 1 - l]
//   lookup(table, a)         = table[a[l]], of a table of 24 integers
//   transpose_rows(v)        four by four, in each group of four lanes: lane k + 4 h of v[j] becomes lane j + 4 h of v[k]
//   interleave_rows(a)       lane j of group h becomes lane j * groups + h
//
// Beside it: complex_lanes.h, math.h, control.h, and short_rows.h, whose load_short<T>(p) and load_some_short<T>(p, n)
// are load and load_some in vectors of at most eight lanes. A new instruction set is one more file of overloads and a
// line here; new is what it overloads, the rest is there.
#pragma once

#include "generic.h"

#if defined(KIVSR_GENERIC)
#elif defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
#include "avx512.h"
#elif defined(__AVX2__)
#include "avx2.h"
#elif defined(__SSE2__)
#include "sse2.h"
#elif defined(__aarch64__)
#include "neon.h"
#endif

namespace kivsr::simd {

template <int kLanes>
inline Vec<float> load_part(const float* p) {
  return detail::Part<Vec<float>>::template load_constant<kLanes>(p);
}

template <int kLanes>
inline void store_part(float* p, Vec<float> v) {
  detail::Part<Vec<float>>::template store_constant<kLanes>(p, v);
}

inline Vec<std::int32_t> products_of_pairs(const std::int16_t* p, const std::int16_t* q) {
  return products_of_pairs(load<std::int16_t>(p), load<std::int16_t>(q));
}

// Independent accumulators of a reduction: enough to hide the latency of an addition. Where registers do not hold them
// all, kHeldAccumulators go over the data at a time, so that the order of the additions is the same everywhere.
inline constexpr int kAccumulators = 8;
#if defined(__i386__)
inline constexpr int kHeldAccumulators = 4;
#else
inline constexpr int kHeldAccumulators = kAccumulators;
#endif

}  // namespace kivsr::simd
