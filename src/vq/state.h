// The codebook state: the record behind KivsCdbkState_32f and KivsCdbkState_16s, its cluster tree, and the tests by
// which training compares distances. Read next: tiles.h (distances), index.h (what searches use).
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "frame/layout.h"
#include "kivsr/types.h"

namespace kivsr::vq {

inline constexpr int kLargestBook = 16383;
inline constexpr Kiv32s kGridFlag = 1;
inline constexpr Kiv32s kWeightedFlag = 2;
inline constexpr Kiv32s kLibraryFlag = 4;  // the record is a LibraryCodebook

// One node of the cluster tree of a trained book.
struct Cluster {
  Kiv32f spread;     // twice the largest distance of a member to the centroid; 0 for fewer than 2 members
  Kiv32f* centroid;  // width elements, the mean of the members
  Kiv32s codeword;   // index of the codeword of a leaf
  Kiv32s members;    // training vectors
  Kiv32s leaf;       // 1 while the node has no children
  Kiv32s depth;      // 1 at the root
  Cluster* left;
  Cluster* right;
  Kiv32s entries;  // a node at which the two-way levels end: the number of leaves below it
  Cluster** list;  // and the leaves, left to right
  Kiv32s leaves;   // leaves below the node
};

struct SearchIndex;
struct Grid;

template <class T>
struct Codebook {
  Kiv32s depth;   // full search: count - 1; trained: greatest depth of a cluster
  Kiv32s count;   // codewords
  Kiv32s width;   // elements of a codeword
  Kiv32s stride;  // element j of codeword i at i * stride + j
  KivCdbkHint hint;
  T* codewords;
  Cluster* tree;      // root, or null
  Kiv32s flags;       // kGridFlag, kWeightedFlag, kLibraryFlag
  T* weights;         // width elements
  Grid* grid;         // lists of candidates by cell, or null
  Kiv32s index_bits;  // of an index in a packed row
  Kiv32f* work;       // count elements
};

#if defined(__i386__)
static_assert(sizeof(Cluster) == 44 && sizeof(Codebook<Kiv32f>) == 48 && sizeof(Codebook<Kiv16s>) == 48);
#endif

// A book in library memory carries its search index behind the record; one in caller memory has no room for it.
template <class T>
struct LibraryCodebook : Codebook<T> {
  SearchIndex* index;
};

template <class T>
const SearchIndex* stored_index(const Codebook<T>& book) {
  return (book.flags & kLibraryFlag) != 0 ? static_cast<const LibraryCodebook<T>&>(book).index : nullptr;
}

template <class T>
const T* codeword(const Codebook<T>& book, std::ptrdiff_t i) {
  return book.codewords + i * book.stride;
}

constexpr Kiv32s index_bits(Kiv32s count) {
  return count <= 1 ? 0 : static_cast<Kiv32s>(std::bit_width(static_cast<std::uint32_t>(count - 1)));
}

// Tolerant comparisons: of nearly equal values none is greater, so that the first one wins.
inline bool tolerant_greater(double a, double b) { return a > b * 1.000001; }
inline bool tolerant_less(double a, double b) { return a * 1.000001 < b; }
inline bool tolerant_equal(double a, double b) {
  return std::abs(a - b) <= std::abs(std::max(a, b)) * static_cast<double>(0.0001F);
}

}  // namespace kivsr::vq

struct KivsCdbkState_32f : kivsr::vq::Codebook<Kiv32f> {};
struct KivsCdbkState_16s : kivsr::vq::Codebook<Kiv16s> {};
