// SIMD wrapper, AVX-512 (F, BW, DQ, VL): what generic.h does not make of 512-bit registers by itself. Masks are
// registers of bits. Where sixteen lanes are too many, vectors of eight go by avx2.h. Read vec.h first: it documents
// the operations.
#pragma once

#include "avx2.h"

namespace kivsr::simd {

using Float16 = Lanes<float, 16>;
using Double8 = Lanes<double, 8>;
using Int16 = Lanes<std::int32_t, 16>;

template <>
struct LaneMask<float, 16> {
  __mmask16 raw;
};
template <>
struct LaneMask<std::int32_t, 16> {
  __mmask16 raw;
};
template <>
struct LaneMask<double, 8> {
  __mmask8 raw;
};

// --- memory -----------------------------------------------------------------

namespace detail {

inline __m512i x86(Int16 v) { return reinterpret_cast<__m512i>(v.raw); }
inline Int16 int16(__m512i v) { return recast<Int16>(v); }
inline __m256i load_32_bytes(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline __mmask16 first_lanes(int n) { return static_cast<__mmask16>((1U << n) - 1); }

template <>
struct Permutation<Float16> {
  template <class From>
  static Float16 of(Float16 a, From) {
    const Int16 order = [&]<int... l>(std::integer_sequence<int, l...>) { return Int16{Int16::Raw{From{}(l)...}}; }
    (std::make_integer_sequence<int, 16>());
    return {_mm512_permutexvar_ps(x86(order), a.raw)};
  }
};

template <>
struct Load<Int16, std::int16_t> {
  static Int16 full(const std::int16_t* p) { return int16(_mm512_cvtepi16_epi32(load_32_bytes(p))); }
};
template <>
struct Load<Int16, std::uint8_t> {
  static Int16 full(const std::uint8_t* p) { return int16(_mm512_cvtepu8_epi32(load_16_bytes(p))); }
};
template <>
struct Load<Double8, float> {
  static Double8 full(const float* p) { return {_mm512_cvtps_pd(_mm256_loadu_ps(p))}; }
};
template <>
struct Load<Double8, std::int16_t> {
  static Double8 full(const std::int16_t* p) { return {_mm512_cvtepi32_pd(_mm256_cvtepi16_epi32(load_16_bytes(p)))}; }
};
template <>
struct Load<Double8, std::int32_t> {
  static Double8 full(const std::int32_t* p) { return {_mm512_cvtepi32_pd(load_32_bytes(p))}; }
};

template <>
struct Part<Float16> {
  static Float16 load(const float* p, int n) { return {_mm512_maskz_loadu_ps(first_lanes(n), p)}; }
  static void store(float* p, Float16 v, int n) { _mm512_mask_storeu_ps(p, first_lanes(n), v.raw); }
  template <int kLanes>
  static Float16 load_constant(const float* p) {
    if constexpr (kLanes == 8) {
      return {_mm512_zextps256_ps512(_mm256_loadu_ps(p))};
    } else {
      return {_mm512_zextps256_ps512(Part<Float8>::load_constant<kLanes>(p).raw)};
    }
  }
  template <int kLanes>
  static void store_constant(float* p, Float16 v) {
    if constexpr (kLanes == 8) {
      _mm256_storeu_ps(p, _mm512_castps512_ps256(v.raw));
    } else {
      Part<Float8>::store_constant<kLanes>(p, Float8{_mm512_castps512_ps256(v.raw)});
    }
  }
};
template <>
struct Part<Double8> {
  static Double8 load(const double* p, int n) {
    return {_mm512_maskz_loadu_pd(static_cast<__mmask8>(first_lanes(n)), p)};
  }
  static void store(double* p, Double8 v, int n) {
    _mm512_mask_storeu_pd(p, static_cast<__mmask8>(first_lanes(n)), v.raw);
  }
};

}  // namespace detail

template <class T>
inline Float16 load_filled(const float* p, int n) requires std::is_same_v<T, float> {
  return {_mm512_mask_loadu_ps(_mm512_set1_ps(*p), detail::first_lanes(n), p)};
}
template <class T>
inline Vec<T> load_filled(const std::int16_t* p, int n) requires(sizeof(T) == 4) {
  const Int16 words =
      detail::int16(_mm512_cvtepi16_epi32(_mm256_mask_loadu_epi16(_mm256_set1_epi16(*p), detail::first_lanes(n), p)));
  if constexpr (std::is_same_v<T, float>) {
    return to_float(words);
  } else {
    return words;
  }
}
inline void store_some(std::int16_t* p, Int16 v, int n) {
  _mm512_mask_cvtsepi32_storeu_epi16(p, detail::first_lanes(n), detail::x86(v));
}
inline void store(std::int16_t* p, Int16 v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtsepi32_epi16(detail::x86(v)));
}
inline void store(std::uint8_t* p, Int16 v) {
  const __m512i positive = _mm512_max_epi32(detail::x86(v), _mm512_setzero_si512());
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtusepi32_epi8(positive));
}
inline void store(float* p, Double8 v) { _mm256_storeu_ps(p, _mm512_cvtpd_ps(v.raw)); }

// --- arithmetic -------------------------------------------------------------

inline Float16 mul_add(Float16 a, Float16 b, Float16 c) { return {_mm512_fmadd_ps(a.raw, b.raw, c.raw)}; }
inline Float16 neg_mul_add(Float16 a, Float16 b, Float16 c) { return {_mm512_fnmadd_ps(a.raw, b.raw, c.raw)}; }
inline Double8 mul_add(Double8 a, Double8 b, Double8 c) { return {_mm512_fmadd_pd(a.raw, b.raw, c.raw)}; }
inline Double8 neg_mul_add(Double8 a, Double8 b, Double8 c) { return {_mm512_fnmadd_pd(a.raw, b.raw, c.raw)}; }
inline Double8 product_error(Double8 a, Double8 b, Double8 product) {
  return {_mm512_fmsub_pd(a.raw, b.raw, product.raw)};
}

inline Float16 max(Float16 a, Float16 b) { return {_mm512_max_ps(a.raw, b.raw)}; }
inline Float16 min(Float16 a, Float16 b) { return {_mm512_min_ps(a.raw, b.raw)}; }
inline Double8 max(Double8 a, Double8 b) { return {_mm512_max_pd(a.raw, b.raw)}; }
inline Double8 min(Double8 a, Double8 b) { return {_mm512_min_pd(a.raw, b.raw)}; }
inline Int16 max(Int16 a, Int16 b) { return detail::int16(_mm512_max_epi32(detail::x86(a), detail::x86(b))); }
inline Int16 min(Int16 a, Int16 b) { return detail::int16(_mm512_min_epi32(detail::x86(a), detail::x86(b))); }
inline Float16 sqrt(Float16 a) { return {_mm512_sqrt_ps(a.raw)}; }
inline Double8 sqrt(Double8 a) { return {_mm512_sqrt_pd(a.raw)}; }
inline Double8 floor(Double8 a) { return {_mm512_roundscale_pd(a.raw, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)}; }
inline Float16 reciprocal_estimate(Float16 a) { return {_mm512_rcp14_ps(a.raw)}; }
inline Float16 reciprocal_sqrt_estimate(Float16 a) { return {_mm512_rsqrt14_ps(a.raw)}; }

inline Int16 shift_left(Int16 a, int n) {
  return detail::int16(_mm512_sll_epi32(detail::x86(a), _mm_cvtsi32_si128(n)));
}
inline Int16 shift_right(Int16 a, int n) {
  return detail::int16(_mm512_sra_epi32(detail::x86(a), _mm_cvtsi32_si128(n)));
}
inline Int16 multiply_words(Int16 a, Int16 b) {
  const __m512i low = _mm512_and_si512(detail::x86(a), _mm512_set1_epi32(0xFFFF));
  return detail::int16(_mm512_madd_epi16(low, detail::x86(b)));
}
template <int kShift>
inline Int16 product_shifted(Int16 a, Int16 b, std::int64_t offset = 0) {
  const __m512i x = detail::x86(a);
  const __m512i y = detail::x86(b);
  const __m512i added = _mm512_set1_epi64(offset);
  const __m512i even = _mm512_add_epi64(_mm512_mul_epu32(x, y), added);
  const __m512i odd = _mm512_add_epi64(_mm512_mul_epu32(_mm512_srli_epi64(x, 32), _mm512_srli_epi64(y, 32)), added);
  return detail::int16(
      _mm512_mask_blend_epi32(0xAAAA, _mm512_srli_epi64(even, kShift), _mm512_slli_epi64(odd, 32 - kShift)));
}

inline Float16 operator&(Float16 a, Float16 b) { return {_mm512_and_ps(a.raw, b.raw)}; }
inline Float16 operator|(Float16 a, Float16 b) { return {_mm512_or_ps(a.raw, b.raw)}; }
inline Float16 operator^(Float16 a, Float16 b) { return {_mm512_xor_ps(a.raw, b.raw)}; }
inline Double8 operator&(Double8 a, Double8 b) { return {_mm512_and_pd(a.raw, b.raw)}; }
inline Double8 operator|(Double8 a, Double8 b) { return {_mm512_or_pd(a.raw, b.raw)}; }
inline Double8 operator^(Double8 a, Double8 b) { return {_mm512_xor_pd(a.raw, b.raw)}; }

// --- comparison and selection -------------------------------------------------

inline LaneMask<float, 16> operator<(Float16 a, Float16 b) { return {_mm512_cmp_ps_mask(a.raw, b.raw, _CMP_LT_OQ)}; }
inline LaneMask<float, 16> operator<=(Float16 a, Float16 b) { return {_mm512_cmp_ps_mask(a.raw, b.raw, _CMP_LE_OQ)}; }
inline LaneMask<float, 16> operator>(Float16 a, Float16 b) { return {_mm512_cmp_ps_mask(a.raw, b.raw, _CMP_GT_OQ)}; }
inline LaneMask<float, 16> operator>=(Float16 a, Float16 b) { return {_mm512_cmp_ps_mask(a.raw, b.raw, _CMP_GE_OQ)}; }
inline LaneMask<float, 16> operator==(Float16 a, Float16 b) { return {_mm512_cmp_ps_mask(a.raw, b.raw, _CMP_EQ_OQ)}; }
inline LaneMask<double, 8> operator<(Double8 a, Double8 b) { return {_mm512_cmp_pd_mask(a.raw, b.raw, _CMP_LT_OQ)}; }
inline LaneMask<double, 8> operator<=(Double8 a, Double8 b) { return {_mm512_cmp_pd_mask(a.raw, b.raw, _CMP_LE_OQ)}; }
inline LaneMask<double, 8> operator>(Double8 a, Double8 b) { return {_mm512_cmp_pd_mask(a.raw, b.raw, _CMP_GT_OQ)}; }
inline LaneMask<double, 8> operator>=(Double8 a, Double8 b) { return {_mm512_cmp_pd_mask(a.raw, b.raw, _CMP_GE_OQ)}; }
inline LaneMask<double, 8> operator==(Double8 a, Double8 b) { return {_mm512_cmp_pd_mask(a.raw, b.raw, _CMP_EQ_OQ)}; }
inline LaneMask<std::int32_t, 16> operator<(Int16 a, Int16 b) {
  return {_mm512_cmplt_epi32_mask(detail::x86(a), detail::x86(b))};
}
inline LaneMask<std::int32_t, 16> operator>(Int16 a, Int16 b) {
  return {_mm512_cmpgt_epi32_mask(detail::x86(a), detail::x86(b))};
}
inline LaneMask<std::int32_t, 16> operator==(Int16 a, Int16 b) {
  return {_mm512_cmpeq_epi32_mask(detail::x86(a), detail::x86(b))};
}
template <class T, int W>
inline LaneMask<T, W> operator&(LaneMask<T, W> a, LaneMask<T, W> b) requires(sizeof(T) * W == 64) {
  return {static_cast<decltype(a.raw)>(a.raw & b.raw)};
}
template <class T, int W>
inline LaneMask<T, W> operator|(LaneMask<T, W> a, LaneMask<T, W> b) requires(sizeof(T) * W == 64) {
  return {static_cast<decltype(a.raw)>(a.raw | b.raw)};
}
template <class T, int W>
inline unsigned bit_mask(LaneMask<T, W> m) requires(sizeof(T) * W == 64) {
  return m.raw;
}

inline Float16 select(LaneMask<float, 16> m, Float16 a, Float16 b) {
  return {_mm512_mask_blend_ps(m.raw, b.raw, a.raw)};
}
inline Double8 select(LaneMask<double, 8> m, Double8 a, Double8 b) {
  return {_mm512_mask_blend_pd(m.raw, b.raw, a.raw)};
}
inline Int16 select(LaneMask<std::int32_t, 16> m, Int16 a, Int16 b) {
  return detail::int16(_mm512_mask_blend_epi32(m.raw, detail::x86(b), detail::x86(a)));
}
inline Float16 keep_where(LaneMask<float, 16> m, Float16 a) { return {_mm512_maskz_mov_ps(m.raw, a.raw)}; }
inline Double8 keep_where(LaneMask<double, 8> m, Double8 a) { return {_mm512_maskz_mov_pd(m.raw, a.raw)}; }
inline Int16 as_integer(LaneMask<std::int32_t, 16> m) { return detail::int16(_mm512_movm_epi32(m.raw)); }
inline Int16 as_integer(LaneMask<float, 16> m) { return detail::int16(_mm512_movm_epi32(m.raw)); }

// --- conversion -------------------------------------------------------------

inline Int16 round_to_integer(Float16 a) { return detail::int16(_mm512_cvtps_epi32(a.raw)); }
inline Int16 truncate_to_integer(Float16 a) { return detail::int16(_mm512_cvttps_epi32(a.raw)); }
inline void store_rounded(std::int32_t* p, Double8 a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtpd_epi32(a.raw));
}
inline void store_truncated(std::int32_t* p, Double8 a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvttpd_epi32(a.raw));
}
inline void store_rounded(std::int16_t* p, Double8 a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvtsepi32_epi16(_mm512_cvtpd_epi32(a.raw)));
}
inline Double8 widen_low(Float16 a) { return {_mm512_cvtps_pd(_mm512_castps512_ps256(a.raw))}; }
inline Double8 widen_high(Float16 a) { return {_mm512_cvtps_pd(_mm512_extractf32x8_ps(a.raw, 1))}; }
inline Float16 narrow(Double8 low, Double8 high) {
  const __m512 first = _mm512_castps256_ps512(_mm512_cvtpd_ps(low.raw));
  return {_mm512_insertf32x8(first, _mm512_cvtpd_ps(high.raw), 1)};
}

// --- words and lanes ------------------------------------------------------------

inline Float8 high_half(Float16 a) { return {_mm512_extractf32x8_ps(a.raw, 1)}; }
inline Double4 high_half(Double8 a) { return {_mm512_extractf64x4_pd(a.raw, 1)}; }
inline Int16 products_of_pairs(Lanes<std::int16_t, 32> a, Lanes<std::int16_t, 32> b) {
  return detail::int16(_mm512_madd_epi16(reinterpret_cast<__m512i>(a.raw), reinterpret_cast<__m512i>(b.raw)));
}
inline Lanes<std::int16_t, 32> subtract_saturated(Lanes<std::int16_t, 32> a, Lanes<std::int16_t, 32> b) {
  return detail::recast<Lanes<std::int16_t, 32>>(
      _mm512_subs_epi16(reinterpret_cast<__m512i>(a.raw), reinterpret_cast<__m512i>(b.raw)));
}
inline Int16 lookup(const std::int32_t (&table)[24], Int16 index) {
  const __m512i high = _mm512_castsi256_si512(detail::load_32_bytes(table + 16));
  return detail::int16(_mm512_permutex2var_epi32(_mm512_loadu_si512(table), detail::x86(index), high));
}

}  // namespace kivsr::simd
