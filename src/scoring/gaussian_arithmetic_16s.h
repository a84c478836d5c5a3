// Arithmetic of Gaussian scoring on 16-bit vectors. Drivers: gaussian.h.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <variant>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/simd/vec.h"
#include "frame/transform.h"
#include "gaussian_rows.h"
#include "word_rows.h"

namespace kivsr {

// A distance is summed in single precision by groups of eight elements, the lanes of a group first, then the groups in
// their order, on every target alike. Differences saturate to 16 bits in whole groups; the elements behind the last
// group do not saturate and are added one by one.
//
// As many rows as a vector has lanes go together: lane sums of four registers of terms are one transpose, and the
// running sums stay in lanes. Words enter the lanes' upper halves, times 2^16; all terms are then 2^48 too large (2^32
// without 16-bit weights), which no rounding notices and no sum overflows, and one product corrects at the end.
//
// Integer scores are those of rounding to nearest, whatever the caller's mode.
//
// The square of a difference is the same whether an exact integer is rounded to single precision or the product of two
// floats is: both round the exact square once. Saturated differences and the others differ, squares do not.
template <class R>
class WordArithmetic {
 public:
  using Element = Kiv16s;
  using Score = float;
  using Result = R;
  using V = simd::Vec<float>;
  static constexpr int kGroup = 8;
  static constexpr int kGroups = word_groups::kWordRows * kGroup;

  // Scores are val - distance 2^-(scaleFactor + 1).
  explicit WordArithmetic(int scale_factor) : scale_(single_scale(std::clamp(scale_factor, -200, 200) + 1)) {}

  template <class X, class M, class W>
  void distances(float* dst, X x, M m, W w, int len, int rows) const {
    assert(len >= 1 && rows >= 0);
    constexpr int kAtOnce = V::width;
    int r = 0;
    if (len >= kGroup) {
      for (; r + kAtOnce <= rows; r += kAtOnce) {
        simd::store(dst + r, some_distances(x.from(r), m.from(r), w.from(r), len));
      }
      const int rest = rows - r;
      if (r > 0 && rest > 2) {  // again some rows that are done
        r = rows - kAtOnce;
        simd::store(dst + r, some_distances(x.from(r), m.from(r), w.from(r), len));
        return;
      }
      if (r == 0 && 2 * rest > kAtOnce) {  // the last row in all places behind it
        RowList<X, kAtOnce> xs;
        RowList<M, kAtOnce> ms;
        RowList<W, kAtOnce> ws;
        for (int k = 0; k < kAtOnce; ++k) {
          const int from = std::min(k, rest - 1);
          xs.set(k, x, from);
          ms.set(k, m, from);
          ws.set(k, w, from);
        }
        simd::store_some(dst, some_distances(xs.view(), ms.view(), ws.view(), len), rest);
        return;
      }
    }
    for (; r < rows; ++r) dst[r] = distance(x.row(r), m.row(r), w.row(r), len);
  }

  // Weights are 16-bit numbers, floats or nullptr.
  template <class W>
  static float distance(const Kiv16s* x, const Kiv16s* m, W w, int len) {
    float sum = 0.0F;
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
    const OneRow xs{x};
    const OneRow ms{m};
    const auto ws = weights(w);
    std::ptrdiff_t i = 0;
    if constexpr (!std::is_same_v<decltype(ws), const OneRow<float>>) {
      for (; i + kGroups <= len; i += kGroups)
        sum = word_groups::add_row_sums(sum, group<Of::kGroups>(xs, ms, ws, 0, i));
    }
    for (; i + kGroup <= len; i += kGroup)
      sum = word_groups::add_first_row_sum(sum, group<Of::kRows>(xs, ms, ws, 0, i));
    if (i < len) {
      const word_groups::Eight terms = plain_terms(xs, ms, ws, 0, len - kGroup);
      float eight[kGroup];
      word_groups::store_first(eight, terms);
      for (std::ptrdiff_t k = kGroup - (len - i); k < kGroup; ++k) sum += eight[k];
    }
    return sum * kUnscaled<decltype(ws)>;
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
  template <class T>
  static OneRow<T> weights(const T* w) {
    return {w};
  }
  static UnitRows weights(std::nullptr_t) { return {}; }

  template <class W>
  static constexpr bool kUnit = std::is_null_pointer_v<decltype(std::declval<W>().row(0))>;
  template <class W>
  static constexpr float kUnscaled =
      std::is_same_v<decltype(std::declval<W>().row(0)), const Kiv16s*> ? 0x1p-48F : 0x1p-32F;

  // What the eights of a register are: one group of different rows, or consecutive groups of one row.
  enum class Of { kRows, kGroups };

  // From element i on: a group of row k (and of row k + 4), or a group of row k (and the next one).
  template <Of kOf, class View>
  static word_groups::Words words(View view, int k, std::ptrdiff_t i) {
    if constexpr (kOf == Of::kGroups) {
      return word_groups::load_groups(view.row(k) + i);
    } else if constexpr (std::is_same_v<View, OneRow<Kiv16s>>) {
      return word_groups::same_words(view.row(0) + i);
    } else {
      return word_groups::load_words([&](int row) { return view.row(k + 4 * row) + i; });
    }
  }
  template <Of kOf, class W>
  static word_groups::Eight weighted(word_groups::Eight d, W w, int k, std::ptrdiff_t i) {
    const word_groups::Eight squares{d.low * d.low, d.high * d.high};
    if constexpr (kUnit<W>) {
      return squares;
    } else {
      word_groups::Eight weights;
      if constexpr (std::is_same_v<W, OneRow<float>>) {
        weights = word_groups::same_eight(w.row(0) + i);
      } else {
        weights = word_groups::to_eight(words<kOf>(w, k, i));
      }
      return {squares.low * weights.low, squares.high * weights.high};
    }
  }
  // Terms of groups, the last four added to the first four.
  template <Of kOf, class X, class M, class W>
  static V group(X x, M m, W w, int k, std::ptrdiff_t i) {
    const word_groups::Words d = simd::subtract_saturated(words<kOf>(x, k, i), words<kOf>(m, k, i));
    const word_groups::Eight terms = weighted<kOf>(word_groups::to_eight(d), w, k, i);
    return terms.low + terms.high;
  }
  // Terms of eight elements whose differences do not saturate.
  template <class X, class M, class W>
  static word_groups::Eight plain_terms(X x, M m, W w, int k, std::ptrdiff_t i) {
    const word_groups::Eight a = word_groups::to_eight(words<Of::kRows>(x, k, i));
    const word_groups::Eight b = word_groups::to_eight(words<Of::kRows>(m, k, i));
    return weighted<Of::kRows>({a.low - b.low, a.high - b.high}, w, k, i);
  }

  template <class X, class M, class W>
  static V some_distances(X x, M m, W w, int len) {
    assert(len >= kGroup);
    V sums = V::zero();
    std::ptrdiff_t i = 0;
    for (; i + kGroups <= len; i += kGroups) {
      V groups[word_groups::kWordRows][4];
#pragma GCC unroll 8
      for (int r = 0; r < V::width; ++r) groups[r / 4][r % 4] = group<Of::kGroups>(x, m, w, r, i);
      sums = word_groups::add_group_sums(sums, groups);
    }
    for (; kGroups > kGroup && i + kGroup <= len; i += kGroup) {
      V rows[4];
#pragma GCC unroll 4
      for (int k = 0; k < 4; ++k) rows[k] = group<Of::kRows>(x, m, w, k, i);
      sums = sums + word_groups::lane_sums(rows);
    }
    if (const auto rest = static_cast<int>(len - i); rest > 0) sums = add_rest(sums, x, m, w, len - kGroup, rest);
    return sums * V::broadcast(kUnscaled<W>);
  }
  // The last elements of eight, in their order.
  template <class X, class M, class W>
  static V add_rest(V sums, X x, M m, W w, std::ptrdiff_t i, int rest) {
    assert(i >= 0 && rest >= 1 && rest < kGroup);
    V low[4];
    V high[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const word_groups::Eight terms = plain_terms(x, m, w, k, i);
      low[k] = terms.low;
      high[k] = terms.high;
    }
    if (rest > 4) {
      simd::transpose_rows(low);
      if (rest > 6) sums = sums + low[1];
      if (rest > 5) sums = sums + low[2];
      sums = sums + low[3];
    }
    simd::transpose_rows(high);
    if (rest > 3) sums = sums + high[0];
    if (rest > 2) sums = sums + high[1];
    if (rest > 1) sums = sums + high[2];
    return sums + high[3];
  }

  // An arithmetic lives as long as its call.
  [[no_unique_address]] std::conditional_t<std::is_integral_v<R>, NearestRounding, std::monostate> nearest_;
  float scale_;
};

}  // namespace kivsr
