// Allocator, block-diagonal matrices, version record and constants.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/failed_allocations.h"

namespace kivsr::test {
namespace {

std::size_t last_request;

TEST(Allocator, AlignsRequestsAndReleases) {
  const auto saved = i_malloc;
  i_malloc = [](std::size_t bytes) {
    last_request = bytes;
    return std::malloc(bytes);
  };
  const std::size_t slack = 32 + sizeof(void*);
  for (int n : {1, 7, 32, 1000}) {
    const std::size_t len = static_cast<std::size_t>(n);
    const auto check = [&](auto* block) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0U);
      EXPECT_EQ(last_request, len * sizeof(*block) + slack);
      std::memset(block, 0xFF, len * sizeof(*block));
      kivsFree(block);
    };
    check(kivsMalloc_8u(n));
    check(kivsMalloc_16s(n));
    check(kivsMalloc_32s(n));
    check(kivsMalloc_32f(n));
    check(kivsMalloc_64f(n));
  }
  i_malloc = saved;
}

TEST(Allocator, RefusesWithoutCallingTheHook) {
  const AllocationWatch watch;
  EXPECT_EQ(kivsMalloc_32f(0), nullptr);
  EXPECT_EQ(kivsMalloc_64f(-1), nullptr);
  if (sizeof(void*) == 4) {
    EXPECT_EQ(kivsMalloc_64f(std::numeric_limits<int>::max()), nullptr);
    EXPECT_EQ(kivsMalloc_32f(0x3FFFFFFF), nullptr);
  }
  EXPECT_EQ(AllocationWatch::calls(), 0);
  kivsFree(nullptr);
  Free2d(nullptr);
  Free2d(kivsMalloc_16s(3));
  EXPECT_EQ(AllocationWatch::live(), 0);
}

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

TEST(Version, IsOneConstantRecord) {
  const KivLibraryVersion* const v = kivsrGetLibVersion();
  EXPECT_EQ(v, kivsrGetLibVersion());
  EXPECT_EQ(v->major, 5);
  EXPECT_EQ(v->minor, 2);
  EXPECT_EQ(v->majorBuild, 108);
  EXPECT_EQ(v->build, 385);
  EXPECT_EQ(std::memcmp(v->targetCpu, "w7\0\0", 4), 0);
  EXPECT_STREQ(v->name, "libkivsrw7.so.5.2");
  EXPECT_STREQ(v->version, "5.2");
  EXPECT_STREQ(v->buildDate, "Jul 11 2007");
}

TEST(Constants, AreInfinitiesAndNan) {
  EXPECT_EQ(kivConstantOfINF_32f, std::numeric_limits<float>::infinity());
  EXPECT_EQ(kivConstantOfINF_NEG_32f, -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(kivConstantOfNAN_32f));
  EXPECT_EQ(kivConstantOfINF_64f, std::numeric_limits<double>::infinity());
  EXPECT_EQ(kivConstantOfINF_NEG_64f, -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(kivConstantOfNAN_64f));
}

}  // namespace
}  // namespace kivsr::test
