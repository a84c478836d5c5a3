// Eight words of two rows, one in each half of a register. Read word_rows.h first: it documents the operations.
#pragma once

#include <cstdint>

#include "vec.h"

namespace kivsr::simd {

inline constexpr int kWordRows = 2;
struct Words {
  __m256i raw;
};
struct Eight {
  Vec<float> low, high;
};

inline Words same_words(const std::int16_t* p) { return {_mm256_broadcastsi128_si256(detail::load_16_bytes(p))}; }
template <class Row>
inline Words load_words(Row row) {
  return {
      _mm256_inserti128_si256(_mm256_castsi128_si256(detail::load_16_bytes(row(0))), detail::load_16_bytes(row(1)), 1)};
}
inline Words load_groups(const std::int16_t* p) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))}; }
inline Eight same_eight(const float* p) {
  const auto same = [](const float* four) {
    return Vec<float>{_mm256_broadcast_ps(reinterpret_cast<const __m128*>(four))};
  };
  return {same(p), same(p + 4)};
}
inline Words subtract_saturated(Words a, Words b) { return {_mm256_subs_epi16(a.raw, b.raw)}; }
inline Eight to_eight(Words a) {
  const __m256i zero = _mm256_setzero_si256();
  return {{_mm256_cvtepi32_ps(_mm256_unpacklo_epi16(zero, a.raw))},
          {_mm256_cvtepi32_ps(_mm256_unpackhi_epi16(zero, a.raw))}};
}
inline void store_first(float* p, Eight a) {
  _mm_storeu_ps(p, _mm256_castps256_ps128(a.low.raw));
  _mm_storeu_ps(p + 4, _mm256_castps256_ps128(a.high.raw));
}
inline Vec<float> lane_sums(const Vec<float> (&v)[4]) {
  const auto pairs = [](__m256 a, __m256 b) {
    return _mm256_add_ps(_mm256_unpacklo_ps(a, b), _mm256_unpackhi_ps(a, b));
  };
  const __m256 ab = pairs(v[0].raw, v[1].raw);
  const __m256 cd = pairs(v[2].raw, v[3].raw);
  return {_mm256_add_ps(_mm256_shuffle_ps(ab, cd, 0x44), _mm256_shuffle_ps(ab, cd, 0xEE))};
}
inline Vec<float> add_group_sums(Vec<float> sums, const Vec<float> (&v)[2][4]) {
  const __m256 a = lane_sums(v[0]).raw;
  const __m256 b = lane_sums(v[1]).raw;
  const __m256 first = _mm256_add_ps(sums.raw, _mm256_permute2f128_ps(a, b, 0x20));
  return {_mm256_add_ps(first, _mm256_permute2f128_ps(a, b, 0x31))};
}
namespace detail {
inline float sum_four(__m128 a) {
  const __m128 pairs = _mm_add_ps(a, _mm_movehl_ps(a, a));
  return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
}  // namespace detail
inline float add_first_row_sum(float sum, Vec<float> v) {
  return sum + detail::sum_four(_mm256_castps256_ps128(v.raw));
}
inline float add_row_sums(float sum, Vec<float> v) {
  return add_first_row_sum(sum, v) + detail::sum_four(_mm256_extractf128_ps(v.raw, 1));
}

}  // namespace kivsr::simd
