// Construction and release of block-diagonal matrices. See block_diagonal.h for the record.
#include "block_diagonal.h"

#include <cstddef>
#include <cstring>
#include <limits>

#include "allocator.h"
#include "kivsr/frame/block_diagonal.h"
#include "layout.h"
#include "status.h"

namespace kivsr {
namespace {

// Bytes to request. Every row counts as long as the square of a padded row, which is more than the rows and the header
// take together. 0 if the total does not fit int, or a count does not fit 16 bits.
std::size_t object_bytes(const int* sizes, int blocks, std::size_t element, int* dimension) {
  constexpr std::uint64_t kLimit = std::numeric_limits<int>::max();
  constexpr int kMostRows = std::numeric_limits<std::uint16_t>::max();
  int rows = 0;
  std::uint64_t row_bytes = 0;
  for (int k = 0; k < blocks; ++k) {
    if (sizes[k] > kMostRows - rows) return 0;
    rows += sizes[k];
    const std::uint64_t row = round_up(static_cast<std::size_t>(sizes[k]) * element, 16);
    row_bytes += row * row;
  }
  const std::uint64_t total = round_up(static_cast<std::size_t>(blocks) * sizeof(int), 16) +
                              round_up(static_cast<std::size_t>(rows) * sizeof(void*), 16) + row_bytes + 31;
  *dimension = rows;
  return total > kLimit ? 0 : static_cast<std::size_t>(total);
}

template <class T>
KivStatus init_alloc(T*** handle, const T* const* src, const int* sizes, int blocks) {
  if (const KivStatus s = first_failure(not_null(handle, src, sizes), positive(blocks)); s != kivStatusOk) return s;
  for (int k = 0; k < blocks; ++k) {
    if (sizes[k] < 1) return kivStatusBadSize;
  }
  using Object = BlockDiagonal<T>;
  int dimension = 0;
  const std::size_t bytes = object_bytes(sizes, blocks, sizeof(T), &dimension);
  if (bytes == 0) return kivStatusNoMemory;
  char* const raw = static_cast<char*>(allocate_bytes(bytes));
  if (raw == nullptr) return kivStatusNoMemory;

  const auto boundary = [](char* p) {
    return reinterpret_cast<char*>(round_up(reinterpret_cast<std::uintptr_t>(p), 16));
  };
  auto* const object = reinterpret_cast<Object*>(boundary(raw));
  auto* const size_copy = reinterpret_cast<int*>(object + 1);
  auto** const rows = reinterpret_cast<T**>(boundary(reinterpret_cast<char*>(size_copy + blocks)));
  char* next = boundary(reinterpret_cast<char*>(rows + dimension));
  *object = {rows, size_copy, raw, static_cast<std::uint16_t>(blocks), static_cast<std::uint16_t>(dimension)};
  std::memcpy(size_copy, sizes, static_cast<std::size_t>(blocks) * sizeof(int));
  int r = 0;
  for (int k = 0; k < blocks; ++k) {
    const std::size_t used = static_cast<std::size_t>(sizes[k]) * sizeof(T);
    for (int i = 0; i < sizes[k]; ++i, ++r) {
      rows[r] = reinterpret_cast<T*>(next);
      std::memcpy(rows[r], src[r], used);
      next += round_up(used, 16);
    }
  }
  *handle = reinterpret_cast<T**>(object);
  return kivStatusOk;
}

KivStatus free_matrix(const void* handle) {
  return run(not_null(handle), [&] { release(static_cast<const BlockDiagonal<char>*>(handle)->raw); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
KivStatus kivsBlockDMatrixInitAlloc_16s(Kiv16s*** pMatrix, const Kiv16s* const* pSrc, const int* pBlockSizes,
                                        int nBlocks) {
  return kivsr::init_alloc(pMatrix, pSrc, pBlockSizes, nBlocks);
}
KivStatus kivsBlockDMatrixInitAlloc_32f(Kiv32f*** pMatrix, const Kiv32f* const* pSrc, const int* pBlockSizes,
                                        int nBlocks) {
  return kivsr::init_alloc(pMatrix, pSrc, pBlockSizes, nBlocks);
}
KivStatus kivsBlockDMatrixInitAlloc_64f(Kiv64f*** pMatrix, const Kiv64f* const* pSrc, const int* pBlockSizes,
                                        int nBlocks) {
  return kivsr::init_alloc(pMatrix, pSrc, pBlockSizes, nBlocks);
}
KivStatus kivsBlockDMatrixFree_16s(Kiv16s** pMatrix) { return kivsr::free_matrix(pMatrix); }
KivStatus kivsBlockDMatrixFree_32f(Kiv32f** pMatrix) { return kivsr::free_matrix(pMatrix); }
KivStatus kivsBlockDMatrixFree_64f(Kiv64f** pMatrix) { return kivsr::free_matrix(pMatrix); }
}
