// Sizes and places of the parts of a state object.
#include "frame/layout.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace kivsr::test {
namespace {

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

TEST(Layout, PartsFillTheBlockFromAnyStart) {
  for (std::size_t start = 0; start < 40; ++start) {
    Layout layout;
    const Part<char> text = layout.add<char>(33);
    const Part<double> numbers = layout.add<double>(5);
    const Part<int> nothing = layout.add<int>(0);
    const Part<short> words = layout.add<short>(1);
    std::vector<char> block(layout.bytes_from_any_start() + start);
    char* const first = block.data() + start;
    void* const aligned = align_up(first);
    char* const begins[] = {text.in(aligned), reinterpret_cast<char*>(numbers.in(aligned)),
                            reinterpret_cast<char*>(nothing.in(aligned)), reinterpret_cast<char*>(words.in(aligned))};
    const std::size_t bytes[] = {33, 5 * sizeof(double), 0, 2};
    EXPECT_GE(begins[0], first);
    EXPECT_LT(begins[0] - first, 32);
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(begins[k]) % kPartAlignment, 0U);
      const char* const next = k < 3 ? begins[k + 1] : block.data() + block.size();
      EXPECT_LE(begins[k] + bytes[k], next);
    }
    EXPECT_EQ(layout.bytes(), 64U + 64U + 32U);
    EXPECT_TRUE(layout.fits_int());
  }
}

TEST(Layout, AppendedPartsLeaveNoGaps) {
  Layout layout;
  EXPECT_EQ(layout.append<char>(5).offset, 0U);
  EXPECT_EQ(layout.append<float>(2).offset, 5U);
  EXPECT_EQ(layout.append<char>(1).offset, 13U);
  EXPECT_EQ(layout.bytes(), 14U);
  layout.append<double>(kMost / 8);
  EXPECT_TRUE(layout.overflow());
}

TEST(Layout, OverflowStays) {
  for (const std::size_t count : {kMost, kMost / 8, kMost / 8 - 4}) {
    Layout layout;
    layout.add<float>(100);
    layout.add<double>(count);
    EXPECT_TRUE(layout.overflow()) << count;
    layout.add<float>(1);
    EXPECT_TRUE(layout.overflow());
    EXPECT_FALSE(layout.fits_int());
  }
  Layout full;  // sizes that size_t only just holds do not wrap
  full.add<char>(kMost - 4 * kPartAlignment);
  EXPECT_FALSE(full.overflow());
  EXPECT_GE(full.bytes_from_any_start(), kMost - 4 * kPartAlignment);
  full.add<char>(kPartAlignment * 3);
  EXPECT_TRUE(full.overflow());
}

TEST(Layout, FitsInt) {
  constexpr std::size_t kInt = std::numeric_limits<int>::max();
  for (std::size_t bytes = kInt - 100; bytes < kInt + 100; ++bytes) {
    Layout layout;
    layout.add<char>(bytes);
    EXPECT_EQ(layout.fits_int(), layout.bytes_from_any_start() <= kInt) << bytes;
    EXPECT_GE(layout.bytes_from_any_start(), bytes + kPartAlignment - 1);
  }
}

}  // namespace
}  // namespace kivsr::test
