// SIMD wrapper: loads for rows of a few dozen numbers, as load and load_some of vec.h. Sixteen lanes are often more
// than such a row has, and most of their loads cross a cache line.
#pragma once

#include "vec.h"

namespace kivsr::simd {

template <class T, class S>
inline ShortVec<T> load_short(const S* p) {
  return load_as<ShortVec<T>>(p);
}

template <class T, class S>
inline ShortVec<T> load_some_short(const S* p, int n) {
  if constexpr (std::is_same_v<ShortVec<T>, Vec<T>>) {
    return load_some<T>(p, n);
  } else if constexpr (std::is_same_v<T, S>) {
    return detail::Part<ShortVec<T>>::load(p, n);
  } else {
    S lanes[ShortVec<T>::width] = {};
    for (int i = 0; i < n; ++i) lanes[i] = p[i];
    return load_short<T>(lanes);
  }
}

}  // namespace kivsr::simd
