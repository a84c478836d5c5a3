// The passes of the transform of composite length: see dft_plan.h for its lanes and columns.
//
// Columns: Stockham's order, as fft_passes.h has it,
//   y[g R L + i + p L] = sum over k of w_R^(k p) w_(R L)^(k i) x[g L + i + k Q / R],  i < L, w_n = exp(-2 pi i / n).
// Each column is one vector, so that the factors are the same in all lanes. Lanes: with y_l the transform of lane l,
//   Z[k + Q p] = sum over l of w_W^(l p) w_M^(l k) y_l[k],
// W columns at a time, turned so that they stand in the lanes. Real spectrum of N = 2 M samples:
//   X_k = E_k + D_k, X_(M-k) = conj(E_k - D_k),
//   E_k = (Z_k + conj Z_(M-k)) / 2, D_k = -i w_N^k (Z_k - conj Z_(M-k)) / 2.
// The inverse takes the same complex transform, its real and imaginary parts exchanged on the way in and out.
#pragma once

#include <cassert>

#include "dft.h"
#include "dft_butterfly.h"
#include "fft_real_pass.h"

namespace kivsr::dft {

using fft::load_block;
using fft::load_pairs;
using fft::load_pairs_descending;
using fft::rotated;
using fft::store_block;
using fft::store_pairs;
using fft::store_pairs_descending;

// --- where the numbers come from and go to ------------------------------------------------------------------------

// Vector i of complex numbers in pairs.
template <class S>
struct Pairs {
  const S* from;
  template <class V>
  Complex<V> load(std::ptrdiff_t i) const {
    return load_pairs<V>(from + 2 * V::width * i);
  }
};
// The same, real and imaginary parts apart.
template <class T>
struct Parts {
  const T* re;
  const T* im;
  template <class V>
  Complex<V> load(std::ptrdiff_t i) const {
    return {pair_order(simd::load_as<V>(re + V::width * i)), pair_order(simd::load_as<V>(im + V::width * i))};
  }
};
// Real numbers, one lane.
template <class S>
struct Reals {
  const S* from;
  template <class V>
  Complex<V> load(std::ptrdiff_t i) const {
    return {simd::load_as<V>(from + i), V::broadcast(0)};
  }
};

// Numbers k, k + 1, ... in the order of the elements.
template <class T>
struct SplitResult {
  T* re;
  T* im;
  template <class V>
  void store(std::ptrdiff_t k, Complex<V> z) const {
    simd::store(re + k, z.re);
    simd::store(im + k, z.im);
  }
};
// Exchanged, as the inverse wants them, times a factor.
template <class T>
struct ExchangedPairs {
  T* to;
  T factor;
  template <class V>
  void store(std::ptrdiff_t k, Complex<V> z) const {
    const V f = V::broadcast(factor);
    store_pairs(to + 2 * k, Complex<V>{pair_order(z.im * f), pair_order(z.re * f)});
  }
};
template <class T>
struct ExchangedReals {
  T* to;
  T factor;
  template <class V>
  void store(std::ptrdiff_t k, Complex<V> z) const {
    simd::store(to + k, z.im * V::broadcast(factor));
  }
};

// --- passes ---------------------------------------------------------------------------------------------------------

template <class V, int R, class Source, class T>
[[gnu::flatten, gnu::noinline]] void first_column_pass(Source source, T* __restrict to, std::ptrdiff_t columns) {
  const std::ptrdiff_t stride = columns / R;
  for (std::ptrdiff_t i = 0; i < stride; ++i) {
    Complex<V> c[R];
    repeat<R>([&](auto k) { c[k] = source.template load<V>(i + k * stride); });
    butterfly<R>(c);
    repeat<R>([&](auto p) { store_block(to, i * R + p, c[p]); });
  }
}

// `points` = L columns in a finished transform. Factors: for each i, those of k = 1 .. R - 1.
template <class V, int R, class T>
[[gnu::flatten, gnu::noinline]] void column_pass(const T* __restrict from, T* __restrict to, std::ptrdiff_t columns,
                                                 std::ptrdiff_t points, const T* __restrict factors) {
  const std::ptrdiff_t stride = columns / R;
  const std::ptrdiff_t groups = stride / points;
  assert(groups * points * R == columns);
  for (std::ptrdiff_t i = 0; i < points; ++i) {
    Complex<V> t[R];
    repeat<R - 1>([&](auto k) {
      const T* const factor = factors + 2 * ((R - 1) * i + k);
      t[k + 1] = {V::broadcast(factor[0]), V::broadcast(factor[1])};
    });
    for (std::ptrdiff_t g = 0; g < groups; ++g) {
      Complex<V> c[R];
      repeat<R>([&](auto k) { c[k] = load_block<V>(from, g * points + i + k * stride); });
      repeat<R - 1>([&](auto k) { c[k + 1] = rotated<false>(c[k + 1], t[k + 1]); });
      butterfly<R>(c);
      repeat<R>([&](auto p) { store_block(to, (g * R + p) * points + i, c[p]); });
    }
  }
}

template <class V, class T, class Result>
[[gnu::flatten, gnu::noinline]] void lane_pass(const T* __restrict from, std::ptrdiff_t columns,
                                               const T* __restrict factors, Result result) {
  constexpr int W = V::width;
  if constexpr (W == 1) {
    for (std::ptrdiff_t k = 0; k < columns; ++k) result.store(k, load_block<V>(from, k));
  } else {
    for (std::ptrdiff_t group = 0; group < groups_of(columns, W); ++group) {
      const std::ptrdiff_t first = first_of(group, columns, W);
      V re[W], im[W];
      repeat<W>([&](auto k) {
        const Complex<V> z = load_block<V>(from, first + k);
        re[k] = z.re;
        im[k] = z.im;
      });
      transpose(re);
      transpose(im);
      Complex<V> c[W];
      repeat<W>([&](auto lane) {
        constexpr int kElement = simd::kLaneElement<V>[lane];
        c[kElement] = {re[lane], im[lane]};
        if constexpr (kElement > 0) {
          c[kElement] = rotated<false>(c[kElement], load_block<V>(factors, (W - 1) * group + kElement - 1));
        }
      });
      fft::forward_butterfly(c);
      repeat<W>([&](auto p) { result.store(first + p * columns, c[p]); });
    }
  }
}

// Calls f.operator()<R>().
template <class F>
inline void with_radix(int radix, F f) {
  switch (radix) {
    case 2: return f.template operator()<2>();
    case 3: return f.template operator()<3>();
    case 4: return f.template operator()<4>();
    case 5: return f.template operator()<5>();
    case 6: return f.template operator()<6>();
    case 7: return f.template operator()<7>();
    case 8: return f.template operator()<8>();
    case 10: return f.template operator()<10>();
    case 11: return f.template operator()<11>();
    default: return f.template operator()<13>();
  }
}

// All passes over the columns. The result stands in the first area.
template <class V, class T, class Source>
inline void column_passes(const Plan& plan, const T* table, Source source, T* area, T* other) {
  const std::ptrdiff_t columns = plan.columns;
  T* to = plan.count % 2 != 0 ? area : other;
  T* from = plan.count % 2 != 0 ? other : area;
  with_radix(plan.radices[0], [&]<int R>() { first_column_pass<V, R>(source, to, columns); });
  std::ptrdiff_t points = plan.radices[0];
  for (int i = 1; i < plan.count; ++i) {
    std::swap(from, to);
    with_radix(plan.radices[i], [&]<int R>() {
      column_pass<V, R>(from, to, columns, points, table);
      table += 2 * points * (R - 1);
      points *= R;
    });
  }
  assert(to == area && points == columns);
}

// The complex transform; the two areas hold M numbers each, and the result may go to neither but the second.
template <class V, class T, class Source, class Result>
inline void complex_transform(const Plan& plan, const Factors<T>& factors, Source source, T* area, T* other,
                              Result result) {
  column_passes<V>(plan, factors.passes, source, area, other);
  lane_pass<V>(area, plan.columns, factors.lanes, result);
}

// From Z, real and imaginary parts apart, to the N + 2 values of the spectrum times the gain.
template <class V, class T>
[[gnu::flatten, gnu::noinline]] void forward_real_pass(const T* __restrict re, const T* __restrict im,
                                                       T* __restrict dst, std::ptrdiff_t count,
                                                       const T* __restrict factors, T gain) {
  constexpr int W = V::width;
  const V half_gain = V::broadcast(T{0.5} * gain);
  dst[0] = (re[0] + im[0]) * gain;
  dst[1] = 0;
  dst[2 * count] = (re[0] - im[0]) * gain;
  dst[2 * count + 1] = 0;
  for (std::ptrdiff_t group = 0; group < groups_of(count / 2, W); ++group) {
    const std::ptrdiff_t k = 1 + first_of(group, count / 2, W);
    const std::ptrdiff_t mirror = count - k - W + 1;
    const Complex<V> z = {pair_order(simd::load_as<V>(re + k)), pair_order(simd::load_as<V>(im + k))};
    const Complex<V> m = {pair_order_reversed(simd::load_as<V>(re + mirror)),
                          pair_order_reversed(simd::load_as<V>(im + mirror))};
    const Complex<V> e = Complex<V>{z.re + m.re, z.im - m.im} * half_gain;
    const Complex<V> d =
        rotated<false>(Complex<V>{z.re - m.re, z.im + m.im} * half_gain, load_block<V>(factors, group));
    store_pairs(dst + 2 * k, e + d);
    store_pairs_descending(dst + 2 * mirror, Complex<V>{e.re - d.re, d.im - e.im});
  }
}

// From the spectrum to Z, its parts exchanged. Orders of pairs are their own inverses.
template <class V, class S, class T>
[[gnu::flatten, gnu::noinline]] void inverse_real_pass(const S* __restrict src, T* __restrict re, T* __restrict im,
                                                       std::ptrdiff_t count, const T* __restrict factors) {
  constexpr int W = V::width;
  re[0] = static_cast<T>(src[0]) - static_cast<T>(src[2 * count]);
  im[0] = static_cast<T>(src[0]) + static_cast<T>(src[2 * count]);
  for (std::ptrdiff_t group = 0; group < groups_of(count / 2, W); ++group) {
    const std::ptrdiff_t k = 1 + first_of(group, count / 2, W);
    const std::ptrdiff_t mirror = count - k - W + 1;
    const Complex<V> x = load_pairs<V>(src + 2 * k);
    const Complex<V> m = load_pairs_descending<V>(src + 2 * mirror);
    const Complex<V> e = {x.re + m.re, x.im - m.im};
    const Complex<V> d = rotated<true>(Complex<V>{x.re - m.re, x.im + m.im}, load_block<V>(factors, group));
    simd::store(re + k, pair_order(e.im + d.im));
    simd::store(im + k, pair_order(e.re + d.re));
    simd::store(re + mirror, pair_order_reversed(d.im - e.im));
    simd::store(im + mirror, pair_order_reversed(e.re - d.re));
  }
}

}  // namespace kivsr::dft
