// Eight words of one row. Read word_rows.h first: it documents the operations.
#pragma once

#include <cstdint>

#include "vec.h"

namespace kivsr::simd {

inline constexpr int kWordRows = 1;
struct Words {
  __m128i raw;
};
struct Eight {
  Vec<float> low, high;
};

inline Words same_words(const std::int16_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
template <class Row>
inline Words load_words(Row row) {
  return same_words(row(0));
}
inline Words load_groups(const std::int16_t* p) { return same_words(p); }
inline Eight same_eight(const float* p) { return {{_mm_loadu_ps(p)}, {_mm_loadu_ps(p + 4)}}; }
inline Words subtract_saturated(Words a, Words b) { return {_mm_subs_epi16(a.raw, b.raw)}; }
inline Eight to_eight(Words a) {
  const __m128i zero = _mm_setzero_si128();
  return {{_mm_cvtepi32_ps(_mm_unpacklo_epi16(zero, a.raw))}, {_mm_cvtepi32_ps(_mm_unpackhi_epi16(zero, a.raw))}};
}
inline void store_first(float* p, Eight a) {
  store(p, a.low);
  store(p + 4, a.high);
}
inline Vec<float> lane_sums(const Vec<float> (&v)[4]) {
  const auto pairs = [](__m128 a, __m128 b) { return _mm_add_ps(_mm_unpacklo_ps(a, b), _mm_unpackhi_ps(a, b)); };
  const __m128 ab = pairs(v[0].raw, v[1].raw);
  const __m128 cd = pairs(v[2].raw, v[3].raw);
  return {_mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab))};
}
inline Vec<float> add_group_sums(Vec<float> sums, const Vec<float> (&v)[1][4]) { return sums + lane_sums(v[0]); }
inline float add_row_sums(float sum, Vec<float> v) { return sum + sum_lanes(v); }
inline float add_first_row_sum(float sum, Vec<float> v) { return sum + sum_lanes(v); }

}  // namespace kivsr::simd
