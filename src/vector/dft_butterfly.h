// Small transforms of the radices that are no powers of two, by the symmetry of the roots of unity: with
// s_j = c_j + c_(R-j) and d_j = c_j - c_(R-j), w = exp(-2 pi i / R),
//   C_p, C_(R-p) = c_0 + sum over j of cos(2 pi j p / R) s_j -/+ i sum over j of sin(2 pi j p / R) d_j.
#pragma once

#include "fft_butterfly.h"

namespace kivsr::dft {

using fft::Complex;
using fft::repeat;

// cos and sin of 2 pi j / R for j = 1 .. (R - 1) / 2.
template <int R>
struct OddRoots;
template <>
struct OddRoots<3> {
  static constexpr double kCos[] = {-0.5};
  static constexpr double kSin[] = {0.86602540378443864676};
};
template <>
struct OddRoots<5> {
  static constexpr double kCos[] = {0.3090169943749474241, -0.8090169943749474241};
  static constexpr double kSin[] = {0.95105651629515357212, 0.58778525229247312917};
};
template <>
struct OddRoots<7> {
  static constexpr double kCos[] = {0.62348980185873353053, -0.22252093395631440429, -0.90096886790241912624};
  static constexpr double kSin[] = {0.78183148246802980871, 0.97492791218182360702, 0.43388373911755812048};
};
template <>
struct OddRoots<11> {
  static constexpr double kCos[] = {0.84125353283118116886, 0.41541501300188642553, -0.14231483827328514044,
                                    -0.65486073394528506406, -0.95949297361449738989};
  static constexpr double kSin[] = {0.54064081745559758211, 0.90963199535451837141, 0.98982144188093273238,
                                    0.75574957435425828377, 0.28173255684142969771};
};
template <>
struct OddRoots<13> {
  static constexpr double kCos[] = {0.8854560256532098959,   0.56806474673115580251,  0.12053668025532305335,
                                    -0.35460488704253562597, -0.74851074817110109863, -0.97094181742605202716};
  static constexpr double kSin[] = {0.46472317204376854566, 0.82298386589365639458, 0.9927088740980539928,
                                    0.93501624268541482344, 0.66312265824079520238, 0.23931566428755776715};
};

// cos and sin of 2 pi m / R for 0 < m < R.
template <int R>
constexpr double cosine(int m) {
  return OddRoots<R>::kCos[(2 * m < R ? m : R - m) - 1];
}
template <int R>
constexpr double sine(int m) {
  return 2 * m < R ? OddRoots<R>::kSin[m - 1] : -OddRoots<R>::kSin[R - m - 1];
}

// c[p] = sum over k of c[k] w^(k p), in place.
template <int R, class V>
inline void odd_butterfly(Complex<V> (&c)[R]) {
  constexpr int H = R / 2;
  using T = typename V::Element;
  Complex<V> s[H], d[H];
  repeat<H>([&](auto j) {
    s[j] = c[j + 1] + c[R - 1 - j];
    d[j] = c[j + 1] - c[R - 1 - j];
  });
  const Complex<V> first = c[0];
  repeat<H>([&](auto j) { c[0] = c[0] + s[j]; });
  repeat<H>([&](auto p) {
    Complex<V> even = first;
    Complex<V> odd;
    repeat<H>([&](auto j) {
      constexpr int kTurn = (p + 1) * (j + 1) % R;
      const V x = V::broadcast(static_cast<T>(cosine<R>(kTurn)));
      const V y = V::broadcast(static_cast<T>(sine<R>(kTurn)));
      even = {mul_add(x, s[j].re, even.re), mul_add(x, s[j].im, even.im)};
      if constexpr (j == 0) {
        odd = d[j] * y;
      } else {
        odd = {mul_add(y, d[j].re, odd.re), mul_add(y, d[j].im, odd.im)};
      }
    });
    c[p + 1] = {even.re + odd.im, even.im - odd.re};
    c[R - 1 - p] = {even.re - odd.im, even.im + odd.re};
  });
}

// R = 2 H points, H odd, as two transforms of H (I. J. Good, "The interaction algorithm and practical Fourier
// analysis", 1958): no factors in between.
template <int R, class V>
inline void twice_odd_butterfly(Complex<V> (&c)[R]) {
  constexpr int H = R / 2;
  Complex<V> sums[H], differences[H];
  repeat<H>([&](auto n) {
    sums[n] = c[2 * n] + c[(H + 2 * n) % R];
    differences[n] = c[2 * n] - c[(H + 2 * n) % R];
  });
  odd_butterfly<H>(sums);
  odd_butterfly<H>(differences);
  repeat<H>([&](auto k) {
    c[(H + 1) * k % R] = sums[k];
    c[(H + (H + 1) * k) % R] = differences[k];
  });
}

template <int R, class V>
inline void butterfly(Complex<V> (&c)[R]) {
  if constexpr (R == 6 || R == 10) {
    twice_odd_butterfly<R>(c);
  } else if constexpr (R % 2 != 0) {
    odd_butterfly<R>(c);
  } else {
    fft::forward_butterfly(c);
  }
}

}  // namespace kivsr::dft
