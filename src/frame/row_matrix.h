// A matrix of 4-byte elements behind row pointers, in one block: the row pointers, then, from the next 32-byte
// boundary, the rows. Each row is padded to a multiple of 8 elements, so that every row starts on a 32-byte boundary
// and a vector may run over the end of its row. Padding and elements start as zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "allocator.h"
#include "layout.h"

namespace kivsr {

template <class T>
struct RowMatrix {
  static_assert(sizeof(T) == 4);
  static constexpr std::size_t kTooLarge = std::numeric_limits<std::size_t>::max();

  static std::size_t padded(std::size_t cols) { return round_up(cols, 8); }

  // The size of the block, which may start on any multiple of 4; kTooLarge if size_t cannot hold it.
  static std::size_t bytes(std::size_t rows, std::size_t cols) {
    const std::size_t row = sizeof(T*) + padded(cols) * sizeof(T);
    std::size_t total;
    if (cols > kTooLarge / sizeof(T) - 8 - sizeof(T*) || __builtin_mul_overflow(rows, row, &total) ||
        __builtin_add_overflow(total, std::size_t{7 * sizeof(T)}, &total)) {
      return kTooLarge;
    }
    return total;
  }

  static T** place(void* block, std::size_t rows, std::size_t cols) {
    T** const table = static_cast<T**>(block);
    T* const data = static_cast<T*>(align_up(table + rows));
    std::memset(data, 0, rows * padded(cols) * sizeof(T));
    for (std::size_t i = 0; i < rows; ++i) table[i] = data + i * padded(cols);
    return table;
  }

  // From the library allocator, or null, which matrices larger than int can count are as well; to be released as one
  // block.
  static T** create(std::size_t rows, std::size_t cols) {
    const std::size_t size = bytes(rows, cols);
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) return nullptr;
    void* const block = allocate_bytes(size);
    return block == nullptr ? nullptr : place(block, rows, cols);
  }
};

}  // namespace kivsr
