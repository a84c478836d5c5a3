// The exports of Gaussian scoring, one template for each operation and layout: checks in their order, then a driver of
// gaussian.h. Variances are rows of inverse variances, or nullptr for none.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "frame/block_diagonal.h"
#include "frame/layout.h"
#include "frame/rows.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "gaussian.h"
#include "vector/division.h"

namespace kivsr {

// Weights from their argument: rows of inverse variances, or none.
template <class T>
inline StepRows<const T> step_rows(const T* p, int step) {
  return {p, step};
}
inline UnitRows step_rows(std::nullptr_t, int) { return {}; }
template <class T>
inline PointerRows<const T> pointer_rows(const T** p) {
  return {p};
}
inline UnitRows pointer_rows(std::nullptr_t) { return {}; }

template <class A>
inline typename A::Result single_score(const A& arithmetic, typename A::Result val, typename A::Score distance) {
  using V = simd::Vec<typename A::Score>;
  const V constant = V::broadcast(static_cast<typename A::Score>(val));
  return arithmetic.result(arithmetic.gaussian_score(constant, V::broadcast(distance))).first();
}

// A missing variance argument passes every null test.
template <class... P>
constexpr KivStatus all_given(P... pointers) {
  const auto given = [](auto p) { return std::is_same_v<decltype(p), std::nullptr_t> || p != nullptr; };
  return require((given(pointers) && ...), kivStatusNullPointer);
}

template <Keep kKeep, class A, class E, class W, class R>
inline KivStatus frames(const A& arithmetic, const E* src, int step, const E* mean, W var, int len, R* dst, int height,
                        R val) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, dst), positive(len, height)), [&] {
    score_frames<kKeep>(arithmetic, StepRows(src, step), one_row(mean), one_row(var), len, dst, height, val);
  });
}
template <Keep kKeep, class A, class E, class W, class R>
inline KivStatus frames(const A& arithmetic, const E** src, const E* mean, W var, int len, R* dst, int height, R val) {
  return run(first_failure(all_given(src, mean, var, dst), positive(len, height)), [&] {
    score_frames<kKeep>(arithmetic, PointerRows(src), one_row(mean), one_row(var), len, dst, height, val);
  });
}

template <class A, class E, class W, class R>
inline KivStatus multi_mix(const A& arithmetic, const E* mean, W var, int step, const E* src, int len, R* src_dst,
                           int height) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, src_dst), positive(len, height)), [&] {
    score_gaussians(arithmetic, one_row(src), step_rows(mean, step), step_rows(var, step), len, src_dst, height);
  });
}
template <class A, class E, class W, class R>
inline KivStatus multi_mix(const A& arithmetic, const E** mean, W var, const E* src, int len, R* src_dst, int height) {
  return run(first_failure(all_given(src, mean, var, src_dst), positive(len, height)), [&] {
    score_gaussians(arithmetic, one_row(src), pointer_rows(mean), pointer_rows(var), len, src_dst, height);
  });
}

// Maximum or log-addition of every Gaussian's score and an old value.
template <Keep kKeep, class A, class X, class M, class W, class R>
inline void merge_gaussians(const A& arithmetic, X x, M m, W w, int len, const R* vals, R* src_dst, int height) {
  if constexpr (kKeep == Keep::kMaximum) {
    maximize_gaussians(arithmetic, x, m, w, len, vals, src_dst, height);
  } else {
    log_add_gaussians(arithmetic, x, m, w, len, vals, src_dst, height);
  }
}
template <Keep kKeep, class A, class E, class W, class R>
inline KivStatus merged_mix(const A& arithmetic, const E* mean, W var, int step, const E* src, int len, const R* val,
                            R* src_dst, int height) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, src_dst, val), positive(len, height)),
             [&] {
               merge_gaussians<kKeep>(arithmetic, one_row(src), step_rows(mean, step), step_rows(var, step), len, val,
                                      src_dst, height);
             });
}
template <Keep kKeep, class A, class E, class W, class R>
inline KivStatus merged_mix(const A& arithmetic, const E** mean, W var, const E* src, int len, const R* val, R* src_dst,
                            int height) {
  return run(first_failure(all_given(src, mean, var, src_dst, val), positive(len, height)), [&] {
    merge_gaussians<kKeep>(arithmetic, one_row(src), pointer_rows(mean), pointer_rows(var), len, val, src_dst, height);
  });
}

template <class A, class E, class W, class R>
inline KivStatus mixture(const A& arithmetic, const E* src, const E* mean, W var, int height, int step, int len,
                         const R* val, R* result) {
  return run(first_failure(all_given(src, mean, var, result, val), step_covers(step, len), positive(height, len)), [&] {
    *result = score_mixture(arithmetic, one_row(src), step_rows(mean, step), step_rows(var, step), len, val, height);
  });
}
template <class A, class E, class W, class R>
inline KivStatus mixture(const A& arithmetic, const E* src, const E** mean, W var, int height, int len, const R* val,
                         R* result) {
  return run(first_failure(all_given(src, mean, var, result, val), positive(height, len)), [&] {
    *result = score_mixture(arithmetic, one_row(src), pointer_rows(mean), pointer_rows(var), len, val, height);
  });
}

template <class A, class E, class W, class R>
inline KivStatus single(const A& arithmetic, const E* src, const E* mean, W var, int len, R* result, R val) {
  return run(first_failure(all_given(src, mean, var, result), positive(len)),
             [&] { *result = single_score(arithmetic, val, arithmetic.distance(src, mean, var, len)); });
}

// Variances as they are: inverted in the type of the scores, a zero variance is the division's warning.
template <class A, class E, class R>
inline KivStatus single_direct(const A& arithmetic, const E* src, const E* mean, const E* var, int len, R* result,
                               R val) {
  return run(first_failure(all_given(src, mean, var, result), positive(len)), [&]() -> KivStatus {
    using Score = typename A::Score;
    constexpr bool kWidened = !std::is_same_v<E, Score>;
    const std::size_t padded = round_up(static_cast<std::size_t>(len), 32);
    // Twice the padded length may not fit size_t.
    if (padded > static_cast<std::size_t>(-1) / (2 * sizeof(Score))) return kivStatusNoMemory;
    Scratch<Score> block(kWidened ? 2 * padded : padded);
    if (block.data() == nullptr) return kivStatusNoMemory;
    Score* const inverse = block.data();
    std::fill_n(inverse, len, Score{1});
    KivStatus division;
    if constexpr (kWidened) {
      std::copy_n(var, len, inverse + padded);
      division = divide(inverse, inverse, inverse + padded, len);
    } else {
      division = divide(inverse, inverse, var, len);
    }
    *result = single_score(arithmetic, val, arithmetic.distance(src, mean, inverse, len));
    return division;
  });
}

// d^T B d, B block-diagonal.
template <class E>
inline double quadratic_form(const BlockDiagonal<E>& matrix, const double* d) {
  using V = simd::Vec<double>;
  double form = 0.0;
  int first = 0;
  for (int k = 0; k < matrix.blocks; ++k) {
    const int size = matrix.block_sizes[k];
    for (int r = first; r < first + size; ++r) {
      const double product = reduce_sum<double>(
          size, [](V sum, V b, V x) { return simd::mul_add(b, x, sum); }, matrix.rows[r], d + first);
      form += d[r] * product;
    }
    first += size;
  }
  return form;
}

template <class A, class E, class R>
inline KivStatus single_block(const A& arithmetic, const E* src, const E* mean, const E** block, int len, R* result,
                              R val) {
  if (const KivStatus s = first_failure(not_null(src, mean, block, result), positive(len)); s != kivStatusOk) return s;
  const auto& matrix = BlockDiagonal<E>::of(block);
  return run(require(matrix.dimension == len, kivStatusBadSize), [&]() -> KivStatus {
    constexpr int kOnStack = 111;
    Scratch<double, kOnStack> d(static_cast<std::size_t>(len));
    if (!d) return kivStatusNoMemory;
    arithmetic.differences(d.data(), src, mean, len);
    *result = arithmetic.block_score(val, quadratic_form(matrix, d.data()));
    return kivStatusOk;
  });
}

}  // namespace kivsr
