// The kernels of the search.
#include "nearest.h"

#include <bit>
#include <cassert>

namespace kivsr::vq {

float centre(const FullIndex& index, const float* x, float* differences) {
  const std::ptrdiff_t width = index.all.width;
  const float* const w = index.all.weights;
  V sum = V::zero();
  std::ptrdiff_t j = 0;
  for (; j + V::width <= width; j += V::width) {
    const V d = simd::load<float>(x + j) - simd::load<float>(index.mean + j);
    store(differences + j, d);
    sum = mul_add(w == nullptr ? d : d * simd::load<float>(w + j), d, sum);
  }
  float norm = sum_lanes(sum);
  for (; j < width; ++j) {
    const float d = x[j] - index.mean[j];
    differences[j] = d;
    norm += (w == nullptr ? d : d * w[j]) * d;
  }
  return norm;
}

namespace {

// The expanded form of N vectors for the codewords of one tile: h less x' p.
template <int N>
inline void add_tile_products(const float* p, const float* differences, std::ptrdiff_t width, V (&low)[N],
                              V (&high)[N]) {
  for (std::ptrdiff_t j = 0; j < width; ++j, p += kLanes) {
    const V p0 = simd::load<float>(p);
    const V p1 = simd::load<float>(p + V::width);
#pragma GCC unroll 8
    for (int n = 0; n < N; ++n) {
      const V x = V::broadcast(differences[n * width + j]);
      low[n] = neg_mul_add(x, p0, low[n]);
      high[n] = neg_mul_add(x, p1, high[n]);
    }
  }
}

// The lane of the least value, or -1 if another comes within rounding of it. Also for a limit that is infinite or NaN.
int clear_minimum(const LaneMinimum& minimum, float rounding) {
  const V limit = V::broadcast(least_lane(minimum.best) + rounding);
  const unsigned close = bit_mask(minimum.best <= limit);
  const unsigned second_close = bit_mask(minimum.second <= limit);
  if (second_close != 0 || !std::has_single_bit(close)) return -1;
  float tags[V::width];
  store(tags, minimum.tag);
  const int k = std::countr_zero(close);
  return static_cast<int>(tags[k]) + k;
}

}  // namespace

template <int N>
void nearest_centred(const FullIndex& index, const float* differences, const float* norms, int* nearest) {
  assert(index.centred != nullptr);
  const std::ptrdiff_t width = index.all.width;
  const std::ptrdiff_t tiles = index.all.size();
  LaneMinimum minimum[N];
  for (std::ptrdiff_t t = 0; t < tiles; ++t) {
    V low[N];
    V high[N];
    const V h0 = simd::load<float>(index.half_norms + t * kLanes);
    const V h1 = simd::load<float>(index.half_norms + t * kLanes + V::width);
#pragma GCC unroll 8
    for (int n = 0; n < N; ++n) {
      low[n] = h0;
      high[n] = h1;
    }
    add_tile_products<N>(index.centred + t * width * kLanes, differences, width, low, high);
    const V tag = V::broadcast(static_cast<float>(t * kLanes));
    const V tag_high = V::broadcast(static_cast<float>(t * kLanes + V::width));
#pragma GCC unroll 8
    for (int n = 0; n < N; ++n) minimum[n].add_pair(low[n], tag, high[n], tag_high);
  }
  // Rounding of both forms, for both of two codewords: see the bound on sum |x' p| <= (|x'|^2 + |c'|^2) / 2.
  const float factor = 8.0F * static_cast<float>(width + 4) * 0x1p-24F;
  for (int n = 0; n < N; ++n) nearest[n] = clear_minimum(minimum[n], factor * (norms[n] + index.largest_norm) + 1e-36F);
}

template void nearest_centred<1>(const FullIndex&, const float*, const float*, int*);
template void nearest_centred<kRows>(const FullIndex&, const float*, const float*, int*);

int nearest_in_grid(const Grid& grid, const Tiles& all, const float* x) {
  const int list = grid.list(x);
  if (grid.lists.sizes[list] > 0) {
    const int found = nearest(grid.lists.list(all, list), x).index;
    if (found >= 0) return grid.lists.codeword(list, found);
  }
  return nearest_of_all(all, x);
}

int nearest_in_groups(const Groups& groups, const Tiles& all, const float* x) {
  float to_group[kMostGroups + kLanes];
  V least_of_lanes = V::broadcast(kInfinity);
  each_half_tile(groups.centroids, x, [&](std::ptrdiff_t first, V d) {
    store(to_group + first, d);
    least_of_lanes = min(d, least_of_lanes);
  });
  const V limit = V::broadcast(least_lane(least_of_lanes) * groups.reach);
  const auto each_group = [&](auto visit) {
    for (int first = 0; first < groups.count; first += V::width) {
      unsigned close = bit_mask(simd::load<float>(to_group + first) <= limit);
      for (; close != 0; close &= close - 1) {
        const int group = first + std::countr_zero(close);
        if (group < groups.count) visit(group);
      }
    }
  };

  LaneMinimum lanes;
  each_group([&](int group) { add_nearest(groups.lists.list(all, group), x, groups.lists.slot(group, 0), lanes); });
  const Nearest found = least_of(lanes);
  if (found.index < 0) return nearest_of_all(all, x);
  if (tolerant_less(static_cast<double>(found.distance), static_cast<double>(found.second)))
    return groups.lists.codewords[found.index];
  // Leaves stand right to left: of nearly equal ones in a group the rightmost wins.
  int codeword = -1;
  each_group([&](int group) {
    const Tiles leaves = groups.lists.list(all, group);
    for (int leaf = 0; leaf < leaves.count && codeword < 0; ++leaf) {
      const auto d = static_cast<double>(distance(leaves, leaf, x));
      if (!tolerant_less(static_cast<double>(found.distance), d)) codeword = groups.lists.codeword(group, leaf);
    }
  });
  return codeword;
}

}  // namespace kivsr::vq
