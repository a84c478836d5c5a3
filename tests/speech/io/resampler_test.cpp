#include "kivsr/speech/io/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

struct Rates {
  int from;
  int to;
};

// Power of the samples, the ends left out where the signal is cut off.
double power(const std::vector<float>& samples, const std::vector<float>& minus, std::size_t margin) {
  double sum = 0.0;
  for (std::size_t n = margin; n + margin < samples.size(); ++n) {
    const double value = static_cast<double>(samples[n]) - (minus.empty() ? 0.0F : minus[n]);
    sum += value * value;
  }
  return sum / static_cast<double>(samples.size() - 2 * margin);
}

double decibels(double ratio) { return 10.0 * std::log10(ratio); }

class ResamplerTest : public ::testing::TestWithParam<Rates> {};

// A tone of the pass band comes out as the same tone at the new rate: no delay, no images, no change of level.
TEST_P(ResamplerTest, KeepsTonesBelowTheLowerNyquistFrequency) {
  const auto [from, to] = GetParam();
  const double nyquist = 0.5 * std::min(from, to);
  const int count = from / 2;
  for (const double part : {0.013, 0.25, 0.61, 0.9}) {
    const auto output = resample(tone(part * nyquist, from, count), from, to);
    const auto ideal = tone(part * nyquist, to, static_cast<int>(output.size()));
    const std::size_t margin = output.size() / 8;
    EXPECT_GT(decibels(power(ideal, {}, margin) / power(output, ideal, margin)), 130.0)
        << part << " of the Nyquist frequency";
  }
}

TEST_P(ResamplerTest, RemovesTonesThatTheNewRateCannotHold) {
  const auto [from, to] = GetParam();
  if (from < to) GTEST_SKIP() << "every tone fits";
  const int count = from / 2;
  const double room = 0.5 * (from - to);
  for (const double part : {0.02, 0.3, 0.9}) {
    const auto input = tone(0.5 * to + part * room, from, count);
    const auto output = resample(input, from, to);
    const std::size_t margin = output.size() / 8;
    EXPECT_LT(decibels(power(output, {}, margin) / power(input, {}, input.size() / 8)), -125.0) << part;
  }
}

TEST_P(ResamplerTest, KeepsConstantsAndTheDuration) {
  const auto [from, to] = GetParam();
  const std::vector<float> input(static_cast<std::size_t>(from / 4), 1234.0F);
  const auto output = resample(input, from, to);
  EXPECT_EQ(output.size(), static_cast<std::size_t>(std::ceil(static_cast<double>(input.size()) * to / from)));
  for (std::size_t n = output.size() / 4; n < output.size() * 3 / 4; ++n) ASSERT_NEAR(output[n], 1234.0F, 0.001F);
}

INSTANTIATE_TEST_SUITE_P(Rates, ResamplerTest,
                         ::testing::Values(Rates{48000, 16000}, Rates{44100, 16000}, Rates{22050, 16000},
                                           Rates{8000, 16000}, Rates{11025, 16000}, Rates{96000, 16000},
                                           Rates{16000, 8000}),
                         [](const auto& info) {
                           return std::to_string(info.param.from) + "to" + std::to_string(info.param.to);
                         });

TEST(Resampler, LeavesEqualRatesAlone) {
  const auto input = noise(100);
  EXPECT_EQ(resample(input, 16000, 16000), input);
  EXPECT_TRUE(resample({}, 48000, 16000).empty());
}

TEST(Resampler, WorksOnSignalsShorterThanItsFilters) {
  EXPECT_EQ(resample(std::vector<float>{100.0F}, 48000, 16000).size(), 1U);
  EXPECT_EQ(resample(std::vector<float>{100.0F}, 8000, 16000).size(), 2U);
}

TEST(Resampler, RefusesRatesWithoutACommonMeasure) {
  EXPECT_THROW(resample(noise(100), 767999, 16000), Fault);
  EXPECT_THROW(resample(noise(100), 0, 16000), Fault);
}

TEST(Resampler, TheCutsDoNotMatter) {
  const auto samples = noise(5000);
  for (const auto& [from, to] : {std::pair(44100, 16000), std::pair(8000, 16000), std::pair(16000, 16000)}) {
    const std::vector<float> whole = resample(samples, from, to);
    Resampler resampler(from, to);
    for (const std::size_t block : {std::size_t{1}, std::size_t{7}, std::size_t{1000}}) {
      resampler = Resampler(from, to);
      std::vector<float> output;
      std::span<const float> left = samples;
      while (!left.empty()) {
        const auto part = left.first(std::min(block, left.size()));
        resampler.push(part, output);
        left = left.subspan(part.size());
      }
      resampler.finish(output);
      ASSERT_EQ(output, whole) << from << " to " << to << " in blocks of " << block;
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
