// Language-model scaling.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

TEST(LanguageModel, ScalesFlooredScores) {
  Random random;
  for (const int n : test_lengths()) {
    const std::size_t len = static_cast<std::size_t>(n);
    const Guarded<float> x(random.values<float>(len, -20, 0));
    Guarded<float> y(len);
    ASSERT_EQ(kivsScaleLM_32f(x.data(), y.data(), n, -12.5F, 9.1F, -0.7F), kivStatusOk);
    const Guarded<Kiv16s> words(random.values<Kiv16s>(len, -32768, 32767));
    Guarded<Kiv32s> scaled(len);
    ASSERT_EQ(kivsScaleLM_16s32s(words.data(), scaled.data(), n, -20000, -32768, 2147483647), kivStatusOk);
    for (std::size_t i = 0; i < len; ++i) {
      const float product = std::max(x[i], -12.5F) * 9.1F;
      ASSERT_EQ(y[i], product + -0.7F);
      const std::int64_t exact = std::int64_t{std::max<Kiv16s>(words[i], -20000)} * -32768 + 2147483647;
      ASSERT_EQ(scaled[i], static_cast<Kiv32s>(static_cast<std::uint32_t>(exact))) << "wraps";
    }
  }
}

TEST(LanguageModel, SpecialValues) {
  const std::vector<float> x = {std::nanf(""), -std::numeric_limits<float>::infinity(), -3};
  for (std::size_t n = 1; n <= 3; ++n) {
    std::vector<float> y(n);
    ASSERT_EQ(kivsScaleLM_32f(x.data(), y.data(), static_cast<int>(n), -10, 2, 1), kivStatusOk);
    const std::vector<float> expected = {-19, -19, -5};
    expect_exact(y, std::vector<float>(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(n)));
  }
  // A NaN floor is taken for every score.
  std::vector<float> y(3);
  ASSERT_EQ(kivsScaleLM_32f(x.data(), y.data(), 3, std::nanf(""), 2, 1), kivStatusOk);
  for (const float v : y) EXPECT_TRUE(std::isnan(v));
  const Kiv16s lowest = -32768;
  Kiv32s result;
  ASSERT_EQ(kivsScaleLM_16s32s(&lowest, &result, 1, -32768, -32768, 0), kivStatusOk);
  EXPECT_EQ(result, 1073741824);
}

TEST(LanguageModel, Statuses) {
  const float x = 1;
  float y = 5;
  EXPECT_EQ(kivsScaleLM_32f(nullptr, &y, 0, 0, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsScaleLM_32f(&x, nullptr, 1, 0, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsScaleLM_32f(&x, &y, 0, 0, 1, 0), kivStatusBadSize);
  EXPECT_EQ(y, 5);
  const Kiv16s word = 1;
  Kiv32s scaled = 5;
  EXPECT_EQ(kivsScaleLM_16s32s(nullptr, &scaled, 0, 0, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsScaleLM_16s32s(&word, nullptr, 1, 0, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsScaleLM_16s32s(&word, &scaled, -1, 0, 1, 0), kivStatusBadSize);
  EXPECT_EQ(scaled, 5);
}

}  // namespace
}  // namespace kivsr::test
