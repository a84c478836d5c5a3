// SIMD wrapper: value types Vec<T> (T = float, double, int32_t) over the registers of the target that is being compiled
// for. Kernels are written against this header and know Vec<T>::width only as a compile-time constant.
//
//   load<T>(p)            Vec<T>::width elements of any convertible memory type, converted to lanes of T
//   load_some<T>(p, n)    n < width elements, the other lanes zero; reads nothing behind them
//   store(p, v)           integers saturate when the memory type is narrower than the lanes
//   store_some(p, v, n)
//   in_first_lane(x)      x and zeros
//   mul_add(a, b, c)      a * b + c: one rounding where the target has fused instructions, two elsewhere. For sums
//   only. max(a, b), min(a, b)  the SSE rule: b unless a is strictly greater (less), so b for a NaN on either side
//   reciprocal_estimate   the processor's 12-bit estimate
//   round_to_integer      by the current rounding mode; NaN and values out of range give INT32_MIN
//   store_rounded(p, v)   doubles to integers in the same way; 16-bit results saturate after that
//   bit_mask(m)           bit k set if lane k is true
//   select(m, a, b)       lanes of a where m is true, of b elsewhere
//   keep_where(m, a)      a where m is true, zero elsewhere
//   choose(one_of_three(m1, m2), four)  four[0] where m1 is true, else four[1] where m2 is, else four[2]
//   scale_by_power_of_two(v, biased)    v 2^n, n held in the low bits of the doubles n + 1.5 2^52
//   sum_lanes(v)          lanes folded in halves: (l0 + l2) + (l1 + l3); eight lanes first fold to four
//   max_lanes(v), min_lanes(v)
//   sum_pairs(a, b)       a0 + a1, a2 + a3, ..., b0 + b1, ...
//   products_of_pairs(p, q)   a0 b0 + a1 b1, ... of 2 * width 16-bit elements; only four -32768 wrap, to INT32_MIN
//   add_unsigned(sums, x)     64-bit sums plus the lanes of x read as unsigned numbers
//   exponent_field(v), mantissa(v)   the biased exponent, and v 2^-exponent in [1, 2), of positive normal doubles
//   Words, Eight          a group of eight 16-bit words, and of eight floats, of each of kWordRows rows; the vectors
//                         low and high of Eight hold the first and the last four of every group
//   load_words(row)       row(k) points to the words of row k; same_words(p), same_eight(p): the same for all rows
//   load_groups(p)        kWordRows consecutive groups of one row in the places of rows
//   subtract_saturated(a, b), to_eight(words)   the words as floats, times 2^16
//   store_first(p, eight) the eight of the first row
//   lane_sums(v[4])       lane k + 4 h is the sum of the four lanes of row h in v[k], in the order of sum_lanes
//   add_group_sums(sums, v[h][4])   lane k + 4 h plus the lane sums of the groups in v[h][k], one after the other
//   add_row_sums(sum, v)  the same for one v and one sum; add_first_row_sum: its first group alone
//   transpose_rows(v[4])  lane k + 4 h of v[j] becomes lane j of row h in v[k]
//   interleave_rows(v)    lane j of row h becomes lane j * rows + h
//   product_error(a, b, p)    a b - p exactly, p the rounded product, where nothing overflows or underflows
//
// A new instruction set is one more backend file that defines the same operations, and a line here.
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

}  // namespace kivsr::simd
