// The block-diagonal matrix object: a handle is the address of this header, so that the handle read as a pointer gives
// the row-pointer array.
#pragma once

#include <cstdint>

#include "kivsr/types.h"

namespace kivsr {

template <class T>
struct BlockDiagonal {
  T** rows;  // row r holds the elements of its block only
  const int* block_sizes;
  void* raw;  // the allocator's block
  std::uint16_t blocks;
  std::uint16_t dimension;  // the sum of the block sizes

  static const BlockDiagonal& of(const T* const* handle) { return *reinterpret_cast<const BlockDiagonal*>(handle); }
};

#if defined(__i386__)
static_assert(sizeof(BlockDiagonal<float>) == 16, "four words on i386");
#endif

}  // namespace kivsr
