// Training of a codebook: clusters of the training vectors are split in two and refined by k-means over all clusters.
#pragma once

#include "state.h"
#include "tiles.h"

namespace kivsr::vq {

// One node of the tree of splits. The root is node 0; the leaves are the clusters.
struct SplitNode {
  int left, right;  // children, -1 for a leaf
  int parent;       // -1 at the root
  int cluster;      // of a leaf
  int depth;        // 1 at the root
};

// The training vectors as floats, and the clusters made of them. Rows are padded with zeros to whole vectors.
class Training {
 public:
  // Places everything that height vectors and `clusters` clusters need in one block; weights null: all 1. False: memory
  // ran out.
  template <class T>
  bool prepare(const T* src, std::ptrdiff_t step, int width, int height, int clusters, const T* weights);
  // Splits until `clusters` are made (kivStatusOk) or none can be split (kivStatusCdbkSizeWarning).
  // kivStatusBadArgument: the halves of a cluster could not be told apart.
  KivStatus run(KivCdbkHint hint);
  ~Training();
  Training() = default;
  Training(const Training&) = delete;
  Training& operator=(const Training&) = delete;

  int made() const { return made_; }
  int width() const { return width_; }
  int height() const { return height_; }
  const float* centroid(int cluster) const { return centroids_ + static_cast<std::ptrdiff_t>(cluster) * padded_; }
  const float* vector(int i) const { return vectors_ + static_cast<std::ptrdiff_t>(i) * padded_; }
  int label(int i) const { return labels_[i]; }
  int members(int cluster) const { return clusters_[cluster].members; }
  float spread(int cluster) const { return clusters_[cluster].spread; }
  const SplitNode* nodes() const { return nodes_; }
  int depth() const { return depth_; }
  // From a vector to any point of width() elements.
  float distance_to(int i, const float* point) const;

 private:
  // What the passes know of a cluster. Bounds and radii are square roots of distances.
  struct ClusterState {
    float spread;
    int members;
    int node;
    bool dirty;     // its membership changed, or its centroid is not the mean
    float drift;    // of its centroid in this pass
    float radius;   // no member is farther from the centroid
    float slack;    // least (lower - upper) of a member when the members were last looked at
    float pending;  // to take off the lower bounds of the members
    float cap;      // no centroid but those covered by the lower bounds is nearer to this one
    double sum;     // of the distances of the members
  };

  template <class Visit>
  void each_array(Visit visit);
  float distance(const float* x, const float* c) const;
  void distances_to(const float* c, const int* vectors, int n, float* dst) const;
  void mean_of(int cluster, float* dst) const;
  void group_members();
  void first_cluster();
  int choose(KivCdbkHint hint) const;
  void split(int cluster);
  void take_nearest_half(int cluster);
  KivStatus separate(int kept, int members);
  KivStatus refine(int kept);
  KivStatus move_centroids(int kept, int split_members, bool first_pass);
  float collect_big_moves();
  float nearest_big_move(int cluster) const;
  double assign_all(float rest);
  void look_at_members(int cluster, float lower_cut, float cap, float big_distance);
  void look_at(int vector, int cluster, float own, float lower, float big_distance, const float* penalty);
  Nearest assign(const float* x);
  int move_vectors(double* sum);
  void measure_spreads();
  void set_centroid(int cluster, const float* values);
  const int* members_of(int cluster) const { return members_ + starts_[cluster]; }
  Tiles centroid_tiles() const { return {tiles_, weights_, width_, made_}; }
  Tiles big_moves() const { return {big_tile_, weights_, width_, big_count_}; }

  void* block_ = nullptr;
  int width_ = 0, padded_ = 0, height_ = 0, wanted_ = 0, made_ = 0, depth_ = 1;
  float margin_ = 0.0F;
  float* vectors_ = nullptr;
  float* weights_ = nullptr;  // null: all 1
  float* centroids_ = nullptr;
  float* tiles_ = nullptr;     // the centroids in lanes
  float* big_tile_ = nullptr;  // those that moved most in this pass
  int big_[kLanes] = {};
  int big_count_ = 0;
  float* scratch_ = nullptr;  // a distance for each centroid, or a centroid
  float* stored_ = nullptr;   // distance of each vector to its centroid
  float* upper_ = nullptr;    // its root
  float* lower_ = nullptr;    // no other centroid is nearer than this (root)
  int* labels_ = nullptr;
  int* targets_ = nullptr;  // the cluster that each vector wants to be in
  int* members_ = nullptr;  // vectors by cluster, in index order
  int* starts_ = nullptr;
  std::uint64_t* keys_ = nullptr;
  ClusterState* clusters_ = nullptr;
  SplitNode* nodes_ = nullptr;
};

}  // namespace kivsr::vq
