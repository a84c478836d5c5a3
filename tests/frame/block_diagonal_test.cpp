// Block-diagonal matrices.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/failed_allocations.h"

namespace kivsr::test {
namespace {

template <class T>
struct BlockMatrix;
template <>
struct BlockMatrix<Kiv16s> {
  static constexpr auto init = kivsBlockDMatrixInitAlloc_16s;
  static constexpr auto free = kivsBlockDMatrixFree_16s;
};
template <>
struct BlockMatrix<Kiv32f> {
  static constexpr auto init = kivsBlockDMatrixInitAlloc_32f;
  static constexpr auto free = kivsBlockDMatrixFree_32f;
};
template <>
struct BlockMatrix<Kiv64f> {
  static constexpr auto init = kivsBlockDMatrixInitAlloc_64f;
  static constexpr auto free = kivsBlockDMatrixFree_64f;
};

template <class T>
class BlockDiagonal : public ::testing::Test {};
using Elements = ::testing::Types<Kiv16s, Kiv32f, Kiv64f>;
TYPED_TEST_SUITE(BlockDiagonal, Elements);

TYPED_TEST(BlockDiagonal, KeepsTheRowsOfEachBlock) {
  using T = TypeParam;
  const std::vector<int> sizes = {1, 2, 9, 4};
  std::vector<std::vector<T>> cells;
  for (int b : sizes) {
    for (int i = 0; i < b; ++i) {
      cells.emplace_back();
      for (int j = 0; j < b; ++j) cells.back().push_back(static_cast<T>(100 * cells.size() + j));
    }
  }
  std::vector<const T*> rows;
  for (const auto& row : cells) rows.push_back(row.data());

  T** matrix = nullptr;
  ASSERT_EQ(BlockMatrix<T>::init(&matrix, rows.data(), sizes.data(), 4), kivStatusOk);
  T** const first = *reinterpret_cast<T***>(matrix);  // the handle read as a pointer: the row-pointer array
  for (std::size_t r = 0; r < cells.size(); ++r) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first[r]) % 16, 0U);
    EXPECT_EQ(std::vector<T>(first[r], first[r] + cells[r].size()), cells[r]);
  }
  const char* const header = reinterpret_cast<const char*>(matrix);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(header) % 16, 0U);
  const int* copied;
  std::memcpy(&copied, header + sizeof(void*), sizeof copied);
  EXPECT_EQ(std::vector<int>(copied, copied + 4), sizes);
  std::uint16_t counts[2];
  std::memcpy(counts, header + 3 * sizeof(void*), sizeof counts);
  EXPECT_EQ(counts[0], 4);
  EXPECT_EQ(counts[1], 16);
  EXPECT_EQ(BlockMatrix<T>::free(matrix), kivStatusOk);

  expect_survives_failed_allocations([&] {
    T** m = nullptr;
    const KivStatus status = BlockMatrix<T>::init(&m, rows.data(), sizes.data(), 4);
    EXPECT_EQ(m == nullptr, status != kivStatusOk);
    if (status == kivStatusOk) BlockMatrix<T>::free(m);
    return status;
  });
}

TYPED_TEST(BlockDiagonal, RefusesBadArgumentsInOrder) {
  using T = TypeParam;
  const AllocationWatch watch;
  const T cell = 1;
  const T* rows[] = {&cell};
  const int sizes[] = {2, 0};
  T** matrix = nullptr;
  EXPECT_EQ(BlockMatrix<T>::init(nullptr, rows, sizes, 0), kivStatusNullPointer);
  EXPECT_EQ(BlockMatrix<T>::init(&matrix, nullptr, sizes, 2), kivStatusNullPointer);
  EXPECT_EQ(BlockMatrix<T>::init(&matrix, rows, nullptr, 2), kivStatusNullPointer);
  EXPECT_EQ(BlockMatrix<T>::init(&matrix, rows, sizes, 0), kivStatusBadSize);
  EXPECT_EQ(BlockMatrix<T>::init(&matrix, rows, sizes, 2), kivStatusBadSize);
  for (int size : {65536, 50000, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(BlockMatrix<T>::init(&matrix, rows, &size, 1), kivStatusNoMemory) << size;
  }
  EXPECT_EQ(BlockMatrix<T>::free(nullptr), kivStatusNullPointer);
  EXPECT_EQ(matrix, nullptr);
  EXPECT_EQ(AllocationWatch::calls(), 0);
}

}  // namespace
}  // namespace kivsr::test
