// Gaussian scoring of one vector under one Gaussian: inverse variances, variances, or a block-diagonal matrix. The
// arithmetics are those of gaussian.h.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "frame/block_diagonal.h"
#include "frame/layout.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "vector/division.h"

namespace kivsr {

template <class A>
inline typename A::Result single_score(const A& arithmetic, typename A::Result val, typename A::Score distance) {
  using V = simd::Vec<typename A::Score>;
  const V constant = V::broadcast(static_cast<typename A::Score>(val));
  return arithmetic.result(arithmetic.gaussian_score(constant, V::broadcast(distance))).first();
}

template <class A, class E>
inline KivStatus score_weighted(const A& arithmetic, const E* x, const E* m, const E* w, int len,
                                typename A::Result* result, typename A::Result val) {
  return run(first_failure(not_null(x, m, w, result), positive(len)),
             [&] { *result = single_score(arithmetic, val, arithmetic.distance(x, m, w, len)); });
}
template <class A, class E>
inline KivStatus score_identity(const A& arithmetic, const E* x, const E* m, int len, typename A::Result* result,
                                typename A::Result val) {
  return run(first_failure(not_null(x, m, result), positive(len)),
             [&] { *result = single_score(arithmetic, val, arithmetic.distance(x, m, nullptr, len)); });
}

// Variances as they are: inverted in the type of the scores, a zero variance is the division's warning.
template <class A, class E>
inline KivStatus score_direct(const A& arithmetic, const E* x, const E* m, const E* variance, int len,
                              typename A::Result* result, typename A::Result val) {
  return run(first_failure(not_null(x, m, variance, result), positive(len)), [&]() -> KivStatus {
    using Score = typename A::Score;
    constexpr bool kWidened = !std::is_same_v<E, Score>;
    const std::size_t padded = round_up(static_cast<std::size_t>(len), 32);
    // Twice the padded length may not fit size_t.
    if (padded > static_cast<std::size_t>(-1) / (2 * sizeof(Score))) return kivStatusNoMemory;
    Scratch<Score> block(kWidened ? 2 * padded : padded);
    if (!block) return kivStatusNoMemory;
    Score* const inverse = block.data();
    std::fill_n(inverse, len, Score{1});
    KivStatus division;
    if constexpr (kWidened) {
      std::copy_n(variance, len, inverse + padded);
      division = divide(inverse, inverse, inverse + padded, len);
    } else {
      division = divide(inverse, inverse, variance, len);
    }
    *result = single_score(arithmetic, val, arithmetic.distance(x, m, inverse, len));
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

template <class A, class E>
inline KivStatus score_block(const A& arithmetic, const E* x, const E* m, const E* const* block, int len,
                             typename A::Result* result, typename A::Result val) {
  if (const KivStatus s = first_failure(not_null(x, m, block, result), positive(len)); s != kivStatusOk) return s;
  const auto& matrix = BlockDiagonal<E>::of(block);
  if (matrix.dimension != len) return kivStatusBadSize;
  constexpr int kOnStack = 111;
  Scratch<double, kOnStack> d(static_cast<std::size_t>(len));
  if (!d) return kivStatusNoMemory;
  arithmetic.differences(d.data(), x, m, len);
  *result = arithmetic.block_score(val, quadratic_form(matrix, d.data()));
  return kivStatusOk;
}

}  // namespace kivsr
