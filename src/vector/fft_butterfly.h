// Complex numbers in lanes and the small transforms that the passes are made of. Vectors: see complex_lanes.h.
#pragma once

#include <cstddef>
#include <utility>

#include "frame/simd/complex_lanes.h"

namespace kivsr::fft {

// f(0), f(1), ... f(N - 1), each with a constant, so that arrays indexed by it live in registers.
template <int N, class F>
inline void repeat(F f) {
  [&]<int... k>(std::integer_sequence<int, k...>) { (f(std::integral_constant<int, k>{}), ...); }
  (std::make_integer_sequence<int, N>{});
}

template <class V>
struct Complex {
  V re, im;
};

template <class V>
inline Complex<V> operator+(Complex<V> a, Complex<V> b) {
  return {a.re + b.re, a.im + b.im};
}
template <class V>
inline Complex<V> operator-(Complex<V> a, Complex<V> b) {
  return {a.re - b.re, a.im - b.im};
}
template <class V>
inline Complex<V> operator*(Complex<V> a, V real) {
  return {a.re * real, a.im * real};
}
// z times t, or times the conjugate of t.
template <bool kConjugate, class V>
inline Complex<V> rotated(Complex<V> z, Complex<V> t) {
  if constexpr (kConjugate) {
    return {mul_add(t.im, z.im, t.re * z.re), neg_mul_add(t.im, z.re, t.re * z.im)};
  } else {
    return {neg_mul_add(t.im, z.im, t.re * z.re), mul_add(t.im, z.re, t.re * z.im)};
  }
}
inline constexpr double kRootHalf = 0.70710678118654752440;

// A vector of complex numbers in a work area: W real parts, then W imaginary parts.
template <class V, class T>
inline Complex<V> load_block(const T* area, std::ptrdiff_t block) {
  const T* const p = area + block * 2 * V::width;
  return {simd::load_as<V>(p), simd::load_as<V>(p + V::width)};
}
template <class V, class T>
inline void store_block(T* area, std::ptrdiff_t block, Complex<V> z) {
  T* const p = area + block * 2 * V::width;
  store(p, z.re);
  store(p + V::width, z.im);
}

// Transforms of R points in place: c[p] = sum over k of c[k] w^(k p), w = exp(-2 pi i / R).
template <class V>
inline void forward_butterfly(Complex<V> (&c)[2]) {
  const Complex<V> sum = c[0] + c[1];
  c[1] = c[0] - c[1];
  c[0] = sum;
}
template <class V>
inline void forward_butterfly(Complex<V> (&c)[4]) {
  const Complex<V> a = c[0] + c[2];
  const Complex<V> b = c[0] - c[2];
  const Complex<V> s = c[1] + c[3];
  const Complex<V> d = c[1] - c[3];
  c[0] = a + s;
  c[1] = {b.re + d.im, b.im - d.re};
  c[2] = a - s;
  c[3] = {b.re - d.im, b.im + d.re};
}
template <class V>
inline void forward_butterfly(Complex<V> (&c)[8]) {
  Complex<V> even[4] = {c[0], c[2], c[4], c[6]};
  Complex<V> odd[4] = {c[1], c[3], c[5], c[7]};
  forward_butterfly(even);
  forward_butterfly(odd);
  const V root_half = V::broadcast(static_cast<typename V::Element>(kRootHalf));
  c[0] = even[0] + odd[0];
  c[4] = even[0] - odd[0];
  // odd[1] times (1 - i) / sqrt 2, odd[2] times -i, odd[3] times (-1 - i) / sqrt 2
  const V re1 = odd[1].re + odd[1].im;
  const V im1 = odd[1].im - odd[1].re;
  c[1] = {mul_add(root_half, re1, even[1].re), mul_add(root_half, im1, even[1].im)};
  c[5] = {neg_mul_add(root_half, re1, even[1].re), neg_mul_add(root_half, im1, even[1].im)};
  c[2] = {even[2].re + odd[2].im, even[2].im - odd[2].re};
  c[6] = {even[2].re - odd[2].im, even[2].im + odd[2].re};
  const V re3 = odd[3].im - odd[3].re;
  const V im3 = odd[3].im + odd[3].re;
  c[3] = {mul_add(root_half, re3, even[3].re), neg_mul_add(root_half, im3, even[3].im)};
  c[7] = {neg_mul_add(root_half, re3, even[3].re), mul_add(root_half, im3, even[3].im)};
}

// The inverse transform is the forward one with its results in the order 0, R - 1, ... 1.
template <bool kInverse, int R, class V>
inline void butterfly(Complex<V> (&c)[R]) {
  forward_butterfly(c);
  if constexpr (kInverse && R > 2) {
    repeat<(R - 1) / 2>([&](auto k) { std::swap(c[k + 1], c[R - 1 - k]); });
  }
}

}  // namespace kivsr::fft
