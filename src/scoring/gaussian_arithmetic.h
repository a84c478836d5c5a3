// Floating-point arithmetics of Gaussian scoring. Drivers: gaussian.h.
#pragma once

#include <cstddef>
#include <type_traits>

#include "frame/simd/vec.h"
#include "frame/transform.h"

namespace kivsr {

// Four rows at a time, each with one running vector; the lanes of the four are summed by one transpose. A rest of one
// to three rows goes through the same operations, so that a score does not depend on its place.
template <class E, class S>
class FloatingArithmetic {
 public:
  using Element = E;
  using Score = S;
  using Result = S;
  using V = simd::Vec<S>;

  template <class X, class M, class W>
  void distances(S* dst, X x, M m, W w, int len, int rows) const {
    int r = 0;
    for (; r + 4 <= rows; r += 4) some_distances<4>(dst + r, x.from(r), m.from(r), w.from(r), len);
    switch (rows - r) {
      case 3: some_distances<3>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      case 2: some_distances<2>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      case 1: some_distances<1>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      default: break;
    }
  }

  template <class W>
  S distance(const E* x, const E* m, const W* w, int len) const {
    return reduce_sum<S>(
        len, [](V sum, V a, V b, V weight) { return term(sum, a - b, weight); }, x, m, w);
  }
  S distance(const E* x, const E* m, std::nullptr_t, int len) const {
    return reduce_sum<S>(
        len, [](V sum, V a, V b) { return simd::mul_add(a - b, a - b, sum); }, x, m);
  }

  // In single precision (2 val - distance) / 2, the rounding of a sum that starts from 2 val. V or S.
  template <class T>
  static T gaussian_score(T val, T distance) {
    if constexpr (std::is_same_v<S, float>) {
      return ((val + val) - distance) * half<T>();
    } else {
      return val - half<T>() * distance;
    }
  }
  static V mixture_score(V val, V distance) { return val + half<V>() * (V::zero() - distance); }
  static V result(V score) { return score; }

 private:
  template <class T>
  static T half() {
    if constexpr (std::is_same_v<T, V>) {
      return V::broadcast(S(0.5));
    } else {
      return T(0.5);
    }
  }

  static V term(V sum, V d, V weight) { return simd::mul_add(d * d, weight, sum); }

  template <int kRows, class X, class M, class W>
  static void some_distances(S* dst, X x, M m, W w, int len) {
    constexpr bool kWeighted = !std::is_same_v<decltype(w.row(0)), std::nullptr_t>;
    constexpr std::ptrdiff_t kWidth = V::width;
    V sums[4] = {V::zero(), V::zero(), V::zero(), V::zero()};
    const auto take = [&](int r, auto load_at) {
      const V d = load_at(x.row(r)) - load_at(m.row(r));
      if constexpr (kWeighted) {
        sums[r] = term(sums[r], d, load_at(w.row(r)));
      } else {
        sums[r] = simd::mul_add(d, d, sums[r]);
      }
    };
    std::ptrdiff_t i = 0;
    for (; i + kWidth <= len; i += kWidth) {
#pragma GCC unroll 4
      for (int r = 0; r < kRows; ++r) {
        take(r, [&](const E* p) { return simd::load<S>(p + i); });
      }
    }
    if (i < len) {
      const int rest = static_cast<int>(len - i);
#pragma GCC unroll 4
      for (int r = 0; r < kRows; ++r) {
        take(r, [&](const E* p) { return simd::load_some<S>(p + i, rest); });
      }
    }
    if constexpr (kRows == 4) {
      simd::store_lane_sums(dst, sums[0], sums[1], sums[2], sums[3]);
    } else {
      S lanes[4];
      simd::store_lane_sums(lanes, sums[0], sums[1], sums[2], sums[3]);
      for (int r = 0; r < kRows; ++r) dst[r] = lanes[r];
    }
  }
};

}  // namespace kivsr
