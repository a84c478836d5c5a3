// Sums down the columns of a matrix: the one loop under column statistics and vector-matrix products.
//
// Columns lie in lanes, rows are added one after the other, so that each column is summed in row order whatever the
// width, the layout or the alignment. Sums of up to kPanelColumns columns live on the stack. Within such a panel a
// block of rows small enough for the first-level cache is finished before the next one is touched, a strip of columns
// at a time with its sums in registers.
//
// From an export: sum_columns (panels) -> ColumnPanel::add_rows (blocks and strips) -> add_strips (rows and vectors) ->
// add of a policy, which says what is summed:
//   using Lanes           float or double: the type that is added
//   kSums                 sums per column
//   kStripVectors         vectors of columns summed in registers at a time
//   kPaired               rows come in pairs from the top, a last single row by itself
//   add(sums, r, x)       row r, x a vector of its elements
//   add(sums, r, x0, x1)  paired: rows r and r + 1
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/simd/short_rows.h"
#include "frame/simd/vec.h"

namespace kivsr {

inline constexpr std::ptrdiff_t kPanelColumns = 512;
// Vectors of columns in a strip: their sums, up to two each, stay in registers. A wide strip is for one sum each.
#if defined(__i386__)
inline constexpr int kStrip = 3;
inline constexpr int kWideStrip = 5;
#else
inline constexpr int kStrip = 5;
inline constexpr int kWideStrip = 8;
#endif

// --- what is summed ---------------------------------------------------------

template <class T>
struct Values {
  using Lanes = T;
  static constexpr int kSums = 1;
  static constexpr bool kPaired = false;
  static constexpr int kStripVectors = kStrip;
  template <class V>
  void add(V* sums, std::ptrdiff_t, V x) const {
    sums[0] = sums[0] + x;
  }
};

template <class T>
struct Squares : Values<T> {
  template <class V>
  void add(V* sums, std::ptrdiff_t, V x) const {
    sums[0] = sums[0] + x * x;
  }
};

template <class T>
struct ValuesAndSquares : Values<T> {
  static constexpr int kSums = 2;
  template <class V>
  void add(V* sums, std::ptrdiff_t, V x) const {
    sums[0] = sums[0] + x;
    sums[1] = sums[1] + x * x;
  }
};

// Weighted rows: the two terms of a pair are added first, then the pair to the sum.
template <class T>
struct WeightedValues {
  using Lanes = T;
  static constexpr int kSums = 1;
  static constexpr bool kPaired = true;
  static constexpr int kStripVectors = kStrip;
  const T* weights;
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x) const {
    sums[0] = sums[0] + x * V::broadcast(weights[r]);
  }
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x0, V x1) const {
    sums[0] = sums[0] + (x0 * V::broadcast(weights[r]) + x1 * V::broadcast(weights[r + 1]));
  }
};

template <class T>
struct WeightedSquares {
  using Lanes = T;
  static constexpr int kSums = 1;
  static constexpr bool kPaired = true;
  static constexpr int kStripVectors = kStrip;
  const T* weights;
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x) const {
    sums[0] = sums[0] + x * V::broadcast(weights[r]) * x;
  }
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x0, V x1) const {
    sums[0] = sums[0] + (x0 * V::broadcast(weights[r]) * x0 + x1 * V::broadcast(weights[r + 1]) * x1);
  }
};

template <class T>
struct WeightedValuesAndSquares {
  using Lanes = T;
  static constexpr int kSums = 2;
  static constexpr bool kPaired = true;
  static constexpr int kStripVectors = kStrip;
  const T* weights;
  template <class V, class... Rows>
  void add(V* sums, std::ptrdiff_t r, Rows... x) const {
    WeightedValues<T>{weights}.add(sums, r, x...);
    WeightedSquares<T>{weights}.add(sums + 1, r, x...);
  }
};

// Products of rows with the elements of a vector, for results that are free to round as the target does it fastest.
// With two sums even and odd rows are kept apart, to be added by the caller: a narrow matrix has too few columns to
// hide the latency of an addition.
template <class T, class W, int kSumsOfRows>
struct Products {
  using Lanes = T;
  static constexpr int kSums = kSumsOfRows;
  static constexpr bool kPaired = true;
  static constexpr int kStripVectors = kSums == 1 ? kWideStrip : kStrip;
  const W* vector;
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x) const {
    sums[0] = mul_add(x, V::broadcast(static_cast<T>(vector[r])), sums[0]);
  }
  template <class V>
  void add(V* sums, std::ptrdiff_t r, V x0, V x1) const {
    add(sums, r, x0);
    sums[kSums - 1] = mul_add(x1, V::broadcast(static_cast<T>(vector[r + 1])), sums[kSums - 1]);
  }
};

// --- the loops --------------------------------------------------------------

// f of count as a constant, 1 <= count <= kMost.
template <int kMost, class F>
inline void with_constant(std::ptrdiff_t count, F f) {
  if constexpr (kMost > 1) {
    if (count < kMost) return with_constant<kMost - 1>(count, f);
  }
  f(std::integral_constant<int, kMost>{});
}

template <class Policy>
struct ColumnPanel {
  using T = typename Policy::Lanes;
  // Two sums are those of statistics, of rows of a few dozen columns.
  using V = std::conditional_t<Policy::kSums == 1, simd::Vec<T>, simd::ShortVec<T>>;
  static constexpr std::ptrdiff_t W = V::width;
  static constexpr int kMaxVectors = Policy::kStripVectors;

  // sums[m][c] for column first + c; while rows are added, the last W columns stand in a slot of their own behind the
  // last full vector, as that is where a vector of them begins.
  alignas(32) T sums[Policy::kSums][kPanelColumns + W];
  std::ptrdiff_t first;
  std::ptrdiff_t count;

  void clear() {
    for (auto& row : sums) std::memset(row, 0, static_cast<std::size_t>(count / W + 1) * W * sizeof(T));
  }

  // Adds rows begin .. end - 1, a block at a time, to strips of equal width but for the last one.
  template <class Rows>
  void add_rows(const Policy& policy, Rows rows, std::ptrdiff_t begin, std::ptrdiff_t end) {
    assert(count > 0 && count <= kPanelColumns && (!Policy::kPaired || begin % 2 == 0));
    spread_last_columns();
    const std::ptrdiff_t vectors = (count + W - 1) / W;
    const std::ptrdiff_t strips = (vectors + kMaxVectors - 1) / kMaxVectors;
    const std::ptrdiff_t width = (vectors + strips - 1) / strips;
    const std::ptrdiff_t whole = vectors / width * width;
    const std::ptrdiff_t block = rows_of_block(sizeof(*rows.row(0)));
    for (std::ptrdiff_t r = begin; r < end; r += block) {
      const std::ptrdiff_t stop = std::min(r + block, end);
      if (count < W) {
        add_strips<1, true>(policy, rows, r, stop, 0, 1);
        continue;
      }
      with_constant<kMaxVectors>(width, [&](auto n) { add_strips<n, false>(policy, rows, r, stop, 0, whole); });
      if (whole == vectors) continue;
      with_constant<kMaxVectors>(vectors - whole,
                                 [&](auto n) { add_strips<n, false>(policy, rows, r, stop, whole, vectors); });
    }
    gather_last_columns();
  }

 private:
  template <class S>
  static V load(const S* p) {
    if constexpr (Policy::kSums == 1) {
      return simd::load<T>(p);
    } else {
      return simd::load_short<T>(p);
    }
  }
  template <class S>
  static V load_some(const S* p, int n) {
    if constexpr (Policy::kSums == 1) {
      return simd::load_some<T>(p, n);
    } else {
      return simd::load_some_short<T>(p, n);
    }
  }

  // So many rows fit the first-level cache; even, so that a block does not cut a pair.
  std::ptrdiff_t rows_of_block(std::size_t element_bytes) const {
    constexpr std::ptrdiff_t kBlockBytes = 8192;
    const std::ptrdiff_t row_bytes = count * static_cast<std::ptrdiff_t>(element_bytes);
    return std::clamp<std::ptrdiff_t>(kBlockBytes / row_bytes, 4, 256) / 2 * 2;
  }

  // The vectors slot .. stop - 1 of the panel, kVectors at a time; kNarrow: one vector that its columns do not fill.
  template <int kVectors, bool kNarrow, class Rows>
  [[gnu::noinline]] void add_strips(Policy policy, Rows rows, std::ptrdiff_t begin, std::ptrdiff_t end,
                                    std::ptrdiff_t slot, std::ptrdiff_t stop) {
    for (; slot < stop; slot += kVectors) {
      const std::ptrdiff_t column = first + slot * W;
      const std::ptrdiff_t last = first + (kNarrow ? 0 : std::min((slot + kVectors) * W, count) - W);
      const auto at = [&](const auto* row, int v) __attribute__((always_inline)) {
        if constexpr (kNarrow) {
          return load_some(row + last, static_cast<int>(count));
        } else {
          return load(row + (v + 1 < kVectors ? column + v * W : last));
        }
      };
      V held[kVectors][Policy::kSums];
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) {
#pragma GCC unroll 2
        for (int m = 0; m < Policy::kSums; ++m) held[v][m] = load(&sums[m][(slot + v) * W]);
      }
      std::ptrdiff_t r = begin;
      if constexpr (Policy::kPaired) {
        for (; r + 1 < end; r += 2) {
          const auto* row0 = rows.row(r);
          const auto* row1 = rows.row(r + 1);
#pragma GCC unroll 8
          for (int v = 0; v < kVectors; ++v) policy.add(held[v], r, at(row0, v), at(row1, v));
        }
      }
      for (; r < end; ++r) {
        const auto* row = rows.row(r);
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) policy.add(held[v], r, at(row, v));
      }
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) {
#pragma GCC unroll 2
        for (int m = 0; m < Policy::kSums; ++m) simd::store(&sums[m][(slot + v) * W], held[v][m]);
      }
    }
  }

  void spread_last_columns() {
    if (count % W == 0 || count < W) return;
    for (auto& row : sums) std::memmove(row + count / W * W, row + count - W, W * sizeof(T));
  }
  void gather_last_columns() {
    const std::ptrdiff_t rest = count % W;
    if (rest == 0 || count < W) return;
    for (auto& row : sums) {
      T* const dst = row + count / W * W;
      std::memmove(dst, dst + W - rest, static_cast<std::size_t>(rest) * sizeof(T));
    }
  }
};

struct FromZero {};

// Sums over all rows, panel by panel: start(first, count, sums[0], ...) may set the sums that the rows are added to
// (FromZero: none), finish(first, count, sums[0], ...) takes the sums of columns first .. first + count - 1.
template <class Policy, class Rows, class Start, class Finish>
inline void sum_columns(const Policy& policy, Rows rows, std::ptrdiff_t height, std::ptrdiff_t width, Start start,
                        Finish finish) {
  ColumnPanel<Policy> panel;
  const auto with_sums = [&](auto& call) {
    if constexpr (Policy::kSums == 1) {
      call(panel.first, panel.count, panel.sums[0]);
    } else {
      call(panel.first, panel.count, panel.sums[0], panel.sums[1]);
    }
  };
  for (panel.first = 0; panel.first < width; panel.first += kPanelColumns) {
    panel.count = std::min(kPanelColumns, width - panel.first);
    panel.clear();
    if constexpr (!std::is_same_v<Start, FromZero>) with_sums(start);
    panel.add_rows(policy, rows, 0, height);
    with_sums(finish);
  }
}

// The same for integers below 2^30 in magnitude, exact: double lanes hold the sums of 2^22 rows without rounding, what
// they hold is moved to 64-bit integers before the next rows. finish(first, count, totals[0], ...).
template <class Policy, class Rows, class Finish>
inline void sum_columns_exactly(const Policy& policy, Rows rows, std::ptrdiff_t height, std::ptrdiff_t width,
                                Finish finish) {
  static_assert(std::is_same_v<typename Policy::Lanes, double>);
  constexpr std::ptrdiff_t kExactRows = std::ptrdiff_t{1} << 22;
  ColumnPanel<Policy> panel;
  std::int64_t totals[Policy::kSums][kPanelColumns];
  for (panel.first = 0; panel.first < width; panel.first += kPanelColumns) {
    panel.count = std::min(kPanelColumns, width - panel.first);
    for (std::ptrdiff_t r = 0; r < height; r += std::min(kExactRows, height - r)) {
      panel.clear();
      panel.add_rows(policy, rows, r, std::min(height - r, kExactRows) + r);
      for (int m = 0; m < Policy::kSums; ++m) {
        for (std::ptrdiff_t c = 0; c < panel.count; ++c) {
          const auto sum = static_cast<std::int64_t>(panel.sums[m][c]);
          totals[m][c] = r == 0 ? sum : totals[m][c] + sum;
        }
      }
    }
    if constexpr (Policy::kSums == 1) {
      finish(panel.first, panel.count, totals[0]);
    } else {
      finish(panel.first, panel.count, totals[0], totals[1]);
    }
  }
}

}  // namespace kivsr
