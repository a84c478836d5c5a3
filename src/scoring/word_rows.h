// Sums over groups of eight 16-bit words, of as many rows at once as a register holds groups (kWordRows). It serves the
// Gaussian scores on 16-bit vectors, whose order of additions is fixed: the lanes of a group first, in the order of
// sum_lanes, then the groups in their order.
//
//   Words, Eight          a group of eight 16-bit words, and of eight floats, of each of kWordRows rows; the vectors
//                         low and high of Eight hold the first and the last four of every group
//   load_words(row)       row(k) points to the words of row k
//   same_words(p)         the same words for all rows, and of floats same_eight(p)
//   load_groups(p)        kWordRows consecutive groups of one row in the places of rows
//   to_eight(words)       the words as floats, times 2^16
//   store_first(p, eight) the eight of the first row
//   lane_sums(v[4])       lane k + 4 h is the sum of the four lanes of row h in v[k]
//   add_group_sums(sums, v[h][4])   lane k + 4 h plus the lane sums of the groups in v[h][k], one after the other
//   add_row_sums(sum, v)  the same for one v and one sum
//   add_first_row_sum(sum, v)       its first group alone
#pragma once

#include <cstdint>

#include "frame/simd/vec.h"

namespace kivsr::word_groups {

using V = simd::Vec<float>;
inline constexpr int kWordRows = V::width / 4;
template <int kRows>
using WordsOf = simd::Lanes<std::int16_t, 8 * kRows>;
using Words = WordsOf<kWordRows>;

struct Eight {
  V low, high;
};

// row(k) of the kRows rows from kFirst on, halves of a register joined.
template <int kRows, int kFirst, class Row>
inline WordsOf<kRows> words_of(Row row) {
  if constexpr (kRows == 1) {
    return simd::load_as<WordsOf<1>>(row(kFirst));
  } else {
    return simd::joined<WordsOf<kRows>>(words_of<kRows / 2, kFirst>(row), words_of<kRows / 2, kFirst + kRows / 2>(row));
  }
}
template <class Row>
inline Words load_words(Row row) {
  return words_of<kWordRows, 0>(row);
}
inline Words same_words(const std::int16_t* p) {
  return load_words([p](int) { return p; });
}
inline Words load_groups(const std::int16_t* p) { return simd::load_as<Words>(p); }

template <class W>
inline W repeated(simd::Quad four) {
  if constexpr (W::width == 4) {
    return four;
  } else {
    const auto half = repeated<simd::Lanes<float, W::width / 2>>(four);
    return simd::joined<W>(half, half);
  }
}
inline Eight same_eight(const float* p) {
  return {repeated<V>(simd::load_as<simd::Quad>(p)), repeated<V>(simd::load_as<simd::Quad>(p + 4))};
}
inline Eight to_eight(Words a) {
  using I = simd::Vec<std::int32_t>;
  const auto floats = [](Words words) { return to_float(simd::detail::recast<I>(words.raw)); };
  return {floats(simd::detail::unpack_low(Words::zero(), a)), floats(simd::detail::unpack_high(Words::zero(), a))};
}

// The first group of a vector, and the one behind the first h.
inline simd::Quad first_group(simd::Quad v) { return v; }
template <int W>
inline simd::Quad first_group(simd::Lanes<float, W> v) {
  return first_group(low_half(v));
}
inline void store_first(float* p, Eight a) {
  store(p, first_group(a.low));
  store(p + 4, first_group(a.high));
}

inline V lane_sums(const V (&v)[4]) {
  using simd::detail::unpack_high;
  using simd::detail::unpack_low;
  const V ab = unpack_low(v[0], v[1]) + unpack_high(v[0], v[1]);
  const V cd = unpack_low(v[2], v[3]) + unpack_high(v[2], v[3]);
  return simd::detail::join_low(ab, cd) + simd::detail::join_high(ab, cd);
}
// The groups of the rows change places first, so that those of one lane stand in vectors one after the other.
inline V add_group_sums(V sums, const V (&v)[kWordRows][4]) {
  V s[kWordRows];
#pragma GCC unroll 4
  for (int r = 0; r < kWordRows; ++r) s[r] = lane_sums(v[r]);
  if constexpr (kWordRows >= 2) {
#pragma GCC unroll 2
    for (int r = 0; r < kWordRows; r += 2) simd::detail::exchange_runs<4>(s[r], s[r + 1]);
  }
  if constexpr (kWordRows == 4) {
#pragma GCC unroll 2
    for (int r = 0; r < 2; ++r) simd::detail::exchange_runs<8>(s[r], s[r + 2]);
  }
#pragma GCC unroll 4
  for (int r = 0; r < kWordRows; ++r) sums = sums + s[r];
  return sums;
}
inline float add_first_row_sum(float sum, V v) { return sum + sum_lanes(first_group(v)); }
template <int W>
inline float add_groups(float sum, simd::Lanes<float, W> v) {
  if constexpr (W == 4) {
    return sum + sum_lanes(v);
  } else {
    return add_groups(add_groups(sum, low_half(v)), high_half(v));
  }
}
inline float add_row_sums(float sum, V v) { return add_groups(sum, v); }

}  // namespace kivsr::word_groups
