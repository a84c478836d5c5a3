// The kernels of the search.
#include "nearest.h"

#include <bit>

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

template <int N>
void nearest_centred(const FullIndex& index, const float* differences, const float* norms, int* nearest) {
  const std::ptrdiff_t width = index.all.width;
  const std::ptrdiff_t tiles = index.all.size();
  LaneMinimum minimum[N];
  const float* p = index.centred;
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
    // Both halves of the tile share a lane of the minimum: the lesser one goes in, the other can only be second.
    const V tag = V::broadcast(static_cast<float>(t * kLanes));
    const V tag_high = V::broadcast(static_cast<float>(t * kLanes + V::width));
#pragma GCC unroll 8
    for (int n = 0; n < N; ++n) {
      LaneMinimum& m = minimum[n];
      const auto second_half = high[n] < low[n];
      const V lesser = min(high[n], low[n]);
      const V greater = max(low[n], high[n]);
      const auto less = lesser < m.best;
      m.second = min(m.second, min(greater, max(lesser, m.best)));
      m.tag = select(less, select(second_half, tag_high, tag), m.tag);
      m.best = min(lesser, m.best);
    }
  }
  // Rounding of both forms, for both of two codewords: see the bound on sum |x' p| <= (|x'|^2 + |c'|^2) / 2.
  const float factor = 8.0F * static_cast<float>(width + 4) * 0x1p-24F;
  for (int n = 0; n < N; ++n) {
    const float least = least_lane(minimum[n].best);
    const V limit = V::broadcast(least + factor * (norms[n] + index.largest_norm) + 1e-36F);
    const unsigned close = bit_mask(minimum[n].best <= limit);
    const unsigned second_close = bit_mask(minimum[n].second <= limit);
    nearest[n] = -1;
    // False for a limit that is infinite or NaN, too.
    if (second_close == 0 && std::has_single_bit(close)) {
      float tags[V::width];
      store(tags, minimum[n].tag);
      const int k = std::countr_zero(close);
      nearest[n] = static_cast<int>(tags[k]) + k;
    }
  }
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
