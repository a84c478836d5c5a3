// A descent that decides at every node by the nearer centroid ends far from the nearest codeword, because k-means moves
// vectors between subtrees. The search takes all nodes at which the two-way levels end instead and looks into the
// nearest of them; how many is measured on the training vectors.
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

int group_size(int codewords) {
  if (codewords < kLeastCentred) return codewords;
  return codewords < 16 * kLanes ? kLanes : 2 * kLanes;
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

// The mean distance of probes to what a search finds that looks into 1, 2, ... groups, against the least.
class Calibration {
 public:
  Calibration(const Tiles& all, const Groups& groups, float* scratch) : all_(all), groups_(groups), scratch_(scratch) {}

  void probe(const float* x) {
    distances(groups_.centroids, x, scratch_);
    float least = kInfinity;
    for (int visit = 0; visit < kMostVisited; ++visit) {
      int group = -1;
      for (int g = 0; g < groups_.count; ++g) {
        if (scratch_[g] < (group < 0 ? kInfinity : scratch_[group])) group = g;
      }
      if (group >= 0) {
        scratch_[group] = kInfinity;
        least = std::min(least, nearest(groups_.lists.list(all_, group), x).distance);
      }
      sums_[visit] += static_cast<double>(least);
    }
    least_sum_ += static_cast<double>(nearest(all_, x).distance);
  }
  // Groups to look into, or more than kMostVisited.
  int visits() const {
    int visited = 1;
    while (visited <= kMostVisited && !(sums_[visited - 1] <= kDistortion * least_sum_)) ++visited;
    return visited;
  }

 private:
  const Tiles& all_;
  const Groups& groups_;
  float* scratch_;
  double sums_[kMostVisited] = {};
  double least_sum_ = 0.0;
};

// Measured on training vectors and on points between two of them; the worse one decides.
int measure_visits(const Training& training, const Tiles& all, const Groups& groups, float* scratch) {
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
  return std::max(at_vectors.visits(), between.visits());
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
  const std::size_t cells = nodes > static_cast<std::size_t>(-1) / width ? static_cast<std::size_t>(-1) : nodes * width;
  Layout layout;
  const auto records = layout.add<Cluster>(nodes);
  const auto centroids = layout.add<float>(cells);
  const auto pointers = layout.add<Cluster*>(leaves);
  if (layout.overflow()) return nullptr;
  Scratch<int, 256> first(nodes);
  Scratch<double, 256> sums(cells);
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
  const Cluster* const records = &root;
  const int nodes = 2 * all.count - 1;
  int count = 0;
  std::ptrdiff_t tiles = 0;
  for (int i = 0; i < nodes; ++i) {
    if (records[i].entries == 0) continue;
    ++count;
    tiles += tiles_of(records[i].entries);
  }
  const auto width = static_cast<std::size_t>(all.width);
  const auto group_lanes = static_cast<std::size_t>(tiles_of(count) * kLanes);
  Layout layout;
  const auto header = layout.add<Groups>(1);
  const auto centroids =
      layout.add<float>(width > static_cast<std::size_t>(-1) / group_lanes ? ~std::size_t{0} : width * group_lanes);
  const CandidateListsLayout parts(layout, count, tiles, all.width);
  Scratch<float, 1024> scratch(group_lanes + width);
  void* const block = layout.overflow() || !scratch ? nullptr : allocate_bytes(layout.bytes());
  if (block == nullptr) return false;

  Groups* const result = header.in(block);
  float* const values = centroids.in(block);
  *result = {{values, all.weights, all.width, count}, parts.in(block), count, 1};
  clear_lanes(values, all.weights, all.width, 0, static_cast<std::ptrdiff_t>(group_lanes));
  Kiv32s tile = 0;
  int group = 0;
  for (int i = 0; i < nodes; ++i) {
    const Cluster& record = records[i];
    if (record.entries == 0) continue;
    set_lane(values, all.width, group, record.centroid);
    result->lists.first_tile[group] = tile;
    result->lists.sizes[group] = record.entries;
    tile += static_cast<Kiv32s>(tiles_of(record.entries));
    for (int leaf = 0; leaf < record.entries; ++leaf) {
      result->lists.set(all, group, leaf, record.list[record.entries - 1 - leaf]->codeword);
    }
    result->lists.finish(all, group);
    ++group;
  }

  if (count > 1) {
    result->visited = measure_visits(training, all, *result, scratch.data());
    // Operations of either search; the expanded form of the whole book needs half as many an element.
    const double compared = static_cast<double>(tiles_of(count)) + static_cast<double>(result->visited * tiles) / count;
    const double grouped = 2.0 * compared * all.width + 40.0 * (result->visited + 1);
    const double whole = static_cast<double>(all.size()) * (all.width + 10);
    if (result->visited > kMostVisited || grouped > whole) {
      release(block);
      return true;
    }
  }
  *groups = result;
  return true;
}

}  // namespace kivsr::vq
