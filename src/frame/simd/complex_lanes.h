// Lanes of complex numbers: real and imaginary parts in separate vectors, and the ways in and out of memory that holds
// them in pairs. For vectors V with V::width = W lanes:
//
//   load_as<V>(p)          W elements of any memory type that Vec<T> loads
//   deinterleave(a, b)     two vectors of pairs, in memory order, become real and imaginary parts
//   interleave(re, im)     and back
//   kLaneElement<V>[l]     which of the W complex numbers stands in lane l between the two: the order that costs no
//                          instruction, not the natural one
//   pair_order(v)          from the natural order of elements to that one
//   pair_order_reversed(v) from the opposite of the natural order to that one
//   mirrored(v)            lane of element e receives element (W - e) mod W
//   with_first(v, f)       v with element 0 of f, a vector or a pointer to one number
//   reversed_pairs(v)      pairs in the opposite order
//   with_gap(v)            v with a zero pushed in behind element 0 of memory order: v0, 0, v1, ... (W > 1)
//   moved_down(v)          v1, v2, ... and a zero (W > 1)
//   without_gap(v)         v without element 1: v0, v2, v3, ..., the last twice (W > 2; v itself for W = 2)
//   moved_up(v)            v0 twice, then v1, v2, ... (W > 1)
//   transpose(rows)        the W x W matrix of W vectors
//
// For vectors of eight lanes, whose halves are Quads:
//
//   joined<V>(low, high), low_half(v), high_half(v)
//   exchanged_halves(v)    the high half, then the low one
//   exchanged_pairs(v)     the two pairs of each half in the opposite order
//   mirrored_in_order(v)   `mirrored` for elements in their natural order
//
// Besides Vec<float> and Vec<double> there are Quad, four floats in every build, and Single<T>, one lane.
#pragma once

#include "vec.h"

namespace kivsr::simd {

// --- one lane ---------------------------------------------------------------

template <class T>
struct Single {
  using Element = T;
  static constexpr int width = 1;
  T raw;
  static Single broadcast(T x) { return {x}; }
  T first() const { return raw; }
};

template <class T>
inline Single<T> operator+(Single<T> a, Single<T> b) {
  return {a.raw + b.raw};
}
template <class T>
inline Single<T> operator-(Single<T> a, Single<T> b) {
  return {a.raw - b.raw};
}
template <class T>
inline Single<T> operator*(Single<T> a, Single<T> b) {
  return {a.raw * b.raw};
}
template <class T>
inline Single<T> mul_add(Single<T> a, Single<T> b, Single<T> c) {
  return a * b + c;
}
template <class T>
inline Single<T> neg_mul_add(Single<T> a, Single<T> b, Single<T> c) {
  return c - a * b;
}
template <class T>
inline void store(T* p, Single<T> v) {
  *p = v.raw;
}
template <class T>
inline void deinterleave(Single<T>&, Single<T>&) {}
template <class T>
inline void interleave(Single<T>&, Single<T>&) {}
template <class T>
inline Single<T> pair_order(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> pair_order_reversed(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> mirrored(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> with_first(Single<T>, const T* first) {
  return {*first};
}
template <class T>
inline Single<T> with_first(Single<T>, Single<T> first) {
  return first;
}
template <class T>
inline Single<T> reversed_pairs(Single<T> v) {
  return v;
}
template <class T>
inline void transpose(Single<T> (&)[1]) {}

// --- four floats --------------------------------------------------------------

#if defined(__AVX2__)
struct Quad {
  using Element = float;
  static constexpr int width = 4;
  __m128 raw;
  static Quad broadcast(float x) { return {_mm_set1_ps(x)}; }
  float first() const { return _mm_cvtss_f32(raw); }
};
inline Quad operator+(Quad a, Quad b) { return {_mm_add_ps(a.raw, b.raw)}; }
inline Quad operator-(Quad a, Quad b) { return {_mm_sub_ps(a.raw, b.raw)}; }
inline Quad operator*(Quad a, Quad b) { return {_mm_mul_ps(a.raw, b.raw)}; }
inline Quad mul_add(Quad a, Quad b, Quad c) { return {_mm_fmadd_ps(a.raw, b.raw, c.raw)}; }
inline Quad neg_mul_add(Quad a, Quad b, Quad c) { return {_mm_fnmadd_ps(a.raw, b.raw, c.raw)}; }
inline void store(float* p, Quad v) { _mm_storeu_ps(p, v.raw); }
#else
using Quad = Vec<float>;
#endif

inline void deinterleave(Quad& a, Quad& b) {
  const __m128 re = _mm_shuffle_ps(a.raw, b.raw, _MM_SHUFFLE(2, 0, 2, 0));
  b.raw = _mm_shuffle_ps(a.raw, b.raw, _MM_SHUFFLE(3, 1, 3, 1));
  a.raw = re;
}
inline void interleave(Quad& re, Quad& im) {
  const __m128 low = _mm_unpacklo_ps(re.raw, im.raw);
  im.raw = _mm_unpackhi_ps(re.raw, im.raw);
  re.raw = low;
}
inline Quad pair_order(Quad v) { return v; }
inline Quad pair_order_reversed(Quad v) { return {_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(0, 1, 2, 3))}; }
inline Quad mirrored(Quad v) { return {_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(1, 2, 3, 0))}; }
inline Quad with_first(Quad v, Quad first) { return {_mm_move_ss(v.raw, first.raw)}; }
inline Quad with_first(Quad v, const float* first) { return {_mm_move_ss(v.raw, _mm_load_ss(first))}; }
inline Quad reversed_pairs(Quad v) { return {_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(1, 0, 3, 2))}; }
inline Quad with_gap(Quad v) {
  const __m128 kept = _mm_castsi128_ps(_mm_setr_epi32(-1, 0, -1, -1));
  return {_mm_and_ps(_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(2, 1, 0, 0)), kept)};
}
inline Quad moved_down(Quad v) { return {_mm_castsi128_ps(_mm_srli_si128(_mm_castps_si128(v.raw), 4))}; }
inline Quad without_gap(Quad v) { return {_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(3, 3, 2, 0))}; }
inline Quad moved_up(Quad v) { return {_mm_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(2, 1, 0, 0))}; }
inline void transpose(Quad (&rows)[4]) { _MM_TRANSPOSE4_PS(rows[0].raw, rows[1].raw, rows[2].raw, rows[3].raw); }

// Defined where a vector is two Quads.
template <class V>
V joined(Quad low, Quad high);

// --- loads and the order of lanes ------------------------------------------------

template <class V>
struct LaneTraits {
  template <class S>
  static V load_from(const S* p) {
    return load<typename V::Element>(p);
  }
};
template <class T>
struct LaneTraits<Single<T>> {
  template <class S>
  static Single<T> load_from(const S* p) {
    return {static_cast<T>(*p)};
  }
};
#if defined(__AVX2__)
template <>
struct LaneTraits<Quad> {
  static Quad load_from(const float* p) { return {_mm_loadu_ps(p)}; }
};
#endif

template <class V, class S>
inline V load_as(const S* p) {
  return LaneTraits<V>::load_from(p);
}

template <class V>
inline constexpr int kLaneElement[V::width] = {};
template <>
inline constexpr int kLaneElement<Quad>[4] = {0, 1, 2, 3};

#if defined(__AVX2__)

// --- eight floats, four doubles ---------------------------------------------------

template <>
inline constexpr int kLaneElement<Vec<float>>[8] = {0, 1, 4, 5, 2, 3, 6, 7};
template <>
inline constexpr int kLaneElement<Vec<double>>[4] = {0, 2, 1, 3};

inline void deinterleave(Vec<float>& a, Vec<float>& b) {
  const __m256 re = _mm256_shuffle_ps(a.raw, b.raw, _MM_SHUFFLE(2, 0, 2, 0));
  b.raw = _mm256_shuffle_ps(a.raw, b.raw, _MM_SHUFFLE(3, 1, 3, 1));
  a.raw = re;
}
inline void interleave(Vec<float>& re, Vec<float>& im) {
  const __m256 low = _mm256_unpacklo_ps(re.raw, im.raw);
  im.raw = _mm256_unpackhi_ps(re.raw, im.raw);
  re.raw = low;
}
inline Vec<float> pair_order(Vec<float> v) {
  return {_mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(v.raw), _MM_SHUFFLE(3, 1, 2, 0)))};
}
inline Vec<float> pair_order_reversed(Vec<float> v) {
  return {_mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(7, 6, 3, 2, 5, 4, 1, 0))};
}
inline Vec<float> mirrored(Vec<float> v) {
  return {_mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(0, 7, 2, 5, 6, 3, 4, 1))};
}
inline Vec<float> with_first(Vec<float> v, Vec<float> first) { return {_mm256_blend_ps(v.raw, first.raw, 1)}; }
inline Vec<float> with_first(Vec<float> v, const float* first) {
  return with_first(v, Vec<float>{_mm256_castps128_ps256(_mm_load_ss(first))});
}
inline Vec<float> reversed_pairs(Vec<float> v) {
  return {_mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(v.raw), _MM_SHUFFLE(0, 1, 2, 3)))};
}
inline Vec<float> with_gap(Vec<float> v) {
  const __m256 spread = _mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
  return {_mm256_blend_ps(spread, _mm256_setzero_ps(), 0x02)};
}
inline Vec<float> moved_down(Vec<float> v) {
  const __m256 moved = _mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 7));
  return {_mm256_blend_ps(moved, _mm256_setzero_ps(), 0x80)};
}
inline Vec<float> without_gap(Vec<float> v) {
  return {_mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(0, 2, 3, 4, 5, 6, 7, 7))};
}
inline Vec<float> moved_up(Vec<float> v) {
  return {_mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6))};
}
template <>
inline Vec<float> joined(Quad low, Quad high) {
  return {_mm256_set_m128(high.raw, low.raw)};
}
inline Quad low_half(Vec<float> v) { return {_mm256_castps256_ps128(v.raw)}; }
inline Quad high_half(Vec<float> v) { return {_mm256_extractf128_ps(v.raw, 1)}; }
inline Vec<float> exchanged_halves(Vec<float> v) { return {_mm256_permute2f128_ps(v.raw, v.raw, 0x01)}; }
inline Vec<float> exchanged_pairs(Vec<float> v) { return {_mm256_shuffle_ps(v.raw, v.raw, _MM_SHUFFLE(1, 0, 3, 2))}; }
inline Vec<float> mirrored_in_order(Vec<float> v) {
  return {_mm256_permutevar8x32_ps(v.raw, _mm256_setr_epi32(0, 7, 6, 5, 4, 3, 2, 1))};
}

namespace detail {

// The 4 x 4 transposes of the lower and of the upper halves.
inline void transpose_halves(__m256& a, __m256& b, __m256& c, __m256& d) {
  const __m256 ab_low = _mm256_unpacklo_ps(a, b);
  const __m256 ab_high = _mm256_unpackhi_ps(a, b);
  const __m256 cd_low = _mm256_unpacklo_ps(c, d);
  const __m256 cd_high = _mm256_unpackhi_ps(c, d);
  a = _mm256_shuffle_ps(ab_low, cd_low, _MM_SHUFFLE(1, 0, 1, 0));
  b = _mm256_shuffle_ps(ab_low, cd_low, _MM_SHUFFLE(3, 2, 3, 2));
  c = _mm256_shuffle_ps(ab_high, cd_high, _MM_SHUFFLE(1, 0, 1, 0));
  d = _mm256_shuffle_ps(ab_high, cd_high, _MM_SHUFFLE(3, 2, 3, 2));
}

inline void exchange_halves(__m256& a, __m256& b) {
  const __m256 low = _mm256_permute2f128_ps(a, b, 0x20);
  b = _mm256_permute2f128_ps(a, b, 0x31);
  a = low;
}

}  // namespace detail

inline void transpose(Vec<float> (&rows)[8]) {
  detail::transpose_halves(rows[0].raw, rows[1].raw, rows[2].raw, rows[3].raw);
  detail::transpose_halves(rows[4].raw, rows[5].raw, rows[6].raw, rows[7].raw);
  detail::exchange_halves(rows[0].raw, rows[4].raw);
  detail::exchange_halves(rows[1].raw, rows[5].raw);
  detail::exchange_halves(rows[2].raw, rows[6].raw);
  detail::exchange_halves(rows[3].raw, rows[7].raw);
}

inline void deinterleave(Vec<double>& a, Vec<double>& b) {
  const __m256d re = _mm256_unpacklo_pd(a.raw, b.raw);
  b.raw = _mm256_unpackhi_pd(a.raw, b.raw);
  a.raw = re;
}
inline void interleave(Vec<double>& re, Vec<double>& im) { deinterleave(re, im); }
inline Vec<double> pair_order(Vec<double> v) { return {_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(3, 1, 2, 0))}; }
inline Vec<double> pair_order_reversed(Vec<double> v) {
  return {_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(0, 2, 1, 3))};
}
inline Vec<double> mirrored(Vec<double> v) { return {_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(2, 3, 1, 0))}; }
inline Vec<double> with_first(Vec<double> v, Vec<double> first) { return {_mm256_blend_pd(v.raw, first.raw, 1)}; }
inline Vec<double> with_first(Vec<double> v, const double* first) {
  return with_first(v, Vec<double>{_mm256_castpd128_pd256(_mm_load_sd(first))});
}
inline Vec<double> reversed_pairs(Vec<double> v) { return {_mm256_permute2f128_pd(v.raw, v.raw, 1)}; }
inline Vec<double> with_gap(Vec<double> v) {
  return {_mm256_blend_pd(_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(2, 1, 0, 0)), _mm256_setzero_pd(), 0x2)};
}
inline Vec<double> moved_down(Vec<double> v) {
  return {_mm256_blend_pd(_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(3, 3, 2, 1)), _mm256_setzero_pd(), 0x8)};
}
inline Vec<double> without_gap(Vec<double> v) { return {_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(3, 3, 2, 0))}; }
inline Vec<double> moved_up(Vec<double> v) { return {_mm256_permute4x64_pd(v.raw, _MM_SHUFFLE(2, 1, 0, 0))}; }
inline void transpose(Vec<double> (&rows)[4]) {
  const __m256d a = _mm256_unpacklo_pd(rows[0].raw, rows[1].raw);
  const __m256d b = _mm256_unpackhi_pd(rows[0].raw, rows[1].raw);
  const __m256d c = _mm256_unpacklo_pd(rows[2].raw, rows[3].raw);
  const __m256d d = _mm256_unpackhi_pd(rows[2].raw, rows[3].raw);
  rows[0].raw = _mm256_permute2f128_pd(a, c, 0x20);
  rows[1].raw = _mm256_permute2f128_pd(b, d, 0x20);
  rows[2].raw = _mm256_permute2f128_pd(a, c, 0x31);
  rows[3].raw = _mm256_permute2f128_pd(b, d, 0x31);
}

#else

// --- two doubles --------------------------------------------------------------

template <>
inline constexpr int kLaneElement<Vec<double>>[2] = {0, 1};

inline void deinterleave(Vec<double>& a, Vec<double>& b) {
  const __m128d re = _mm_unpacklo_pd(a.raw, b.raw);
  b.raw = _mm_unpackhi_pd(a.raw, b.raw);
  a.raw = re;
}
inline void interleave(Vec<double>& re, Vec<double>& im) { deinterleave(re, im); }
inline Vec<double> pair_order(Vec<double> v) { return v; }
inline Vec<double> pair_order_reversed(Vec<double> v) { return {_mm_shuffle_pd(v.raw, v.raw, 1)}; }
inline Vec<double> mirrored(Vec<double> v) { return v; }
inline Vec<double> with_first(Vec<double> v, Vec<double> first) { return {_mm_move_sd(v.raw, first.raw)}; }
inline Vec<double> with_first(Vec<double> v, const double* first) { return {_mm_move_sd(v.raw, _mm_load_sd(first))}; }
inline Vec<double> reversed_pairs(Vec<double> v) { return v; }
inline Vec<double> with_gap(Vec<double> v) { return {_mm_unpacklo_pd(v.raw, _mm_setzero_pd())}; }
inline Vec<double> moved_down(Vec<double> v) { return {_mm_unpackhi_pd(v.raw, _mm_setzero_pd())}; }
inline Vec<double> without_gap(Vec<double> v) { return v; }
inline Vec<double> moved_up(Vec<double> v) { return {_mm_unpacklo_pd(v.raw, v.raw)}; }
inline void transpose(Vec<double> (&rows)[2]) { deinterleave(rows[0], rows[1]); }

#endif

}  // namespace kivsr::simd
