// Householder reflections H = I - scale v v^T of a matrix whose rows are contiguous: the factor R of A = Q R, and Q.
//
// The vector v of column k is the column itself below row k, as it stood before, and `head` in row k: nothing is
// divided, so a column's reflection is as accurate as the column, whatever the scales of the others. Each pass over the
// rows applies one reflection and adds up the products of columns that the next one needs.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>

#include "frame/simd/vec.h"

namespace kivsr::svd {

using V = simd::Vec<double>;
inline constexpr std::ptrdiff_t W = V::width;
inline constexpr int kStrip = 4;  // vectors of a row that a pass keeps in registers

// Columns whose square length is below this are zero: 2^-970 of a matrix whose largest element is about 2^470.
inline constexpr double kNegligibleSquare = 0x1p-1000;

struct Reflection {
  double head;   // v in row k
  double scale;  // 2 / v^T v, or 0: H = I
};

// The reflection that maps a column of square length `square` and first element x to beta e1.
inline Reflection reflection_of(double x, double square, double* beta) {
  if (!(square > kNegligibleSquare)) {
    *beta = 0;
    return {0, 0};
  }
  const double length = std::sqrt(square);
  *beta = x > 0 ? -length : length;
  return {x - *beta, 1 / (length * (length + std::abs(x)))};
}

inline std::ptrdiff_t vector_start(std::ptrdiff_t column) { return column / W * W; }

// Rows [from, to): those that join the first ones in a step of the QR.
struct Block {
  std::ptrdiff_t from;
  std::ptrdiff_t to;
  // The rows behind row k that the reflection of column k changes.
  Block behind(std::ptrdiff_t k) const { return {std::max(from, k + 1), to}; }
  bool holds(std::ptrdiff_t k) const { return from <= k; }
};

// What a pass does with the elements [first, width) of each row: row -= row[factor] * step, and sums += row[next] * row
// with the row as the pass leaves it.
struct Pass {
  std::ptrdiff_t factor;
  std::ptrdiff_t next;
  std::ptrdiff_t first;  // a multiple of W
  std::ptrdiff_t width;
  const double* step;  // whole vectors
  double* sums;        // whole vectors, written
};

// kVectors vectors of the rows of the block. kFactorIsChanged: the element `factor` lies in the first vector and counts
// as zero before it loses factor * step.
template <int kVectors, bool kWhole, bool kFactorIsChanged, class Rows>
inline void pass_over_strip(Rows rows, Block block, const Pass& pass, std::ptrdiff_t first) {
  const int rest = static_cast<int>(pass.width - first - (kVectors - 1) * W);
  V step[kVectors];
  V sums[2][kVectors];
#pragma GCC unroll 4
  for (int v = 0; v < kVectors; ++v) {
    step[v] = simd::load<double>(pass.step + first + v * W);
    sums[0][v] = sums[1][v] = V::zero();
  }
  const V next_step = V::broadcast(pass.step[pass.next]);
  alignas(32) double kept_lanes[W];
  std::fill_n(kept_lanes, W, 1.0);
  if constexpr (kFactorIsChanged) kept_lanes[pass.factor - first] = 0;
  const V kept = simd::load<double>(kept_lanes);
  const auto add_row = [&](double* row, V(&sum)[kVectors]) {
    const V factor = V::broadcast(row[pass.factor]);
    const V next = simd::neg_mul_add(factor, next_step, V::broadcast(row[pass.next]));
#pragma GCC unroll 4
    for (int v = 0; v < kVectors; ++v) {
      double* const p = row + first + v * W;
      const bool whole = kWhole || v + 1 < kVectors;
      V x = whole ? simd::load<double>(p) : simd::load_some<double>(p, rest);
      if (kFactorIsChanged && v == 0) x = x * kept;
      x = simd::neg_mul_add(factor, step[v], x);
      whole ? simd::store(p, x) : simd::store_some(p, x, rest);
      sum[v] = simd::mul_add(next, x, sum[v]);
    }
  };
  std::ptrdiff_t i = block.from;
  for (; i + 2 <= block.to; i += 2) {
    add_row(rows.row(i), sums[0]);
    add_row(rows.row(i + 1), sums[1]);
  }
  if (i < block.to) add_row(rows.row(i), sums[0]);
#pragma GCC unroll 4
  for (int v = 0; v < kVectors; ++v) simd::store(pass.sums + first + v * W, sums[0][v] + sums[1][v]);
}

// Strips from right to left: the elements `factor` and `next`, of which one may lie in the first strip, keep their
// values until all others are done.
template <bool kFactorIsChanged, class Rows>
inline void pass_over_rows(Rows rows, Block block, const Pass& pass) {
  assert(pass.first % W == 0 && pass.first < pass.width);
  std::ptrdiff_t end = (pass.width - pass.first + W - 1) / W;  // in vectors from `first` on
  bool whole = (pass.width - pass.first) % W == 0;
  while (end > 0) {
    const int vectors = static_cast<int>(std::min<std::ptrdiff_t>(end, kStrip));
    end -= vectors;
    const std::ptrdiff_t first = pass.first + end * W;
    const auto strip = [&]<int kVectors, bool kChanged>() {
      whole ? pass_over_strip<kVectors, true, kChanged>(rows, block, pass, first)
            : pass_over_strip<kVectors, false, kChanged>(rows, block, pass, first);
    };
    const auto strip_of = [&]<bool kChanged>() {
      switch (vectors) {
        case 1: strip.template operator()<1, kChanged>(); break;
        case 2: strip.template operator()<2, kChanged>(); break;
        case 3: strip.template operator()<3, kChanged>(); break;
        default: strip.template operator()<4, kChanged>(); break;
      }
    };
    if (end == 0) {  // NOLINT(bugprone-branch-clone): the same where no factor is changed
      strip_of.template operator()<kFactorIsChanged>();
    } else {
      strip_of.template operator()<false>();
    }
    whole = true;
  }
}

// Room for a pass over rows of `width` elements: the step and the sums, in whole vectors.
struct PassRoom {
  double* step;
  double* sums;
};

// A = Q R of the columns [0, columns) of a matrix of width >= columns; what lies to the right becomes Q^T times itself.
// A is the rows of the block, which keep the vectors of the reflections, under the rows [0, columns) of R that an
// earlier block left, or a block that begins with row 0.
template <class Rows>
inline void reflect_columns(Rows rows, Block block, std::ptrdiff_t width, std::ptrdiff_t columns,
                            Reflection* reflections, PassRoom room) {
  const std::ptrdiff_t end = (width + W - 1) / W * W;
  std::fill_n(room.step, end, 0.0);
  pass_over_rows<false>(rows, block, {0, 0, 0, width, room.step, room.sums});
  for (std::ptrdiff_t k = 0; k < columns; ++k) {
    double* const row = rows.row(k);
    const double x = row[k];
    if (!block.holds(k)) {
      for (std::ptrdiff_t j = k; j < width; ++j) room.sums[j] += x * row[j];
    }
    double beta;
    const Reflection h = reflections[k] = reflection_of(x, room.sums[k], &beta);
    std::fill_n(room.step + vector_start(k), k + 1 - vector_start(k), 0.0);
    row[k] = beta;
    for (std::ptrdiff_t j = k + 1; j < width; ++j) {
      room.step[j] = h.scale * (room.sums[j] - beta * row[j]);
      row[j] -= h.head * room.step[j];
    }
    if (k + 1 == width) break;
    const std::ptrdiff_t next = std::min(k + 1, columns - 1);
    pass_over_rows<false>(rows, block.behind(k), {k, next, vector_start(k + 1), width, room.step, room.sums});
  }
}

// The rows of the block and the upper triangle T of the rows [0, columns) become Q times T above zeros.
template <class Rows>
inline void multiply_by_q(Rows rows, Block block, std::ptrdiff_t columns, const Reflection* reflections,
                          PassRoom room) {
  const std::ptrdiff_t end = (columns + W - 1) / W * W;
  std::fill_n(room.sums, end, 0.0);
  std::fill_n(room.step, end, 0.0);
  for (std::ptrdiff_t k = columns - 1; k >= 0; --k) {
    const Reflection h = reflections[k];
    double* const row = rows.row(k);
    std::fill_n(room.step + vector_start(k), k - vector_start(k), 0.0);
    room.sums[k] = 0;  // the column is zero but for T
    for (std::ptrdiff_t j = k; j < columns; ++j) {
      room.step[j] = h.scale * (room.sums[j] + h.head * row[j]);
      row[j] -= h.head * room.step[j];
    }
    const std::ptrdiff_t next = std::max<std::ptrdiff_t>(k - 1, 0);
    pass_over_rows<true>(rows, block.behind(k), {k, next, vector_start(k), columns, room.step, room.sums});
    if (k == 0 || !block.holds(k)) continue;
    // Row k, too, is one that the next reflection changes.
    for (std::ptrdiff_t j = k; j < columns; ++j) room.sums[j] += row[k - 1] * row[j];
  }
}

// A matrix of many rows in blocks that fit the first-level cache, each under the triangle that the ones before it left.
inline constexpr std::ptrdiff_t kMostBlocks = 16;

template <class Visit>
inline void for_each_block(std::ptrdiff_t height, std::ptrdiff_t columns, bool backwards, Visit visit) {
  constexpr std::ptrdiff_t kCacheElements = 3072;
  const std::ptrdiff_t least = (height + kMostBlocks - 1) / kMostBlocks;
  const std::ptrdiff_t rows = std::max({kCacheElements / columns, columns, least});
  const std::ptrdiff_t blocks = (height + rows - 1) / rows;
  for (std::ptrdiff_t i = 0; i < blocks; ++i) {
    const std::ptrdiff_t b = backwards ? blocks - 1 - i : i;
    visit(b, Block{b * rows, std::min(height, (b + 1) * rows)});
  }
}

// A = Q R; R becomes the upper triangle of the first rows. `reflections`: kMostBlocks times the number of columns.
template <class Rows>
inline void factor_tall(Rows rows, std::ptrdiff_t height, std::ptrdiff_t columns, Reflection* reflections,
                        PassRoom room) {
  for_each_block(height, columns, false, [&](std::ptrdiff_t b, Block block) {
    reflect_columns(rows, block, columns, columns, reflections + b * columns, room);
  });
}

// Q in place of what factor_tall left.
template <class Rows>
inline void form_q(Rows rows, std::ptrdiff_t height, std::ptrdiff_t columns, const Reflection* reflections,
                   PassRoom room) {
  for (std::ptrdiff_t k = 0; k < columns; ++k) {
    std::fill(rows.row(k) + k, rows.row(k) + columns, 0.0);
    rows.row(k)[k] = 1;
  }
  for_each_block(height, columns, true, [&](std::ptrdiff_t b, Block block) {
    multiply_by_q(rows, block, columns, reflections + b * columns, room);
  });
}

}  // namespace kivsr::svd
