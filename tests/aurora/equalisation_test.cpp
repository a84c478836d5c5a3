// Blind equalisation: the recursion, its step sizes and its convergence.
#include <gtest/gtest.h>

#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

TEST(Equalisation, RemovesAConstantChannel) {
  Random random;
  const int len = 12;
  const auto reference = random.values<float>(len, -5, 5);
  const auto channel = random.values<float>(len, -3, 3);
  std::vector<float> bias(len, 0.0F);
  std::vector<float> frame(len);
  for (int t = 0; t < 3000; ++t) {
    for (int i = 0; i < len; ++i) frame[i] = reference[i] + channel[i];
    ASSERT_EQ(kivsBlindEqualization_Aurora_32f(reference.data(), frame.data(), bias.data(), len, 10.0F), kivStatusOk);
  }
  for (int i = 0; i < len; ++i) {
    EXPECT_NEAR(bias[i], channel[i], 1e-3);
    EXPECT_NEAR(frame[i], reference[i], 1e-3);
  }
}

TEST(Equalisation, StepGrowsWithEnergyInBothForms) {
  struct Case {
    float energy;
    int energy_q6;
    float step;
  };
  for (const Case& c : {Case{-9, -1000, 0}, Case{3.296875F, 211, 0}, Case{3.796875F, 243, 0.00439453125F},
                        Case{4.296875F, 275, 0.0087890625F}, Case{1e30F, 0x7FFFFFFF, 0.0087890625F}}) {
    for (const int len : {1, 3, 4, 13, 33}) {
      Random random(static_cast<unsigned>(len));
      const std::size_t n = static_cast<std::size_t>(len);
      Guarded<float> reference(random.values<float>(n, -9, 9)), cepstrum(random.values<float>(n, -9, 9)),
          bias(random.values<float>(n, -9, 9));
      std::vector<float> corrected, moved;
      for (std::size_t i = 0; i < n; ++i) {
        const float d = cepstrum[i] - bias[i];
        const float change = c.step * (d - reference[i]);
        corrected.push_back(d);
        moved.push_back(bias[i] + change);
      }
      ASSERT_EQ(kivsBlindEqualization_Aurora_32f(reference.data(), cepstrum.data(), bias.data(), len, c.energy), 0);
      expect_exact(cepstrum, corrected);
      expect_exact(bias, moved);

      Guarded<Kiv16s> reference16(random.values<Kiv16s>(n, -32768, 32767)),
          cepstrum16(random.values<Kiv16s>(n, -32768, 32767)), bias16(random.values<Kiv16s>(n, -32768, 32767));
      std::vector<Kiv16s> corrected16, moved16;
      for (std::size_t i = 0; i < n; ++i) {
        const double d = cepstrum16[i] - bias16[i];
        corrected16.push_back(static_cast<Kiv16s>(std::fmin(32767, std::fmax(-32768, d))));
        const double b = bias16[i] + std::floor(double{c.step} * (d - reference16[i]));
        moved16.push_back(static_cast<Kiv16s>(std::fmin(32767, std::fmax(-32768, b))));
      }
      ASSERT_EQ(
          kivsBlindEqualization_Aurora_16s(reference16.data(), cepstrum16.data(), bias16.data(), len, c.energy_q6), 0);
      expect_exact(cepstrum16, corrected16);
      expect_exact(bias16, moved16);
    }
  }
}

TEST(Equalisation, ChecksInOrder) {
  float x[2] = {1, 2};
  Kiv16s y[2] = {1, 2};
  EXPECT_EQ(kivsBlindEqualization_Aurora_32f(x, nullptr, x, 0, 9), kivStatusNullPointer);
  EXPECT_EQ(kivsBlindEqualization_Aurora_32f(x, x, x, 0, 9), kivStatusBadSize);
  EXPECT_EQ(kivsBlindEqualization_Aurora_16s(y, y, nullptr, 0, 999), kivStatusNullPointer);
  EXPECT_EQ(kivsBlindEqualization_Aurora_16s(y, y, y, -1, 999), kivStatusBadSize);
}

}  // namespace
}  // namespace kivsr::test
