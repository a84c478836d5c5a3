// A descent that decides at every node by the nearer centroid ends far from the nearest codeword, because k-means moves
// vectors between subtrees. The search takes all nodes at which the two-way levels end instead and looks into the
// nearest of them; how far it looks is measured on the training vectors.
#include "tree.h"

#include <algorithm>
#include <cmath>

#include "frame/allocator.h"
#include "frame/elementary.h"
#include "frame/scratch.h"

namespace kivsr::vq {
namespace {

// Of the least mean distance, when searches look into some groups only.
constexpr double kDistortion = 1.02;
constexpr int kProbes = 512;
// Costs of a search, in multiply-adds of a tile and element of the expanded form of the whole book: measured.
constexpr double kFixedCost = 150.0;
constexpr double kGroupCost = 30.0;
constexpr double kElementCost = 3.0;
constexpr double kTileCost = 3.0;
// Squared distances of groups that a search may look into, relative to that of the nearest.
constexpr float kReaches[] = {1.0F, 1.1F, 1.2F, 1.35F, 1.5F, 1.75F, 2.0F, 2.5F, 3.0F, 4.0F, 6.0F, 10.0F};
constexpr int kReachCount = sizeof kReaches / sizeof kReaches[0];

// The work of looking at all groups and into some of them is least near groups of half the root of the codewords.
int group_size(int codewords) {
  if (codewords < kLeastCentred) return codewords;
  const auto half_root = static_cast<int>(std::sqrt(static_cast<float>(codewords)) / 2.0F);
  return std::max((half_root + kLanes / 2) / kLanes, 1) * kLanes;
}

bool ends_levels(const Cluster& node, int codewords) {
  return node.leaf == 1 || node.depth > tree_levels(codewords) || node.leaves <= group_size(codewords);
}

// Centroids and member counts, from the leaves to the root: a child stands behind its parent.
void fill_records(const Training& training, int width, Cluster* records, float* centroids, double* sums) {
  const int nodes = 2 * training.made() - 1;
  for (int i = nodes - 1; i >= 0; --i) {
    const SplitNode& node = training.nodes()[i];
    Cluster& record = records[i];
    record = {};
    record.centroid = centroids + static_cast<std::ptrdiff_t>(i) * width;
    record.depth = node.depth;
    double* const sum = sums + static_cast<std::ptrdiff_t>(i) * width;
    if (node.left < 0) {
      record.leaf = 1;
      record.leaves = 1;
      record.codeword = node.cluster;
      record.members = training.members(node.cluster);
      for (int j = 0; j < width; ++j) {
        record.centroid[j] = training.centroid(node.cluster)[j];
        sum[j] = static_cast<double>(record.centroid[j]) * record.members;
      }
      continue;
    }
    record.left = records + node.left;
    record.right = records + node.right;
    record.leaves = record.left->leaves + record.right->leaves;
    record.members = record.left->members + record.right->members;
    record.codeword = record.left->codeword;
    const double* const left = sums + static_cast<std::ptrdiff_t>(node.left) * width;
    const double* const right = sums + static_cast<std::ptrdiff_t>(node.right) * width;
    for (int j = 0; j < width; ++j) {
      sum[j] = left[j] + right[j];
      record.centroid[j] = static_cast<float>(sum[j] / record.members);
    }
  }
}

// Leaves from left to right, and the lists of the nodes at which the two-way levels end.
void fill_lists(const Training& training, Cluster* records, Cluster** leaves, int* first) {
  const int count = training.made();
  first[0] = 0;
  for (int i = 0; i < 2 * count - 1; ++i) {
    const SplitNode& node = training.nodes()[i];
    Cluster& record = records[i];
    const bool below_end =
        node.parent >= 0 && (records[node.parent].entries > 0 || records[node.parent].list != nullptr);
    if (below_end) {
      record.list = leaves;  // marks it until the lists are complete
    } else if (ends_levels(record, count)) {
      record.entries = record.leaves;
      record.list = leaves + first[i];
    }
    if (record.leaf == 1) {
      leaves[first[i]] = &record;
    } else {
      first[node.left] = first[i];
      first[node.right] = first[i] + records[node.left].leaves;
    }
  }
  for (int i = 0; i < 2 * count - 1; ++i) {
    if (records[i].entries == 0) records[i].list = nullptr;
  }
}

// What searches of each reach would find and cost, on the average of some probes.
class Calibration {
 public:
  struct Costs {
    double groups = 0.0;  // looked into
    double tiles = 0.0;   // in them
  };
  Calibration(const Tiles& all, const Groups& groups, float* scratch) : all_(all), groups_(groups), scratch_(scratch) {}

  void probe(const float* x) {
    distances(groups_.centroids, x, scratch_);
    const float to_nearest = *std::min_element(scratch_, scratch_ + groups_.count);
    float found[kReachCount];
    std::fill_n(found, kReachCount, kInfinity);
    for (int g = 0; g < groups_.count; ++g) {
      int reach = 0;
      while (reach < kReachCount && !(scratch_[g] <= to_nearest * kReaches[reach])) ++reach;
      if (reach == kReachCount) continue;
      const Tiles leaves = groups_.lists.list(all_, g);
      found[reach] = std::min(found[reach], nearest(leaves, x).distance);
      costs_[reach].groups += 1.0;
      costs_[reach].tiles += static_cast<double>(leaves.size());
    }
    float least = kInfinity;
    for (int reach = 0; reach < kReachCount; ++reach) {
      least = std::min(least, found[reach]);
      sums_[reach] += static_cast<double>(least);
    }
    least_sum_ += static_cast<double>(nearest(all_, x).distance);
    ++probes_;
  }
  // Place of the reach that suffices, kReachCount if none does.
  int reach() const {
    int reach = 0;
    while (reach < kReachCount && !(sums_[reach] <= kDistortion * least_sum_)) ++reach;
    return reach;
  }
  Costs costs(int reach) const {
    Costs mean;
    for (int i = 0; i <= reach; ++i) {
      mean.groups += costs_[i].groups / probes_;
      mean.tiles += costs_[i].tiles / probes_;
    }
    return mean;
  }

 private:
  const Tiles& all_;
  const Groups& groups_;
  float* scratch_;
  double sums_[kReachCount] = {};
  Costs costs_[kReachCount];
  double least_sum_ = 0.0;
  int probes_ = 0;
};

// Sets the reach by training vectors and points between two of them; the worse ones decide. False: comparing every
// codeword is faster.
bool calibrate(const Training& training, const Tiles& all, Groups& groups, float* scratch) {
  float* const point = scratch + tiles_of(groups.count) * kLanes;
  Calibration at_vectors(all, groups, scratch);
  Calibration between(all, groups, scratch);
  const int probes = std::min(training.height(), kProbes);
  for (int i = 0; i < probes; ++i) {
    const auto chosen = static_cast<int>(static_cast<std::int64_t>(i) * training.height() / probes);
    const auto other = static_cast<int>((static_cast<std::int64_t>(chosen) * 7919 + 4093) % training.height());
    at_vectors.probe(training.vector(chosen));
    for (int j = 0; j < all.width; ++j) point[j] = (training.vector(chosen)[j] + training.vector(other)[j]) / 2.0F;
    between.probe(point);
  }
  const int reach = std::max(at_vectors.reach(), between.reach());
  if (reach == kReachCount) return false;
  groups.reach = kReaches[reach];
  const Calibration::Costs costs = at_vectors.costs(reach);
  const double grouped = kFixedCost + kGroupCost * costs.groups +
                         kElementCost * (static_cast<double>(groups.centroids.size()) + costs.tiles) * all.width;
  return grouped < static_cast<double>(all.size()) * (all.width + kTileCost);
}

}  // namespace

int tree_levels(int n) {
  if (n < 3) return 0;
  const int whole = std::max(static_cast<int>(natural_log(n) / natural_log(2.0)), 4);
  return n > 1 << whole ? whole + 1 : whole;
}

Cluster* build_tree(const Training& training) {
  const auto leaves = static_cast<std::size_t>(training.made());
  const std::size_t nodes = 2 * leaves - 1;
  const auto width = static_cast<std::size_t>(training.width());
  Layout layout;
  const auto records = layout.add<Cluster>(nodes);
  const auto centroids = layout.add<float>(nodes, width);
  const auto pointers = layout.add<Cluster*>(leaves);
  if (layout.overflow()) return nullptr;
  Scratch<int, 256> first(nodes);
  Scratch<double, 256> sums(nodes * width);
  if (!first || !sums) return nullptr;
  void* const block = allocate_bytes(layout.bytes());
  if (block == nullptr) return nullptr;

  Cluster* const root = records.in(block);
  fill_records(training, training.width(), root, centroids.in(block), sums.data());
  fill_lists(training, root, pointers.in(block), first.data());
  for (int i = 0; i < training.made(); ++i)
    pointers.in(block)[i]->spread = training.spread(pointers.in(block)[i]->codeword);
  // A vector counts for every cluster that it passed through.
  for (std::size_t i = 0; i < nodes; ++i) {
    if (root[i].leaf == 1) first[static_cast<std::ptrdiff_t>(root[i].codeword)] = static_cast<int>(i);
  }
  for (int v = 0; v < training.height(); ++v) {
    for (int at = training.nodes()[first[training.label(v)]].parent; at >= 0; at = training.nodes()[at].parent) {
      const float spread = 2.0F * training.distance_to(v, root[at].centroid);
      if (spread > root[at].spread) root[at].spread = spread;
    }
  }
  return root;
}

bool build_groups(const Training& training, const Tiles& all, const Cluster& root, Groups** groups) {
  const Cluster* ends[kMostGroups];  // the nodes at which the two-way levels end
  Kiv32s sizes[kMostGroups];
  int count = 0;
  std::ptrdiff_t tiles = 0;
  for (const Cluster* node = &root; node != &root + 2 * all.count - 1; ++node) {
    if (node->entries == 0) continue;
    if (count == kMostGroups) return true;
    ends[count] = node;
    sizes[count++] = node->entries;
    tiles += tiles_of(node->entries);
  }
  const auto group_lanes = static_cast<std::size_t>(tiles_of(count) * kLanes);
  Layout layout;
  const auto header = layout.add<Groups>(1);
  const auto centroids = layout.add<float>(group_lanes, static_cast<std::size_t>(all.width));
  const CandidateListsLayout parts(layout, count, tiles, all.width);
  if (layout.overflow()) return false;
  Scratch<float, 1024> scratch(group_lanes + static_cast<std::size_t>(all.width));
  Scratch<char> block(layout.bytes());
  if (!scratch || !block) return false;

  Groups* const result = header.in(block.data());
  float* const values = centroids.in(block.data());
  *result = {{values, all.weights, all.width, count}, parts.in(block.data()), count, 1.0F};
  result->lists.set_sizes(sizes, count);
  clear_lanes(values, all.weights, all.width, count, static_cast<std::ptrdiff_t>(group_lanes));
  for (int group = 0; group < count; ++group) {
    const Cluster& node = *ends[group];
    set_lane(values, all.width, group, node.centroid);
    for (int leaf = 0; leaf < node.entries; ++leaf)
      result->lists.set(all, group, leaf, node.list[node.entries - 1 - leaf]->codeword);
    result->lists.finish(all, group);
  }
  if (count > 1 && !calibrate(training, all, *result, scratch.data())) return true;
  *groups = result;
  block.take();
  return true;
}

}  // namespace kivsr::vq
