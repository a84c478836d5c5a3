// Temporary memory: on the stack up to its limit, from the allocator beyond, released on every path.
#include "frame/scratch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "support/failed_allocations.h"

namespace kivsr::test {
namespace {

template <class T, int N>
void expect_room_for(std::size_t count, int allocations) {
  const AllocationWatch watch;
  {
    Scratch<T, N> scratch(count);
    ASSERT_TRUE(scratch);
    EXPECT_EQ(AllocationWatch::calls(), allocations) << count;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(scratch.data()) % 32, 0U);
    for (std::size_t i = 0; i < count; ++i) scratch[static_cast<std::ptrdiff_t>(i)] = static_cast<T>(i);
    const auto& read = scratch;
    for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(read.data()[i], static_cast<T>(i));
  }
  EXPECT_EQ(AllocationWatch::live(), 0);
}

TEST(Scratch, StackUpToItsLimit) {
  for (const std::size_t count : {0U, 1U, 8U}) expect_room_for<float, 8>(count, 0);
  for (const std::size_t count : {9U, 1000U}) expect_room_for<float, 8>(count, 1);
  for (const std::size_t count : {1U, 8U, 1000U}) expect_room_for<double, 0>(count, 1);
}

TEST(Scratch, FailsWithoutTouchingMemory) {
  {
    const AllocationWatch watch(1);
    EXPECT_FALSE((Scratch<float, 8>(9)));
    EXPECT_EQ(AllocationWatch::live(), 0);
  }
  {
    const AllocationWatch watch(1);
    EXPECT_FALSE((Scratch<float>(9)));
    EXPECT_EQ(AllocationWatch::live(), 0);
  }
  const AllocationWatch watch;
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  EXPECT_FALSE((Scratch<double, 4>(kMost / 2)));  // the byte count does not fit
  EXPECT_FALSE((Scratch<double>(kMost / 8)));     // nor does it with the allocator's own
  EXPECT_EQ(AllocationWatch::calls(), 0);
}

}  // namespace
}  // namespace kivsr::test
