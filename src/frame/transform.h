// The loops of the library. They own the vector body and the tail, so that the two cannot drift apart: an operation
// is a lambda over Vec<T>, called with full vectors only.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "simd/vec.h"

namespace kivsr {

// Two arrays of len elements are the same or have nothing in common.
template <class D, class S>
inline bool same_or_apart(const D* dst, const S* src, std::ptrdiff_t len) {
  const auto d = reinterpret_cast<std::uintptr_t>(dst);
  const auto s = reinterpret_cast<std::uintptr_t>(src);
  const auto n = static_cast<std::size_t>(len);
  return d == s ? sizeof(D) <= sizeof(S) : d + n * sizeof(D) <= s || s + n * sizeof(S) <= d;
}

// dst[i] = op(src[i]...), computed in lanes of T; memory types convert on load and store (integers saturate).
// A tail is computed as the last full vector, which overlaps the body and is loaded before the body writes, so that
// sources may be the destination itself; below one vector every element passes through a broadcast vector, or all
// together through a vector that the first one fills up where masks cost nothing.
// An operation that collects flags must not mind seeing an element twice.
template <class T, class D, class Op, class... S>
[[gnu::always_inline]] inline void transform(std::ptrdiff_t len, Op op, D* dst, const S*... src) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  assert(len >= 0 && (same_or_apart(dst, src, len) && ...));
  if (len < W) {
    if constexpr (simd::kMaskedTails) {
      const int n = static_cast<int>(len);
      if (n > 0) simd::store_some(dst, op(simd::load_filled<T>(src, n)...), n);
      return;
    }
    for (std::ptrdiff_t i = 0; i < len; ++i) {
      simd::store_some(dst + i, op(V::broadcast(static_cast<T>(src[i]))...), 1);
    }
    return;
  }
  const std::ptrdiff_t last = len - W;
  const bool has_tail = len % W != 0;
  decltype(op(simd::load<T>(src)...)) tail{};
  if (has_tail) tail = op(simd::load<T>(src + last)...);
  std::ptrdiff_t i = 0;
  for (const std::ptrdiff_t end = len & (-4 * W); i != end; i += 4 * W) {
    simd::store(dst + i, op(simd::load<T>(src + i)...));
    simd::store(dst + i + W, op(simd::load<T>(src + i + W)...));
    simd::store(dst + i + 2 * W, op(simd::load<T>(src + i + 2 * W)...));
    simd::store(dst + i + 3 * W, op(simd::load<T>(src + i + 3 * W)...));
  }
  for (const std::ptrdiff_t end = len & -W; i != end; i += W) simd::store(dst + i, op(simd::load<T>(src + i)...));
  if (has_tail) simd::store(dst + last, tail);
}

// Arrays of floats that change together, element by element: op gets a vector of each, by reference, and what it leaves
// in those of arrays that are not const is stored. What is left behind the last full vector goes in halves, quarters,
// ...: lanes behind them are zero.
template <class Op, class... D>
inline void transform_together(std::ptrdiff_t len, Op op, D*... arrays) {
  constexpr std::ptrdiff_t W = simd::Vec<float>::width;
  const auto change = [&](auto vectors, auto store) {
    std::apply(op, vectors);
    const auto keep = [&](auto* p, auto v) {
      if constexpr (!std::is_const_v<std::remove_pointer_t<decltype(p)>>) store(p, v);
    };
    std::apply([&](auto... v) { (keep(arrays, v), ...); }, vectors);
  };
  std::ptrdiff_t i = 0;
  for (; i + W <= len; i += W) {
    change(std::make_tuple(simd::load<float>(arrays + i)...), [=](auto* p, auto v) { simd::store(p + i, v); });
  }
  const auto part = [&]<int kLanes>(std::integral_constant<int, kLanes>) {
    if (((len - i) & kLanes) == 0) return;
    change(std::make_tuple(simd::load_part<kLanes>(arrays + i)...),
           [=](auto* p, auto v) { simd::store_part<kLanes>(p + i, v); });
    i += kLanes;
  };
  if constexpr (W > 8) part(std::integral_constant<int, 8>());
  if constexpr (W > 4) part(std::integral_constant<int, 4>());
  part(std::integral_constant<int, 2>());
  part(std::integral_constant<int, 1>());
}

// The running vectors of a reduction. Their indices are constants everywhere, which keeps them in registers.
template <class T>
class RunningSums {
  using V = simd::Vec<T>;
  static constexpr std::ptrdiff_t W = V::width;

 public:
  static constexpr int kCount = simd::kAccumulators;

  // Adds all whole rounds of kCount vectors; returns how many elements they are.
  template <class Term, class... S>
  [[gnu::always_inline]] std::ptrdiff_t add_rounds(std::ptrdiff_t len, Term& term, const S*... src) {
    const std::ptrdiff_t end = len & (-kCount * W);
    if constexpr (simd::kHeldAccumulators == kCount) {
      add_held<0>(0, end, term, src...);
    } else {  // what is gone over twice stays in the cache meanwhile
      constexpr std::ptrdiff_t kBlock = 64 * kCount * W;
      for (std::ptrdiff_t i = 0; i < end; i += kBlock) add_held<0>(i, std::min(i + kBlock, end), term, src...);
    }
    return end;
  }
  // Adds kVectors vectors of terms to the sums from kFirst on.
  template <int kVectors, int kFirst, class Term, class... S>
  [[gnu::always_inline]] void add(Term& term, const S*... src) {
    add_each<kFirst>(std::make_integer_sequence<int, kVectors>(), term, src...);
  }
  template <class Term, class... S>
  [[gnu::always_inline]] void add_some(int n, Term& term, const S*... src) {
    sums_[kCount - 1] = term(sums_[kCount - 1], simd::load_some<T>(src, n)...);
  }
  template <int kHalf = kCount / 2>
  [[gnu::always_inline]] T total() {
    if constexpr (kHalf == 0) {
      return simd::sum_lanes(sums_[0]);
    } else {
      fold(std::make_integer_sequence<int, kHalf>());
      return total<kHalf / 2>();
    }
  }

 private:
  template <int kFirst, class Term, class... S>
  [[gnu::always_inline]] void add_held(std::ptrdiff_t begin, std::ptrdiff_t end, Term& term, const S*... src) {
    for (std::ptrdiff_t i = begin; i != end; i += kCount * W) {
      add<simd::kHeldAccumulators, kFirst>(term, src + i + kFirst * W...);
    }
    constexpr int kNext = kFirst + simd::kHeldAccumulators;
    if constexpr (kNext < kCount) add_held<kNext>(begin, end, term, src...);
  }
  template <int kFirst, int... k, class Term, class... S>
  [[gnu::always_inline]] void add_each(std::integer_sequence<int, k...>, Term& term, const S*... src) {
    ((sums_[kFirst + k] = add_vector(k, sums_[kFirst + k], term, src...)), ...);
  }
  template <class Term, class... S>
  [[gnu::always_inline]] static V add_vector(std::ptrdiff_t k, V sum, Term& term, const S*... src) {
    return term(sum, simd::load<T>(src + k * W)...);
  }
  template <int... k>
  [[gnu::always_inline]] void fold(std::integer_sequence<int, k...>) {
    ((sums_[k] = sums_[k] + sums_[k + static_cast<int>(sizeof...(k))]), ...);
  }

  V sums_[kCount] = {};
};

// Sum over i of term(src[i]...), term a lambda (accumulator, vectors...) -> accumulator that leaves the accumulator
// unchanged for zero elements. The order of additions depends on the length alone: kAccumulators running vectors in
// turn; a half, a quarter, ... of them for what is left, the last one for less than a vector; then the running vectors
// folded in halves, and lanes by sum_lanes.
template <class T, class Term, class... S>
[[gnu::always_inline]] inline T reduce_sum(std::ptrdiff_t len, Term term, const S*... src) {
  constexpr std::ptrdiff_t W = simd::Vec<T>::width;
  constexpr int A = RunningSums<T>::kCount;
  static_assert(A == 8);
  assert(len >= 0);
  RunningSums<T> sums;
  std::ptrdiff_t i = sums.add_rounds(len, term, src...);
  if (i == len) return sums.total();
  if (((len - i) & (4 * W)) != 0) {
    sums.template add<4, 0>(term, src + i...);
    i += 4 * W;
  }
  if (((len - i) & (2 * W)) != 0) {
    sums.template add<2, A - 4>(term, src + i...);
    i += 2 * W;
  }
  if (((len - i) & W) != 0) {
    sums.template add<1, A - 2>(term, src + i...);
    i += W;
  }
  if (i < len) sums.add_some(static_cast<int>(len - i), term, src + i...);
  return sums.total();
}

}  // namespace kivsr
