// The passes of the real transform of N = 2 M samples, taken as M complex numbers z.
//
// Forward, decimation in time without bit reversal (Stockham's order): pass by pass with radix R, transforms of L
// points become transforms of R L points,
//   y[g R L + i + p L] = sum over k of w_R^(k p) w_(R L)^(k i) x[g L + i + k M / R],  i < L, w_n = exp(-2 pi i / n).
// Between passes lie blocks of W numbers (see load_block), so that all but the first pass work on whole vectors: the
// first reads pairs from the caller's array and makes L = R >= W by transposing in registers. The last pass, of radix
// 4, is fused with the step from the complex to the real spectrum: fft_real_pass.h.
//
// Inverse: the transposed passes in the opposite order. Both use the same tables.
#pragma once

#include <cassert>

#include "fft_butterfly.h"

namespace kivsr::fft {

// Step i of a pass in the transforms of group g, t the factors of k = 1 .. R - 1.
template <class V, int R, bool kInverse, class T>
inline void pass_step(const T* from, T* to, std::ptrdiff_t stride, std::ptrdiff_t sub, std::ptrdiff_t g,
                      std::ptrdiff_t i, const Complex<V> (&t)[R]) {
  const std::ptrdiff_t apart = g * sub + i;         // inputs of the forward pass, M / R apart
  const std::ptrdiff_t together = g * R * sub + i;  // its outputs, L apart
  Complex<V> c[R];
  if constexpr (kInverse) {
    repeat<R>([&](auto k) { c[k] = load_block<V>(from, together + k * sub); });
    butterfly<true>(c);
    repeat<R - 1>([&](auto k) { c[k + 1] = rotated<true>(c[k + 1], t[k + 1]); });
    repeat<R>([&](auto k) { store_block(to, apart + k * stride, c[k]); });
  } else {
    repeat<R>([&](auto k) { c[k] = load_block<V>(from, apart + k * stride); });
    repeat<R - 1>([&](auto k) { c[k + 1] = rotated<false>(c[k + 1], t[k + 1]); });
    butterfly<false>(c);
    repeat<R>([&](auto k) { store_block(to, together + k * sub, c[k]); });
  }
}

// A pass between work areas of `blocks` vectors; `sub` = L / W vectors in a finished transform. Factors: for each i,
// those of k = 1 .. R - 1. They are kept over the groups where the steps of a group are few.
template <class V, int R, bool kInverse, class T>
[[gnu::flatten, gnu::noinline]] void complex_pass(const T* __restrict from, T* __restrict to, std::ptrdiff_t blocks,
                                                  std::ptrdiff_t sub, const T* __restrict twiddles) {
  assert(sub > 0 && blocks % (R * sub) == 0);
  const std::ptrdiff_t stride = blocks / R;
  const std::ptrdiff_t groups = stride / sub;
  const auto load_twiddles = [&](std::ptrdiff_t i, Complex<V>(&t)[R]) {
    repeat<R - 1>([&](auto k) { t[k + 1] = load_block<V>(twiddles, (R - 1) * i + k); });
  };
  constexpr std::ptrdiff_t kFewSteps = 16;
  if (sub < kFewSteps) {
    for (std::ptrdiff_t i = 0; i < sub; ++i) {
      Complex<V> t[R];
      load_twiddles(i, t);
      for (std::ptrdiff_t g = 0; g < groups; ++g) pass_step<V, R, kInverse>(from, to, stride, sub, g, i, t);
    }
  } else {
    for (std::ptrdiff_t g = 0; g < groups; ++g) {
      for (std::ptrdiff_t i = 0; i < sub; ++i) {
        Complex<V> t[R];
        load_twiddles(i, t);
        pass_step<V, R, kInverse>(from, to, stride, sub, g, i, t);
      }
    }
  }
}

template <class V, class S>
inline Complex<V> load_pairs(const S* p) {
  V a = simd::load_as<V>(p);
  V b = simd::load_as<V>(p + V::width);
  deinterleave(a, b);
  return {a, b};
}
template <class V, class T>
inline void store_pairs(T* p, Complex<V> z) {
  interleave(z.re, z.im);
  store(p, z.re);
  store(p + V::width, z.im);
}

// Moves R vectors c[p], whose lanes are columns, to or from the blocks in which each column is contiguous.
template <class V, int R, bool kStore, class T>
inline void columns_and_blocks(Complex<V> (&c)[R], T* area) {
  constexpr int W = V::width;
  repeat<R / W>([&](auto s) {
    V re[W], im[W];
    if constexpr (kStore) {
      repeat<W>([&](auto l) {
        re[l] = c[s * W + simd::kLaneElement<V>[l]].re;
        im[l] = c[s * W + simd::kLaneElement<V>[l]].im;
      });
    } else {
      repeat<W>([&](auto l) {
        const Complex<V> z = load_block<V>(area, simd::kLaneElement<V>[l] * (R / W) + s);
        re[l] = z.re;
        im[l] = z.im;
      });
    }
    transpose(re);
    transpose(im);
    repeat<W>([&](auto l) {
      if constexpr (kStore) {
        store_block(area, simd::kLaneElement<V>[l] * (R / W) + s, Complex<V>{re[l], im[l]});
      } else {
        c[s * W + simd::kLaneElement<V>[l]] = {re[l], im[l]};
      }
    });
  });
}

// First pass forward: `count` numbers in pairs to transforms of R points.
template <class V, int R, class S, class T>
[[gnu::flatten, gnu::noinline]] void first_pass(const S* __restrict pairs, T* __restrict to, std::ptrdiff_t count) {
  const std::ptrdiff_t columns = count / R;
  assert(columns % V::width == 0);
  for (std::ptrdiff_t j = 0; j < columns; j += V::width) {
    Complex<V> c[R];
    repeat<R>([&](auto k) { c[k] = load_pairs<V>(pairs + 2 * (j + k * columns)); });
    butterfly<false>(c);
    columns_and_blocks<V, R, true>(c, to + 2 * j * R);
  }
}

// Its transpose, the last pass of the inverse.
template <class V, int R, class T>
[[gnu::flatten, gnu::noinline]] void last_inverse_pass(T* __restrict from, T* __restrict pairs, std::ptrdiff_t count) {
  const std::ptrdiff_t columns = count / R;
  assert(columns % V::width == 0);
  for (std::ptrdiff_t j = 0; j < columns; j += V::width) {
    Complex<V> c[R];
    columns_and_blocks<V, R, false>(c, from + 2 * j * R);
    butterfly<true>(c);
    repeat<R>([&](auto k) { store_pairs(pairs + 2 * (j + k * columns), c[k]); });
  }
}

}  // namespace kivsr::fft
