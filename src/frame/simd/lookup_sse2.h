// SIMD wrapper, SSE2 backend: lanes that are looked up in tables of constants. Read vec.h first.
#pragma once

#include <cstdint>

#include "frame/simd/sse2.h"

namespace kivsr::simd {

inline Vec<std::int32_t> lookup(const std::int32_t (&table)[24], Vec<std::int32_t> index) {
  std::int32_t lanes[4];
  store(lanes, index);
  return {_mm_setr_epi32(table[lanes[0]], table[lanes[1]], table[lanes[2]], table[lanes[3]])};
}

template <int kColumns>
struct EightRows {
  static_assert(kColumns % 4 == 0);
  alignas(16) float rows[8][kColumns];
  constexpr explicit EightRows(const float (&values)[8][kColumns]) : rows{} {
    for (int r = 0; r < 8; ++r) {
      for (int k = 0; k < kColumns; ++k) rows[r][k] = values[r][k];
    }
  }
};

template <int kColumns>
[[gnu::always_inline]] inline void lookup_rows(const EightRows<kColumns>& table, Vec<std::int32_t> row,
                                               Vec<float> (&columns)[kColumns]) {
  alignas(16) std::int32_t rows[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(rows), _mm_and_si128(row.raw, _mm_set1_epi32(7)));
#pragma GCC unroll 4
  for (int k = 0; k < kColumns; k += 4) {
    Vec<float> four[4];
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) four[j] = {_mm_load_ps(table.rows[rows[j]] + k)};
    transpose_rows(four);
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) columns[k + j] = four[j];
  }
}

}  // namespace kivsr::simd
