// SIMD wrapper: value types Vec<T> (T = float, double, int32_t) over the registers of the target that is being compiled
// for. Kernels are written against this header and know Vec<T>::width only as a compile-time constant. Intrinsics stand
// in this folder only.
//
// Memory
//   load<T>(p)            Vec<T>::width elements of any convertible memory type, converted to lanes of T
//   load_some<T>(p, n)    n < width elements, the other lanes zero; reads nothing behind them
//   store(p, v)           integers saturate when the memory type is narrower than the lanes
//   store_some(p, v, n)   the first n lanes; writes nothing behind them
//   load_part<n>(p), store_part<n>(p, v)   the same of n = 1, 2 or 4 < width floats by plain loads and stores, between
//                         which nothing has to wait for the cache
//   Vec<T>::zero(), Vec<T>::broadcast(x), Vec<float>::in_first_lane(x) (x and zeros), v.first()
//
// Arithmetic: + - and, of floats, * / sqrt abs
//   mul_add(a, b, c)      a * b + c: one rounding where the target has fused instructions, two elsewhere; for sums only
//   neg_mul_add(a, b, c)  c - a * b, in the same way
//   max(a, b), min(a, b)  the SSE rule: b unless a is strictly greater (less), so b for a NaN on either side
//   reciprocal_estimate, reciprocal_sqrt_estimate   the processor's 12 bits
//   floor(v)              of doubles below 2^51, whichever rounding mode is in force
//   product_shifted<n>(a, b, c)   (a b + c) >> n of 32-bit lanes read as unsigned numbers; 0 < n < 32, and the result
//                         fits 32 bits
//   quotients(n, d, &q)   n / d; false if a divisor is zero. Exact, but for floats in the baseline, which correct the
//                         estimate of 1/d once; lanes whose estimate is of no use are exact there, and so is a group of
//                         four with a zero divisor
//   multiply_words(a, b)  products of the low 16-bit halves of the lanes, read as signed numbers
//   products_of_pairs(p, q)   a0 b0 + a1 b1, ... of 2 * width 16-bit elements; only four -32768 wrap, to INT32_MIN
//   product_error(a, b, p)    a b - p exactly, p the rounded product, where nothing overflows or underflows
//
// Bits: & | ^ of vectors of one type
//   bits(v), from_bits(v)     floats as integers and back
//   shift_left(v, n), shift_right(v, n)   arithmetic; every n >= 0, as if shifted bit by bit
//   exponent_field(v), mantissa(v)   the biased exponent, and v 2^-exponent in [1, 2), of positive normal doubles
//   scale_by_power_of_two(v, biased)    v 2^n, n held in the low bits of the doubles n + 1.5 2^52
//
// Comparison: < <= > >= == of floats and doubles, < > == of integers, give a Mask<T>; & | of masks
//   bit_mask(m)           bit k set if lane k is true
//   any(m), all(m)
//   select(m, a, b)       lanes of a where m is true, of b elsewhere
//   keep_where(m, a)      a where m is true, zero elsewhere
//   as_integer(m)         -1 where true, 0 elsewhere
//   choose(one_of_three(m1, m2), four)  four[0] where m1 is true, else four[1] where m2 is, else four[2]; m1 implies m2;
//                         four is a table of four, aligned to its size
//
// Conversion
//   to_float(v)           integers to the nearest float
//   round_to_integer(v)   by the current rounding mode; NaN and values out of range give INT32_MIN
//   truncate_to_integer(v)
//   store_rounded(p, v)   doubles to integers in the same way; 16-bit results saturate after that
//   store_truncated(p, v)
//   widen_low(v), widen_high(v), narrow(low, high)   the halves of a float vector as doubles, and back
//
// Lanes
//   sum_lanes(v)          lanes folded in halves: (l0 + l2) + (l1 + l3); eight lanes first fold to four
//   max_lanes(v), min_lanes(v)
//   store_lane_sums(p, a, b, c, d)   the four sum_lanes
//   sum_pairs(a, b)       a0 + a1, a2 + a3, ..., b0 + b1, ...
//   transpose_rows(v[4])  four by four, in each group of four lanes: lane k + 4 h of v[j] becomes lane j + 4 h of v[k]
//   reverse(v)            lanes in reverse order, of floats and integers
//   lookup(table, v)      lane by lane an element of a table of 24 integers
//   interleave_rows(v)    lane j of group h becomes lane j * groups + h
//   add_unsigned(sums, x) 64-bit sums plus the lanes of x read as unsigned numbers
//
// Beside it: complex_lanes.h, math.h, word_rows.h, control.h. A new instruction set is one more backend file that
// defines the same operations, and a line here.
#pragma once

#include <type_traits>

#if defined(__AVX2__)
#include "avx2.h"
#else
#include "sse2.h"
#endif

namespace kivsr::simd {

// Independent accumulators of a reduction: enough to hide the latency of an addition, as many as registers allow.
#if defined(__i386__)
inline constexpr int kAccumulators = 4;
#else
inline constexpr int kAccumulators = 8;
#endif

template <class T, class S>
inline Vec<T> load(const S* p) {
  return detail::Load<T, S>::full(p);
}

template <class T, class S>
inline Vec<T> load_some(const S* p, int n) {
  if constexpr (std::is_same_v<T, S> && std::is_floating_point_v<T>) {
    return load_some(p, n);
  } else {
    S lanes[Vec<T>::width] = {};
    for (int i = 0; i < n; ++i) lanes[i] = p[i];
    return load<T>(lanes);
  }
}

template <class D, class T>
inline void store_some(D* p, Vec<T> v, int n) {
  D lanes[Vec<T>::width];
  store(lanes, v);
  for (int i = 0; i < n; ++i) p[i] = lanes[i];
}

template <class T>
inline bool any(Mask<T> m) {
  return bit_mask(m) != 0;
}

template <class T>
inline bool all(Mask<T> m) {
  return bit_mask(m) == (1U << Vec<T>::width) - 1;
}

// Exact; a backend may overload it.
template <class T>
inline bool quotients(Vec<T> n, Vec<T> d, Vec<T>* q) {
  *q = n / d;
  return !any(d == Vec<T>::zero());
}

}  // namespace kivsr::simd
