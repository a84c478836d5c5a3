// Aligned blocks through the hooks.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

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

}  // namespace
}  // namespace kivsr::test
