// Lanes of complex numbers: real and imaginary parts in separate vectors, and the ways in and out of memory that holds
// them in pairs. For vectors V with V::width = W lanes:
//
//   load_as<V>(p)          W elements of any memory type that Vec<T> loads
//   deinterleave(a, b)     two vectors of pairs, in memory order, become real and imaginary parts
//   interleave(re, im)     and back
//   kLaneElement<V>[l]     which of the W complex numbers stands in lane l between the two: the order that costs no
//                          instruction, not the natural one
//   pair_order(v)          from the natural order of elements to that one
//   pair_order_reversed(v) from the opposite of the natural order to that one
//   mirrored(v)            lane of element e receives element (W - e) mod W
//   with_first(v, f)       v with element 0 of f, a vector or a pointer to one number
//   reversed_pairs(v)      pairs in the opposite order
//   with_gap(v)            v with a zero pushed in behind element 0 of memory order: v0, 0, v1, ... (W > 1)
//   moved_down(v)          v1, v2, ... and a zero (W > 1)
//   without_gap(v)         v without element 1: v0, v2, v3, ..., the last twice (W > 2; v itself for W = 2)
//   moved_up(v)            v0 twice, then v1, v2, ... (W > 1)
//   transpose(rows)        the W x W matrix of W vectors
//
// For vectors of eight lanes, whose halves are Quads:
//
//   exchanged_halves(v)    the high half, then the low one
//   exchanged_pairs(v)     the two pairs of each half in the opposite order
//   mirrored_in_order(v)   `mirrored` for elements in their natural order
//
// The vectors are ComplexVec<T>, the widest that pays, Quad, four floats in every build, and Single<T>, one lane.
#pragma once

#include <array>

#include "vec.h"

namespace kivsr::simd {

// Sixteen lanes leave too few columns to the usual transforms.
template <class T>
using ComplexVec = ShortVec<T>;

// --- one lane ---------------------------------------------------------------

template <class T>
struct Single {
  using Element = T;
  static constexpr int width = 1;
  T raw;
  static Single broadcast(T x) { return {x}; }
  T first() const { return raw; }
};

template <class T>
inline Single<T> operator+(Single<T> a, Single<T> b) {
  return {a.raw + b.raw};
}
template <class T>
inline Single<T> operator-(Single<T> a, Single<T> b) {
  return {a.raw - b.raw};
}
template <class T>
inline Single<T> operator*(Single<T> a, Single<T> b) {
  return {a.raw * b.raw};
}
template <class T>
inline Single<T> mul_add(Single<T> a, Single<T> b, Single<T> c) {
  return a * b + c;
}
template <class T>
inline Single<T> neg_mul_add(Single<T> a, Single<T> b, Single<T> c) {
  return c - a * b;
}
template <class T>
inline void store(T* p, Single<T> v) {
  *p = v.raw;
}
template <class T>
inline void deinterleave(Single<T>&, Single<T>&) {}
template <class T>
inline void interleave(Single<T>&, Single<T>&) {}
template <class T>
inline Single<T> pair_order(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> pair_order_reversed(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> mirrored(Single<T> v) {
  return v;
}
template <class T>
inline Single<T> with_first(Single<T>, const T* first) {
  return {*first};
}
template <class T>
inline Single<T> with_first(Single<T>, Single<T> first) {
  return first;
}
template <class T>
inline Single<T> reversed_pairs(Single<T> v) {
  return v;
}
template <class T>
inline void transpose(Single<T> (&)[1]) {}

// --- loads and the order of lanes ------------------------------------------------

namespace detail {

template <class T, class S>
struct Load<Single<T>, S> {
  static Single<T> full(const S* p) { return {static_cast<T>(*p)}; }
};

// Deinterleaving stays within groups of 128 bits: half a group comes from each of the two vectors.
template <class V>
constexpr int lane_element(int lane) {
  constexpr int kHalf = kGroup<V> / 2;
  return lane / kGroup<V> * kHalf + lane % kHalf + lane % kGroup<V> / kHalf * (V::width / 2);
}
template <class V>
constexpr int lane_of_element(int element) {
  int lane = 0;
  while (lane_element<V>(lane) != element) ++lane;
  return lane;
}
template <class V>
constexpr auto lane_elements() {
  std::array<int, V::width> elements = {};
  if constexpr (V::width > 1) {
    for (int l = 0; l < V::width; ++l) elements[static_cast<std::size_t>(l)] = lane_element<V>(l);
  }
  return elements;
}

// Zero in place of one lane.
template <int kLane, class T, int W>
inline Lanes<T, W> without_lane(Lanes<T, W> v) {
  using Bits = Lanes<Integer<sizeof(T)>, W>;
  typename Bits::Raw kept = ~Bits::zero().raw;
  kept[kLane] = 0;
  return v & recast<Lanes<T, W>>(kept);
}

}  // namespace detail

template <class V>
inline constexpr auto kLaneElement = detail::lane_elements<V>();

// --- several lanes ----------------------------------------------------------------

template <class T, int W>
inline void deinterleave(Lanes<T, W>& a, Lanes<T, W>& b) {
  using V = Lanes<T, W>;
  constexpr auto kFrom = [](int l) {
    constexpr int kHalf = detail::kGroup<V> / 2;
    return l % detail::kGroup<V> / kHalf * W + detail::group_start<V>(l) + 2 * (l % kHalf);
  };
  const V re = detail::shuffled(a, b, [](int l) { return decltype(kFrom){}(l); });
  b = detail::shuffled(a, b, [](int l) { return decltype(kFrom){}(l) + 1; });
  a = re;
}
template <class T, int W>
inline void interleave(Lanes<T, W>& re, Lanes<T, W>& im) {
  const auto low = detail::unpack_low(re, im);
  im = detail::unpack_high(re, im);
  re = low;
}
template <class T, int W>
inline Lanes<T, W> pair_order(Lanes<T, W> v) {
  return detail::permuted(v, [](int l) { return detail::lane_element<Lanes<T, W>>(l); });
}
template <class T, int W>
inline Lanes<T, W> pair_order_reversed(Lanes<T, W> v) {
  return detail::permuted(v, [](int l) { return W - 1 - detail::lane_element<Lanes<T, W>>(l); });
}
template <class T, int W>
inline Lanes<T, W> mirrored(Lanes<T, W> v) {
  using V = Lanes<T, W>;
  return detail::permuted(v, [](int l) { return detail::lane_of_element<V>((W - detail::lane_element<V>(l)) % W); });
}
template <class T, int W>
inline Lanes<T, W> with_first(Lanes<T, W> v, Lanes<T, W> first) {
  return detail::shuffled(v, first, [](int l) { return l == 0 ? W : l; });
}
template <class T, int W>
inline Lanes<T, W> with_first(Lanes<T, W> v, const T* first) {
  return with_first(v, Lanes<T, W>::in_first_lane(*first));
}
template <class T, int W>
inline Lanes<T, W> reversed_pairs(Lanes<T, W> v) {
  return detail::permuted(v, [](int l) { return W - 2 - l / 2 * 2 + l % 2; });
}
template <class T, int W>
inline Lanes<T, W> with_gap(Lanes<T, W> v) {
  return detail::without_lane<1>(detail::permuted(v, [](int l) { return l == 0 ? 0 : l - 1; }));
}
template <class T, int W>
inline Lanes<T, W> moved_down(Lanes<T, W> v) {
  return detail::without_lane<W - 1>(detail::permuted(v, [](int l) { return (l + 1) % W; }));
}
template <class T, int W>
inline Lanes<T, W> without_gap(Lanes<T, W> v) {
  return detail::permuted(v, [](int l) { return l == 0 ? 0 : l + 1 < W ? l + 1 : W - 1; });
}
template <class T, int W>
inline Lanes<T, W> moved_up(Lanes<T, W> v) {
  return detail::permuted(v, [](int l) { return l == 0 ? 0 : l - 1; });
}
template <int W>
inline Lanes<float, W> exchanged_halves(Lanes<float, W> v) {
  return detail::permuted(v, [](int l) { return (l + W / 2) % W; });
}
template <int W>
inline Lanes<float, W> exchanged_pairs(Lanes<float, W> v) {
  return detail::permuted(v, [](int l) { return l ^ 2; });
}
template <int W>
inline Lanes<float, W> mirrored_in_order(Lanes<float, W> v) {
  return detail::permuted(v, [](int l) { return (W - l) % W; });
}
template <class T, int W>
inline void transpose(Lanes<T, W> (&rows)[W]) {
  constexpr int kGroup = detail::kGroup<Lanes<T, W>>;
#pragma GCC unroll 8
  for (int first = 0; first < W; first += kGroup) {
    if constexpr (kGroup == 4) {
      transpose_rows(rows + first);
    } else {
      interleave(rows[first], rows[first + 1]);
    }
  }
  if constexpr (W == 2 * kGroup) {
#pragma GCC unroll 8
    for (int k = 0; k < kGroup; ++k) detail::exchange_runs<kGroup>(rows[k], rows[kGroup + k]);
  }
}

}  // namespace kivsr::simd
