// The aligned allocator under kivsMalloc_* and every state object and scratch block.
#pragma once

#include <cstddef>

namespace kivsr {

inline constexpr std::size_t kBlockAlignment = 32;

// A 32-byte aligned block through i_malloc, or null. Byte counts that size_t cannot hold are refused.
void* allocate_bytes(std::size_t bytes);
void release(void* block);

template <class T>
T* allocate(std::size_t count) {
  if (count > static_cast<std::size_t>(-1) / sizeof(T)) return nullptr;
  return static_cast<T*>(allocate_bytes(count * sizeof(T)));
}

}  // namespace kivsr
