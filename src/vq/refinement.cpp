// The k-means passes of a split. Each gives every vector to its nearest centroid, as comparing it with all of them
// would, but compares only where something can have changed: for each vector an upper bound of the distance to its own
// centroid and a lower bound of that to all others are kept (G. Hamerly, Making k-means even faster, SDM 2010). The
// centroids that moved most in a pass, of which the two halves of the split move far, are compared by themselves, so
// that the lower bounds fall only by what the others moved.
#include <cmath>

#include "training.h"

namespace kivsr::vq {
namespace {

constexpr int kMostPasses = 20;
constexpr double kSumTolerance = 0.0001;

}  // namespace

// The means of the clusters whose members changed, and how far each centroid moves.
KivStatus Training::move_centroids(int kept, int split_members, bool first_pass) {
  const int fresh = made_ - 1;
  for (int k = 0; k < made_; ++k) {
    ClusterState& cluster = clusters_[k];
    cluster.drift = 0.0F;
    if (!cluster.dirty) continue;
    mean_of(k, scratch_);
    const bool unplaced = first_pass && k == fresh;
    cluster.drift = unplaced ? kInfinity : std::sqrt(distance(scratch_, centroid(k)));
    set_centroid(k, scratch_);
    cluster.dirty = false;
  }
  std::copy_n(centroid(fresh), padded_, scratch_);
  if (const KivStatus status = separate(kept, split_members); status != kivStatusOk) return status;
  if (clusters_[fresh].dirty && !first_pass) clusters_[fresh].drift += std::sqrt(distance(scratch_, centroid(fresh)));
  return kivStatusOk;
}

// Collects the centroids that moved most; returns the greatest drift of the others.
float Training::collect_big_moves() {
  int moved = 0;
  for (int k = 0; k < made_; ++k) {
    const float drift = clusters_[k].drift;
    if (drift == 0.0F) continue;
    // NaN sorts in front of infinity.
    keys_[moved++] =
        static_cast<std::uint64_t>(std::bit_cast<std::uint32_t>(drift) & 0x7FFFFFFFU) << 32 | static_cast<unsigned>(k);
  }
  const int sorted = std::min(moved, kLanes + 1);
  std::partial_sort(keys_, keys_ + sorted, keys_ + moved, [](std::uint64_t a, std::uint64_t b) { return a > b; });
  big_count_ = std::min(moved, kLanes);
  for (int i = 0; i < big_count_; ++i) {
    big_[i] = static_cast<int>(keys_[i] & 0xFFFFFFFFU);
    set_lane(big_tile_, width_, i, centroid(big_[i]));
  }
  clear_lanes(big_tile_, weights_, width_, big_count_, kLanes);
  return moved > kLanes ? clusters_[static_cast<int>(keys_[kLanes] & 0xFFFFFFFFU)].drift : 0.0F;
}

// The nearest of the centroids that moved most, but the cluster's own.
float Training::nearest_big_move(int k) const {
  V sums[2] = {V::zero(), V::zero()};
  add_tile(big_moves(), 0, centroid(k), sums);
  float lanes[kLanes];
  store(lanes, sums[0]);
  store(lanes + V::width, sums[1]);
  float least = kInfinity;
  for (int i = 0; i < big_count_; ++i) {
    if (big_[i] != k && !(lanes[i] >= least)) least = lanes[i];
  }
  return std::sqrt(least);
}

// The cluster of a vector as a scan over all centroids finds it: a centroid replaces the best only if it is
// tolerant-less. `second` is the least distance to the other centroids.
Nearest Training::assign(const float* x) {
  const Tiles tiles = centroid_tiles();
  const Nearest found = nearest(tiles, x);
  if (found.index >= 0 && found.distance * 1.00001F < found.second) return found;
  vq::distances(tiles, x, scratch_);
  int best = 0;
  for (int k = 1; k < made_; ++k) {
    if (tolerant_less(static_cast<double>(scratch_[k]), static_cast<double>(scratch_[best]))) best = k;
  }
  return {best, scratch_[best], best != found.index ? found.distance : found.second};
}

// Finds the cluster of a member of cluster k, and its bounds. own: its squared distance to the centroid of k; lower:
// the bound of its distance to the centroids but those that moved most, big_distance: how near those are to the
// centroid of k. penalty: infinity in the lane of k if k is one of them.
void Training::look_at(int v, int k, float own, float lower, float big_distance, const float* penalty) {
  float upper = std::sqrt(own);
  if (!(2.0F * upper * (1.0F + margin_) < big_distance) && upper * (1.0F + margin_) < lower) {
    V sums[2] = {simd::load<float>(penalty), simd::load<float>(penalty + V::width)};
    add_tile(big_moves(), 0, vector(v), sums);
    lower = std::min(lower, std::sqrt(least_lane(min(sums[0], sums[1]))));
  } else {
    lower = std::min(lower, big_distance - upper);
  }
  targets_[v] = k;
  stored_[v] = own;
  if (!(upper * (1.0F + margin_) < lower)) {
    const Nearest found = assign(vector(v));
    targets_[v] = found.index;
    stored_[v] = found.distance;
    upper = std::sqrt(found.distance);
    lower = std::sqrt(found.second);
  }
  upper_[v] = upper;
  lower_[v] = lower;
}

// Looks at every member of a cluster. lower_cut: what the lower bounds lose; cap: the distance of the centroids that
// moved most in earlier passes; big_distance: of those of this pass.
void Training::look_at_members(int k, float lower_cut, float cap, float big_distance) {
  ClusterState& cluster = clusters_[k];
  const int* const vectors = members_of(k);
  float penalty[kLanes] = {};
  for (int i = 0; i < big_count_; ++i) {
    if (big_[i] == k) penalty[i] = kInfinity;
  }
  cluster.slack = kInfinity;
  cluster.radius = 0.0F;
  cluster.sum = 0.0;
  constexpr int kBlock = 64;
  float own[kBlock];
  for (int start = 0; start < cluster.members; start += kBlock) {
    const int size = std::min(kBlock, cluster.members - start);
    distances_to(centroid(k), vectors + start, size, own);
    for (int i = 0; i < size; ++i) {
      const int v = vectors[start + i];
      const float lower = std::min(lower_[v] - lower_cut, cap - std::sqrt(own[i]));
      look_at(v, k, own[i], lower, big_distance, penalty);
      cluster.sum += static_cast<double>(stored_[v]);
      if (!(lower_[v] - upper_[v] >= cluster.slack)) cluster.slack = lower_[v] - upper_[v];
      if (!(upper_[v] <= cluster.radius)) cluster.radius = upper_[v];
    }
  }
  cluster.pending = 0.0F;
  cluster.cap = kInfinity;
}

// Finds the cluster of every vector; whole clusters are passed over where the bounds allow it. rest: the greatest drift
// but of the centroids that moved most. Returns the sum of the distances.
double Training::assign_all(float rest) {
  double sum = 0.0;
  for (int k = 0; k < made_; ++k) {
    ClusterState& cluster = clusters_[k];
    const float big_distance = nearest_big_move(k);
    const float cut = cluster.pending + rest;
    const float cap = cluster.cap - rest - cluster.drift;
    const float reach = std::min(cap, big_distance);
    const bool still = cluster.drift == 0.0F;
    if (still && cluster.slack - cut > cluster.radius * margin_ && reach > 2.0F * cluster.radius * (1.0F + margin_)) {
      cluster.pending = cut;
      cluster.cap = reach;
    } else {
      look_at_members(k, cut, cap, big_distance);
    }
    sum += cluster.sum;
  }
  return sum;
}

// Moves the vectors to their targets in index order; a cluster keeps its last member, whose distance *sum then counts.
int Training::move_vectors(double* sum) {
  int moved = 0;
  for (int i = 0; i < height_; ++i) {
    const int from = labels_[i];
    const int to = targets_[i];
    if (from == to) continue;
    ClusterState& source = clusters_[from];
    if (source.members < 2) {
      // Stays: the own centroid is not the nearest one.
      *sum -= static_cast<double>(stored_[i]);
      stored_[i] = distance(vector(i), centroid(from));
      *sum += static_cast<double>(stored_[i]);
      lower_[i] = upper_[i];
      upper_[i] = std::sqrt(stored_[i]);
      targets_[i] = from;
      source.slack = -kInfinity;
      continue;
    }
    ClusterState& target = clusters_[to];
    --source.members;
    ++target.members;
    source.dirty = target.dirty = true;
    labels_[i] = to;
    lower_[i] += target.pending;
    source.slack = target.slack = -kInfinity;  // both will be looked at
    ++moved;
  }
  return moved;
}

void Training::measure_spreads() {
  for (int k = 0; k < made_; ++k) clusters_[k].spread = 0.0F;
  for (int i = 0; i < height_; ++i) {
    ClusterState& cluster = clusters_[labels_[i]];
    const float spread = 2.0F * stored_[i];
    if (cluster.members > 1 && spread > cluster.spread) cluster.spread = spread;
  }
}

KivStatus Training::refine(int kept) {
  const int split_members = clusters_[kept].members + clusters_[made_ - 1].members;
  double last_sum = kInfinity;
  int moved = 1;
  for (int pass = 0; pass < kMostPasses; ++pass) {
    if (moved != 0) group_members();
    if (const KivStatus s = move_centroids(kept, split_members, pass == 0); s != kivStatusOk) return s;
    double sum = assign_all(collect_big_moves());
    moved = move_vectors(&sum);
    if (moved == 0 && std::abs(sum - last_sum) <= kSumTolerance * sum) break;
    last_sum = sum;
  }
  measure_spreads();
  return kivStatusOk;
}

}  // namespace kivsr::vq
