// Matrices behind row pointers in one block.
#include "frame/row_matrix.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/failed_allocations.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

using Matrix = RowMatrix<float>;

TEST(RowMatrix, FitsItsBlockFromAnyPlaceForItsPointers) {
  for (const std::size_t rows : {1U, 2U, 7U, 23U}) {
    for (const std::size_t cols : {1U, 7U, 8U, 9U, 40U}) {
      for (std::size_t start = 0; start < 32; start += sizeof(float*)) {
        Guarded<char> block(start + (Matrix::bytes(rows, cols) + sizeof(float*) - 1) / sizeof(float*) * sizeof(float*));
        char* const first =
            reinterpret_cast<char*>(round_up(reinterpret_cast<std::uintptr_t>(block.data()), sizeof(float*))) + start;
        if (first + Matrix::bytes(rows, cols) > block.end()) continue;
        float** const table = Matrix::place(first, rows, cols);
        ASSERT_EQ(static_cast<void*>(table), first);
        for (std::size_t r = 0; r < rows; ++r) {
          ASSERT_EQ(reinterpret_cast<std::uintptr_t>(table[r]) % 32, 0U);
          ASSERT_GE(static_cast<void*>(table[r]), r == 0 ? static_cast<void*>(table + rows) : table[r - 1] + cols);
          for (std::size_t c = 0; c < Matrix::padded(cols); ++c) ASSERT_EQ(table[r][c], 0.0F);
          table[r][cols - 1] = 1;
        }
        ASSERT_LE(reinterpret_cast<char*>(table[rows - 1] + Matrix::padded(cols)), block.end());
      }
    }
  }
}

TEST(RowMatrix, RefusesWhatNoIntCounts) {
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(Matrix::bytes(kMost / 8, 1), Matrix::kTooLarge);
  EXPECT_EQ(Matrix::bytes(1, kMost / 4), Matrix::kTooLarge);
  EXPECT_EQ(Matrix::bytes(kMost / 2, kMost / 2), Matrix::kTooLarge);
  const AllocationWatch watch;
  EXPECT_EQ(Matrix::create(1U << 20, 1U << 12), nullptr);
  EXPECT_EQ(Matrix::create(kMost / 8, 1), nullptr);
  EXPECT_EQ(AllocationWatch::calls(), 0);
  release(Matrix::create(3, 5));
  EXPECT_EQ(AllocationWatch::calls(), 1);
  EXPECT_EQ(AllocationWatch::live(), 0);
  const AllocationWatch failing(1);
  EXPECT_EQ(Matrix::create(3, 5), nullptr);
}

}  // namespace
}  // namespace kivsr::test
