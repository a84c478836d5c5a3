// Elementwise products that other families share. Exports: arithmetic.cpp.
#pragma once

#include <cstddef>

#include "copy.h"
#include "frame/transform.h"

namespace kivsr {

template <class T>
inline void multiply_by_constant(T* dst, const T* src, T val, std::ptrdiff_t len) {
  const auto factor = simd::Vec<T>::broadcast(val);
  transform<T>(
      len, [=](auto x) { return x * factor; }, dst, src);
}

// A factor of 1 leaves every bit alone, a factor of zero clears what is infinite or NaN too.
template <class T>
inline void scale_in_place(T* src_dst, T val, int len) {
  if (val == T{1}) return;
  if (val == T{0}) {
    zero(src_dst, len);
  } else {
    multiply_by_constant(src_dst, src_dst, val, len);
  }
}

}  // namespace kivsr
