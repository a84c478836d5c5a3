// The pass between the complex transform z -> Z of M points and the real spectrum X of N = 2 M samples,
//   X_k = (Z_k + conj Z_(M-k)) / 2 - i w_N^k (Z_k - conj Z_(M-k)) / 2,
// fused with the last radix-4 pass of the complex transform. With y_k the four transforms of M / 4 points that this
// pass would join, j a column and j' = M / 4 - j its mirror (j' = 0 for j = 0),
//   U_k = y_k[j] + conj y_k[j'],   V_k = y_k[j] - conj y_k[j'],
//   E_p = sum over k of w_4^(k p) w_N^(2 j k) U_k,   D_p = w_8^p sum over k of w_4^(k p) (-i) w_N^(j (2k + 1)) V_k,
//   X_(j + p M / 4) = (E_p + D_p) / 2,   X_(M - j - p M / 4) = conj(E_p - D_p) / 2.
// The gain, here 1/2 times the factor of the transform, is part of the tables. The inverse runs the same steps
// backwards and corrects the gain as it reads.
#pragma once

#include <cassert>

#include "fft.h"
#include "fft_passes.h"

namespace kivsr::fft {

// What the steps above multiply by: w_N^(2 j k) for k = 1, 2, 3, then -i w_N^(j (2k + 1)) for k = 0 .. 3, all times the
// gain of the transform.
inline constexpr int kColumnFactors = 7;

template <class V>
struct ColumnFactors {
  Complex<V> u[4], v[4];
  V gain;  // in place of u[0]
};

template <class V, class T>
inline ColumnFactors<V> load_factors(const T* p, V gain) {
  constexpr int W = V::width;
  ColumnFactors<V> f;
  f.gain = gain;
  const auto factor = [&](int i) {
    return Complex<V>{simd::load_as<V>(p + 2 * W * i), simd::load_as<V>(p + 2 * W * i + W)};
  };
  repeat<3>([&](auto k) { f.u[k + 1] = factor(k); });
  repeat<4>([&](auto k) { f.v[k] = factor(k + 3); });
  return f;
}

// y, m: the column and its mirror. On return y[p] is X_(j + p M / 4), m[p] is X_(M - j - p M / 4).
template <class V>
inline void forward_column(Complex<V> (&y)[4], Complex<V> (&m)[4], const ColumnFactors<V>& f) {
  Complex<V> e[4], d[4];
  repeat<4>([&](auto k) {
    e[k] = {y[k].re + m[k].re, y[k].im - m[k].im};
    e[k] = k > 0 ? rotated<false>(e[k], f.u[k]) : e[k] * f.gain;
  });
  forward_butterfly(e);
  repeat<4>([&](auto k) { d[k] = rotated<false>(Complex<V>{y[k].re - m[k].re, y[k].im + m[k].im}, f.v[k]); });
  forward_butterfly(d);
  const V root_half = V::broadcast(static_cast<typename V::Element>(kRootHalf));
  const Complex<V> turned1 = Complex<V>{d[1].re + d[1].im, d[1].im - d[1].re} * root_half;
  const Complex<V> turned3 = Complex<V>{d[3].im - d[3].re, d[3].re + d[3].im} * root_half;  // conjugated
  y[0] = e[0] + d[0];
  m[0] = {e[0].re - d[0].re, d[0].im - e[0].im};
  y[1] = e[1] + turned1;
  m[1] = {e[1].re - turned1.re, turned1.im - e[1].im};
  y[2] = {e[2].re + d[2].im, e[2].im - d[2].re};
  m[2] = {e[2].re - d[2].im, (d[2].im - d[2].im) - (d[2].re + e[2].im)};
  y[3] = {e[3].re + turned3.re, e[3].im - turned3.im};
  m[3] = {e[3].re - turned3.re, (d[3].im - d[3].im) - (turned3.im + e[3].im)};
}

// The transpose: from bins to the column and its mirror.
template <class V>
inline void inverse_column(Complex<V> (&y)[4], Complex<V> (&m)[4], const ColumnFactors<V>& f) {
  Complex<V> u[4], v[4];
  repeat<4>([&](auto p) {
    u[p] = {y[p].re + m[p].re, y[p].im - m[p].im};
    v[p] = {y[p].re - m[p].re, y[p].im + m[p].im};
  });
  const V root_half = V::broadcast(static_cast<typename V::Element>(kRootHalf));
  const V zero = V::broadcast(0);
  v[1] = Complex<V>{v[1].re - v[1].im, v[1].im + v[1].re} * root_half;
  v[2] = {zero - v[2].im, v[2].re};
  v[3] = Complex<V>{zero - (v[3].re + v[3].im), v[3].re - v[3].im} * root_half;
  butterfly<true>(u);
  butterfly<true>(v);
  repeat<4>([&](auto k) {
    u[k] = k > 0 ? rotated<true>(u[k], f.u[k]) : u[k] * f.gain;
    v[k] = rotated<true>(v[k], f.v[k]);
    y[k] = u[k] + v[k];
    m[k] = {u[k].re - v[k].re, v[k].im - u[k].im};
  });
}

inline constexpr double kCosPi8 = 0.92387953251128675613;
inline constexpr double kSinPi8 = 0.38268343236508977173;

// Column M / 8 is its own mirror: U_k is real, V_k imaginary and the factors are powers of w_16. c[k] is y_k[M / 8],
// then X_(M / 8 + k M / 4).
template <class T>
inline void forward_middle_column(Complex<T> (&c)[4], T gain) {
  constexpr T c1 = static_cast<T>(kCosPi8);
  constexpr T c3 = static_cast<T>(kSinPi8);
  const T twice = 2 * gain;
  const T turned = static_cast<T>(2 * kRootHalf) * gain;
  const T u0 = c[0].re * twice;
  const T u2 = c[2].re * twice;
  const T u1 = (c[1].re - c[3].re) * turned;
  const T u3 = (c[1].re + c[3].re) * turned;
  const T v0 = (c[0].im - c[3].im) * twice;
  const T v1 = (c[1].im - c[2].im) * twice;
  const T v2 = (c[1].im + c[2].im) * twice;
  const T v3 = (c[0].im + c[3].im) * twice;
  const Complex<T> e0 = {u0 + u1, -u2 - u3};
  const Complex<T> e1 = {u0 - u1, u2 - u3};
  const Complex<T> d0 = {c1 * v0 + c3 * v1, -(c3 * v3 + c1 * v2)};
  const Complex<T> d1 = {c3 * v0 - c1 * v1, c3 * v2 - c1 * v3};
  c[0] = {e0.re + d0.re, e0.im + d0.im};
  c[1] = {e1.re + d1.re, e1.im + d1.im};
  c[2] = {e1.re - d1.re, d1.im - e1.im};
  c[3] = {e0.re - d0.re, d0.im - e0.im};
}

template <class T>
inline void inverse_middle_column(Complex<T> (&c)[4], T gain) {
  constexpr T c1 = static_cast<T>(kCosPi8);
  constexpr T c3 = static_cast<T>(kSinPi8);
  const T twice = 2 * gain;
  const T turned = static_cast<T>(2 * kRootHalf) * gain;
  const Complex<T> e0 = {c[0].re + c[3].re, c[0].im - c[3].im};
  const Complex<T> e1 = {c[1].re + c[2].re, c[1].im - c[2].im};
  const Complex<T> d0 = {c[0].re - c[3].re, c[0].im + c[3].im};
  const Complex<T> d1 = {c[1].re - c[2].re, c[1].im + c[2].im};
  const T v0 = c1 * d0.re + c3 * d1.re;
  const T v1 = c3 * d0.re - c1 * d1.re;
  const T v2 = c3 * d1.im - c1 * d0.im;
  const T v3 = -(c3 * d0.im + c1 * d1.im);
  c[0] = {(e0.re + e1.re) * twice, (v3 + v0) * twice};
  c[1] = {((e0.re - e1.re) - (e0.im + e1.im)) * turned, (v2 + v1) * twice};
  c[2] = {(e1.im - e0.im) * twice, (v2 - v1) * twice};
  c[3] = {((e1.re - e0.re) - (e0.im + e1.im)) * turned, (v3 - v0) * twice};
}

template <Spectrum kSpectrum>
inline constexpr std::ptrdiff_t kFirstPair = kSpectrum == Spectrum::kPack ? -1 : 0;

// W bins in descending order; p points at the last and lowest.
template <class V, class T>
inline void store_pairs_descending(T* p, Complex<V> z) {
  if constexpr (V::width == 1) {
    store_pairs(p, z);
  } else {
    interleave(z.re, z.im);
    store(p, reversed_pairs(z.im));
    store(p + V::width, reversed_pairs(z.re));
  }
}
template <class V, class T>
inline Complex<V> load_pairs_descending(const T* p) {
  if constexpr (V::width == 1) {
    return load_pairs<V>(p);
  } else {
    V a = reversed_pairs(simd::load_as<V>(p + V::width));
    V b = reversed_pairs(simd::load_as<V>(p));
    deinterleave(a, b);
    return {a, b};
  }
}

// The pairs at either edge of a spectrum of real bins 0 and M, as two vectors in memory order each: low of bins 0 ..
// W - 1, high of M - W + 1 .. M. A vector that lacks a number is stored before its neighbour, which covers the gap.
template <Spectrum kSpectrum, class V, class T>
inline void store_edges(T* dst, std::ptrdiff_t count, const V (&low)[2], const V (&high)[2], T highest) {
  constexpr int W = V::width;
  T* const end = dst + 2 * count;
  if constexpr (kSpectrum == Spectrum::kPack) {
    store(dst, without_gap(low[0]));
    store(dst + W - 1, low[1]);
    store(end - W, moved_up(high[1]));
    store(end - 2 * W + 1, high[0]);
  } else {
    store(dst, low[0]);
    store(dst + W, low[1]);
    dst[1] = kSpectrum == Spectrum::kPerm ? highest : T{0};
    if constexpr (kSpectrum == Spectrum::kPerm) {
      store(end - W, moved_up(moved_up(high[1])));
    } else {
      store(end - W + 2, high[1]);
      end[1] = 0;
    }
    store(end - 2 * W + 2, high[0]);
  }
}

// The same from Pack.
template <class V, class T>
inline void load_edges(const T* src, std::ptrdiff_t count, V (&low)[2], V (&high)[2]) {
  constexpr int W = V::width;
  const T* const end = src + 2 * count;
  low[0] = with_gap(simd::load_as<V>(src));
  low[1] = simd::load_as<V>(src + W - 1);
  high[0] = simd::load_as<V>(end - 2 * W + 1);
  high[1] = moved_down(simd::load_as<V>(end - W));
}

// Bins 0 .. W - 1 and M .. M - W + 1 in lanes.
template <Spectrum kSpectrum, class V, class T>
inline void store_edge_columns(T* dst, std::ptrdiff_t count, Complex<V> low, Complex<V> high) {
  const T highest = high.re.first();
  if constexpr (V::width == 1) {
    dst[0] = low.re.first();
    if constexpr (kSpectrum == Spectrum::kCcs) dst[1] = dst[2 * count + 1] = 0;
    dst[kSpectrum == Spectrum::kPerm ? 1 : 2 * count + kFirstPair<kSpectrum>] = highest;
  } else {
    interleave(low.re, low.im);
    interleave(high.re, high.im);
    store_edges<kSpectrum>(dst, count, {low.re, low.im}, {reversed_pairs(high.im), reversed_pairs(high.re)}, highest);
  }
}
template <class V, class T>
inline void load_edge_columns(const T* src, std::ptrdiff_t count, Complex<V>& low, Complex<V>& high) {
  if constexpr (V::width == 1) {
    low = {{src[0]}, {T{0}}};
    high = {{src[2 * count - 1]}, {T{0}}};
  } else {
    V lows[2], highs[2];
    load_edges(src, count, lows, highs);
    deinterleave(lows[0], lows[1]);
    V a = reversed_pairs(highs[1]);
    V b = reversed_pairs(highs[0]);
    deinterleave(a, b);
    low = {lows[0], lows[1]};
    high = {a, b};
  }
}

// The middle column of either pass, in the first lane of its block.
template <class V, Spectrum kSpectrum, class T>
inline void forward_middle_pass(const T* from, T* dst, std::ptrdiff_t count, T gain) {
  constexpr int W = V::width;
  const std::ptrdiff_t row = count / 4;
  Complex<T> middle[4];
  repeat<4>([&](auto k) {
    const T* const block = from + 2 * (k * row + row / 2);
    middle[k] = {block[0], block[W]};
  });
  forward_middle_column(middle, gain);
  repeat<4>([&](auto p) {
    T* const pair = dst + 2 * (row / 2 + p * row) + kFirstPair<kSpectrum>;
    pair[0] = middle[p].re;
    pair[1] = middle[p].im;
  });
}
template <class V, class T>
inline void inverse_middle_pass(const T* src, T* to, std::ptrdiff_t count, T gain, T scale) {
  constexpr int W = V::width;
  const std::ptrdiff_t row = count / 4;
  Complex<T> middle[4];
  repeat<4>([&](auto p) {
    const T* const pair = src + 2 * (row / 2 + p * row) + kFirstPair<Spectrum::kPack>;
    middle[p] = {pair[0] * scale, pair[1] * scale};
  });
  inverse_middle_column(middle, gain);
  repeat<4>([&](auto k) {
    T* const block = to + 2 * (k * row + row / 2);
    block[0] = middle[k].re;
    block[W] = middle[k].im;
  });
}

// Forward: `count` = M numbers in blocks to the spectrum.
template <class V, Spectrum kSpectrum, class T>
[[gnu::flatten, gnu::noinline]] void forward_real_pass(const T* __restrict from, T* __restrict dst,
                                                       std::ptrdiff_t count, const T* __restrict factors, T gain) {
  constexpr int W = V::width;
  const V gains = V::broadcast(gain);
  constexpr std::ptrdiff_t kOffset = kFirstPair<kSpectrum>;
  const std::ptrdiff_t row = count / 4;
  const std::ptrdiff_t blocks = row / W;
  assert(row % (2 * W) == 0);
  const auto columns = [&](std::ptrdiff_t a, auto is_first) {
    Complex<V> y[4], m[4];
    repeat<4>([&](auto k) {
      y[k] = load_block<V>(from, k * blocks + a);
      const Complex<V> mirror = load_block<V>(from, k * blocks + blocks - 1 - a);
      const T* const first = from + (k * blocks + (is_first ? 0 : blocks - a)) * 2 * W;
      m[k] = {mirrored(with_first(mirror.re, first)), mirrored(with_first(mirror.im, first + W))};
    });
    forward_column(y, m, load_factors<V>(factors + a * 2 * W * kColumnFactors, gains));
    if constexpr (is_first) store_edge_columns<kSpectrum>(dst, count, y[0], m[0]);
    repeat<4>([&](auto p) {
      if constexpr (!is_first || p > 0) {
        store_pairs(dst + 2 * (a * W + p * row) + kOffset, y[p]);
        store_pairs_descending(dst + 2 * (count - W + 1 - a * W - p * row) + kOffset, m[p]);
      }
    });
  };
  columns(0, std::true_type{});
  for (std::ptrdiff_t a = 1; a < blocks / 2; ++a) columns(a, std::false_type{});
  forward_middle_pass<V, kSpectrum>(from, dst, count, gain);
}

// Inverse: a Pack spectrum, scaled, to numbers in blocks.
template <class V, class T>
[[gnu::flatten, gnu::noinline]] void inverse_real_pass(const T* __restrict src, T* __restrict to, std::ptrdiff_t count,
                                                       const T* __restrict factors, T gain, T scale) {
  constexpr int W = V::width;
  const V gains = V::broadcast(gain);
  constexpr std::ptrdiff_t kOffset = kFirstPair<Spectrum::kPack>;
  const std::ptrdiff_t row = count / 4;
  const std::ptrdiff_t blocks = row / W;
  assert(row % (2 * W) == 0);
  const V factor = V::broadcast(scale);
  const auto columns = [&](std::ptrdiff_t a, auto is_first) {
    Complex<V> y[4], m[4];
    if constexpr (is_first) load_edge_columns(src, count, y[0], m[0]);
    repeat<4>([&](auto p) {
      if constexpr (!is_first || p > 0) {
        y[p] = load_pairs<V>(src + 2 * (a * W + p * row) + kOffset);
        m[p] = load_pairs_descending<V>(src + 2 * (count - W + 1 - a * W - p * row) + kOffset);
      }
      y[p] = y[p] * factor;
      m[p] = m[p] * factor;
    });
    inverse_column(y, m, load_factors<V>(factors + a * 2 * W * kColumnFactors, gains));
    repeat<4>([&](auto k) {
      store_block(to, k * blocks + a, y[k]);
      const Complex<V> z = {mirrored(m[k].re), mirrored(m[k].im)};
      // Element 0 belongs to the block behind, which the turn before left open; column M / 4 does not exist.
      store_block(to, k * blocks + blocks - 1 - a, z);
      if constexpr (!is_first) {
        T* const open = to + (k * blocks + blocks - a) * 2 * W;
        open[0] = z.re.first();
        open[W] = z.im.first();
      }
    });
  };
  columns(0, std::true_type{});
  for (std::ptrdiff_t a = 1; a < blocks / 2; ++a) columns(a, std::false_type{});
  inverse_middle_pass<V>(src, to, count, gain, scale);
}

}  // namespace kivsr::fft
