// What searches use beside the codebook record: the codewords in tiles, and for large books the expanded form of the
// distance. With m the mean of the codewords, x' = x - m and c' = c - m,
//
//   sum w (x - c)^2 / 2 = sum w x'^2 / 2 + h - sum x'_j p_j,   p_j = w_j c'_j,   h = sum w c'^2 / 2,
//
// so that one multiply-add an element finds the nearest codeword, unless several come closer to each other than
// rounding can tell: those vectors are searched again by the distance itself.
#pragma once

#include "frame/layout.h"
#include "state.h"
#include "tiles.h"

namespace kivsr::vq {

struct FullIndex {
  Tiles all;                // every codeword, in index order
  const float* centred;     // p in tiles; null for small books
  const float* half_norms;  // h, one a lane; infinity in unused lanes
  const float* mean;        // m
  float largest_norm;       // greatest sum w c'^2
};

inline constexpr int kLeastCentred = 4 * kLanes;

class FullIndexLayout {
 public:
  FullIndexLayout(Layout& layout, int width, int count);
  template <class T>
  FullIndex fill(void* block, const Codebook<T>& book) const;

 private:
  void fill_centred(void* block, FullIndex& index) const;
  Part<float> values_, weights_, centred_, half_norms_, mean_;
  bool has_centred_;
};

// Lists of codewords, each in tiles of its own.
struct CandidateLists {
  Kiv32s* first_tile;
  Kiv32s* sizes;
  Kiv32s* codewords;  // index of the codeword of a lane
  float* values;

  Tiles list(const Tiles& all, std::ptrdiff_t i) const {
    return Tiles{values, all.weights, all.width, 0}.from(first_tile[i], sizes[i]);
  }
  std::ptrdiff_t slot(std::ptrdiff_t list, int lane) const {
    return static_cast<std::ptrdiff_t>(first_tile[list]) * kLanes + lane;
  }
  Kiv32s codeword(std::ptrdiff_t list, int lane) const { return codewords[slot(list, lane)]; }
  // Places the lists one after the other; the tiles of each are then filled by set and finish.
  void set_sizes(const Kiv32s* list_sizes, std::ptrdiff_t lists);
  // Copies codeword `index` of the book into a lane of a list.
  void set(const Tiles& all, std::ptrdiff_t list, int lane, Kiv32s index);
  // Marks the lanes behind the end of a list as unused.
  void finish(const Tiles& all, std::ptrdiff_t list);
};

class CandidateListsLayout {
 public:
  CandidateListsLayout(Layout& layout, std::ptrdiff_t lists, std::ptrdiff_t tiles, int width);
  CandidateLists in(void* block) const;

 private:
  Part<Kiv32s> first_tile_, sizes_, codewords_;
  Part<float> values_;
};

inline constexpr int kMostGroups = 2048;

// The leaves of the cluster tree in groups: those below one node at which the two-way levels end.
struct Groups {
  Tiles centroids;  // of the groups
  CandidateLists lists;
  int count;    // at most kMostGroups
  float reach;  // a search looks into the groups whose D is at most so many times that of the nearest
};

struct SearchIndex {
  FullIndex full;
  Groups* groups;  // null: every codeword is compared
};

}  // namespace kivsr::vq
