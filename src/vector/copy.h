// Copies and fills. Exports: copy.cpp.
#pragma once

#include <cstddef>
#include <cstring>

namespace kivsr {

// The arrays do not overlap.
template <class T>
inline void copy(T* dst, const T* src, std::ptrdiff_t len) {
  std::memcpy(dst, src, static_cast<std::size_t>(len) * sizeof(T));
}

// The arrays may overlap. In place nothing is written: the memory may be read-only, or shared with readers.
template <class T>
inline void move(T* dst, const T* src, std::ptrdiff_t len) {
  if (dst != src) std::memmove(dst, src, static_cast<std::size_t>(len) * sizeof(T));
}

template <class T>
inline void zero(T* dst, std::ptrdiff_t len) {
  std::memset(dst, 0, static_cast<std::size_t>(len) * sizeof(T));
}

}  // namespace kivsr
