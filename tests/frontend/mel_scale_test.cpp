// Conversion between hertz and mel.
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

TEST(MelScale, ConvertsBothWays) {
  Random random(22);
  const auto src = random.values<float>(100, 0, 24000);
  std::vector<float> mels(100);
  std::vector<float> back(100);
  for (const auto& [multiplier, divisor] :
       std::vector<std::pair<float, float>>{{2595, 700}, {1127, 700}, {0.37F, 3.1F}}) {
    ASSERT_EQ(kivsLinearToMel_32f(src.data(), mels.data(), 100, multiplier, divisor), kivStatusOk);
    ASSERT_EQ(kivsMelToLinear_32f(mels.data(), back.data(), 100, multiplier, divisor), kivStatusOk);
    for (std::size_t i = 0; i < src.size(); ++i) {
      const double m = multiplier * std::log1p(static_cast<double>(src[i]) / divisor);
      EXPECT_TRUE(within_units(mels[i], m, 1));
      EXPECT_TRUE(within_units(back[i], divisor * std::expm1(mels[i] / static_cast<double>(multiplier)), 1));
    }
  }
  // Outside of the scale: a NaN or an infinity, and no other trace.
  const float odd[] = {-512, -1000, 1e9F};
  float results[3];
  errno = 0;
  EXPECT_EQ(kivsLinearToMel_32f(odd, results, 2, 2595, 512), kivStatusOk);
  EXPECT_EQ(results[0], -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(results[1]));
  EXPECT_EQ(kivsMelToLinear_32f(odd + 2, results, 1, 2595, 700), kivStatusOk);
  EXPECT_EQ(results[0], std::numeric_limits<float>::infinity());
  EXPECT_EQ(errno, 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (auto convert : {kivsLinearToMel_32f, kivsMelToLinear_32f}) {
    EXPECT_EQ(convert(nullptr, results, 0, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(convert(odd, nullptr, 1, 1, 1), kivStatusNullPointer);
    EXPECT_EQ(convert(odd, results, 0, 1, 1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, 0, 1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, 1, -1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, nan, 1), kivStatusOk);
  }
}

}  // namespace
}  // namespace kivsr::test
