// Distances of a few rows to many: the rows of the second sequence stand in the lanes, a row of the first one is
// broadcast. A distance is summed over the elements in order, so that it does not depend on its place.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>

#include "frame/simd/vec.h"

namespace kivsr::dtw {

template <class T>
inline constexpr T kClosed = std::numeric_limits<T>::infinity();

// Root of the sum of squares.
struct Euclidean {
  template <class V>
  static V difference(V a, V b) {
    return a - b;
  }
  template <class V>
  static V root(V squares) {
    return simd::sqrt(squares);
  }
};

// The same with differences that saturate to 16 bits and a sum that saturates to 32 bits.
struct SaturatedEuclidean {
  template <class V>
  static V difference(V a, V b) {
    return simd::max(simd::min(a - b, V::broadcast(32767)), V::broadcast(-32768));
  }
  template <class V>
  static V root(V squares) {
    return simd::sqrt(simd::min(squares, V::broadcast(2147483647)));
  }
};

// Element j of rows t * lanes ... of the second sequence stands in `lanes` consecutive numbers; zeros behind the last.
template <class T>
struct Columns {
  static constexpr std::ptrdiff_t kLanes = simd::Vec<T>::width;

  T* values;
  std::ptrdiff_t width;

  static std::size_t room(int count, int width) {
    return (static_cast<std::size_t>(count) + kLanes - 1) / kLanes * kLanes * static_cast<std::size_t>(width);
  }
  const T* tile(std::ptrdiff_t column) const {
    assert(column % kLanes == 0);
    return values + column * width;
  }
  template <class Rows>
  void fill(Rows rows, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < (count + kLanes - 1) / kLanes * kLanes; ++i) {
      T* const lane = values + i / kLanes * kLanes * width + i % kLanes;
      for (std::ptrdiff_t j = 0; j < width; ++j) lane[j * kLanes] = i < count ? static_cast<T>(rows.row(i)[j]) : 0;
    }
  }
};

// Distances of kRows rows to the columns of kTiles tiles; distance r stands behind out + r * pitch. NaN is closed.
template <class Metric, int kRows, int kTiles, class T>
[[gnu::always_inline]] inline void distances(const T* rows, const T* tile, std::ptrdiff_t width, T* out,
                                             std::ptrdiff_t pitch) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  V sums[kRows][kTiles];
#pragma GCC unroll 4
  for (auto& row : sums) {
#pragma GCC unroll 2
    for (V& sum : row) sum = V::zero();
  }
  for (std::ptrdiff_t j = 0; j < width; ++j) {
    V columns[kTiles];
#pragma GCC unroll 2
    for (int t = 0; t < kTiles; ++t) columns[t] = simd::load<T>(tile + (t * width + j) * W);
#pragma GCC unroll 4
    for (int r = 0; r < kRows; ++r) {
      const V x = V::broadcast(rows[r * width + j]);
#pragma GCC unroll 2
      for (int t = 0; t < kTiles; ++t) {
        const V d = Metric::difference(x, columns[t]);
        sums[r][t] = simd::mul_add(d, d, sums[r][t]);
      }
    }
  }
#pragma GCC unroll 4
  for (int r = 0; r < kRows; ++r) {
#pragma GCC unroll 2
    for (int t = 0; t < kTiles; ++t) {
      simd::store(out + r * pitch + t * W, simd::min(Metric::root(sums[r][t]), V::broadcast(kClosed<T>)));
    }
  }
}

}  // namespace kivsr::dtw
