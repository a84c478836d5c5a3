// The two loops of the library. They own the vector body and the tail, so that the two cannot drift apart: an operation
// is a lambda over Vec<T>, called with full vectors only.
#pragma once

#include <cstddef>

#include "simd/vec.h"

namespace kivsr {

// dst[i] = op(src[i]...), computed in lanes of T; memory types convert on load and store (integers saturate).
// A tail is computed as the last full vector, which overlaps the body and is loaded before the body writes, so that
// sources may be the destination itself; below one vector every element passes through a broadcast vector.
// An operation that collects flags must not mind seeing an element twice.
template <class T, class D, class Op, class... S>
inline void transform(std::ptrdiff_t len, Op op, D* dst, const S*... src) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  if (len < W) {
    for (std::ptrdiff_t i = 0; i < len; ++i) {
      simd::store_some(dst + i, op(V::broadcast(static_cast<T>(src[i]))...), 1);
    }
    return;
  }
  const auto run_body = [&] {
    std::ptrdiff_t i = 0;
    for (; i + 4 * W <= len; i += 4 * W) {
      simd::store(dst + i, op(simd::load<T>(src + i)...));
      simd::store(dst + i + W, op(simd::load<T>(src + i + W)...));
      simd::store(dst + i + 2 * W, op(simd::load<T>(src + i + 2 * W)...));
      simd::store(dst + i + 3 * W, op(simd::load<T>(src + i + 3 * W)...));
    }
    for (; i + W <= len; i += W) simd::store(dst + i, op(simd::load<T>(src + i)...));
  };
  if (len % W == 0) {
    run_body();
  } else {
    const std::ptrdiff_t last = len - W;
    const auto tail = op(simd::load<T>(src + last)...);
    run_body();
    simd::store(dst + last, tail);
  }
}

// Sum over i of term(src[i]...), term a lambda (accumulator, vectors...) -> accumulator that leaves the accumulator
// unchanged for zero elements. The order of additions depends on the length alone: kAccumulators running vectors,
// folded in halves, then lanes by sum_lanes.
template <class T, class Term, class... S>
inline T reduce_sum(std::ptrdiff_t len, Term term, const S*... src) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  constexpr int A = simd::kAccumulators;
  V sums[A];
  for (V& sum : sums) sum = V::zero();
  std::ptrdiff_t i = 0;
  for (; i + A * W <= len; i += A * W) {
#pragma GCC unroll 8
    for (int a = 0; a < A; ++a) sums[a] = term(sums[a], simd::load<T>(src + i + a * W)...);
  }
  // Constant indices keep the sums in registers.
#pragma GCC unroll 8
  for (int a = 0; a < A; ++a) {
    if (i + W > len) break;
    sums[a] = term(sums[a], simd::load<T>(src + i)...);
    i += W;
  }
  if (i < len) sums[A - 1] = term(sums[A - 1], simd::load_some<T>(src + i, static_cast<int>(len - i))...);
#pragma GCC unroll 8
  for (int half = A / 2; half > 0; half /= 2) {
#pragma GCC unroll 8
    for (int a = 0; a < half; ++a) sums[a] = sums[a] + sums[a + half];
  }
  return simd::sum_lanes(sums[0]);
}

}  // namespace kivsr
