// Gaussian scoring: the checks of each operation, and its loop over blocks of rows. gaussian.cpp and gaussian_16s.cpp
// call it with views of their arguments (gaussian_rows.h), one for both layouts. What an element is and how a weighted
// distance is summed, the inner loop, is an arithmetic (gaussian_arithmetic.h, gaussian_arithmetic_16s.h), an object
// with
//
//   Score                                       type of distances and scores in registers and scratch
//   Result                                      memory type of results and constants
//   distances(dst, x, m, w, len, rows)          dst[r] = sum over i of (x.row(r)[i] - m.row(r)[i])^2 w.row(r)[i]
//   Score distance(x, m, w, len)                one row
//   gaussian_score(val, distance)               lanes: many vectors, one Gaussian
//   mixture_score(val, distance)                lanes: one vector, many Gaussians
//   result(score)                               lanes as they are stored
//   differences(d, x, m, len)                   x - m as doubles, for quadratic forms
//   block_score(val, form)                      the result of a quadratic form
#pragma once

#include <algorithm>
#include <cstddef>

#include "frame/status.h"
#include "frame/transform.h"
#include "gaussian_rows.h"
#include "log_add.h"
#include "log_sum.h"

namespace kivsr {

// What becomes of a score and the old value of its destination. Maxima keep the old value when the score is a NaN.
enum class Keep { kScore, kMaximum, kLogSum };

// dst[r] from score(distances[r], vals[r]...).
template <Keep kKeep, class A, class Score, class... Vals>
inline void keep_scores(const A& arithmetic, typename A::Result* dst, typename A::Score* distances, int rows,
                        Score score, const Vals*... vals) {
  using S = typename A::Score;
  if constexpr (kKeep == Keep::kScore) {
    transform<S>(
        rows, [&](auto d, auto... val) { return arithmetic.result(score(d, val...)); }, dst, distances, vals...);
  } else if constexpr (kKeep == Keep::kMaximum) {
    transform<S>(
        rows, [&](auto d, auto old, auto... val) { return arithmetic.result(max(score(d, val...), old)); }, dst,
        distances, dst, vals...);
  } else {
    transform<S>(rows, score, distances, distances, vals...);
    log_add(dst, distances, rows, kivLogAddHintAc);
  }
}

inline constexpr int kScoreBlock = 128;

// Many vectors, one Gaussian: dst[r] from the score of row r of x.
template <Keep kKeep, class A, class X, class M, class W>
inline KivStatus score_frames(const A& arithmetic, X x, M m, W w, int len, typename A::Result* dst, int height,
                              typename A::Result val) {
  return run(first_failure(step_covers(x, len), all_given(x, m, w, dst), positive(len, height)), [&] {
    using Score = typename A::Score;
    const auto constant = simd::Vec<Score>::broadcast(static_cast<Score>(val));
    alignas(32) Score distances[kScoreBlock];
    for (int first = 0; first < height;) {
      const int rows = std::min(kScoreBlock, height - first);
      arithmetic.distances(distances, x.from(first), m, w, len, rows);
      keep_scores<kKeep>(arithmetic, dst + first, distances, rows,
                         [&](auto d) { return arithmetic.gaussian_score(constant, d); });
      first += rows;
    }
  });
}

// One vector, many Gaussians: dst[r] from the score of row r of m and w with the constant vals[r], which may be dst[r].
template <Keep kKeep, class A, class X, class M, class W>
inline KivStatus score_gaussians(const A& arithmetic, X x, M m, W w, int len, const typename A::Result* vals,
                                 typename A::Result* dst, int height) {
  return run(first_failure(step_covers(m, len), all_given(x, m, w, vals, dst), positive(len, height)), [&] {
    alignas(32) typename A::Score distances[kScoreBlock];
    for (int first = 0; first < height;) {
      const int rows = std::min(kScoreBlock, height - first);
      arithmetic.distances(distances, x, m.from(first), w.from(first), len, rows);
      keep_scores<kKeep>(
          arithmetic, dst + first, distances, rows, [&](auto d, auto val) { return arithmetic.mixture_score(val, d); },
          vals + first);
      first += rows;
    }
  });
}

// One vector, a mixture: the log-sum of the scores of all Gaussians. The sum of the blocks so far stands in front of
// the scores of the next block.
template <class A, class X, class M, class W>
inline KivStatus score_mixture(const A& arithmetic, X x, M m, W w, int height, int len, const typename A::Result* vals,
                               typename A::Result* result) {
  return run(first_failure(all_given(x, m, w, result, vals), step_covers(m, len), positive(height, len)), [&] {
    using Score = typename A::Score;
    constexpr int kBlock = 100;
    Score sum_and_scores[1 + kBlock];
    Score* const scores = sum_and_scores + 1;
    Score sum{};
    for (int first = 0; first < height;) {
      const int rows = std::min(kBlock, height - first);
      arithmetic.distances(scores, x, m.from(first), w.from(first), len, rows);
      transform<Score>(
          rows, [&](auto d, auto val) { return arithmetic.mixture_score(val, d); }, scores, scores, vals + first);
      sum_and_scores[0] = sum;
      sum = first == 0 ? log_sum(scores, rows) : log_sum(sum_and_scores, rows + 1);
      first += rows;
    }
    *result = sum;
  });
}

}  // namespace kivsr
