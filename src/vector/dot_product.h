// Dot products of vectors. Exports: dot_product.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

// Accumulated in T.
template <class T, class S>
inline T dot_product(const S* a, const S* b, std::ptrdiff_t len) {
  return reduce_sum<T>(
      len, [](auto total, auto x, auto y) { return mul_add(x, y, total); }, a, b);
}

// Exact for any int length.
std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len);

}  // namespace kivsr
