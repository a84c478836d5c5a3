// The special results of the library, bit for bit those of the language.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

#include "kivsr.h"

namespace kivsr::test {
namespace {

TEST(Constants, AreInfinitiesAndQuietNan) {
  using F = std::numeric_limits<float>;
  using D = std::numeric_limits<double>;
  const auto bits = [](auto x) {
    if constexpr (sizeof x == 4) {
      return std::bit_cast<std::uint32_t>(x);
    } else {
      return std::bit_cast<std::uint64_t>(x);
    }
  };
  EXPECT_EQ(bits(kivConstantOfINF_32f), bits(F::infinity()));
  EXPECT_EQ(bits(kivConstantOfINF_NEG_32f), bits(-F::infinity()));
  EXPECT_EQ(bits(kivConstantOfNAN_32f), bits(F::quiet_NaN()));
  EXPECT_EQ(bits(kivConstantOfINF_64f), bits(D::infinity()));
  EXPECT_EQ(bits(kivConstantOfINF_NEG_64f), bits(-D::infinity()));
  EXPECT_EQ(bits(kivConstantOfNAN_64f), bits(D::quiet_NaN()));
}

}  // namespace
}  // namespace kivsr::test
