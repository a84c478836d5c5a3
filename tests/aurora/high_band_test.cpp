// High bands: codes and merging against their formulas in double precision, the reduction against its recursion.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

double log_of(double x) { return std::log(x > std::exp(-10.0) ? x : std::exp(-10.0)); }

double sum_of(const Guarded<float>& power, std::size_t first, std::size_t last) {
  double sum = 0;
  for (std::size_t k = first; k <= last; ++k) sum += power[k];
  return sum;
}

TEST(HighBandCoding, DifferencesOfLogarithmsAndBack) {
  Random random;
  for (const double level : {1e-9, 1e-3, 1.0, 1e4, 1e11}) {
    Guarded<float> low(random.values<float>(65, 0, level)), clean(random.values<float>(129, 0, level));
    Guarded<float> high(random.values<float>(3, 0, level)), codes(9), coded(3);
    ASSERT_EQ(kivsHighBandCoding_Aurora_32f(low.data(), high.data(), codes.data()), kivStatusOk);
    ASSERT_EQ(kivsHighBandDecoding_Aurora_32f(clean.data(), codes.data(), coded.data()), kivStatusOk);
    const double below[] = {log_of(sum_of(low, 33, 38)), log_of(sum_of(low, 39, 48)), log_of(sum_of(low, 49, 64))};
    const double behind[] = {log_of(sum_of(clean, 66, 76) / 2), log_of(sum_of(clean, 78, 96) / 2),
                             log_of(sum_of(clean, 98, 128) / 2)};
    const double shares[] = {0.1, 0.2, 0.7};
    for (std::size_t i = 0; i < 3; ++i) {
      double sum = std::log(1.9);
      for (std::size_t j = 0; j < 3; ++j) {
        EXPECT_NEAR(codes[3 * i + j], below[j] - log_of(high[i]), 4e-6);
        sum += shares[j] * (behind[j] - codes[3 * i + j]);
      }
      EXPECT_NEAR(coded[i], sum, 4e-6);
    }
  }
}

TEST(HighBandCoding, SilenceAndSpecialValues) {
  std::vector<float> low(129, 0.0F), codes(9, kNan), coded(3);
  float high[3] = {0, kNan, -3};
  ASSERT_EQ(kivsHighBandCoding_Aurora_32f(low.data(), high, codes.data()), kivStatusOk);
  for (const float code : codes) EXPECT_EQ(code, 0.0F);  // -10 less -10
  ASSERT_EQ(kivsHighBandDecoding_Aurora_32f(low.data(), codes.data(), coded.data()), kivStatusOk);
  for (const float x : coded) EXPECT_NEAR(x, std::log(1.9) - 10, 1e-6);
  low[128] = kInf;
  ASSERT_EQ(kivsHighBandDecoding_Aurora_32f(low.data(), codes.data(), coded.data()), kivStatusOk);
  for (const float x : coded) EXPECT_EQ(x, kInf);
}

TEST(HighBandMerging, SharesOfBothWaysAndTheEdge) {
  Random random;
  for (int round = 0; round < 20; ++round) {
    const auto before = random.values<float>(26, -10, 25);
    Guarded<float> coded(random.values<float>(3, -10, 20)), high(random.values<float>(3, 0, round == 0 ? 1e-8 : 1e7));
    Guarded<float> bands(before), energy(random.values<float>(1, 0, 1e9));
    double sum = energy[0];
    ASSERT_EQ(kivsHighBandMerging_Aurora_32f(coded.data(), high.data(), bands.data(), energy.data()), kivStatusOk);
    double merged[3];
    for (std::size_t i = 0; i < 3; ++i) merged[i] = 0.7 * coded[i] + 0.3 * log_of(1.9 * high[i]);
    const double mean = (before[22] + merged[0]) / 2;
    EXPECT_TRUE(within_units(bands[22], 0.6 * before[22] + 0.4 * mean, 0.51));
    merged[0] = 0.6 * merged[0] + 0.4 * mean;
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(within_units(bands[23 + i], merged[i], 0.51));
      sum += std::exp(merged[i]) / 1.9;
    }
    EXPECT_TRUE(within_units(energy[0], sum, 0.51));
    for (std::size_t i = 0; i < 22; ++i) EXPECT_EQ(bands[i], before[i]);
  }
}

// The recursion in double precision.
struct Reference {
  double noise[3] = {0, 0, 0}, mean = 0;
  int t = 0, loud = 0, hangover = 0;

  bool speech(double e, double share) {
    if (t < 10 || e - mean < 1.2) mean += (t < 10 ? share : e < mean ? 0.02 : 0.005) * (e - mean);
    if (e - mean > 2.2) return ++loud, true;
    if (loud > 4) hangover = 15;
    loud = 0;
    return hangover > 0 && hangover-- > 0;
  }
  std::array<double, 3> next(const float* h) {
    ++t;
    const double share = t < 100 ? 1.0 / t : 0.01;
    const bool quiet = !speech(std::log(std::fmax(double{h[0]} + h[1] + h[2], 0.001)), share);
    std::array<double, 3> result;
    for (std::size_t i = 0; i < 3; ++i) {
      const double step = t >= 10 && h[i] >= noise[i] ? 0.005 : share;
      if (quiet) noise[i] = std::fmax((1 - step) * noise[i] + step * h[i], std::exp(-10.0));
      result[i] = std::fmax(h[i] - 1.5 * noise[i], 0.1 * h[i]);
    }
    return result;
  }
};

class HighBandReduction : public ::testing::Test {
 protected:
  HighBandReduction() {
    int size = 0;
    EXPECT_EQ(kivsHighBandGetSize_Aurora_32f(&size), kivStatusOk);
    memory_.resize(static_cast<std::size_t>(size + 3) / 4);
    EXPECT_EQ(kivsHighBandInit_Aurora_32f(state()), kivStatusOk);
  }
  KivsHighBandState_Aurora* state() { return reinterpret_cast<KivsHighBandState_Aurora*>(memory_.data()); }

  std::vector<Kiv32s> memory_;
};

TEST_F(HighBandReduction, FollowsItsRecursion) {
  Random random;
  Reference reference;
  for (int t = 0; t < 400; ++t) {
    // Bursts of a few and of many frames, 15 to 25 dB above a noise that steps up in between.
    const bool loud = t % 90 > 70 || t % 50 == 20;
    const double level = (t > 250 ? 300 : 100) * (loud ? random.uniform(30, 300) : random.uniform(0.7, 1.4));
    Guarded<float> h(random.values<float>(3, 0.5 * level, level));
    const auto expected = reference.next(h.data());
    ASSERT_EQ(kivsHighBandReduction_Aurora_32f_I(h.data(), state()), kivStatusOk);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(h[i], expected[i], 2e-4 * level) << t;
  }
}

TEST_F(HighBandReduction, KeepsATenthAndSilence) {
  for (int t = 0; t < 50; ++t) {
    float h[3] = {100, 50, 0};
    ASSERT_EQ(kivsHighBandReduction_Aurora_32f_I(h, state()), kivStatusOk);
    EXPECT_EQ(h[0], 0.1F * 100);
    EXPECT_EQ(h[1], 0.1F * 50);
    EXPECT_EQ(h[2], 0.0F);
  }
}

TEST_F(HighBandReduction, ValuesThatAreNotFiniteLeaveTheState) {
  for (const float bad : {kNan, kInf, -kInf}) {
    float before[3] = {10, 20, 30}, bad_energies[3] = {10, bad, 30};
    ASSERT_EQ(kivsHighBandReduction_Aurora_32f_I(before, state()), kivStatusOk);
    const auto kept = memory_;
    ASSERT_EQ(kivsHighBandReduction_Aurora_32f_I(bad_energies, state()), kivStatusOk);
    EXPECT_EQ(memory_, kept);
    EXPECT_EQ(bad_energies[0], 10);
    EXPECT_TRUE(same_bits(bad_energies[1], bad));
  }
}

TEST(HighBand, Checks) {
  float x[129] = {}, y[26] = {};
  std::vector<Kiv32s> memory(8);
  auto* const state = reinterpret_cast<KivsHighBandState_Aurora*>(memory.data());
  EXPECT_EQ(kivsHighBandCoding_Aurora_32f(nullptr, x, y), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandCoding_Aurora_32f(x, nullptr, y), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandCoding_Aurora_32f(x, x, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandDecoding_Aurora_32f(x, y, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandDecoding_Aurora_32f(x, nullptr, y), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandMerging_Aurora_32f(x, x, y, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandMerging_Aurora_32f(x, x, nullptr, x), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandGetSize_Aurora_32f(nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandInit_Aurora_32f(nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandReduction_Aurora_32f_I(nullptr, state), kivStatusNullPointer);
  EXPECT_EQ(kivsHighBandReduction_Aurora_32f_I(x, nullptr), kivStatusNullPointer);
}

}  // namespace
}  // namespace kivsr::test
