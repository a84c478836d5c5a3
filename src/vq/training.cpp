// The splits: which cluster, which members, and how the two halves are told apart.
// The passes of the k-means refinement are in refinement.cpp.
#include "training.h"

#include <cassert>
#include <cmath>
#include <type_traits>

#include "frame/allocator.h"

namespace kivsr::vq {
namespace {

std::uint64_t sort_key(float distance, int index) {
  return static_cast<std::uint64_t>(std::bit_cast<std::uint32_t>(distance) & 0x7FFFFFFFU) << 32 |
         static_cast<std::uint32_t>(index);
}
int index_of(std::uint64_t key) { return static_cast<int>(key & 0xFFFFFFFFU); }
float distance_of(std::uint64_t key) { return std::bit_cast<float>(static_cast<std::uint32_t>(key >> 32)); }

}  // namespace

// visit(array, rows, columns) for each array of a training.
template <class Visit>
void Training::each_array(Visit visit) {
  const auto n = static_cast<std::size_t>(height_);
  const auto k = static_cast<std::size_t>(wanted_);
  const auto columns = static_cast<std::size_t>(padded_);
  const auto lanes = static_cast<std::size_t>(tiles_of(wanted_) * kLanes);
  visit(vectors_, n, columns);
  visit(weights_, 1, columns);
  visit(centroids_, k, columns);
  visit(tiles_, lanes, columns);
  visit(big_tile_, kLanes, columns);
  visit(scratch_, 1, std::max(columns, lanes));
  visit(stored_, n, 1);
  visit(upper_, n, 1);
  visit(lower_, n, 1);
  visit(labels_, n, 1);
  visit(targets_, n, 1);
  visit(members_, n, 1);
  visit(starts_, k + 1, 1);
  visit(keys_, 2, std::max(n, k));
  visit(clusters_, k, 1);
  visit(nodes_, k, 2);
}

template <class T>
bool Training::prepare(const T* src, std::ptrdiff_t step, int width, int height, int clusters, const T* weights) {
  if (width > (1 << 30) - V::width) return false;
  width_ = width;
  padded_ = (width + V::width - 1) / V::width * V::width;
  height_ = height;
  wanted_ = clusters;
  margin_ = 2e-5F + static_cast<float>(width) * 1.2e-7F;
  Layout size;
  each_array([&]<class A>(A*&, std::size_t rows, std::size_t columns) { size.add<A>(rows, columns); });
  block_ = size.overflow() ? nullptr : allocate_bytes(size.bytes());
  if (block_ == nullptr) return false;
  Layout layout;
  each_array([&]<class A>(A*& array, std::size_t rows, std::size_t columns) {
    array = layout.add<A>(rows, columns).in(block_);
  });

  const auto pad = [&](float* to, const T* from) {
    for (int j = 0; j < padded_; ++j) to[j] = j < width ? static_cast<float>(from[j]) : 0.0F;
  };
  for (std::ptrdiff_t i = 0; i < height; ++i) pad(vectors_ + i * padded_, src + i * step);
  if (weights == nullptr) {
    weights_ = nullptr;
  } else {
    pad(weights_, weights);
  }
  clear_lanes(tiles_, weights_, width_, 0, tiles_of(clusters) * kLanes);
  return true;
}

template bool Training::prepare(const Kiv32f*, std::ptrdiff_t, int, int, int, const Kiv32f*);
template bool Training::prepare(const Kiv16s*, std::ptrdiff_t, int, int, int, const Kiv16s*);

Training::~Training() { release(block_); }

KivStatus Training::run(KivCdbkHint hint) {
  first_cluster();
  while (made_ < wanted_) {
    const int chosen = choose(hint);
    if (chosen < 0) return kivStatusCdbkSizeWarning;
    split(chosen);
    const KivStatus status = refine(chosen);
    if (status != kivStatusOk) return status;
  }
  return kivStatusOk;
}

float Training::distance(const float* x, const float* c) const {
  V sum = V::zero();
  for (std::ptrdiff_t j = 0; j < padded_; j += V::width) {
    const V d = simd::load<float>(x + j) - simd::load<float>(c + j);
    sum = mul_add(weights_ == nullptr ? d : d * simd::load<float>(weights_ + j), d, sum);
  }
  return sum_lanes(sum);
}

float Training::distance_to(int i, const float* point) const {
  const float* const x = vector(i);
  float sum = 0.0F;
  for (int j = 0; j < width_; ++j) {
    const float d = x[j] - point[j];
    sum += (weights_ == nullptr ? d : weights_[j] * d) * d;
  }
  return sum;
}

// The distances of some training vectors to c, four at a time.
void Training::distances_to(const float* c, const int* vectors, int n, float* dst) const {
  for (int i = 0; i < n; i += 4) {
    const float* x[4];
    for (int k = 0; k < 4; ++k) x[k] = vector(vectors[std::min(i + k, n - 1)]);
    V sums[4] = {V::zero(), V::zero(), V::zero(), V::zero()};
    for (std::ptrdiff_t j = 0; j < padded_; j += V::width) {
      const V cj = simd::load<float>(c + j);
      V w = V::zero();
      if (weights_ != nullptr) w = simd::load<float>(weights_ + j);
#pragma GCC unroll 4
      for (int k = 0; k < 4; ++k) {
        const V d = simd::load<float>(x[k] + j) - cj;
        sums[k] = mul_add(weights_ == nullptr ? d : d * w, d, sums[k]);
      }
    }
    float four[4];
    simd::store_lane_sums(four, sums[0], sums[1], sums[2], sums[3]);
    for (int k = 0; k < 4 && i + k < n; ++k) dst[i + k] = four[k];
  }
}

// In double precision, so that the mean of equal vectors is that vector.
void Training::mean_of(int cluster, float* dst) const {
  using D = simd::Vec<double>;
  const int* const vectors = members_of(cluster);
  const int n = clusters_[cluster].members;
  const D count = D::broadcast(static_cast<double>(n));
  const auto columns = [&]<int N>(std::ptrdiff_t j, std::integral_constant<int, N>) {
    D sums[N];
    for (D& sum : sums) sum = D::zero();
    for (int i = 0; i < n; ++i) {
      const float* const x = vector(vectors[i]) + j;
#pragma GCC unroll 4
      for (int k = 0; k < N; ++k) sums[k] = sums[k] + simd::load<double>(x + k * D::width);
    }
    for (int k = 0; k < N; ++k) store(dst + j + k * D::width, sums[k] / count);
  };
  std::ptrdiff_t j = 0;
  for (; j + 4 * D::width <= padded_; j += 4 * D::width) columns(j, std::integral_constant<int, 4>{});
  for (; j < padded_; j += 2 * D::width) columns(j, std::integral_constant<int, 2>{});
}

void Training::set_centroid(int cluster, const float* values) {
  std::copy_n(values, padded_, centroids_ + static_cast<std::ptrdiff_t>(cluster) * padded_);
  set_lane(tiles_, width_, cluster, values);
}

void Training::group_members() {
  std::fill_n(starts_, made_ + 1, 0);
  for (int i = 0; i < height_; ++i) ++starts_[labels_[i] + 1];
  for (int k = 0; k < made_; ++k) starts_[k + 1] += starts_[k];
  for (int i = 0; i < height_; ++i) members_[starts_[labels_[i]]++] = i;
  for (int k = made_; k > 0; --k) starts_[k] = starts_[k - 1];
  starts_[0] = 0;
}

void Training::first_cluster() {
  made_ = 1;
  std::fill_n(labels_, height_, 0);
  group_members();
  clusters_[0] = {};
  clusters_[0].members = height_;
  nodes_[0] = {-1, -1, -1, 0, 1};
  mean_of(0, scratch_);
  set_centroid(0, scratch_);
  const float* const c = centroid(0);
  distances_to(c, members_, height_, stored_);

  // Distances that are rounding of the centroid count as zero.
  double greatest = static_cast<double>(c[0]);
  double least = greatest;
  for (int j = 1; j < width_; ++j) {
    greatest = std::max(greatest, static_cast<double>(c[j]));
    least = std::min(least, static_cast<double>(c[j]));
  }
  const double threshold = std::max(greatest * 1e-6, -least * 1e-6);
  for (int i = 0; i < height_; ++i) {
    if (!tolerant_greater(static_cast<double>(stored_[i]), threshold)) stored_[i] = 0.0F;
    if (height_ > 1 &&
        tolerant_greater(static_cast<double>(2.0F * stored_[i]), static_cast<double>(clusters_[0].spread)))
      clusters_[0].spread = 2.0F * stored_[i];
  }
}

// The cluster to split, or -1.
int Training::choose(KivCdbkHint hint) const {
  int chosen = -1;
  double most = 0.0;
  for (int k = 0; k < made_; ++k) {
    const ClusterState& cluster = clusters_[k];
    const double spread = static_cast<double>(cluster.spread);
    if (!tolerant_greater(spread, 0.0)) continue;
    const double value = hint == kivCdbkSplitWidest ? spread : static_cast<double>(cluster.members);
    if (!tolerant_greater(value, most)) continue;
    most = value;
    chosen = k;
  }
  return chosen;
}

// Half of the members leave for a new cluster: one by one the nearest to the centroid, of nearly equal ones the first.
// keys_ holds the members by distance; those within the tolerance of the nearest wait in a heap ordered by index.
void Training::take_nearest_half(int cluster) {
  const int fresh = made_ - 1;
  const int n = clusters_[cluster].members;
  const int* const vectors = members_of(cluster);
  for (int i = 0; i < n; ++i) keys_[i] = sort_key(stored_[vectors[i]], vectors[i]);
  std::sort(keys_, keys_ + n);
  std::uint64_t* const heap = keys_ + n;  // index in the high half, place in the sorted order in the low half
  int heap_size = 0;
  int offered = 0;
  int least = 0;
  const auto first_index = [](std::uint64_t a, std::uint64_t b) { return a > b; };
  for (int taken = 0; taken < n / 2; ++taken) {
    while (labels_[index_of(keys_[least])] == fresh) ++least;
    const double limit = static_cast<double>(distance_of(keys_[least])) * 1.000001;
    while (offered < n && (offered <= least || !(static_cast<double>(distance_of(keys_[offered])) > limit))) {
      heap[heap_size++] = static_cast<std::uint64_t>(index_of(keys_[offered])) << 32 | static_cast<unsigned>(offered);
      std::push_heap(heap, heap + heap_size, first_index);
      ++offered;
    }
    std::pop_heap(heap, heap + heap_size, first_index);
    labels_[static_cast<int>(heap[--heap_size] >> 32)] = fresh;
  }
}

// Makes a new cluster of half of the members of another.
void Training::split(int cluster) {
  const int fresh = made_++;
  ClusterState& old = clusters_[cluster];
  assert(old.members >= 2 && made_ <= wanted_);
  group_members();
  take_nearest_half(cluster);
  for (int i = 0; i < old.members; ++i) lower_[members_of(cluster)[i]] = 0.0F;
  const int first_node = 2 * fresh - 1;
  SplitNode& parent = nodes_[old.node];
  nodes_[first_node] = {-1, -1, old.node, cluster, parent.depth + 1};
  nodes_[first_node + 1] = {-1, -1, old.node, fresh, parent.depth + 1};
  parent.left = first_node;
  parent.right = first_node + 1;
  depth_ = std::max(depth_, parent.depth + 1);
  clusters_[fresh] = {};
  clusters_[fresh].node = first_node + 1;
  clusters_[fresh].members = old.members / 2;
  old.node = first_node;
  old.members -= old.members / 2;
  for (const int k : {cluster, fresh}) {
    clusters_[k].dirty = true;
    clusters_[k].pending = 0.0F;
    clusters_[k].cap = kInfinity;
  }
}

// The halves of a split whose centroids coincide: the new one moves towards a member until the members see a
// difference.
KivStatus Training::separate(int kept, int members) {
  const int fresh = made_ - 1;
  const float* const old = centroid(kept);
  if (!(distance(old, centroid(fresh)) <= 1e-6F)) return kivStatusOk;
  float* const c = centroids_ + static_cast<std::ptrdiff_t>(fresh) * padded_;
  const float* towards = nullptr;
  for (int i = 0; i < height_ && towards == nullptr; ++i) {
    const bool member = labels_[i] == kept || labels_[i] == fresh;
    if (member && distance(vector(i), c) >= 1e-5F) towards = vector(i);
  }
  if (towards == nullptr) return kivStatusBadArgument;
  for (int k = 1; k <= 1000; ++k) {
    const float factor = static_cast<float>(k) / 100.0F;
    for (int j = 0; j < width_; ++j) c[j] += ((towards[j] + c[j]) / 2.0F - c[j]) * factor;
    double difference = 0.0;
    for (int i = 0; i < height_; ++i) {
      if (labels_[i] != kept && labels_[i] != fresh) continue;
      const double to_new = static_cast<double>(distance(vector(i), c));
      const double change = std::abs(to_new - static_cast<double>(distance(vector(i), old)));
      difference += to_new > 0.0 ? change / to_new : change;
    }
    if (difference > members * 1e-6) {
      set_lane(tiles_, width_, fresh, c);
      clusters_[fresh].dirty = true;
      return kivStatusOk;
    }
  }
  return kivStatusBadArgument;
}

}  // namespace kivsr::vq
