// The transform of N = 64 samples, M = 32 complex numbers z, in eight registers of eight lanes: no loops, no work area,
// no call. Lanes are in natural order throughout.
//
// Complex transform, z[j + 8 k] in lane j of vector k: radix 4 over k, the factors w_32^(j p), and transforms of 8
// points over the lanes j: the transpose within halves makes vectors r of the numbers p = 0 .. 3 of j = r and j = r + 4
// side by side, so that radix 2 works between halves and radix 4 between vectors. The real step is that of
// fft_real_pass.h for columns of one number: X_k and X_(M-k) from Z_k and Z_(M-k).
#pragma once

#include <type_traits>
#include <utility>

#include "fft_real_pass.h"
#include "fft_roots.h"

namespace kivsr::fft {

inline constexpr int kRegisterOrder = 6;

template <class T>
constexpr bool in_registers(int order) {
  return std::is_same_v<T, float> && simd::ComplexVec<T>::width == 8 && order == kRegisterOrder;
}

// Blocks of the tables: w_32^(j p) for p = 1 .. 3; -i w_64^k times the gain for k = 0 .. 15.
inline constexpr int kRegisterMiddleBlocks = 3;
inline constexpr int kRegisterLastBlocks = 2;

template <class Wave>
void build_register_tables(float* middle, float* last, double gain, const Roots<Wave>& roots) {
  constexpr int W = 8;
  for (int p = 0; p < kRegisterMiddleBlocks; ++p) {
    for (int j = 0; j < W; ++j) {
      const Root root = roots.get(static_cast<std::uint64_t>(2 * j * (p + 1)));
      middle[2 * W * p + j] = static_cast<float>(root.re);
      middle[2 * W * p + W + j] = static_cast<float>(root.im);
    }
  }
  for (int k = 0; k < kRegisterLastBlocks * W; ++k) {
    const Root root = roots.get(static_cast<std::uint64_t>(k));
    float* const block = last + 2 * W * (k / W) + k % W;
    block[0] = static_cast<float>(gain * root.im);
    block[W] = static_cast<float>(-gain * root.re);
  }
}

namespace registers {

using simd::Quad;

// Blocks for r = 1 .. 3: 1 in the low half, w_8^r in the high one.
struct Eighths {
  alignas(32) float blocks[3][16] = {};
  constexpr Eighths() {
    constexpr float h = static_cast<float>(kRootHalf);
    constexpr float kRoots[3][2] = {{h, -h}, {0, -1}, {-h, -h}};
    for (int r = 0; r < 3; ++r) {
      for (int l = 0; l < 8; ++l) {
        blocks[r][l] = l < 4 ? 1 : kRoots[r][0];
        blocks[r][8 + l] = l < 4 ? 0 : kRoots[r][1];
      }
    }
  }
};
inline constexpr Eighths kEighths;

template <class V>
inline void transpose_within_halves(Complex<V> (&z)[4]) {
  V re[4], im[4];
  repeat<4>([&](auto k) {
    re[k] = z[k].re;
    im[k] = z[k].im;
  });
  transpose_rows(re);
  transpose_rows(im);
  repeat<4>([&](auto k) { z[k] = {re[k], im[k]}; });
}

// On return lane l of z[q] is number 8 q + l of the transform.
template <class V>
inline void transform_32(Complex<V> (&z)[4], const float* factors) {
  forward_butterfly(z);
  repeat<3>([&](auto p) { z[p + 1] = rotated<false>(z[p + 1], load_block<V>(factors, p)); });
  transpose_within_halves(z);
  const V signs = simd::joined<V>(Quad::broadcast(1), Quad::broadcast(-1));
  repeat<4>([&](auto r) {
    z[r] = {mul_add(z[r].re, signs, exchanged_halves(z[r].re)), mul_add(z[r].im, signs, exchanged_halves(z[r].im))};
    if constexpr (r > 0) z[r] = rotated<false>(z[r], load_block<V>(kEighths.blocks[r - 1], 0));
  });
  forward_butterfly(z);
}

// Eight numbers in pairs, two to a Quad, to and from lanes in order.
template <class V>
inline Complex<V> in_lanes(Quad p0, Quad p1, Quad p2, Quad p3) {
  V a = simd::joined<V>(p0, p2);
  V b = simd::joined<V>(p1, p3);
  deinterleave(a, b);
  return {a, b};
}
template <class V>
inline Complex<V> load_in_order(const float* p) {
  using simd::load_as;
  return in_lanes<V>(load_as<Quad>(p), load_as<Quad>(p + 4), load_as<Quad>(p + 8), load_as<Quad>(p + 12));
}
template <class V>
inline void store_in_order(float* p, Complex<V> z) {
  interleave(z.re, z.im);
  store(p, low_half(z.re));
  store(p + 4, low_half(z.im));
  store(p + 8, high_half(z.re));
  store(p + 12, high_half(z.im));
}
// The same with the last pair of memory in lane 0.
template <class V>
inline Complex<V> load_descending(Quad p0, Quad p1, Quad p2, Quad p3) {
  V a = exchanged_pairs(simd::joined<V>(p3, p1));
  V b = exchanged_pairs(simd::joined<V>(p2, p0));
  deinterleave(a, b);
  return {a, b};
}

// The numbers opposite those of `low`, from the vector that ends at them and the one behind that, which holds the
// first.
template <class V>
inline Complex<V> mirror_of(Complex<V> high, Complex<V> behind) {
  return {mirrored_in_order(with_first(high.re, behind.re)), mirrored_in_order(with_first(high.im, behind.im))};
}

}  // namespace registers

// 64 samples to a spectrum.
template <class V, Spectrum kSpectrum>
[[gnu::flatten, gnu::noinline]] void forward_in_registers(const float* src, float* dst, const float* middle,
                                                          const float* last, float gain) {
  using namespace registers;
  constexpr std::ptrdiff_t kCount = 32;
  float* const pairs = dst + kFirstPair<kSpectrum>;
  Complex<V> z[4];
  repeat<4>([&](auto k) { z[k] = load_in_order<V>(src + 16 * k); });
  transform_32(z, middle);
  const Complex<V> mirror[2] = {mirror_of(z[3], z[0]), mirror_of(z[2], z[3])};
  pairs[kCount] = 2 * gain * z[2].re.first();
  pairs[kCount + 1] = -2 * gain * z[2].im.first();
  const V gains = V::broadcast(gain);
  repeat<2>([&](auto a) {
    const Complex<V> m = mirror[a];
    const Complex<V> e = Complex<V>{z[a].re + m.re, z[a].im - m.im} * gains;
    const Complex<V> d = rotated<false>(Complex<V>{z[a].re - m.re, z[a].im + m.im}, load_block<V>(last, a));
    Complex<V> low = e + d;
    Complex<V> high = {e.re - d.re, d.im - e.im};  // descending from bin 32 - 8 a
    const float highest = high.re.first();
    interleave(high.re, high.im);
    high = {exchanged_pairs(high.re), exchanged_pairs(high.im)};
    if constexpr (a == 0) {
      interleave(low.re, low.im);
      store_edges<kSpectrum, Quad>(dst, kCount, {low_half(low.re), low_half(low.im)},
                                   {low_half(high.im), low_half(high.re)}, highest);
      store(pairs + 8, high_half(low.re));
      store(pairs + 12, high_half(low.im));
    } else {
      store_in_order(pairs + 16, low);
      store(pairs + 46, low_half(high.re));
      store(pairs + 42, low_half(high.im));
    }
    store(pairs + 54 - 16 * a, high_half(high.re));
    store(pairs + 50 - 16 * a, high_half(high.im));
  });
}

// A Pack spectrum to 64 samples: the inverse transform is the forward one with real and imaginary parts exchanged.
template <class V>
[[gnu::flatten, gnu::noinline]] void inverse_in_registers(const float* src, float* dst, const float* middle,
                                                          const float* last, float gain, float scale) {
  using namespace registers;
  using simd::load_as;
  constexpr std::ptrdiff_t kCount = 32;
  const float* const pairs = src - 1;
  const auto quad = [&](int bin) { return load_as<Quad>(pairs + 2 * bin); };
  Quad low[2], high[2];
  load_edges(src, kCount, low, high);
  Complex<V> z[4], mirror[2];
  z[0] = in_lanes<V>(low[0], low[1], quad(4), quad(6));
  z[1] = load_in_order<V>(pairs + 16);
  mirror[0] = load_descending<V>(quad(25), quad(27), high[0], high[1]);
  mirror[1] = load_descending<V>(quad(17), quad(19), quad(21), quad(23));
  const Complex<V> middle_bin = {V::in_first_lane(2 * scale * pairs[kCount]),
                                 V::in_first_lane(-2 * scale * pairs[kCount + 1])};
  const V scales = V::broadcast(scale);
  const V correction = V::broadcast(scale / gain);
  repeat<2>([&](auto a) {
    const Complex<V> m = mirror[a];
    const Complex<V> e = Complex<V>{z[a].re + m.re, z[a].im - m.im} * scales;
    const Complex<V> d = rotated<true>(Complex<V>{z[a].re - m.re, z[a].im + m.im}, load_block<V>(last, a)) * correction;
    z[a] = e + d;
    mirror[a] = {e.re - d.re, d.im - e.im};
  });
  z[3] = mirror_of(mirror[0], mirror[1]);
  z[2] = mirror_of(mirror[1], middle_bin);
  repeat<4>([&](auto k) { std::swap(z[k].re, z[k].im); });
  transform_32(z, middle);
  repeat<4>([&](auto k) { store_in_order(dst + 16 * k, Complex<V>{z[k].im, z[k].re}); });
}

}  // namespace kivsr::fft
