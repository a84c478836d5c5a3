// Squared distances of a vector to many codewords. Codewords stand in the lanes: tile t holds element j of the
// codewords t * kLanes ... in kLanes consecutive floats. Every distance is summed over j in order, in single precision,
// so that a codeword has the same distance in whatever tile it stands. Unused lanes hold infinity and are never
// nearest.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>

#include "frame/simd/vec.h"

namespace kivsr::vq {

using V = simd::Vec<float>;
inline constexpr int kLanes = 2 * V::width;
inline constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr std::ptrdiff_t tiles_of(std::ptrdiff_t count) { return (count + kLanes - 1) / kLanes; }

struct Tiles {
  const float* values;
  const float* weights;  // null: all 1
  int width;
  int count;  // codewords

  std::ptrdiff_t size() const { return tiles_of(count); }
  const float* tile(std::ptrdiff_t t) const { return values + t * width * kLanes; }
  Tiles from(std::ptrdiff_t t, int codewords) const { return {tile(t), weights, width, codewords}; }
};

// Element 0 of codeword i; element j stands j * kLanes behind it.
inline float* lane(float* values, int width, std::ptrdiff_t i) {
  return values + i / kLanes * width * kLanes + i % kLanes;
}
inline const float* lane(const float* values, int width, std::ptrdiff_t i) {
  return values + i / kLanes * width * kLanes + i % kLanes;
}

template <class T>
void set_lane(float* values, int width, std::ptrdiff_t i, const T* codeword) {
  float* const p = lane(values, width, i);
  for (std::ptrdiff_t j = 0; j < width; ++j) p[j * kLanes] = static_cast<float>(codeword[j]);
}

// Elements of weight 0 are finite: 0 times infinity would be no distance at all.
inline void clear_lanes(float* values, const float* weights, int width, std::ptrdiff_t first, std::ptrdiff_t last) {
  assert(first <= last);
  for (std::ptrdiff_t i = first; i < last; ++i) {
    float* const p = lane(values, width, i);
    for (std::ptrdiff_t j = 0; j < width; ++j)
      p[j * kLanes] = weights != nullptr && weights[j] == 0.0F ? 0.0F : kInfinity;
  }
}

// Adds the distances of x to the codewords of N consecutive tiles to sums.
template <int N, bool Weighted>
inline void add_distances(const Tiles& tiles, std::ptrdiff_t t, const float* x, V (&sums)[2 * N]) {
  const std::ptrdiff_t tile_size = static_cast<std::ptrdiff_t>(tiles.width) * kLanes;
  const float* p = tiles.values + t * tile_size;
  for (std::ptrdiff_t j = 0; j < tiles.width; ++j, p += kLanes) {
    const V xj = V::broadcast(x[j]);
    V wj = V::zero();
    if constexpr (Weighted) wj = V::broadcast(tiles.weights[j]);
#pragma GCC unroll 8
    for (int n = 0; n < 2 * N; ++n) {
      const V d = xj - simd::load<float>(p + n / 2 * tile_size + n % 2 * V::width);
      sums[n] = mul_add(Weighted ? wj * d : d, d, sums[n]);
    }
  }
}

// visit(first lane, distances) for every half tile in order: N tiles at once, the rest by half as many.
template <bool Weighted, int N, class Visit>
inline void each_half_tile_from(const Tiles& tiles, std::ptrdiff_t t, const float* x, Visit visit) {
  for (; t + N <= tiles.size(); t += N) {
    V sums[2 * N];
#pragma GCC unroll 8
    for (V& sum : sums) sum = V::zero();
    add_distances<N, Weighted>(tiles, t, x, sums);
#pragma GCC unroll 8
    for (int n = 0; n < 2 * N; ++n) visit(t * kLanes + n * V::width, sums[n]);
  }
  if constexpr (N > 1) each_half_tile_from<Weighted, N / 2>(tiles, t, x, visit);
}

template <class Visit>
inline void each_half_tile(const Tiles& tiles, const float* x, Visit visit) {
  if (tiles.weights == nullptr) {
    each_half_tile_from<false, simd::kHeldAccumulators / 2>(tiles, 0, x, visit);
  } else {
    each_half_tile_from<true, simd::kHeldAccumulators / 2>(tiles, 0, x, visit);
  }
}

// All distances, in order; dst has room for whole tiles.
inline void distances(const Tiles& tiles, const float* x, float* dst) {
  each_half_tile(tiles, x, [dst](std::ptrdiff_t first, V d) { store(dst + first, d); });
}

struct Nearest {
  int index;       // the lowest among equal distances; -1 if no distance is below infinity
  float distance;  // infinity then
  float second;    // least distance of the other codewords
};

// Running minimum by lane: the least and second least value and the tag of the least.
struct LaneMinimum {
  V best = V::broadcast(kInfinity);
  V second = V::broadcast(kInfinity);
  V tag = V::zero();

  void add(V d, V d_tag) {
    const auto less = d < best;
    second = min(second, max(d, best));  // a NaN counts as best: too small a second is harmless
    best = select(less, d, best);
    tag = select(less, d_tag, tag);
  }
  // Both share a lane: the lesser one goes in, the other can only be second.
  void add_pair(V a, V a_tag, V b, V b_tag) {
    const auto b_less = b < a;
    const V lesser = min(b, a);
    const V greater = max(a, b);
    const auto less = lesser < best;
    second = min(second, min(greater, max(lesser, best)));
    tag = select(less, select(b_less, b_tag, a_tag), tag);
    best = min(lesser, best);
  }
};

inline float least_lane(V v) {
  float lanes[V::width];
  store(lanes, v);
#pragma GCC unroll 4
  for (int half = V::width / 2; half > 0; half /= 2) {
#pragma GCC unroll 8
    for (int k = 0; k < half; ++k) lanes[k] = std::min(lanes[k], lanes[k + half]);
  }
  return lanes[0];
}

// Tags are the indices of the first lanes.
inline Nearest least_of(const LaneMinimum& lanes) {
  float best[V::width];
  float second[V::width];
  float tag[V::width];
  store(best, lanes.best);
  store(second, lanes.second);
  store(tag, lanes.tag);
  Nearest result{-1, kInfinity, kInfinity};
  for (int k = 0; k < V::width; ++k) {
    const int index = static_cast<int>(tag[k]) + k;
    if (best[k] < result.distance || (best[k] == result.distance && best[k] < kInfinity && index < result.index)) {
      result.second = std::min(result.second, result.distance);
      result.distance = best[k];
      result.index = index;
    } else {
      result.second = std::min(result.second, best[k]);
    }
    result.second = std::min(result.second, second[k]);
  }
  return result;
}

// first: index of the first codeword.
inline void add_nearest(const Tiles& tiles, const float* x, std::ptrdiff_t first, LaneMinimum& lanes) {
  each_half_tile(tiles, x,
                 [&](std::ptrdiff_t lane, V d) { lanes.add(d, V::broadcast(static_cast<float>(first + lane))); });
}

inline Nearest nearest(const Tiles& tiles, const float* x) {
  assert(tiles.width >= 1 && tiles.count >= 0);
  LaneMinimum lanes;
  add_nearest(tiles, x, 0, lanes);
  return least_of(lanes);
}

// Adds the distances of x to the codewords of tile t.
inline void add_tile(const Tiles& tiles, std::ptrdiff_t t, const float* x, V (&sums)[2]) {
  if (tiles.weights == nullptr) {
    add_distances<1, false>(tiles, t, x, sums);
  } else {
    add_distances<1, true>(tiles, t, x, sums);
  }
}

// The distance of x to one codeword of the tiles.
inline float distance(const Tiles& tiles, std::ptrdiff_t i, const float* x) {
  assert(i >= 0 && i < tiles.count);
  V sums[2] = {V::zero(), V::zero()};
  add_tile(tiles, i / kLanes, x, sums);
  float lanes[kLanes];
  store(lanes, sums[0]);
  store(lanes + V::width, sums[1]);
  return lanes[i % kLanes];
}

}  // namespace kivsr::vq
