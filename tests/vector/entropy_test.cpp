// Entropies against references in wider types.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Kiv32s kLow = std::numeric_limits<Kiv32s>::min();

TEST(Entropy, IsTheSumOfPLog2PWithoutMinus) {
  Random random(9);
  for (int n : test_lengths()) {
    auto data = random.values<float>(n, 0, 1);
    if (n > 2) data[n / 2] = 0;
    if (n > 3) data[0] = 1e-42F, data[n - 1] = -0.0F;
    double truth = 0, magnitudes = 0;
    for (float p : data) {
      const double term = p > 0 ? p * std::log2(static_cast<double>(p)) : 0;
      truth += term, magnitudes += std::abs(term);
    }
    at_both_guards(data, [&](const float* src, int len) {
      float result = kNaN;
      ASSERT_EQ(kivsEntropy_32f(src, len, &result), kivStatusOk);
      EXPECT_TRUE(within_reduction<float>(result, truth, magnitudes, 2 * data.size()));
    });
    for (int place : {0, n / 2, n - 1}) {
      auto bad = data;
      bad[place] = place % 2 == 0 ? -1e-40F : kNaN;
      float result = 0;
      EXPECT_EQ(kivsEntropy_32f(bad.data(), n, &result), kivStatusNanResult);
      EXPECT_TRUE(std::isnan(result));
    }
  }
  float result;
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{0.5F, 0.5F}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, -1.0F);
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{1, 0}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, 0.0F);
  EXPECT_EQ(kivsEntropy_32f(std::vector<float>{0, kInf}.data(), 2, &result), kivStatusOk);
  EXPECT_EQ(result, kInf);
}

TEST(Entropy, OfWordsReadsFifteenFractionalBits) {
  Random random(10);
  for (int n : {1, 2, 5, 33, 200}) {
    const auto data = random.values<Kiv16s>(n, 0, 32767);
    long double truth = 0;
    for (Kiv16s p : data) truth += p > 0 ? p / 32768.0L * std::log2(p / 32768.0L) : 0;
    at_both_guards(data, [&](const Kiv16s* src, int len) {
      for (int scale : {-40, -20, -10, 0, 3, 2000}) {
        Kiv32s result = 1;
        ASSERT_EQ(kivsEntropy_16s32s_Sfs(src, len, &result, scale), kivStatusOk);
        EXPECT_EQ(result, scaled_reference<Kiv32s>(truth, scale)) << scale;
      }
    });
  }
  Kiv32s result = 1;
  EXPECT_EQ(kivsEntropy_16s32s_Sfs(std::vector<Kiv16s>{16384, 0, 16384}.data(), 3, &result, -15), kivStatusOk);
  EXPECT_EQ(result, -32768);
  EXPECT_EQ(kivsEntropy_16s32s_Sfs(std::vector<Kiv16s>{1, 1, 0, 1}.data(), 4, &result, -15), kivStatusOk);
  EXPECT_EQ(result, 3 * -15);
  EXPECT_EQ(kivsEntropy_16s32s_Sfs(std::vector<Kiv16s>{16384, -1}.data(), 2, &result, 0), kivStatusNanResult);
  EXPECT_EQ(result, kLow);
}

TEST(Entropy, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using S = Kiv16s;
  using L = Kiv32s;
  expect_checks<const F, F>(reduction(kivsEntropy_32f));
  expect_checks<const S, L>(reduction(kivsEntropy_16s32s_Sfs, 0));
}

}  // namespace
}  // namespace kivsr::test
