// Dot products of vectors. Exports: dot_product.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "exact_sums.h"
#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

// Accumulated in T.
template <class T, class S>
inline T dot_product(const S* a, const S* b, std::ptrdiff_t len) {
  return reduce_sum<T>(
      len, [](auto total, auto x, auto y) { return mul_add(x, y, total); }, a, b);
}

// Exact for any int length. Sums of two products fill -2^31 + 2^16 .. 2^31, the last of them wrapped to -2^31: a bias
// of 2^31 - 1 puts all of them in order.
inline std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = 2 * simd::Vec<Kiv32s>::width;
  std::int64_t total =
      sum_lanes_exactly<W>(len, 0x7FFFFFFF, [=](std::ptrdiff_t i) { return simd::products_of_pairs(a + i, b + i); });
  for (std::ptrdiff_t i = len & -W; i < len; ++i) total += a[i] * b[i];
  return total;
}

}  // namespace kivsr
