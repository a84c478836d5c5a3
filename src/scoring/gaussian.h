// Drivers of Gaussian scoring: blocks of rows, and what is done with their scores. What an element is and how a
// weighted distance is summed is an arithmetic (gaussian_arithmetic.h shows the floating-point ones), an object with
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
//
// x, m and w are row views: StepRows, PointerRows, OneRow (the same row for every r) or UnitRows (weights of one).
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "frame/rows.h"
#include "frame/transform.h"
#include "log_add.h"
#include "log_sum.h"

namespace kivsr {

template <class T>
struct OneRow {
  const T* data;
  const T* row(std::ptrdiff_t) const { return data; }
  OneRow from(std::ptrdiff_t) const { return *this; }
};

// Identity variances: no weights.
struct UnitRows {
  std::nullptr_t row(std::ptrdiff_t) const { return nullptr; }
  UnitRows from(std::ptrdiff_t) const { return {}; }
};

template <class T>
inline OneRow<T> one_row(const T* p) {
  return {p};
}
inline UnitRows one_row(std::nullptr_t) { return {}; }

// Up to N rows of a view in any order.
template <class View, int N>
class RowList {
 public:
  void set(int k, const View& view, std::ptrdiff_t r) { rows_[k] = view.row(r); }
  auto view() const { return PointerRows<std::remove_pointer_t<Row>>{rows_}; }

 private:
  using Row = decltype(std::declval<View>().row(0));
  Row rows_[N];
};
template <class T, int N>
class RowList<OneRow<T>, N> {
 public:
  void set(int, const OneRow<T>& view, std::ptrdiff_t) { row_ = view; }
  OneRow<T> view() const { return row_; }

 private:
  OneRow<T> row_;
};
template <int N>
class RowList<UnitRows, N> {
 public:
  void set(int, const UnitRows&, std::ptrdiff_t) {}
  UnitRows view() const { return {}; }
};

inline constexpr int kFrameBlock = 128;
inline constexpr int kMixtureBlock = 100;

// Calls each(first, rows, distances) for consecutive blocks of rows.
template <class A, class X, class M, class W, class Each>
inline void for_each_block(const A& arithmetic, X x, M m, W w, int len, int height, int block, Each each) {
  alignas(32) typename A::Score distances[kFrameBlock];
  for (int first = 0; first < height;) {
    const int rows = std::min(block, height - first);
    arithmetic.distances(distances, x.from(first), m.from(first), w.from(first), len, rows);
    each(first, rows, distances);
    first += rows;
  }
}

// What becomes of the score of a row of frames. Maxima keep the old value when the score is a NaN.
enum class Keep { kScore, kMaximum, kLogSum };

// dst[r] from the score of frame r under one Gaussian.
template <Keep kKeep, class A, class X, class M, class W>
inline void score_frames(const A& arithmetic, X x, M m, W w, int len, typename A::Result* dst, int height,
                         typename A::Result val) {
  using Score = typename A::Score;
  const auto constant = simd::Vec<Score>::broadcast(static_cast<Score>(val));
  for_each_block(arithmetic, x, m, w, len, height, kFrameBlock, [&](int first, int rows, Score* distances) {
    typename A::Result* const out = dst + first;
    if constexpr (kKeep == Keep::kScore) {
      transform<Score>(
          rows, [&](auto d) { return arithmetic.result(arithmetic.gaussian_score(constant, d)); }, out, distances);
    } else if constexpr (kKeep == Keep::kMaximum) {
      transform<Score>(
          rows, [&](auto d, auto old) { return arithmetic.result(max(arithmetic.gaussian_score(constant, d), old)); },
          out, distances, out);
    } else {
      transform<Score>(
          rows, [&](auto d) { return arithmetic.gaussian_score(constant, d); }, distances, distances);
      log_add(out, distances, rows, kivLogAddHintAc);
    }
  });
}

// src_dst[r] holds the constant of Gaussian r and receives its score.
template <class A, class X, class M, class W>
inline void score_gaussians(const A& arithmetic, X x, M m, W w, int len, typename A::Result* src_dst, int height) {
  using Score = typename A::Score;
  for_each_block(arithmetic, x, m, w, len, height, kFrameBlock, [&](int first, int rows, Score* distances) {
    transform<Score>(
        rows, [&](auto d, auto val) { return arithmetic.result(arithmetic.mixture_score(val, d)); }, src_dst + first,
        distances, src_dst + first);
  });
}

// src_dst[r] = max(score of Gaussian r with the constant vals[r], src_dst[r]).
template <class A, class X, class M, class W>
inline void maximize_gaussians(const A& arithmetic, X x, M m, W w, int len, const typename A::Result* vals,
                               typename A::Result* src_dst, int height) {
  using Score = typename A::Score;
  for_each_block(arithmetic, x, m, w, len, height, kFrameBlock, [&](int first, int rows, Score* distances) {
    transform<Score>(
        rows, [&](auto d, auto val, auto old) { return arithmetic.result(max(arithmetic.mixture_score(val, d), old)); },
        src_dst + first, distances, vals + first, src_dst + first);
  });
}

// scores[r] = score of Gaussian r, in the place of its distance.
template <class A>
inline void distances_to_scores(const A& arithmetic, typename A::Score* scores, const typename A::Result* vals,
                                int rows) {
  transform<typename A::Score>(
      rows, [&](auto d, auto val) { return arithmetic.mixture_score(val, d); }, scores, scores, vals);
}

// src_dst[r] = log-add of src_dst[r] and the score of Gaussian r with the constant vals[r].
template <class A, class X, class M, class W>
inline void log_add_gaussians(const A& arithmetic, X x, M m, W w, int len, const typename A::Result* vals,
                              typename A::Result* src_dst, int height) {
  using Score = typename A::Score;
  for_each_block(arithmetic, x, m, w, len, height, kMixtureBlock, [&](int first, int rows, Score* distances) {
    distances_to_scores(arithmetic, distances, vals + first, rows);
    log_add(src_dst + first, distances, rows, kivLogAddHintAc);
  });
}

// The log-sum of all scores. The sum of the blocks so far stands in front of the scores of the next block.
template <class A, class X, class M, class W>
inline typename A::Score score_mixture(const A& arithmetic, X x, M m, W w, int len, const typename A::Result* vals,
                                       int height) {
  using Score = typename A::Score;
  Score values[1 + kMixtureBlock];
  Score sum{};
  for (int first = 0; first < height;) {
    const int rows = std::min(kMixtureBlock, height - first);
    Score* const scores = values + 1;
    arithmetic.distances(scores, x.from(first), m.from(first), w.from(first), len, rows);
    distances_to_scores(arithmetic, scores, vals + first, rows);
    values[0] = sum;
    sum = first == 0 ? log_sum(scores, rows) : log_sum(values, rows + 1);
    first += rows;
  }
  return sum;
}

}  // namespace kivsr
