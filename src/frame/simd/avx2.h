// SIMD wrapper, AVX2 + FMA backend: 256-bit registers.
// Read vec.h first: it documents the operations.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace kivsr::simd {

template <class T>
struct Vec;

template <class T>
struct Mask;

template <>
struct Vec<float> {
  using Element = float;
  static constexpr int width = 8;
  __m256 raw;
  static Vec zero() { return {_mm256_setzero_ps()}; }
  static Vec broadcast(float x) { return {_mm256_set1_ps(x)}; }
  static Vec in_first_lane(float x) { return {_mm256_zextps128_ps256(_mm_set_ss(x))}; }
  float first() const { return _mm256_cvtss_f32(raw); }
};

template <>
struct Vec<double> {
  using Element = double;
  static constexpr int width = 4;
  __m256d raw;
  static Vec zero() { return {_mm256_setzero_pd()}; }
  static Vec broadcast(double x) { return {_mm256_set1_pd(x)}; }
  double first() const { return _mm256_cvtsd_f64(raw); }
};

template <>
struct Vec<std::int32_t> {
  using Element = std::int32_t;
  static constexpr int width = 8;
  __m256i raw;
  static Vec zero() { return {_mm256_setzero_si256()}; }
  static Vec broadcast(std::int32_t x) { return {_mm256_set1_epi32(x)}; }
  std::int32_t first() const { return _mm256_cvtsi256_si32(raw); }
};

// Sums and exponents only.
template <>
struct Vec<std::int64_t> {
  using Element = std::int64_t;
  static constexpr int width = 4;
  __m256i raw;
  static Vec zero() { return {_mm256_setzero_si256()}; }
};

template <>
struct Mask<float> {
  __m256 raw;
};
template <>
struct Mask<double> {
  __m256d raw;
};
template <>
struct Mask<std::int32_t> {
  __m256i raw;
};

// --- memory -----------------------------------------------------------------

namespace detail {

inline __m128i load_8_bytes(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
inline __m128i load_16_bytes(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

// Lanes 0 .. n-1 all ones, the others zero.
inline __m256i first_lanes_32(int n) {
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}
inline __m256i first_lanes_64(int n) {
  return _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_setr_epi64x(0, 1, 2, 3));
}

template <class T, class S>
struct Load;

template <>
struct Load<float, float> {
  static Vec<float> full(const float* p) { return {_mm256_loadu_ps(p)}; }
};
template <>
struct Load<double, double> {
  static Vec<double> full(const double* p) { return {_mm256_loadu_pd(p)}; }
};
template <>
struct Load<std::int32_t, std::int32_t> {
  static Vec<std::int32_t> full(const std::int32_t* p) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
  }
};
template <>
struct Load<std::int32_t, std::int16_t> {
  static Vec<std::int32_t> full(const std::int16_t* p) { return {_mm256_cvtepi16_epi32(load_16_bytes(p))}; }
};
template <>
struct Load<std::int32_t, std::uint8_t> {
  static Vec<std::int32_t> full(const std::uint8_t* p) { return {_mm256_cvtepu8_epi32(load_8_bytes(p))}; }
};
template <class S>
struct Load<float, S> {
  static Vec<float> full(const S* p) { return {_mm256_cvtepi32_ps(Load<std::int32_t, S>::full(p).raw)}; }
};
template <>
struct Load<float, double> {
  static Vec<float> full(const double* p) {
    return {_mm256_set_m128(_mm256_cvtpd_ps(_mm256_loadu_pd(p + 4)), _mm256_cvtpd_ps(_mm256_loadu_pd(p)))};
  }
};
template <>
struct Load<double, float> {
  static Vec<double> full(const float* p) { return {_mm256_cvtps_pd(_mm_loadu_ps(p))}; }
};
template <>
struct Load<double, std::int16_t> {
  static Vec<double> full(const std::int16_t* p) { return {_mm256_cvtepi32_pd(_mm_cvtepi16_epi32(load_8_bytes(p)))}; }
};
template <>
struct Load<double, std::int32_t> {
  static Vec<double> full(const std::int32_t* p) { return {_mm256_cvtepi32_pd(load_16_bytes(p))}; }
};

}  // namespace detail

inline Vec<float> load_some(const float* p, int n) { return {_mm256_maskload_ps(p, detail::first_lanes_32(n))}; }
template <int kLanes>
inline Vec<float> load_part(const float* p) {
  if constexpr (kLanes == 4) return {_mm256_zextps128_ps256(_mm_loadu_ps(p))};
  if constexpr (kLanes == 2) return {_mm256_zextps128_ps256(_mm_castsi128_ps(detail::load_8_bytes(p)))};
  return {_mm256_zextps128_ps256(_mm_load_ss(p))};
}
inline Vec<double> load_some(const double* p, int n) { return {_mm256_maskload_pd(p, detail::first_lanes_64(n))}; }

inline void store(float* p, Vec<float> v) { _mm256_storeu_ps(p, v.raw); }
inline void store_some(float* p, Vec<float> v, int n) { _mm256_maskstore_ps(p, detail::first_lanes_32(n), v.raw); }
template <int kLanes>
inline void store_part(float* p, Vec<float> v) {
  const __m128 half = _mm256_castps256_ps128(v.raw);
  if constexpr (kLanes == 4) _mm_storeu_ps(p, half);
  if constexpr (kLanes == 2) _mm_storel_pi(reinterpret_cast<__m64*>(p), half);
  if constexpr (kLanes == 1) _mm_store_ss(p, half);
}
inline void store(double* p, Vec<double> v) { _mm256_storeu_pd(p, v.raw); }
inline void store_some(double* p, Vec<double> v, int n) { _mm256_maskstore_pd(p, detail::first_lanes_64(n), v.raw); }
inline void store(std::int32_t* p, Vec<std::int32_t> v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v.raw); }
inline void store(std::int16_t* p, Vec<std::int32_t> v) {
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(v.raw), _mm256_extracti128_si256(v.raw, 1));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), words);
}
inline void store(std::uint8_t* p, Vec<std::int32_t> v) {
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(v.raw), _mm256_extracti128_si256(v.raw, 1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
}
inline void store(float* p, Vec<double> v) { _mm_storeu_ps(p, _mm256_cvtpd_ps(v.raw)); }

// --- arithmetic -------------------------------------------------------------

inline Vec<float> operator+(Vec<float> a, Vec<float> b) { return {_mm256_add_ps(a.raw, b.raw)}; }
inline Vec<float> operator-(Vec<float> a, Vec<float> b) { return {_mm256_sub_ps(a.raw, b.raw)}; }
inline Vec<float> operator*(Vec<float> a, Vec<float> b) { return {_mm256_mul_ps(a.raw, b.raw)}; }
inline Vec<float> operator/(Vec<float> a, Vec<float> b) { return {_mm256_div_ps(a.raw, b.raw)}; }
inline Vec<double> operator+(Vec<double> a, Vec<double> b) { return {_mm256_add_pd(a.raw, b.raw)}; }
inline Vec<double> operator-(Vec<double> a, Vec<double> b) { return {_mm256_sub_pd(a.raw, b.raw)}; }
inline Vec<double> operator*(Vec<double> a, Vec<double> b) { return {_mm256_mul_pd(a.raw, b.raw)}; }
inline Vec<double> operator/(Vec<double> a, Vec<double> b) { return {_mm256_div_pd(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator+(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_add_epi32(a.raw, b.raw)};
}
inline Vec<std::int32_t> operator-(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_sub_epi32(a.raw, b.raw)};
}

inline Vec<float> mul_add(Vec<float> a, Vec<float> b, Vec<float> c) { return {_mm256_fmadd_ps(a.raw, b.raw, c.raw)}; }
inline Vec<double> mul_add(Vec<double> a, Vec<double> b, Vec<double> c) {
  return {_mm256_fmadd_pd(a.raw, b.raw, c.raw)};
}
inline Vec<float> neg_mul_add(Vec<float> a, Vec<float> b, Vec<float> c) {
  return {_mm256_fnmadd_ps(a.raw, b.raw, c.raw)};
}
inline Vec<double> neg_mul_add(Vec<double> a, Vec<double> b, Vec<double> c) {
  return {_mm256_fnmadd_pd(a.raw, b.raw, c.raw)};
}

inline Vec<float> max(Vec<float> a, Vec<float> b) { return {_mm256_max_ps(a.raw, b.raw)}; }
inline Vec<float> min(Vec<float> a, Vec<float> b) { return {_mm256_min_ps(a.raw, b.raw)}; }
inline Vec<double> max(Vec<double> a, Vec<double> b) { return {_mm256_max_pd(a.raw, b.raw)}; }
inline Vec<double> min(Vec<double> a, Vec<double> b) { return {_mm256_min_pd(a.raw, b.raw)}; }
inline Vec<float> sqrt(Vec<float> a) { return {_mm256_sqrt_ps(a.raw)}; }
inline Vec<double> sqrt(Vec<double> a) { return {_mm256_sqrt_pd(a.raw)}; }
inline Vec<double> floor(Vec<double> a) { return {_mm256_floor_pd(a.raw)}; }
inline Vec<float> reciprocal_estimate(Vec<float> a) { return {_mm256_rcp_ps(a.raw)}; }
inline Vec<float> reciprocal_sqrt_estimate(Vec<float> a) { return {_mm256_rsqrt_ps(a.raw)}; }

// --- bits -------------------------------------------------------------------

inline Vec<float> operator&(Vec<float> a, Vec<float> b) { return {_mm256_and_ps(a.raw, b.raw)}; }
inline Vec<float> operator|(Vec<float> a, Vec<float> b) { return {_mm256_or_ps(a.raw, b.raw)}; }
inline Vec<float> operator^(Vec<float> a, Vec<float> b) { return {_mm256_xor_ps(a.raw, b.raw)}; }
inline Vec<double> operator&(Vec<double> a, Vec<double> b) { return {_mm256_and_pd(a.raw, b.raw)}; }
inline Vec<double> operator|(Vec<double> a, Vec<double> b) { return {_mm256_or_pd(a.raw, b.raw)}; }
inline Vec<double> operator^(Vec<double> a, Vec<double> b) { return {_mm256_xor_pd(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator&(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_and_si256(a.raw, b.raw)};
}
inline Vec<std::int32_t> operator|(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm256_or_si256(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator^(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_xor_si256(a.raw, b.raw)};
}
inline Vec<float> abs(Vec<float> a) { return {_mm256_andnot_ps(_mm256_set1_ps(-0.0F), a.raw)}; }
inline Vec<double> abs(Vec<double> a) { return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.raw)}; }

inline Vec<std::int32_t> bits(Vec<float> a) { return {_mm256_castps_si256(a.raw)}; }
inline Vec<float> from_bits(Vec<std::int32_t> a) { return {_mm256_castsi256_ps(a.raw)}; }
inline Vec<std::int32_t> shift_left(Vec<std::int32_t> a, int n) {
  return {_mm256_sll_epi32(a.raw, _mm_cvtsi32_si128(n))};
}
inline Vec<std::int32_t> shift_right(Vec<std::int32_t> a, int n) {
  return {_mm256_sra_epi32(a.raw, _mm_cvtsi32_si128(n))};
}
inline Vec<std::int32_t> multiply_words(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_madd_epi16(_mm256_and_si256(a.raw, _mm256_set1_epi32(0xFFFF)), b.raw)};
}

template <int kShift>
inline Vec<std::int32_t> product_shifted(Vec<std::int32_t> a, Vec<std::int32_t> b, std::int64_t offset = 0) {
  const __m256i added = _mm256_set1_epi64x(offset);
  const __m256i even = _mm256_add_epi64(_mm256_mul_epu32(a.raw, b.raw), added);
  const __m256i odd =
      _mm256_add_epi64(_mm256_mul_epu32(_mm256_srli_epi64(a.raw, 32), _mm256_srli_epi64(b.raw, 32)), added);
  return {_mm256_blend_epi32(_mm256_srli_epi64(even, kShift), _mm256_slli_epi64(odd, 32 - kShift), 0xAA)};
}

// --- comparison and selection -------------------------------------------------

inline Mask<float> operator<(Vec<float> a, Vec<float> b) { return {_mm256_cmp_ps(a.raw, b.raw, _CMP_LT_OQ)}; }
inline Mask<float> operator<=(Vec<float> a, Vec<float> b) { return {_mm256_cmp_ps(a.raw, b.raw, _CMP_LE_OQ)}; }
inline Mask<float> operator>(Vec<float> a, Vec<float> b) { return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GT_OQ)}; }
inline Mask<float> operator>=(Vec<float> a, Vec<float> b) { return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GE_OQ)}; }
inline Mask<float> operator==(Vec<float> a, Vec<float> b) { return {_mm256_cmp_ps(a.raw, b.raw, _CMP_EQ_OQ)}; }
inline Mask<double> operator<(Vec<double> a, Vec<double> b) { return {_mm256_cmp_pd(a.raw, b.raw, _CMP_LT_OQ)}; }
inline Mask<double> operator<=(Vec<double> a, Vec<double> b) { return {_mm256_cmp_pd(a.raw, b.raw, _CMP_LE_OQ)}; }
inline Mask<double> operator>(Vec<double> a, Vec<double> b) { return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GT_OQ)}; }
inline Mask<double> operator>=(Vec<double> a, Vec<double> b) { return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GE_OQ)}; }
inline Mask<double> operator==(Vec<double> a, Vec<double> b) { return {_mm256_cmp_pd(a.raw, b.raw, _CMP_EQ_OQ)}; }
inline Mask<std::int32_t> operator<(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_cmpgt_epi32(b.raw, a.raw)};
}
inline Mask<std::int32_t> operator>(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_cmpgt_epi32(a.raw, b.raw)};
}
inline Mask<std::int32_t> operator==(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_cmpeq_epi32(a.raw, b.raw)};
}

inline Mask<float> operator&(Mask<float> a, Mask<float> b) { return {_mm256_and_ps(a.raw, b.raw)}; }
inline Mask<float> operator|(Mask<float> a, Mask<float> b) { return {_mm256_or_ps(a.raw, b.raw)}; }
inline Mask<double> operator&(Mask<double> a, Mask<double> b) { return {_mm256_and_pd(a.raw, b.raw)}; }
inline Mask<double> operator|(Mask<double> a, Mask<double> b) { return {_mm256_or_pd(a.raw, b.raw)}; }
inline Mask<std::int32_t> operator&(Mask<std::int32_t> a, Mask<std::int32_t> b) {
  return {_mm256_and_si256(a.raw, b.raw)};
}
inline Mask<std::int32_t> operator|(Mask<std::int32_t> a, Mask<std::int32_t> b) {
  return {_mm256_or_si256(a.raw, b.raw)};
}

inline unsigned bit_mask(Mask<float> m) { return static_cast<unsigned>(_mm256_movemask_ps(m.raw)); }
inline unsigned bit_mask(Mask<double> m) { return static_cast<unsigned>(_mm256_movemask_pd(m.raw)); }
inline unsigned bit_mask(Mask<std::int32_t> m) {
  return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(m.raw)));
}

inline Vec<float> select(Mask<float> m, Vec<float> a, Vec<float> b) { return {_mm256_blendv_ps(b.raw, a.raw, m.raw)}; }
inline Vec<double> select(Mask<double> m, Vec<double> a, Vec<double> b) {
  return {_mm256_blendv_pd(b.raw, a.raw, m.raw)};
}
inline Vec<std::int32_t> select(Mask<std::int32_t> m, Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm256_blendv_epi8(b.raw, a.raw, m.raw)};
}
// v where the mask is true, zero elsewhere.
inline Vec<float> keep_where(Mask<float> m, Vec<float> v) { return {_mm256_and_ps(m.raw, v.raw)}; }
inline Vec<double> keep_where(Mask<double> m, Vec<double> v) { return {_mm256_and_pd(m.raw, v.raw)}; }
inline Vec<std::int32_t> as_integer(Mask<std::int32_t> m) { return {m.raw}; }
inline Vec<std::int32_t> as_integer(Mask<float> m) { return {_mm256_castps_si256(m.raw)}; }

inline Vec<std::int32_t> min(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm256_min_epi32(a.raw, b.raw)}; }
inline Vec<std::int32_t> max(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm256_max_epi32(a.raw, b.raw)}; }

// One of three values per lane: four[0] where the first mask is true, else four[1] where the second one is, else
// four[2]. The first mask implies the second.
template <class T>
struct OneOfThree;
template <>
struct OneOfThree<float> {
  __m256i index;
};
template <>
struct OneOfThree<double> {
  __m256i index;  // of the two halves of a lane
};
template <class T>
inline OneOfThree<T> one_of_three(Mask<T> first, Mask<T> second) {
  if constexpr (sizeof(T) == sizeof(float)) {
    const __m256i twice = _mm256_add_epi32(_mm256_castps_si256(first.raw), _mm256_castps_si256(second.raw));
    return {_mm256_add_epi32(twice, _mm256_set1_epi32(2))};
  } else {
    const __m256i both = _mm256_add_epi32(_mm256_castpd_si256(first.raw), _mm256_castpd_si256(second.raw));
    return {_mm256_add_epi32(_mm256_add_epi32(both, both), _mm256_setr_epi32(4, 5, 4, 5, 4, 5, 4, 5))};
  }
}
inline Vec<float> choose(OneOfThree<float> which, const float (&four)[4]) {
  return {_mm256_permutevar_ps(_mm256_broadcast_ps(reinterpret_cast<const __m128*>(four)), which.index)};
}
inline Vec<double> choose(OneOfThree<double> which, const double (&four)[4]) {
  const __m256 table = _mm256_castpd_ps(_mm256_load_pd(four));
  return {_mm256_castps_pd(_mm256_permutevar8x32_ps(table, which.index))};
}

// --- conversion -------------------------------------------------------------

inline Vec<float> to_float(Vec<std::int32_t> a) { return {_mm256_cvtepi32_ps(a.raw)}; }
inline Vec<std::int32_t> round_to_integer(Vec<float> a) { return {_mm256_cvtps_epi32(a.raw)}; }
inline Vec<std::int32_t> truncate_to_integer(Vec<float> a) { return {_mm256_cvttps_epi32(a.raw)}; }

inline void store_rounded(std::int32_t* p, Vec<double> a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvtpd_epi32(a.raw));
}
inline void store_truncated(std::int32_t* p, Vec<double> a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvttpd_epi32(a.raw));
}
inline void store_rounded(std::int16_t* p, Vec<double> a) {
  const __m128i integers = _mm256_cvtpd_epi32(a.raw);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(integers, integers));
}

// The low and the high half of a float vector as double vectors, and back.
inline Vec<double> widen_low(Vec<float> a) { return {_mm256_cvtps_pd(_mm256_castps256_ps128(a.raw))}; }
inline Vec<double> widen_high(Vec<float> a) { return {_mm256_cvtps_pd(_mm256_extractf128_ps(a.raw, 1))}; }
inline Vec<float> narrow(Vec<double> low, Vec<double> high) {
  return {_mm256_set_m128(_mm256_cvtpd_ps(high.raw), _mm256_cvtpd_ps(low.raw))};
}

// v 2^n for a normal result; n is the integer held in the low bits of each lane of `biased` (n + 1.5 2^52).
inline Vec<double> scale_by_power_of_two(Vec<double> v, Vec<double> biased) {
  const __m256i n = _mm256_slli_epi64(_mm256_castpd_si256(biased.raw), 52);
  return {_mm256_castsi256_pd(_mm256_add_epi64(_mm256_castpd_si256(v.raw), n))};
}

// --- parts of sums ------------------------------------------------------------

inline Vec<std::int64_t> operator+(Vec<std::int64_t> a, Vec<std::int64_t> b) {
  return {_mm256_add_epi64(a.raw, b.raw)};
}
inline Vec<std::int64_t> add_unsigned(Vec<std::int64_t> sums, Vec<std::int32_t> x) {
  const __m256i low = _mm256_and_si256(x.raw, _mm256_set1_epi64x(0xFFFFFFFF));
  return {_mm256_add_epi64(sums.raw, _mm256_add_epi64(low, _mm256_srli_epi64(x.raw, 32)))};
}
inline Vec<std::int32_t> products_of_pairs(const std::int16_t* a, const std::int16_t* b) {
  return {_mm256_madd_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(a)),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b)))};
}
inline Vec<std::int64_t> exponent_field(Vec<double> a) { return {_mm256_srli_epi64(_mm256_castpd_si256(a.raw), 52)}; }
inline Vec<double> mantissa(Vec<double> a) {
  const __m256d fraction = _mm256_castsi256_pd(_mm256_set1_epi64x(0x000FFFFFFFFFFFFF));
  return {_mm256_or_pd(_mm256_and_pd(a.raw, fraction), _mm256_set1_pd(1.0))};
}
inline Vec<double> product_error(Vec<double> a, Vec<double> b, Vec<double> product) {
  return {_mm256_fmsub_pd(a.raw, b.raw, product.raw)};
}
inline Vec<float> sum_pairs(Vec<float> a, Vec<float> b) {
  const __m256 sums = _mm256_add_ps(_mm256_shuffle_ps(a.raw, b.raw, 0x88), _mm256_shuffle_ps(a.raw, b.raw, 0xDD));
  return {_mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(sums), 0xD8))};
}
inline Vec<double> sum_pairs(Vec<double> a, Vec<double> b) {
  return {_mm256_permute4x64_pd(_mm256_hadd_pd(a.raw, b.raw), 0xD8)};
}

// --- lanes ------------------------------------------------------------------

inline float sum_lanes(Vec<float> a) {
  const __m128 half = _mm_add_ps(_mm256_castps256_ps128(a.raw), _mm256_extractf128_ps(a.raw, 1));
  const __m128 pairs = _mm_add_ps(half, _mm_movehl_ps(half, half));
  return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_movehdup_ps(pairs)));
}
inline double sum_lanes(Vec<double> a) {
  const __m128d half = _mm_add_pd(_mm256_castpd256_pd128(a.raw), _mm256_extractf128_pd(a.raw, 1));
  return _mm_cvtsd_f64(_mm_add_sd(half, _mm_unpackhi_pd(half, half)));
}

inline std::int64_t sum_lanes(Vec<std::int64_t> a) {
  const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(a.raw), _mm256_extracti128_si256(a.raw, 1));
  return _mm_cvtsi128_si64(_mm_add_epi64(half, _mm_unpackhi_epi64(half, half)));
}
inline float max_lanes(Vec<float> a) {
  const __m128 half = _mm_max_ps(_mm256_castps256_ps128(a.raw), _mm256_extractf128_ps(a.raw, 1));
  const __m128 pairs = _mm_max_ps(half, _mm_movehl_ps(half, half));
  return _mm_cvtss_f32(_mm_max_ss(pairs, _mm_movehdup_ps(pairs)));
}
inline float min_lanes(Vec<float> a) {
  const __m128 half = _mm_min_ps(_mm256_castps256_ps128(a.raw), _mm256_extractf128_ps(a.raw, 1));
  const __m128 pairs = _mm_min_ps(half, _mm_movehl_ps(half, half));
  return _mm_cvtss_f32(_mm_min_ss(pairs, _mm_movehdup_ps(pairs)));
}
inline double max_lanes(Vec<double> a) {
  const __m128d half = _mm_max_pd(_mm256_castpd256_pd128(a.raw), _mm256_extractf128_pd(a.raw, 1));
  return _mm_cvtsd_f64(_mm_max_sd(half, _mm_unpackhi_pd(half, half)));
}
inline double min_lanes(Vec<double> a) {
  const __m128d half = _mm_min_pd(_mm256_castpd256_pd128(a.raw), _mm256_extractf128_pd(a.raw, 1));
  return _mm_cvtsd_f64(_mm_min_sd(half, _mm_unpackhi_pd(half, half)));
}

// Lane k of the result is the sum of the lanes of the k-th argument, each added in the order of sum_lanes.
inline void store_lane_sums(float* p, Vec<float> a, Vec<float> b, Vec<float> c, Vec<float> d) {
  const auto halves = [](Vec<float> v) {
    return _mm_add_ps(_mm256_castps256_ps128(v.raw), _mm256_extractf128_ps(v.raw, 1));
  };
  const __m128 a4 = halves(a);
  const __m128 b4 = halves(b);
  const __m128 c4 = halves(c);
  const __m128 d4 = halves(d);
  const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(a4, b4), _mm_unpackhi_ps(a4, b4));
  const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(c4, d4), _mm_unpackhi_ps(c4, d4));
  _mm_storeu_ps(p, _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab)));
}
inline void store_lane_sums(double* p, Vec<double> a, Vec<double> b, Vec<double> c, Vec<double> d) {
  const auto halves = [](Vec<double> v) {
    return _mm_add_pd(_mm256_castpd256_pd128(v.raw), _mm256_extractf128_pd(v.raw, 1));
  };
  const __m128d a2 = halves(a);
  const __m128d b2 = halves(b);
  const __m128d c2 = halves(c);
  const __m128d d2 = halves(d);
  _mm_storeu_pd(p, _mm_add_pd(_mm_unpacklo_pd(a2, b2), _mm_unpackhi_pd(a2, b2)));
  _mm_storeu_pd(p + 2, _mm_add_pd(_mm_unpacklo_pd(c2, d2), _mm_unpackhi_pd(c2, d2)));
}

// --- rows of four lanes ---------------------------------------------------------

inline void transpose_rows(Vec<float> (&v)[4]) {
  const __m256 a = _mm256_unpacklo_ps(v[0].raw, v[1].raw);
  const __m256 b = _mm256_unpacklo_ps(v[2].raw, v[3].raw);
  const __m256 c = _mm256_unpackhi_ps(v[0].raw, v[1].raw);
  const __m256 d = _mm256_unpackhi_ps(v[2].raw, v[3].raw);
  v[0].raw = _mm256_shuffle_ps(a, b, 0x44);
  v[1].raw = _mm256_shuffle_ps(a, b, 0xEE);
  v[2].raw = _mm256_shuffle_ps(c, d, 0x44);
  v[3].raw = _mm256_shuffle_ps(c, d, 0xEE);
}
inline Vec<float> reverse(Vec<float> a) {
  return {_mm256_permutevar8x32_ps(a.raw, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))};
}
inline Vec<std::int32_t> reverse(Vec<std::int32_t> a) {
  return {_mm256_permutevar8x32_epi32(a.raw, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))};
}
inline Vec<std::int32_t> lookup(const std::int32_t (&table)[24], Vec<std::int32_t> index) {
  const auto third = [&](int first) {
    return _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + first)), index.raw);
  };
  const __m256i beyond_7 = _mm256_cmpgt_epi32(index.raw, _mm256_set1_epi32(7));
  const __m256i beyond_15 = _mm256_cmpgt_epi32(index.raw, _mm256_set1_epi32(15));
  return {_mm256_blendv_epi8(_mm256_blendv_epi8(third(0), third(8), beyond_7), third(16), beyond_15)};
}
inline Vec<float> interleave_rows(Vec<float> a) {
  return {_mm256_permutevar8x32_ps(a.raw, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))};
}

}  // namespace kivsr::simd
