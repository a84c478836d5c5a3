// The table of dynamic time warping, D(i, j) = d(i, j) + min(D(i-1, j-1), D(i-1, j), D(i, j-1)), a few rows at a time:
// row r of a group is r columns behind the first one, so that the cells of a step do not wait for each other.
// H. Sakoe, S. Chiba: Dynamic programming algorithm optimization for spoken word recognition, IEEE Trans. ASSP 26(1),
// 1978.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include "dtw_distances.h"

namespace kivsr::dtw {

inline constexpr int kGroup = 4;

// Columns [begin, end).
struct Range {
  std::ptrdiff_t begin;
  std::ptrdiff_t end;
};

// The cells of row i with |i (columns - 1) - j (rows - 1)| <= band (rows - 1); all of them if band < 0. Neither end
// falls from row to row.
struct Band {
  std::int64_t rows;
  std::int64_t columns;
  std::int64_t band;

  Range of_row(std::int64_t i) const {
    if (band < 0 || rows == 1) return {0, static_cast<std::ptrdiff_t>(columns)};
    const std::int64_t n = rows - 1;
    const std::int64_t centre = i * (columns - 1);
    // Both quotients round downwards; a first column below 0 is cut off before.
    const std::int64_t first = centre <= band * n ? 0 : (centre - band * n + n - 1) / n;
    const std::int64_t last = (centre + band * n) / n;
    const auto begin = static_cast<std::ptrdiff_t>(std::min(first, columns));
    return {begin, std::max(begin, static_cast<std::ptrdiff_t>(std::min(last + 1, columns)))};
  }
};

// What a cell holds: the sum, or the sum and the column in which its path began.
template <class T>
struct Sum {
  T sum;
  static Sum closed() { return {kClosed<T>}; }
};
struct StartedSum {
  float sum;
  std::int32_t start;
  static StartedSum closed() { return {kClosed<float>, -1}; }
};

template <class T>
inline Sum<T> best_of(Sum<T> diagonal, Sum<T> above, Sum<T> left) {
  T least = above.sum < diagonal.sum ? above.sum : diagonal.sum;
  least = left.sum < least ? left.sum : least;
  return {least};
}
inline StartedSum best_of(StartedSum diagonal, StartedSum above, StartedSum left) {
  const bool higher = above.sum < diagonal.sum;
  StartedSum best{higher ? above.sum : diagonal.sum, higher ? above.start : diagonal.start};
  const bool behind = left.sum < best.sum;
  return {behind ? left.sum : best.sum, behind ? left.start : best.start};
}

// Where the sums of all rows stay, to trace a path back: nowhere, or row by row.
struct NoTrace {
  static constexpr bool kKeeps = false;
};
struct Trace {
  static constexpr bool kKeeps = true;
  float* sums;    // kGroup numbers a step, `pitch` steps a group
  Range* ranges;  // the columns of each row's group
  std::ptrdiff_t pitch;

  float* step(std::ptrdiff_t row, std::ptrdiff_t column) const {
    return sums + (row / kGroup * pitch + column - ranges[row].begin) * kGroup;
  }
  Sum<float> at(std::ptrdiff_t row, std::ptrdiff_t column) const {
    if (row < 0 || column < ranges[row].begin || column >= ranges[row].end) return Sum<float>::closed();
    const std::ptrdiff_t behind = row % kGroup;
    return {step(row, column + behind)[behind]};
  }
};

// Columns that a group of rows computes: whole vectors from the first row's first column to the last row's last one.
template <class T>
inline Range group_columns(const Band& band, std::ptrdiff_t row, int rows) {
  constexpr std::ptrdiff_t W = Columns<T>::kLanes;
  const Range first = band.of_row(row);
  const Range last = band.of_row(row + rows - 1);
  return {first.begin / W * W, std::max(first.begin, last.end)};
}

template <class Metric, class T, class Cell, class Keep>
class Table {
  static constexpr std::ptrdiff_t W = Columns<T>::kLanes;
  static constexpr int kTiles = 2;
  static constexpr std::ptrdiff_t kStrip = kTiles * W;
  static constexpr std::ptrdiff_t kPitch = kGroup + kStrip;

 public:
  // Cells of the last row, from column -1 on, stand behind `cells` + kGroup.
  static std::size_t room(int columns) { return static_cast<std::size_t>(columns) + kStrip + 2 * kGroup; }

  Table(const Columns<T>& columns, const Band& band, Cell* cells, Keep keep)
      : columns_(columns), band_(band), last_row_(cells + kGroup), keep_(keep) {}

  Cell* cells() { return last_row_; }
  Cell at(std::ptrdiff_t column) const { return last_row_[column]; }

  // Rows `row` and following, `rows` of them, up to kGroup.
  void add_rows(std::ptrdiff_t row, const T* values, int rows) {
    switch (rows) {
      case 1: add_group<1>(row, values); break;
      case 2: add_group<2>(row, values); break;
      case 3: add_group<3>(row, values); break;
      default: add_group<4>(row, values); break;
    }
  }

  // From now on cells above the limit count as closed where that saves work. False: all of them are.
  bool prune(T limit) {
    const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(band_.columns);
    limit_ = limit;
    while (alive_.begin < end && !(last_row_[alive_.begin].sum <= limit)) ++alive_.begin;
    if (alive_.begin == end) return false;
    alive_.end = end;
    while (!(last_row_[alive_.end - 1].sum <= limit)) --alive_.end;
    return true;
  }

 private:
  template <int kRows>
  void add_group(std::ptrdiff_t row, const T* values) {
    Range range = group_columns<T>(band_, row, kRows);
    range.begin = std::max(range.begin, alive_.begin / W * W);
    Range open[kRows];
    for (int r = 0; r < kRows; ++r) {
      open[r] = band_.of_row(row + r);
      if constexpr (Keep::kKeeps) keep_.ranges[row + r] = range;
    }
    State<kRows> state;
    for (int r = 0; r < kRows; ++r) std::fill_n(distances_ + r * kPitch, kGroup, kClosed<T>);
    state.above = last_row_[range.begin - 1];
    std::ptrdiff_t column = range.begin;
    while (column < range.end) {
      const std::ptrdiff_t count = range.end - column > W ? kStrip : W;
      take_distances<kRows>(values, column, count, open);
      run<kRows>(state, row, column, std::min(count, range.end - column));
      column += count;
      if (column > alive_.end && all_above_limit(state)) break;
    }
    column = std::min(column, range.end);
    // The rows that lag behind finish beside closed cells.
    for (int r = 0; r < kRows; ++r) std::fill_n(distances_ + r * kPitch + kGroup, kGroup, kClosed<T>);
    run<kRows>(state, row, column, kRows - 1);
    last_row_[range.begin - 1] = Cell::closed();
  }

  // The cells of the last two steps, and what lies above the first row.
  template <int kRows>
  struct State {
    State() {
      now.fill(Cell::closed());
      before.fill(Cell::closed());
    }
    std::array<Cell, kRows> now;
    std::array<Cell, kRows> before;
    Cell above;
  };

  template <int kRows>
  bool all_above_limit(const State<kRows>& state) const {
    return std::none_of(state.now.begin(), state.now.end(), [&](Cell c) { return c.sum <= limit_; }) &&
           std::none_of(state.before.begin(), state.before.end(), [&](Cell c) { return c.sum <= limit_; });
  }

  // Distances of the strip, behind the last kGroup ones of the strip before.
  template <int kRows>
  void take_distances(const T* values, std::ptrdiff_t column, std::ptrdiff_t count, const Range (&open)[kRows]) {
    T* const out = distances_ + kGroup;
    if (count == kStrip) {
      distances<Metric, kRows, kTiles>(values, columns_.tile(column), columns_.width, out, kPitch);
    } else {
      distances<Metric, kRows, 1>(values, columns_.tile(column), columns_.width, out, kPitch);
    }
    for (int r = 0; r < kRows; ++r) {
      T* const d = out + r * kPitch;
      if (open[r].begin > column) std::fill_n(d, std::min(count, open[r].begin - column), kClosed<T>);
      if (const std::ptrdiff_t rest = column + count - open[r].end; rest > 0) {
        std::fill_n(d + std::max<std::ptrdiff_t>(count - rest, 0), std::min(rest, count), kClosed<T>);
      }
    }
  }

  // Steps of which the first one is at `column` in the first row.
  template <int kRows>
  void run(State<kRows>& held, [[maybe_unused]] std::ptrdiff_t row, std::ptrdiff_t column, std::ptrdiff_t count) {
    State<kRows> state = held;
    const T* d = distances_ + kGroup;
    Cell* cell = last_row_ + column;
    [[maybe_unused]] float* kept = nullptr;
    if constexpr (Keep::kKeeps) kept = keep_.step(row, column);
    for (const T* const end = d + count; d != end; ++d, ++cell) {
      const Cell above = *cell;
      std::array<Cell, kRows> next;
#pragma GCC unroll 4
      for (int r = kRows - 1; r > 0; --r) {
        next[r] = best_of(state.before[r - 1], state.now[r - 1], state.now[r]);
        next[r].sum += d[r * kPitch - r];
      }
      next[0] = best_of(state.above, above, state.now[0]);
      next[0].sum += d[0];
      state.above = above;
      state.before = state.now;
      state.now = next;
      cell[1 - kRows] = next[kRows - 1];
      if constexpr (Keep::kKeeps) {
#pragma GCC unroll 4
        for (int r = 0; r < kRows; ++r) kept[r] = next[r].sum;
        kept += kGroup;
      }
    }
    held = state;
    // The next strip's rows begin with what this one left of them.
    for (int r = 0; r < kRows; ++r) std::copy_n(d - kGroup + r * kPitch, kGroup, distances_ + r * kPitch);
  }

  Columns<T> columns_;
  Band band_;
  Cell* last_row_;
  Keep keep_;
  T limit_ = kClosed<T>;
  Range alive_{0, std::numeric_limits<std::ptrdiff_t>::max()};
  T distances_[kGroup * kPitch] = {};
};

}  // namespace kivsr::dtw
