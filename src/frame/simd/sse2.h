// SIMD wrapper, SSE2 backend: 128-bit registers.
// Read vec.h first: it documents the operations.
#pragma once

#include <emmintrin.h>

#include <bit>
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
  static constexpr int width = 4;
  __m128 raw;
  static Vec zero() { return {_mm_setzero_ps()}; }
  static Vec broadcast(float x) { return {_mm_set1_ps(x)}; }
  static Vec in_first_lane(float x) { return {_mm_set_ss(x)}; }
  float first() const { return _mm_cvtss_f32(raw); }
};

template <>
struct Vec<double> {
  using Element = double;
  static constexpr int width = 2;
  __m128d raw;
  static Vec zero() { return {_mm_setzero_pd()}; }
  static Vec broadcast(double x) { return {_mm_set1_pd(x)}; }
  double first() const { return _mm_cvtsd_f64(raw); }
};

template <>
struct Vec<std::int32_t> {
  using Element = std::int32_t;
  static constexpr int width = 4;
  __m128i raw;
  static Vec zero() { return {_mm_setzero_si128()}; }
  static Vec broadcast(std::int32_t x) { return {_mm_set1_epi32(x)}; }
  std::int32_t first() const { return _mm_cvtsi128_si32(raw); }
};

// Sums and exponents only.
template <>
struct Vec<std::int64_t> {
  using Element = std::int64_t;
  static constexpr int width = 2;
  __m128i raw;
  static Vec zero() { return {_mm_setzero_si128()}; }
};

template <>
struct Mask<float> {
  __m128 raw;
};
template <>
struct Mask<double> {
  __m128d raw;
};
template <>
struct Mask<std::int32_t> {
  __m128i raw;
};

// --- memory -----------------------------------------------------------------

namespace detail {

// Two floats of any alignment.
inline __m128 load_2_floats(const float* p) {
  return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
inline __m128i load_4_words(const std::int16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

inline __m128i load_32_bits(const void* p) {
  std::int32_t word;
  std::memcpy(&word, p, sizeof word);
  return _mm_cvtsi32_si128(word);
}

inline __m128i widen_words(__m128i words) { return _mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16); }

template <class T, class S>
struct Load;

template <>
struct Load<float, float> {
  static Vec<float> full(const float* p) { return {_mm_loadu_ps(p)}; }
};
template <>
struct Load<double, double> {
  static Vec<double> full(const double* p) { return {_mm_loadu_pd(p)}; }
};
template <>
struct Load<std::int32_t, std::int32_t> {
  static Vec<std::int32_t> full(const std::int32_t* p) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))};
  }
};
template <>
struct Load<std::int32_t, std::int16_t> {
  static Vec<std::int32_t> full(const std::int16_t* p) { return {widen_words(load_4_words(p))}; }
};
template <>
struct Load<std::int32_t, std::uint8_t> {
  static Vec<std::int32_t> full(const std::uint8_t* p) {
    const __m128i zero = _mm_setzero_si128();
    return {_mm_unpacklo_epi16(_mm_unpacklo_epi8(load_32_bits(p), zero), zero)};
  }
};
template <>
struct Load<float, std::int32_t> {
  static Vec<float> full(const std::int32_t* p) {
    return {_mm_cvtepi32_ps(Load<std::int32_t, std::int32_t>::full(p).raw)};
  }
};
template <>
struct Load<float, std::int16_t> {
  static Vec<float> full(const std::int16_t* p) {
    return {_mm_cvtepi32_ps(Load<std::int32_t, std::int16_t>::full(p).raw)};
  }
};
template <>
struct Load<float, std::uint8_t> {
  static Vec<float> full(const std::uint8_t* p) {
    return {_mm_cvtepi32_ps(Load<std::int32_t, std::uint8_t>::full(p).raw)};
  }
};
template <>
struct Load<float, double> {
  static Vec<float> full(const double* p) {
    return {_mm_movelh_ps(_mm_cvtpd_ps(_mm_loadu_pd(p)), _mm_cvtpd_ps(_mm_loadu_pd(p + 2)))};
  }
};
template <>
struct Load<double, float> {
  static Vec<double> full(const float* p) { return {_mm_cvtps_pd(load_2_floats(p))}; }
};
template <>
struct Load<double, std::int16_t> {
  static Vec<double> full(const std::int16_t* p) { return {_mm_cvtepi32_pd(widen_words(load_32_bits(p)))}; }
};
template <>
struct Load<double, std::int32_t> {
  static Vec<double> full(const std::int32_t* p) {
    return {_mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))};
  }
};

}  // namespace detail

inline Vec<float> load_some(const float* p, int n) {
  switch (n) {
    case 0: return Vec<float>::zero();
    case 1: return {_mm_load_ss(p)};
    case 2: return {detail::load_2_floats(p)};
    default: return {_mm_movelh_ps(detail::load_2_floats(p), _mm_load_ss(p + 2))};
  }
}
template <int kLanes>
inline Vec<float> load_part(const float* p) {
  return load_some(p, kLanes);
}
inline Vec<double> load_some(const double* p, int n) {
  return n == 0 ? Vec<double>::zero() : Vec<double>{_mm_load_sd(p)};
}

inline void store(float* p, Vec<float> v) { _mm_storeu_ps(p, v.raw); }
inline void store_some(float* p, Vec<float> v, int n) {
  if (n >= 2) _mm_storel_pi(reinterpret_cast<__m64*>(p), v.raw);
  if (n == 1) _mm_store_ss(p, v.raw);
  if (n == 3) _mm_store_ss(p + 2, _mm_movehl_ps(v.raw, v.raw));
}
template <int kLanes>
inline void store_part(float* p, Vec<float> v) {
  store_some(p, v, kLanes);
}
inline void store(double* p, Vec<double> v) { _mm_storeu_pd(p, v.raw); }
inline void store_some(double* p, Vec<double> v, int n) {
  if (n == 1) _mm_store_sd(p, v.raw);
}
inline void store(std::int32_t* p, Vec<std::int32_t> v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v.raw); }
inline void store(std::int16_t* p, Vec<std::int32_t> v) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packs_epi32(v.raw, v.raw));
}
inline void store(std::uint8_t* p, Vec<std::int32_t> v) {
  const __m128i words = _mm_packs_epi32(v.raw, v.raw);
  const std::int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
  std::memcpy(p, &bytes, sizeof bytes);
}
inline void store(float* p, Vec<double> v) { _mm_storel_pi(reinterpret_cast<__m64*>(p), _mm_cvtpd_ps(v.raw)); }

// --- arithmetic -------------------------------------------------------------

inline Vec<float> operator+(Vec<float> a, Vec<float> b) { return {_mm_add_ps(a.raw, b.raw)}; }
inline Vec<float> operator-(Vec<float> a, Vec<float> b) { return {_mm_sub_ps(a.raw, b.raw)}; }
inline Vec<float> operator*(Vec<float> a, Vec<float> b) { return {_mm_mul_ps(a.raw, b.raw)}; }
inline Vec<float> operator/(Vec<float> a, Vec<float> b) { return {_mm_div_ps(a.raw, b.raw)}; }
inline Vec<double> operator+(Vec<double> a, Vec<double> b) { return {_mm_add_pd(a.raw, b.raw)}; }
inline Vec<double> operator-(Vec<double> a, Vec<double> b) { return {_mm_sub_pd(a.raw, b.raw)}; }
inline Vec<double> operator*(Vec<double> a, Vec<double> b) { return {_mm_mul_pd(a.raw, b.raw)}; }
inline Vec<double> operator/(Vec<double> a, Vec<double> b) { return {_mm_div_pd(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator+(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm_add_epi32(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator-(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm_sub_epi32(a.raw, b.raw)}; }

inline Vec<float> mul_add(Vec<float> a, Vec<float> b, Vec<float> c) { return a * b + c; }
inline Vec<double> mul_add(Vec<double> a, Vec<double> b, Vec<double> c) { return a * b + c; }
inline Vec<float> neg_mul_add(Vec<float> a, Vec<float> b, Vec<float> c) { return c - a * b; }
inline Vec<double> neg_mul_add(Vec<double> a, Vec<double> b, Vec<double> c) { return c - a * b; }

inline Vec<float> max(Vec<float> a, Vec<float> b) { return {_mm_max_ps(a.raw, b.raw)}; }
inline Vec<float> min(Vec<float> a, Vec<float> b) { return {_mm_min_ps(a.raw, b.raw)}; }
inline Vec<double> max(Vec<double> a, Vec<double> b) { return {_mm_max_pd(a.raw, b.raw)}; }
inline Vec<double> min(Vec<double> a, Vec<double> b) { return {_mm_min_pd(a.raw, b.raw)}; }
inline Vec<float> sqrt(Vec<float> a) { return {_mm_sqrt_ps(a.raw)}; }
inline Vec<double> sqrt(Vec<double> a) { return {_mm_sqrt_pd(a.raw)}; }
inline Vec<double> floor(Vec<double> a) {
  // Adding 1.5 * 2^52 leaves a neighbouring integer, whichever rounding mode is in force.
  const __m128d magic = _mm_set1_pd(6755399441055744.0);
  const __m128d near = _mm_sub_pd(_mm_add_pd(a.raw, magic), magic);
  return {_mm_sub_pd(near, _mm_and_pd(_mm_cmpgt_pd(near, a.raw), _mm_set1_pd(1.0)))};
}
inline Vec<float> reciprocal_estimate(Vec<float> a) { return {_mm_rcp_ps(a.raw)}; }
inline Vec<float> reciprocal_sqrt_estimate(Vec<float> a) { return {_mm_rsqrt_ps(a.raw)}; }

// --- bits -------------------------------------------------------------------

inline Vec<float> operator&(Vec<float> a, Vec<float> b) { return {_mm_and_ps(a.raw, b.raw)}; }
inline Vec<float> operator|(Vec<float> a, Vec<float> b) { return {_mm_or_ps(a.raw, b.raw)}; }
inline Vec<float> operator^(Vec<float> a, Vec<float> b) { return {_mm_xor_ps(a.raw, b.raw)}; }
inline Vec<double> operator&(Vec<double> a, Vec<double> b) { return {_mm_and_pd(a.raw, b.raw)}; }
inline Vec<double> operator|(Vec<double> a, Vec<double> b) { return {_mm_or_pd(a.raw, b.raw)}; }
inline Vec<double> operator^(Vec<double> a, Vec<double> b) { return {_mm_xor_pd(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator&(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm_and_si128(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator|(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm_or_si128(a.raw, b.raw)}; }
inline Vec<std::int32_t> operator^(Vec<std::int32_t> a, Vec<std::int32_t> b) { return {_mm_xor_si128(a.raw, b.raw)}; }
inline Vec<float> abs(Vec<float> a) { return {_mm_andnot_ps(_mm_set1_ps(-0.0F), a.raw)}; }
inline Vec<double> abs(Vec<double> a) { return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.raw)}; }

inline Vec<std::int32_t> bits(Vec<float> a) { return {_mm_castps_si128(a.raw)}; }
inline Vec<float> from_bits(Vec<std::int32_t> a) { return {_mm_castsi128_ps(a.raw)}; }
inline Vec<std::int32_t> shift_left(Vec<std::int32_t> a, int n) { return {_mm_sll_epi32(a.raw, _mm_cvtsi32_si128(n))}; }
inline Vec<std::int32_t> shift_right(Vec<std::int32_t> a, int n) {
  return {_mm_sra_epi32(a.raw, _mm_cvtsi32_si128(n))};
}
inline Vec<std::int32_t> multiply_words(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm_madd_epi16(_mm_and_si128(a.raw, _mm_set1_epi32(0xFFFF)), b.raw)};
}

template <int kShift>
inline Vec<std::int32_t> product_shifted(Vec<std::int32_t> a, Vec<std::int32_t> b, std::int64_t offset = 0) {
  const __m128i added = _mm_set1_epi64x(offset);
  const __m128i even = _mm_add_epi64(_mm_mul_epu32(a.raw, b.raw), added);
  const __m128i odd = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(a.raw, 32), _mm_srli_epi64(b.raw, 32)), added);
  const __m128i low = _mm_set_epi32(0, -1, 0, -1);
  return {_mm_or_si128(_mm_and_si128(_mm_srli_epi64(even, kShift), low),
                       _mm_andnot_si128(low, _mm_slli_epi64(odd, 32 - kShift)))};
}

// --- comparison and selection -------------------------------------------------

inline Mask<float> operator<(Vec<float> a, Vec<float> b) { return {_mm_cmplt_ps(a.raw, b.raw)}; }
inline Mask<float> operator<=(Vec<float> a, Vec<float> b) { return {_mm_cmple_ps(a.raw, b.raw)}; }
inline Mask<float> operator>(Vec<float> a, Vec<float> b) { return {_mm_cmpgt_ps(a.raw, b.raw)}; }
inline Mask<float> operator>=(Vec<float> a, Vec<float> b) { return {_mm_cmpge_ps(a.raw, b.raw)}; }
inline Mask<float> operator==(Vec<float> a, Vec<float> b) { return {_mm_cmpeq_ps(a.raw, b.raw)}; }
inline Mask<double> operator<(Vec<double> a, Vec<double> b) { return {_mm_cmplt_pd(a.raw, b.raw)}; }
inline Mask<double> operator<=(Vec<double> a, Vec<double> b) { return {_mm_cmple_pd(a.raw, b.raw)}; }
inline Mask<double> operator>(Vec<double> a, Vec<double> b) { return {_mm_cmpgt_pd(a.raw, b.raw)}; }
inline Mask<double> operator>=(Vec<double> a, Vec<double> b) { return {_mm_cmpge_pd(a.raw, b.raw)}; }
inline Mask<double> operator==(Vec<double> a, Vec<double> b) { return {_mm_cmpeq_pd(a.raw, b.raw)}; }
inline Mask<std::int32_t> operator<(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm_cmplt_epi32(a.raw, b.raw)};
}
inline Mask<std::int32_t> operator>(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm_cmpgt_epi32(a.raw, b.raw)};
}
inline Mask<std::int32_t> operator==(Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm_cmpeq_epi32(a.raw, b.raw)};
}

inline Mask<float> operator&(Mask<float> a, Mask<float> b) { return {_mm_and_ps(a.raw, b.raw)}; }
inline Mask<float> operator|(Mask<float> a, Mask<float> b) { return {_mm_or_ps(a.raw, b.raw)}; }
inline Mask<double> operator&(Mask<double> a, Mask<double> b) { return {_mm_and_pd(a.raw, b.raw)}; }
inline Mask<double> operator|(Mask<double> a, Mask<double> b) { return {_mm_or_pd(a.raw, b.raw)}; }
inline Mask<std::int32_t> operator&(Mask<std::int32_t> a, Mask<std::int32_t> b) {
  return {_mm_and_si128(a.raw, b.raw)};
}
inline Mask<std::int32_t> operator|(Mask<std::int32_t> a, Mask<std::int32_t> b) { return {_mm_or_si128(a.raw, b.raw)}; }

inline unsigned bit_mask(Mask<float> m) { return static_cast<unsigned>(_mm_movemask_ps(m.raw)); }
inline unsigned bit_mask(Mask<double> m) { return static_cast<unsigned>(_mm_movemask_pd(m.raw)); }
inline unsigned bit_mask(Mask<std::int32_t> m) {
  return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(m.raw)));
}

inline Vec<float> select(Mask<float> m, Vec<float> a, Vec<float> b) {
  return {_mm_or_ps(_mm_and_ps(m.raw, a.raw), _mm_andnot_ps(m.raw, b.raw))};
}
inline Vec<double> select(Mask<double> m, Vec<double> a, Vec<double> b) {
  return {_mm_or_pd(_mm_and_pd(m.raw, a.raw), _mm_andnot_pd(m.raw, b.raw))};
}
inline Vec<std::int32_t> select(Mask<std::int32_t> m, Vec<std::int32_t> a, Vec<std::int32_t> b) {
  return {_mm_or_si128(_mm_and_si128(m.raw, a.raw), _mm_andnot_si128(m.raw, b.raw))};
}

// n (r (1 + e + e^2)) with r the estimate of 1/d and e = 1 - d r. Where r is zero, infinite or NaN (zero, subnormal,
// huge and infinite divisors) e is not finite or not small and the lane is divided exactly. The correction multiplies
// r, not n r, which may overflow where the quotient does not.
inline bool quotients(Vec<float> n, Vec<float> d, Vec<float>* q) {
  const Vec<float> one = Vec<float>::broadcast(1.0F);
  const Vec<float> r = reciprocal_estimate(d);
  const Vec<float> e = one - d * r;
  const Vec<float> e2 = e * e;
  *q = n * (r * (one + e + e2));
  const Mask<float> regular = e2 < Vec<float>::broadcast(0.25F);
  if (bit_mask(regular) == 0xF) [[likely]] {
    return true;
  }
  const bool zero_met = bit_mask(d == Vec<float>::zero()) != 0;
  *q = zero_met ? n / d : select(regular, *q, n / d);
  return !zero_met;
}

// v where the mask is true, zero elsewhere.
inline Vec<float> keep_where(Mask<float> m, Vec<float> v) { return {_mm_and_ps(m.raw, v.raw)}; }
inline Vec<double> keep_where(Mask<double> m, Vec<double> v) { return {_mm_and_pd(m.raw, v.raw)}; }
inline Vec<std::int32_t> as_integer(Mask<std::int32_t> m) { return {m.raw}; }
inline Vec<std::int32_t> as_integer(Mask<float> m) { return {_mm_castps_si128(m.raw)}; }

inline Vec<std::int32_t> min(Vec<std::int32_t> a, Vec<std::int32_t> b) { return select(a < b, a, b); }
inline Vec<std::int32_t> max(Vec<std::int32_t> a, Vec<std::int32_t> b) { return select(a > b, a, b); }

// One of three values per lane: four[0] where the first mask is true, else four[1] where the second one is, else
// four[2]. The first mask implies the second.
template <class T>
struct OneOfThree;
template <>
struct OneOfThree<float> {
  __m128 first, second;
};
template <>
struct OneOfThree<double> {
  int low, high;
};
template <class T>
inline OneOfThree<T> one_of_three(Mask<T> first, Mask<T> second) {
  if constexpr (sizeof(T) == sizeof(float)) {
    return {first.raw, second.raw};
  } else {
    const int a = _mm_movemask_pd(first.raw);
    const int b = _mm_movemask_pd(second.raw);
    return {2 - (a & 1) - (b & 1), 2 - (a >> 1) - (b >> 1)};
  }
}
inline Vec<float> choose(OneOfThree<float> which, const float (&four)[4]) {
  // With constants both differences are constants too: two and, two exclusive or.
  const auto difference = [&](int i) {
    return _mm_castsi128_ps(
        _mm_set1_epi32(std::bit_cast<std::int32_t>(four[i]) ^ std::bit_cast<std::int32_t>(four[i + 1])));
  };
  const __m128 lower = _mm_xor_ps(_mm_set1_ps(four[2]), _mm_and_ps(which.second, difference(1)));
  return {_mm_xor_ps(lower, _mm_and_ps(which.first, difference(0)))};
}
inline Vec<double> choose(OneOfThree<double> which, const double (&four)[4]) {
  return {_mm_loadh_pd(_mm_load_sd(four + which.low), four + which.high)};
}

// --- conversion -------------------------------------------------------------

inline Vec<float> to_float(Vec<std::int32_t> a) { return {_mm_cvtepi32_ps(a.raw)}; }
inline Vec<std::int32_t> round_to_integer(Vec<float> a) { return {_mm_cvtps_epi32(a.raw)}; }
inline Vec<std::int32_t> truncate_to_integer(Vec<float> a) { return {_mm_cvttps_epi32(a.raw)}; }

inline void store_rounded(std::int32_t* p, Vec<double> a) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvtpd_epi32(a.raw));
}
inline void store_truncated(std::int32_t* p, Vec<double> a) {
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvttpd_epi32(a.raw));
}
inline void store_rounded(std::int16_t* p, Vec<double> a) {
  const __m128i integers = _mm_cvtpd_epi32(a.raw);
  const std::int32_t words = _mm_cvtsi128_si32(_mm_packs_epi32(integers, integers));
  std::memcpy(p, &words, sizeof words);
}

// The low and the high half of a float vector as double vectors, and back.
inline Vec<double> widen_low(Vec<float> a) { return {_mm_cvtps_pd(a.raw)}; }
inline Vec<double> widen_high(Vec<float> a) { return {_mm_cvtps_pd(_mm_movehl_ps(a.raw, a.raw))}; }
inline Vec<float> narrow(Vec<double> low, Vec<double> high) {
  return {_mm_movelh_ps(_mm_cvtpd_ps(low.raw), _mm_cvtpd_ps(high.raw))};
}

// v 2^n for a normal result; n is the integer held in the low bits of each lane of `biased` (n + 1.5 2^52).
inline Vec<double> scale_by_power_of_two(Vec<double> v, Vec<double> biased) {
  const __m128i n = _mm_slli_epi64(_mm_castpd_si128(biased.raw), 52);
  return {_mm_castsi128_pd(_mm_add_epi64(_mm_castpd_si128(v.raw), n))};
}

// --- parts of sums ------------------------------------------------------------

inline Vec<std::int64_t> operator+(Vec<std::int64_t> a, Vec<std::int64_t> b) { return {_mm_add_epi64(a.raw, b.raw)}; }
inline Vec<std::int64_t> add_unsigned(Vec<std::int64_t> sums, Vec<std::int32_t> x) {
  const __m128i low = _mm_and_si128(x.raw, _mm_set_epi32(0, -1, 0, -1));
  return {_mm_add_epi64(sums.raw, _mm_add_epi64(low, _mm_srli_epi64(x.raw, 32)))};
}
inline Vec<std::int32_t> products_of_pairs(const std::int16_t* a, const std::int16_t* b) {
  return {_mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(b)))};
}
inline Vec<std::int64_t> exponent_field(Vec<double> a) { return {_mm_srli_epi64(_mm_castpd_si128(a.raw), 52)}; }
inline Vec<double> mantissa(Vec<double> a) {
  const __m128d fraction = _mm_castsi128_pd(_mm_set_epi32(0x000FFFFF, -1, 0x000FFFFF, -1));
  return {_mm_or_pd(_mm_and_pd(a.raw, fraction), _mm_set1_pd(1.0))};
}
inline Vec<double> product_error(Vec<double> a, Vec<double> b, Vec<double> product) {
  // Dekker's product: halves of 26 bits, whose products are exact.
  const auto high_half = [](__m128d x) {
    const __m128d t = _mm_mul_pd(x, _mm_set1_pd(134217729.0));
    return _mm_sub_pd(t, _mm_sub_pd(t, x));
  };
  const Vec<double> a1{high_half(a.raw)};
  const Vec<double> b1{high_half(b.raw)};
  const Vec<double> a2{_mm_sub_pd(a.raw, a1.raw)};
  const Vec<double> b2{_mm_sub_pd(b.raw, b1.raw)};
  const auto times = [](Vec<double> x, Vec<double> y) { return _mm_mul_pd(x.raw, y.raw); };
  const __m128d high = _mm_sub_pd(times(a1, b1), product.raw);
  return {_mm_add_pd(_mm_add_pd(_mm_add_pd(high, times(a1, b2)), times(a2, b1)), times(a2, b2))};
}
inline Vec<float> sum_pairs(Vec<float> a, Vec<float> b) {
  return {_mm_add_ps(_mm_shuffle_ps(a.raw, b.raw, 0x88), _mm_shuffle_ps(a.raw, b.raw, 0xDD))};
}
inline Vec<double> sum_pairs(Vec<double> a, Vec<double> b) {
  return {_mm_add_pd(_mm_unpacklo_pd(a.raw, b.raw), _mm_unpackhi_pd(a.raw, b.raw))};
}

// --- lanes ------------------------------------------------------------------

inline float sum_lanes(Vec<float> a) {
  const __m128 pairs = _mm_add_ps(a.raw, _mm_movehl_ps(a.raw, a.raw));
  return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
inline double sum_lanes(Vec<double> a) { return _mm_cvtsd_f64(_mm_add_sd(a.raw, _mm_unpackhi_pd(a.raw, a.raw))); }

inline std::int64_t sum_lanes(Vec<std::int64_t> a) {
  alignas(16) std::uint64_t lanes[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes), a.raw);
  return static_cast<std::int64_t>(lanes[0] + lanes[1]);
}
inline float max_lanes(Vec<float> a) {
  const __m128 pairs = _mm_max_ps(a.raw, _mm_movehl_ps(a.raw, a.raw));
  return _mm_cvtss_f32(_mm_max_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
inline float min_lanes(Vec<float> a) {
  const __m128 pairs = _mm_min_ps(a.raw, _mm_movehl_ps(a.raw, a.raw));
  return _mm_cvtss_f32(_mm_min_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}
inline double max_lanes(Vec<double> a) { return _mm_cvtsd_f64(_mm_max_sd(a.raw, _mm_unpackhi_pd(a.raw, a.raw))); }
inline double min_lanes(Vec<double> a) { return _mm_cvtsd_f64(_mm_min_sd(a.raw, _mm_unpackhi_pd(a.raw, a.raw))); }

// Lane k of the result is the sum of the lanes of the k-th argument, each added in the order of sum_lanes.
inline void store_lane_sums(float* p, Vec<float> a, Vec<float> b, Vec<float> c, Vec<float> d) {
  const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(a.raw, b.raw), _mm_unpackhi_ps(a.raw, b.raw));
  const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(c.raw, d.raw), _mm_unpackhi_ps(c.raw, d.raw));
  _mm_storeu_ps(p, _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab)));
}
inline void store_lane_sums(double* p, Vec<double> a, Vec<double> b, Vec<double> c, Vec<double> d) {
  _mm_storeu_pd(p, _mm_add_pd(_mm_unpacklo_pd(a.raw, b.raw), _mm_unpackhi_pd(a.raw, b.raw)));
  _mm_storeu_pd(p + 2, _mm_add_pd(_mm_unpacklo_pd(c.raw, d.raw), _mm_unpackhi_pd(c.raw, d.raw)));
}

// --- rows of four lanes ---------------------------------------------------------

inline void transpose_rows(Vec<float> (&v)[4]) { _MM_TRANSPOSE4_PS(v[0].raw, v[1].raw, v[2].raw, v[3].raw); }
inline Vec<float> reverse(Vec<float> a) { return {_mm_shuffle_ps(a.raw, a.raw, 0x1B)}; }
inline Vec<std::int32_t> reverse(Vec<std::int32_t> a) { return {_mm_shuffle_epi32(a.raw, 0x1B)}; }
inline Vec<std::int32_t> lookup(const std::int32_t (&table)[24], Vec<std::int32_t> index) {
  std::int32_t lanes[4];
  store(lanes, index);
  return {_mm_setr_epi32(table[lanes[0]], table[lanes[1]], table[lanes[2]], table[lanes[3]])};
}
inline Vec<float> interleave_rows(Vec<float> a) { return a; }

}  // namespace kivsr::simd
