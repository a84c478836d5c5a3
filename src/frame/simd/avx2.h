// SIMD wrapper, AVX2 + FMA: what generic.h does not make of 256-bit registers by itself, and fused operations.
// Read vec.h first: it documents the operations.
#pragma once

#include <immintrin.h>

#include "generic.h"

namespace kivsr::simd {

using Float8 = Lanes<float, 8>;
using Double4 = Lanes<double, 4>;
using Int8 = Lanes<std::int32_t, 8>;

// --- memory -----------------------------------------------------------------

namespace detail {

inline __m256i x86(Int8 v) { return reinterpret_cast<__m256i>(v.raw); }
inline Int8 int8(__m256i v) { return recast<Int8>(v); }

inline __m128i load_8_bytes(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
inline __m128i load_16_bytes(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

// Lanes 0 .. n-1 all ones, the others zero.
inline __m256i first_lanes_32(int n) {
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}
inline __m256i first_lanes_64(int n) {
  return _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_setr_epi64x(0, 1, 2, 3));
}

template <>
struct Load<Int8, std::int16_t> {
  static Int8 full(const std::int16_t* p) { return int8(_mm256_cvtepi16_epi32(load_16_bytes(p))); }
};
template <>
struct Load<Int8, std::uint8_t> {
  static Int8 full(const std::uint8_t* p) { return int8(_mm256_cvtepu8_epi32(load_8_bytes(p))); }
};
template <>
struct Load<Double4, std::int16_t> {
  static Double4 full(const std::int16_t* p) { return {_mm256_cvtepi32_pd(_mm_cvtepi16_epi32(load_8_bytes(p)))}; }
};

// Orders that keep pairs together need no register for their indices.
template <>
struct Permutation<Float8> {
  template <class From>
  static Float8 of(Float8 a, From) {
    constexpr bool kPairs = [] {
      for (int l = 0; l < 8; l += 2) {
        if (From{}(l) % 2 != 0 || From{}(l + 1) != From{}(l) + 1) return false;
      }
      return true;
    }();
    if constexpr (kPairs) {
      const auto pairs = recast<Double4>(a.raw);
      return recast<Float8>(shuffled(pairs, pairs, [](int l) { return From{}(2 * l) / 2; }).raw);
    } else {
      const __m256i order =
          _mm256_setr_epi32(From{}(0), From{}(1), From{}(2), From{}(3), From{}(4), From{}(5), From{}(6), From{}(7));
      return {_mm256_permutevar8x32_ps(a.raw, order)};
    }
  }
};

template <>
struct Part<Float8> {
  static Float8 load(const float* p, int n) { return {_mm256_maskload_ps(p, first_lanes_32(n))}; }
  static void store(float* p, Float8 v, int n) { _mm256_maskstore_ps(p, first_lanes_32(n), v.raw); }
  template <int kLanes>
  static Float8 load_constant(const float* p) {
    if constexpr (kLanes == 4) return {_mm256_zextps128_ps256(_mm_loadu_ps(p))};
    if constexpr (kLanes == 2) return {_mm256_zextps128_ps256(_mm_castsi128_ps(load_8_bytes(p)))};
    return {_mm256_zextps128_ps256(_mm_load_ss(p))};
  }
  template <int kLanes>
  static void store_constant(float* p, Float8 v) {
    const __m128 half = _mm256_castps256_ps128(v.raw);
    if constexpr (kLanes == 4) _mm_storeu_ps(p, half);
    if constexpr (kLanes == 2) _mm_storel_pi(reinterpret_cast<__m64*>(p), half);
    if constexpr (kLanes == 1) _mm_store_ss(p, half);
  }
};
template <>
struct Part<Double4> {
  static Double4 load(const double* p, int n) { return {_mm256_maskload_pd(p, first_lanes_64(n))}; }
  static void store(double* p, Double4 v, int n) { _mm256_maskstore_pd(p, first_lanes_64(n), v.raw); }
};

}  // namespace detail

inline void store(std::int16_t* p, Int8 v) {
  const __m256i integers = detail::x86(v);
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(integers), _mm256_extracti128_si256(integers, 1));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), words);
}
inline void store(std::uint8_t* p, Int8 v) {
  const __m256i integers = detail::x86(v);
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(integers), _mm256_extracti128_si256(integers, 1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
}

// --- arithmetic -------------------------------------------------------------

inline Lanes<float, 4> mul_add(Lanes<float, 4> a, Lanes<float, 4> b, Lanes<float, 4> c) {
  return {_mm_fmadd_ps(a.raw, b.raw, c.raw)};
}
inline Lanes<float, 4> neg_mul_add(Lanes<float, 4> a, Lanes<float, 4> b, Lanes<float, 4> c) {
  return {_mm_fnmadd_ps(a.raw, b.raw, c.raw)};
}
inline Float8 mul_add(Float8 a, Float8 b, Float8 c) { return {_mm256_fmadd_ps(a.raw, b.raw, c.raw)}; }
inline Float8 neg_mul_add(Float8 a, Float8 b, Float8 c) { return {_mm256_fnmadd_ps(a.raw, b.raw, c.raw)}; }
inline Double4 mul_add(Double4 a, Double4 b, Double4 c) { return {_mm256_fmadd_pd(a.raw, b.raw, c.raw)}; }
inline Double4 neg_mul_add(Double4 a, Double4 b, Double4 c) { return {_mm256_fnmadd_pd(a.raw, b.raw, c.raw)}; }
inline Double4 product_error(Double4 a, Double4 b, Double4 product) {
  return {_mm256_fmsub_pd(a.raw, b.raw, product.raw)};
}

inline Float8 max(Float8 a, Float8 b) { return {_mm256_max_ps(a.raw, b.raw)}; }
inline Float8 min(Float8 a, Float8 b) { return {_mm256_min_ps(a.raw, b.raw)}; }
inline Double4 max(Double4 a, Double4 b) { return {_mm256_max_pd(a.raw, b.raw)}; }
inline Double4 min(Double4 a, Double4 b) { return {_mm256_min_pd(a.raw, b.raw)}; }
inline Double4 floor(Double4 a) { return {_mm256_floor_pd(a.raw)}; }
inline Float8 reciprocal_estimate(Float8 a) { return {_mm256_rcp_ps(a.raw)}; }
inline Float8 reciprocal_sqrt_estimate(Float8 a) { return {_mm256_rsqrt_ps(a.raw)}; }

inline Int8 shift_left(Int8 a, int n) { return detail::int8(_mm256_sll_epi32(detail::x86(a), _mm_cvtsi32_si128(n))); }
inline Int8 shift_right(Int8 a, int n) { return detail::int8(_mm256_sra_epi32(detail::x86(a), _mm_cvtsi32_si128(n))); }
inline Int8 multiply_words(Int8 a, Int8 b) {
  return detail::int8(_mm256_madd_epi16(_mm256_and_si256(detail::x86(a), _mm256_set1_epi32(0xFFFF)), detail::x86(b)));
}
template <int kShift>
inline Int8 product_shifted(Int8 a, Int8 b, std::int64_t offset = 0) {
  const __m256i x = detail::x86(a);
  const __m256i y = detail::x86(b);
  const __m256i added = _mm256_set1_epi64x(offset);
  const __m256i even = _mm256_add_epi64(_mm256_mul_epu32(x, y), added);
  const __m256i odd = _mm256_add_epi64(_mm256_mul_epu32(_mm256_srli_epi64(x, 32), _mm256_srli_epi64(y, 32)), added);
  return detail::int8(_mm256_blend_epi32(_mm256_srli_epi64(even, kShift), _mm256_slli_epi64(odd, 32 - kShift), 0xAA));
}

// --- bits and selection: in the unit of the floats ------------------------------

inline Float8 operator&(Float8 a, Float8 b) { return {_mm256_and_ps(a.raw, b.raw)}; }
inline Float8 operator|(Float8 a, Float8 b) { return {_mm256_or_ps(a.raw, b.raw)}; }
inline Float8 operator^(Float8 a, Float8 b) { return {_mm256_xor_ps(a.raw, b.raw)}; }
inline Double4 operator&(Double4 a, Double4 b) { return {_mm256_and_pd(a.raw, b.raw)}; }
inline Double4 operator|(Double4 a, Double4 b) { return {_mm256_or_pd(a.raw, b.raw)}; }
inline Double4 operator^(Double4 a, Double4 b) { return {_mm256_xor_pd(a.raw, b.raw)}; }

namespace detail {

inline __m256 x86(LaneMask<float, 8> m) { return reinterpret_cast<__m256>(m.raw); }
inline __m256d x86(LaneMask<double, 4> m) { return reinterpret_cast<__m256d>(m.raw); }
inline __m256i x86(LaneMask<std::int32_t, 8> m) { return reinterpret_cast<__m256i>(m.raw); }

}  // namespace detail

inline Float8 select(LaneMask<float, 8> m, Float8 a, Float8 b) {
  return {_mm256_blendv_ps(b.raw, a.raw, detail::x86(m))};
}
inline Double4 select(LaneMask<double, 4> m, Double4 a, Double4 b) {
  return {_mm256_blendv_pd(b.raw, a.raw, detail::x86(m))};
}
inline Int8 select(LaneMask<std::int32_t, 8> m, Int8 a, Int8 b) {
  return detail::int8(_mm256_blendv_epi8(detail::x86(b), detail::x86(a), detail::x86(m)));
}
inline Float8 keep_where(LaneMask<float, 8> m, Float8 a) { return {_mm256_and_ps(detail::x86(m), a.raw)}; }
inline Double4 keep_where(LaneMask<double, 4> m, Double4 a) { return {_mm256_and_pd(detail::x86(m), a.raw)}; }
inline unsigned bit_mask(LaneMask<float, 8> m) { return static_cast<unsigned>(_mm256_movemask_ps(detail::x86(m))); }
inline unsigned bit_mask(LaneMask<double, 4> m) { return static_cast<unsigned>(_mm256_movemask_pd(detail::x86(m))); }
inline unsigned bit_mask(LaneMask<std::int32_t, 8> m) {
  return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(detail::x86(m))));
}

// The index of the number in each lane, or of its two halves.
template <>
struct OneOfThree<float, 8> {
  OneOfThree(LaneMask<float, 8> first, LaneMask<float, 8> second) : index{first.raw + second.raw + 2} {}
  Int8 index;
};
template <>
struct OneOfThree<double, 4> {
  OneOfThree(LaneMask<double, 4> first, LaneMask<double, 4> second) {
    const Int8 both = recast_sum(first, second);
    index = both + both + Int8{Int8::Raw{4, 5, 4, 5, 4, 5, 4, 5}};
  }
  static Int8 recast_sum(LaneMask<double, 4> first, LaneMask<double, 4> second) {
    return detail::recast<Int8>(first.raw) + detail::recast<Int8>(second.raw);
  }
  Int8 index;
};
inline Float8 choose(OneOfThree<float, 8> which, const float (&four)[4]) {
  const __m256 table = _mm256_broadcast_ps(reinterpret_cast<const __m128*>(four));
  return {_mm256_permutevar_ps(table, detail::x86(which.index))};
}
inline Double4 choose(OneOfThree<double, 4> which, const double (&four)[4]) {
  const __m256 table = _mm256_castpd_ps(_mm256_load_pd(four));
  return {_mm256_castps_pd(_mm256_permutevar8x32_ps(table, detail::x86(which.index)))};
}

// --- conversion -------------------------------------------------------------

inline Int8 round_to_integer(Float8 a) { return detail::int8(_mm256_cvtps_epi32(a.raw)); }
inline Int8 truncate_to_integer(Float8 a) { return detail::int8(_mm256_cvttps_epi32(a.raw)); }
inline void store_rounded(std::int32_t* p, Double4 a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvtpd_epi32(a.raw));
}
inline void store_truncated(std::int32_t* p, Double4 a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvttpd_epi32(a.raw));
}
inline void store_rounded(std::int16_t* p, Double4 a) {
  const __m128i integers = _mm256_cvtpd_epi32(a.raw);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(integers, integers));
}

inline Double4 widen_low(Float8 a) { return {_mm256_cvtps_pd(_mm256_castps256_ps128(a.raw))}; }
inline Double4 widen_high(Float8 a) { return {_mm256_cvtps_pd(_mm256_extractf128_ps(a.raw, 1))}; }
inline Float8 narrow(Double4 low, Double4 high) {
  return {_mm256_set_m128(_mm256_cvtpd_ps(high.raw), _mm256_cvtpd_ps(low.raw))};
}
template <class V>
inline V joined(Quad low, Quad high) requires std::is_same_v<V, Float8> {
  return {_mm256_set_m128(high.raw, low.raw)};  // a high half in memory takes no shuffle
}
inline Lanes<float, 4> high_half(Float8 a) { return {_mm256_extractf128_ps(a.raw, 1)}; }
inline Lanes<double, 2> high_half(Double4 a) { return {_mm256_extractf128_pd(a.raw, 1)}; }
inline Float8 with_first(Float8 v, const float* first) {
  return {_mm256_blend_ps(v.raw, _mm256_castps128_ps256(_mm_load_ss(first)), 1)};
}
inline Double4 with_first(Double4 v, const double* first) {
  return {_mm256_blend_pd(v.raw, _mm256_castpd128_pd256(_mm_load_sd(first)), 1)};
}

// --- words and lanes ------------------------------------------------------------

inline Int8 products_of_pairs(Lanes<std::int16_t, 16> a, Lanes<std::int16_t, 16> b) {
  return detail::int8(_mm256_madd_epi16(reinterpret_cast<__m256i>(a.raw), reinterpret_cast<__m256i>(b.raw)));
}
inline Lanes<std::int16_t, 16> subtract_saturated(Lanes<std::int16_t, 16> a, Lanes<std::int16_t, 16> b) {
  return detail::recast<Lanes<std::int16_t, 16>>(
      _mm256_subs_epi16(reinterpret_cast<__m256i>(a.raw), reinterpret_cast<__m256i>(b.raw)));
}
inline Float8 sum_pairs(Float8 a, Float8 b) {
  const __m256 sums = _mm256_add_ps(_mm256_shuffle_ps(a.raw, b.raw, 0x88), _mm256_shuffle_ps(a.raw, b.raw, 0xDD));
  return {_mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(sums), 0xD8))};
}
inline Double4 sum_pairs(Double4 a, Double4 b) { return {_mm256_permute4x64_pd(_mm256_hadd_pd(a.raw, b.raw), 0xD8)}; }
inline Int8 lookup(const std::int32_t (&table)[24], Int8 index) {
  const auto third = [&](int first) {
    return detail::int8(_mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + first)),
                                                    detail::x86(index)));
  };
  const Int8 low = select(index > Int8::broadcast(7), third(8), third(0));
  return select(index > Int8::broadcast(15), third(16), low);
}

}  // namespace kivsr::simd
