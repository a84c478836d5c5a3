// Copies and fills of arrays that do not overlap. Exports: copy.cpp.
#pragma once

#include <cstddef>
#include <cstring>

namespace kivsr {

template <class T>
inline void copy(T* dst, const T* src, std::ptrdiff_t len) {
  std::memcpy(dst, src, static_cast<std::size_t>(len) * sizeof(T));
}

template <class T>
inline void zero(T* dst, std::ptrdiff_t len) {
  std::memset(dst, 0, static_cast<std::size_t>(len) * sizeof(T));
}

}  // namespace kivsr
