// Arithmetic of Gaussian scoring on 16-bit vectors. Drivers: gaussian.h.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/scale.h"
#include "frame/simd/vec.h"
#include "frame/transform.h"

namespace kivsr {

// How whole groups square their differences: as exact integers, or in single precision.
enum class Squares { kExact, kSingle };

// 2^-exponent in single precision; it ends in 0 or in infinity.
constexpr float clamped_scale(int exponent) { return single_scale(std::clamp(exponent, -128, 150)); }

// A distance is summed in single precision by groups of eight elements, the lanes of a group first, then the groups in
// their order, on every target alike. Differences saturate to 16 bits in whole groups; the elements behind the last
// group do not saturate and are added one by one.
template <Squares kSquares, class R>
class IntegerArithmetic {
 public:
  using Element = Kiv16s;
  using Score = float;
  using Result = R;
  using V = simd::Vec<float>;
  static constexpr int kGroup = 8;

  // Scores are val - distance 2^-(scaleFactor + 1).
  explicit IntegerArithmetic(int scale_factor) : scale_(clamped_scale(std::clamp(scale_factor, -200, 200) + 1)) {}

  template <class X, class M, class W>
  void distances(float* dst, X x, M m, W w, int len, int rows) const {
    int r = 0;
    if (len >= kGroup) {
      for (; r + kGroup <= rows; r += kGroup) eight_distances(dst + r, x.from(r), m.from(r), w.from(r), len);
    }
    for (; r < rows; ++r) dst[r] = distance(x.row(r), m.row(r), w.row(r), len);
  }

  // Weights are 16-bit numbers, floats or nullptr.
  template <class W>
  static float distance(const Kiv16s* x, const Kiv16s* m, W w, int len) {
    float sum = 0.0F;
    int i = 0;
    for (; i + kGroup <= len; i += kGroup) sum += simd::sum_lanes(group(x + i, m + i, at(w, i)));
    return i < len ? add_rest(sum, x, m, w, len) : sum;
  }

  V gaussian_score(V val, V distance) const { return val - distance * V::broadcast(scale_); }
  V mixture_score(V val, V distance) const { return gaussian_score(val, distance); }
  static auto result(V score) {
    if constexpr (std::is_integral_v<R>) {
      return simd::truncate_to_integer(score);
    } else {
      return score;
    }
  }

  static void differences(double* d, const Kiv16s* x, const Kiv16s* m, int len) {
    const int grouped = len / kGroup * kGroup;
    for (int i = 0; i < len; ++i) {
      const int difference = x[i] - m[i];
      d[i] = i < grouped ? saturate<Kiv16s>(difference) : difference;
    }
  }
  R block_score(R val, double form) const {
    return result(gaussian_score(V::broadcast(static_cast<float>(val)), V::broadcast(static_cast<float>(form))))
        .first();
  }

 private:
  template <class W>
  static W at(W w, std::ptrdiff_t i) {
    if constexpr (std::is_null_pointer_v<W>) {
      return w;
    } else {
      return w + i;
    }
  }
  template <class W>
  static simd::Eight weighted(simd::Eight squares, W w) {
    if constexpr (std::is_null_pointer_v<W>) {
      return squares;
    } else {
      return squares * simd::load_eight(w);
    }
  }

  template <class W>
  static simd::Eight group(const Kiv16s* x, const Kiv16s* m, W w) {
    const simd::Words d = simd::subtract_saturated(simd::load_words(x), simd::load_words(m));
    if constexpr (kSquares == Squares::kExact) {
      return weighted(simd::exact_squares(d), w);
    } else {
      const simd::Eight f = simd::to_eight(d);
      return weighted(f * f, w);
    }
  }

  // The len % 8 elements behind the last group; in long vectors as the end of eight elements that overlap it.
  template <class W>
  static float add_rest(float sum, const Kiv16s* x, const Kiv16s* m, W w, int len) {
    if (len < kGroup) {
      for (int i = 0; i < len; ++i) {
        const auto d = static_cast<float>(x[i] - m[i]);
        if constexpr (std::is_null_pointer_v<W>) {
          sum += d * d;
        } else {
          sum += d * d * static_cast<float>(w[i]);
        }
      }
      return sum;
    }
    const int last = len - kGroup;
    const simd::Eight d = simd::load_eight(x + last) - simd::load_eight(m + last);
    float terms[kGroup];
    simd::store(terms, weighted(d * d, at(w, last)));
    for (int k = kGroup - len % kGroup; k < kGroup; ++k) sum += terms[k];
    return sum;
  }

  template <class X, class M, class W>
  static void eight_distances(float* dst, X x, M m, W w, int len) {
    simd::Eight sums = simd::Eight::zero();
    std::ptrdiff_t i = 0;
    for (; i + kGroup <= len; i += kGroup) {
      simd::Eight rows[kGroup];
#pragma GCC unroll 8
      for (int r = 0; r < kGroup; ++r) rows[r] = group(x.row(r) + i, m.row(r) + i, at(w.row(r), i));
      sums = sums + simd::eight_lane_sums(rows);
    }
    simd::store(dst, sums);
    if (i < len) {
      for (int r = 0; r < kGroup; ++r) dst[r] = add_rest(dst[r], x.row(r), m.row(r), w.row(r), len);
    }
  }

  float scale_;
};

template <class R>
using ScaledArithmetic = IntegerArithmetic<Squares::kExact, R>;
template <class R>
using LowArithmetic = IntegerArithmetic<Squares::kSingle, R>;

}  // namespace kivsr
