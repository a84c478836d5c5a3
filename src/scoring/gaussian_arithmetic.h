// Floating-point arithmetics of Gaussian scoring. Drivers: gaussian.h.
#pragma once

#include <cassert>
#include <cstddef>
#include <type_traits>

#include "frame/simd/short_rows.h"
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
  using Row = simd::ShortVec<S>;

  template <class X, class M, class W>
  void distances(S* dst, X x, M m, W w, int len, int rows) const {
    assert(len >= 1 && rows >= 1);
    int r = 0;
    for (; r + 4 <= rows; r += 4) some_distances<4>(dst + r, x.from(r), m.from(r), w.from(r), len);
    switch (rows - r) {
      case 3: some_distances<3>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      case 2: some_distances<2>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      case 1: some_distances<1>(dst + r, x.from(r), m.from(r), w.from(r), len); break;
      default: break;
    }
  }

  // One row, the same bits as it has among others. The weights may be of type S, or null for weights of one.
  template <class W>
  S distance(const E* x, const E* m, W w, int len) const {
    Row sum = Row::zero();
    std::ptrdiff_t i = 0;
    for (; i + Row::width <= len; i += Row::width) sum = add_term(sum, x, m, w, Whole{i});
    if (i < len) sum = add_term(sum, x, m, w, Part{i, static_cast<int>(len - i)});
    return simd::sum_lanes(sum);
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

  static void differences(double* d, const E* x, const E* m, int len) {
    transform<double>(
        len, [](auto a, auto b) { return a - b; }, d, x, m);
  }
  static S block_score(S val, double form) { return static_cast<S>(val - 0.5 * form); }

 private:
  template <class T>
  static T half() {
    if constexpr (std::is_same_v<T, V>) {
      return V::broadcast(S(0.5));
    } else {
      return T(0.5);
    }
  }

  // Loads at an offset into a row: a vector, or the rest of the row.
  struct Whole {
    std::ptrdiff_t offset;
    template <class P>
    Row operator()(const P* row) const {
      return simd::load_short<S>(row + offset);
    }
  };
  struct Part {
    std::ptrdiff_t offset;
    int count;
    template <class P>
    Row operator()(const P* row) const {
      return simd::load_some_short<S>(row + offset, count);
    }
  };

  template <class W, class Load>
  static Row add_term(Row sum, const E* x, const E* m, W w, Load load) {
    const Row d = load(x) - load(m);
    if constexpr (std::is_same_v<W, std::nullptr_t>) {
      return simd::mul_add(d, d, sum);
    } else {
      return simd::mul_add(d * d, load(w), sum);
    }
  }

  template <int kRows, class X, class M, class W>
  static void some_distances(S* dst, X x, M m, W w, int len) {
    Row sums[4] = {Row::zero(), Row::zero(), Row::zero(), Row::zero()};
    std::ptrdiff_t i = 0;
    for (; i + Row::width <= len; i += Row::width) {
#pragma GCC unroll 4
      for (int r = 0; r < kRows; ++r) sums[r] = add_term(sums[r], x.row(r), m.row(r), w.row(r), Whole{i});
    }
    if (i < len) {
      const Part rest{i, static_cast<int>(len - i)};
#pragma GCC unroll 4
      for (int r = 0; r < kRows; ++r) sums[r] = add_term(sums[r], x.row(r), m.row(r), w.row(r), rest);
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
