// Sums of vectors. Exports: sums.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

template <class T>
inline T sum(const T* src, std::ptrdiff_t len) {
  return reduce_sum<T>(
      len, [](auto total, auto x) { return total + x; }, src);
}

// Exact for any int length.
std::int64_t exact_sum(const Kiv16s* src, std::ptrdiff_t len);
std::int64_t exact_sum(const Kiv32s* src, std::ptrdiff_t len);

}  // namespace kivsr
