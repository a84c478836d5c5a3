// SIMD wrapper, AVX2 backend: lanes that are looked up in tables of constants. Read vec.h first.
#pragma once

#include <cstdint>

#include "frame/simd/avx2.h"

namespace kivsr::simd {

inline Vec<std::int32_t> lookup(const std::int32_t (&table)[24], Vec<std::int32_t> index) {
  const auto third = [&](int first) {
    return _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + first)), index.raw);
  };
  const __m256i beyond_7 = _mm256_cmpgt_epi32(index.raw, _mm256_set1_epi32(7));
  const __m256i beyond_15 = _mm256_cmpgt_epi32(index.raw, _mm256_set1_epi32(15));
  return {_mm256_blendv_epi8(_mm256_blendv_epi8(third(0), third(8), beyond_7), third(16), beyond_15)};
}

template <int kColumns>
struct EightRows {
  alignas(32) float columns[kColumns][8];
  constexpr explicit EightRows(const float (&rows)[8][kColumns]) : columns{} {
    for (int r = 0; r < 8; ++r) {
      for (int k = 0; k < kColumns; ++k) columns[k][r] = rows[r][k];
    }
  }
};

template <int kColumns>
[[gnu::always_inline]] inline void lookup_rows(const EightRows<kColumns>& table, Vec<std::int32_t> row,
                                               Vec<float> (&columns)[kColumns]) {
#pragma GCC unroll 16
  for (int k = 0; k < kColumns; ++k) columns[k] = {_mm256_permutevar8x32_ps(_mm256_load_ps(table.columns[k]), row.raw)};
}

}  // namespace kivsr::simd
