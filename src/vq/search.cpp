// The kernels of the search.
#include "search.h"

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
    float best[V::width];
    store(best, minimum[n].best);
    float least = best[0];
    for (int k = 1; k < V::width; ++k) least = std::min(least, best[k]);
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
  // The nearest groups by insertion.
  int order[kMostVisited];
  float to_group[kMostVisited];
  int known = 0;
  if (groups.count == 1) {
    order[known++] = 0;
  } else {
    each_half_tile(groups.centroids, x, [&](std::ptrdiff_t first, V d) {
      if (known == groups.visited && !any(d < V::broadcast(to_group[known - 1]))) return;
      float lanes[V::width];
      store(lanes, d);
      for (int k = 0; k < V::width && first + k < groups.count; ++k) {
        if (known == groups.visited && !(lanes[k] < to_group[known - 1])) continue;
        int place = known < groups.visited ? known++ : known - 1;
        for (; place > 0 && lanes[k] < to_group[place - 1]; --place) {
          to_group[place] = to_group[place - 1];
          order[place] = order[place - 1];
        }
        to_group[place] = lanes[k];
        order[place] = static_cast<int>(first) + k;
      }
    });
  }
  float least = kInfinity;
  Kiv32s codeword = -1;
  for (int n = 0; n < known; ++n) {
    const Tiles leaves = groups.lists.list(all, order[n]);
    const Nearest found = nearest(leaves, x);
    if (found.index < 0 || !(found.distance < least)) continue;
    least = found.distance;
    int leaf = found.index;
    // Leaves stand right to left: of nearly equal ones the rightmost wins.
    if (!tolerant_less(static_cast<double>(least), static_cast<double>(found.second))) {
      leaf = 0;
      while (tolerant_less(static_cast<double>(least), static_cast<double>(distance(leaves, leaf, x)))) ++leaf;
    }
    codeword = groups.lists.codeword(order[n], leaf);
  }
  return codeword >= 0 ? codeword : nearest_of_all(all, x);
}

}  // namespace kivsr::vq
