// SIMD wrapper, SSE2: what generic.h does not make of 128-bit registers by itself.
// Read vec.h first: it documents the operations.
#pragma once

#include <emmintrin.h>

#include "generic.h"

namespace kivsr::simd {

using Float4 = Lanes<float, 4>;
using Double2 = Lanes<double, 2>;
using Int4 = Lanes<std::int32_t, 4>;

// --- memory -----------------------------------------------------------------

namespace detail {

inline __m128i x86(Int4 v) { return reinterpret_cast<__m128i>(v.raw); }
inline Int4 int4(__m128i v) { return recast<Int4>(v); }

// Two floats of any alignment.
inline __m128 load_2_floats(const float* p) {
  return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
inline __m128i load_32_bits(const void* p) {
  std::int32_t word;
  std::memcpy(&word, p, sizeof word);
  return _mm_cvtsi32_si128(word);
}
inline void store_32_bits(void* p, __m128i v) {
  const std::int32_t word = _mm_cvtsi128_si32(v);
  std::memcpy(p, &word, sizeof word);
}
inline __m128i widen_words(__m128i words) { return _mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16); }

template <>
struct Load<Int4, std::int16_t> {
  static Int4 full(const std::int16_t* p) {
    return int4(widen_words(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
};
template <>
struct Load<Int4, std::uint8_t> {
  static Int4 full(const std::uint8_t* p) {
    const __m128i zero = _mm_setzero_si128();
    return int4(_mm_unpacklo_epi16(_mm_unpacklo_epi8(load_32_bits(p), zero), zero));
  }
};
template <>
struct Load<Double2, float> {
  static Double2 full(const float* p) { return {_mm_cvtps_pd(load_2_floats(p))}; }
};
template <>
struct Load<Double2, std::int16_t> {
  static Double2 full(const std::int16_t* p) { return {_mm_cvtepi32_pd(widen_words(load_32_bits(p)))}; }
};
template <>
struct Load<Double2, std::int32_t> {
  static Double2 full(const std::int32_t* p) {
    return {_mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))};
  }
};

template <>
struct Part<Float4> {
  static Float4 load(const float* p, int n) {
    switch (n) {
      case 0: return Float4::zero();
      case 1: return {_mm_load_ss(p)};
      case 2: return {load_2_floats(p)};
      default: return {_mm_movelh_ps(load_2_floats(p), _mm_load_ss(p + 2))};
    }
  }
  static void store(float* p, Float4 v, int n) {
    if (n >= 2) _mm_storel_pi(reinterpret_cast<__m64*>(p), v.raw);
    if (n == 1) _mm_store_ss(p, v.raw);
    if (n == 3) _mm_store_ss(p + 2, _mm_movehl_ps(v.raw, v.raw));
  }
  template <int kLanes>
  static Float4 load_constant(const float* p) {
    return load(p, kLanes);
  }
  template <int kLanes>
  static void store_constant(float* p, Float4 v) {
    store(p, v, kLanes);
  }
};
template <>
struct Part<Double2> {
  static Double2 load(const double* p, int n) { return n == 0 ? Double2::zero() : Double2{_mm_load_sd(p)}; }
  static void store(double* p, Double2 v, int n) {
    if (n == 1) _mm_store_sd(p, v.raw);
  }
};

}  // namespace detail

inline void store(std::int16_t* p, Int4 v) {
  const __m128i integers = detail::x86(v);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(integers, integers));
}
inline void store(std::uint8_t* p, Int4 v) {
  const __m128i words = _mm_packs_epi32(detail::x86(v), detail::x86(v));
  detail::store_32_bits(p, _mm_packus_epi16(words, words));
}
inline void store(float* p, Double2 v) { _mm_storel_pi(reinterpret_cast<__m64*>(p), _mm_cvtpd_ps(v.raw)); }

// --- arithmetic -------------------------------------------------------------

inline Float4 max(Float4 a, Float4 b) { return {_mm_max_ps(a.raw, b.raw)}; }
inline Float4 min(Float4 a, Float4 b) { return {_mm_min_ps(a.raw, b.raw)}; }
inline Double2 max(Double2 a, Double2 b) { return {_mm_max_pd(a.raw, b.raw)}; }
inline Double2 min(Double2 a, Double2 b) { return {_mm_min_pd(a.raw, b.raw)}; }
inline Double2 sqrt(Double2 a) { return {_mm_sqrt_pd(a.raw)}; }
inline Float4 reciprocal_estimate(Float4 a) { return {_mm_rcp_ps(a.raw)}; }
inline Float4 reciprocal_sqrt_estimate(Float4 a) { return {_mm_rsqrt_ps(a.raw)}; }

inline Int4 shift_left(Int4 a, int n) { return detail::int4(_mm_sll_epi32(detail::x86(a), _mm_cvtsi32_si128(n))); }
inline Int4 shift_right(Int4 a, int n) { return detail::int4(_mm_sra_epi32(detail::x86(a), _mm_cvtsi32_si128(n))); }
inline Int4 multiply_words(Int4 a, Int4 b) {
  return detail::int4(_mm_madd_epi16(_mm_and_si128(detail::x86(a), _mm_set1_epi32(0xFFFF)), detail::x86(b)));
}
template <int kShift>
inline Int4 product_shifted(Int4 a, Int4 b, std::int64_t offset = 0) {
  const __m128i x = detail::x86(a);
  const __m128i y = detail::x86(b);
  const __m128i added = _mm_set1_epi64x(offset);
  const __m128i even = _mm_add_epi64(_mm_mul_epu32(x, y), added);
  const __m128i odd = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(x, 32), _mm_srli_epi64(y, 32)), added);
  const __m128i low = _mm_set_epi32(0, -1, 0, -1);
  return detail::int4(_mm_or_si128(_mm_and_si128(_mm_srli_epi64(even, kShift), low),
                                   _mm_andnot_si128(low, _mm_slli_epi64(odd, 32 - kShift))));
}

// --- bits and selection: in the unit of the floats ------------------------------

inline Float4 operator&(Float4 a, Float4 b) { return {_mm_and_ps(a.raw, b.raw)}; }
inline Float4 operator|(Float4 a, Float4 b) { return {_mm_or_ps(a.raw, b.raw)}; }
inline Float4 operator^(Float4 a, Float4 b) { return {_mm_xor_ps(a.raw, b.raw)}; }
inline Double2 operator&(Double2 a, Double2 b) { return {_mm_and_pd(a.raw, b.raw)}; }
inline Double2 operator|(Double2 a, Double2 b) { return {_mm_or_pd(a.raw, b.raw)}; }
inline Double2 operator^(Double2 a, Double2 b) { return {_mm_xor_pd(a.raw, b.raw)}; }

namespace detail {

inline __m128 x86(LaneMask<float, 4> m) { return reinterpret_cast<__m128>(m.raw); }
inline __m128d x86(LaneMask<double, 2> m) { return reinterpret_cast<__m128d>(m.raw); }
inline __m128i x86(LaneMask<std::int32_t, 4> m) { return reinterpret_cast<__m128i>(m.raw); }

}  // namespace detail

inline Float4 select(LaneMask<float, 4> m, Float4 a, Float4 b) {
  return {_mm_or_ps(_mm_and_ps(detail::x86(m), a.raw), _mm_andnot_ps(detail::x86(m), b.raw))};
}
inline Double2 select(LaneMask<double, 2> m, Double2 a, Double2 b) {
  return {_mm_or_pd(_mm_and_pd(detail::x86(m), a.raw), _mm_andnot_pd(detail::x86(m), b.raw))};
}
inline Float4 keep_where(LaneMask<float, 4> m, Float4 a) { return {_mm_and_ps(detail::x86(m), a.raw)}; }
inline Double2 keep_where(LaneMask<double, 2> m, Double2 a) { return {_mm_and_pd(detail::x86(m), a.raw)}; }
inline unsigned bit_mask(LaneMask<float, 4> m) { return static_cast<unsigned>(_mm_movemask_ps(detail::x86(m))); }
inline unsigned bit_mask(LaneMask<double, 2> m) { return static_cast<unsigned>(_mm_movemask_pd(detail::x86(m))); }
inline unsigned bit_mask(LaneMask<std::int32_t, 4> m) {
  return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(detail::x86(m))));
}

// n (r (1 + e + e^2)) with r the estimate of 1/d and e = 1 - d r. Where r is zero, infinite or NaN (zero, subnormal,
// huge and infinite divisors) e is not finite or not small and the lane is divided exactly. The correction multiplies
// r, not n r, which may overflow where the quotient does not.
inline bool quotients(Float4 n, Float4 d, Float4* q) {
  const Float4 one = Float4::broadcast(1.0F);
  const Float4 r = reciprocal_estimate(d);
  const Float4 e = one - d * r;
  const Float4 e2 = e * e;
  *q = n * (r * (one + e + e2));
  const auto regular = e2 < Float4::broadcast(0.25F);
  if (bit_mask(regular) == 0xF) [[likely]] {
    return true;
  }
  const bool zero_met = bit_mask(d == Float4::zero()) != 0;
  *q = zero_met ? n / d : select(regular, *q, n / d);
  return !zero_met;
}

inline Float4 choose(OneOfThree<float, 4> which, const float (&four)[4]) {
  // With constants both differences are constants too: two and, two exclusive or.
  const auto difference = [&](int i) {
    return from_bits(Int4::broadcast(std::bit_cast<std::int32_t>(four[i]) ^ std::bit_cast<std::int32_t>(four[i + 1])));
  };
  const Float4 lower = Float4::broadcast(four[2]) ^ keep_where(which.second, difference(1));
  return lower ^ keep_where(which.first, difference(0));
}
template <>
struct OneOfThree<double, 2> {
  OneOfThree(LaneMask<double, 2> first, LaneMask<double, 2> second) {
    const unsigned a = bit_mask(first);
    const unsigned b = bit_mask(second);
    low = 2 - (a & 1) - (b & 1);
    high = 2 - (a >> 1) - (b >> 1);
  }
  unsigned low, high;
};
inline Double2 choose(OneOfThree<double, 2> which, const double (&four)[4]) {
  return {_mm_loadh_pd(_mm_load_sd(four + which.low), four + which.high)};
}

// --- conversion -------------------------------------------------------------

inline Int4 round_to_integer(Float4 a) { return detail::int4(_mm_cvtps_epi32(a.raw)); }
inline Int4 truncate_to_integer(Float4 a) { return detail::int4(_mm_cvttps_epi32(a.raw)); }
inline void store_rounded(std::int32_t* p, Double2 a) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvtpd_epi32(a.raw));
}
inline void store_truncated(std::int32_t* p, Double2 a) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvttpd_epi32(a.raw));
}
inline void store_rounded(std::int16_t* p, Double2 a) {
  const __m128i integers = _mm_cvtpd_epi32(a.raw);
  detail::store_32_bits(p, _mm_packs_epi32(integers, integers));
}
inline Double2 widen_low(Float4 a) { return {_mm_cvtps_pd(a.raw)}; }
inline Double2 widen_high(Float4 a) { return {_mm_cvtps_pd(_mm_movehl_ps(a.raw, a.raw))}; }
inline Float4 narrow(Double2 low, Double2 high) {
  return {_mm_movelh_ps(_mm_cvtpd_ps(low.raw), _mm_cvtpd_ps(high.raw))};
}

// --- words --------------------------------------------------------------------

inline Int4 products_of_pairs(Lanes<std::int16_t, 8> a, Lanes<std::int16_t, 8> b) {
  return detail::int4(_mm_madd_epi16(reinterpret_cast<__m128i>(a.raw), reinterpret_cast<__m128i>(b.raw)));
}
inline Lanes<std::int16_t, 8> subtract_saturated(Lanes<std::int16_t, 8> a, Lanes<std::int16_t, 8> b) {
  return detail::recast<Lanes<std::int16_t, 8>>(
      _mm_subs_epi16(reinterpret_cast<__m128i>(a.raw), reinterpret_cast<__m128i>(b.raw)));
}

}  // namespace kivsr::simd
