#include "kivsr/speech/noise/enhancer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "kivsr/speech/noise/mcra_enhancer.h"
#include "kivsr/speech/noise/segmental_snr.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

class EveryMethod : public testing::TestWithParam<std::string> {
 protected:
  // Some methods work at 8000 Hz only.
  std::unique_ptr<Enhancer> enhancer_ = make_enhancer(GetParam(), 8000);
};

TEST_P(EveryMethod, BlocksOfAnySizeGiveTheSameBitsWithBoundedDelay) {
  const auto input = noise(9000, 3);
  const auto whole = enhancer_->run(input);
  ASSERT_EQ(whole.size(), input.size());
  std::mt19937 generator(1);
  for (const std::size_t largest : {1UL, 7UL, 300UL, 5000UL}) {
    std::vector<float> output;
    for (std::size_t begin = 0; begin < input.size();) {
      const std::size_t count = std::min(input.size() - begin, 1 + generator() % largest);
      enhancer_->push(std::span(input).subspan(begin, count), output);
      begin += count;
      ASSERT_LE(begin - output.size(), static_cast<std::size_t>(enhancer_->delay()));
    }
    enhancer_->finish(output);
    EXPECT_EQ(output, whole) << largest;
  }
}

TEST_P(EveryMethod, KeepsEveryLength) {
  const auto input = noise(1500, 4);
  for (const std::size_t length : {0UL, 1UL, 2UL, 63UL, 64UL, 65UL, 191UL, 192UL, 193UL, 255UL, 256UL, 257UL, 1500UL}) {
    NoiseTrack track;
    enhancer_->record_noise(&track);
    EXPECT_EQ(enhancer_->run(std::span(input).first(length)).size(), length);
    const auto hop = static_cast<std::size_t>(std::max(track.hop, 1));
    EXPECT_EQ(track.power.values.empty() ? 0 : track.power.height(), static_cast<int>((length + hop - 1) / hop));
  }
}

TEST_P(EveryMethod, LeavesSilenceSilent) {
  const std::vector<float> silence(3000, 0.0F);
  EXPECT_EQ(enhancer_->run(silence), silence);
}

TEST_P(EveryMethod, RaisesTheRatioOfSpeechInNoise) {
  const auto clean = read_audio_at("/usr/share/pocketsphinx/test/data/goforward.raw", 8000).samples;
  AudioChannels noisy{{clean}, 8000, 0};
  mix_noise(noisy, white_noise(clean.size(), 5), 5.0);
  const double before = segmental_snr(clean, noisy.channels[0], 8000);
  EXPECT_GT(segmental_snr(clean, enhancer_->run(noisy.channels[0]), 8000), before + 2.0);
}

TEST_P(EveryMethod, ForgetsTheSignalBefore) {
  const auto input = noise(3000, 9);
  const auto output = enhancer_->run(input);
  enhancer_->run(noise(4000, 10));
  EXPECT_EQ(enhancer_->run(input), output);
}

INSTANTIATE_TEST_SUITE_P(Enhancer, EveryMethod, testing::ValuesIn(enhancement_methods()), [](const auto& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

class Mcra : public testing::TestWithParam<int> {};

// With a memory of nothing and a floor of 1 every gain is 1: what remains is analysis and synthesis.
TEST_P(Mcra, GainsOfOneGiveTheInputBack) {
  McraEnhancer enhancer(GetParam(), {.rule = GainRule::kWiener, .memory = 0.0F, .floor = 1.0F});
  const auto input = noise(4000, 11);
  const auto output = enhancer.run(input);
  for (std::size_t i = 0; i < input.size(); ++i) ASSERT_NEAR(output[i], input[i], 0.01F) << i;
}

// The estimate of a stationary noise is its power, and a step of 10 dB is followed within the window of the minimum
// (twice one second) and the smoothing.
TEST_P(Mcra, FollowsTheNoise) {
  const int rate = GetParam();
  std::vector<float> input = white_noise(static_cast<std::size_t>(8 * rate), 2);
  for (std::size_t i = 0; i < input.size(); ++i) input[i] *= i < static_cast<std::size_t>(3 * rate) ? 100.0F : 316.23F;
  for (const auto& method : {"mcra-wiener", "mcra-emns"}) {
    const auto enhancer = make_enhancer(method, rate);
    NoiseTrack track;
    enhancer->record_noise(&track);
    enhancer->run(input);
    const auto decibels_at = [&](double seconds) {
      const auto row = track.power.row(static_cast<int>(seconds * rate / track.hop));
      double sum = 0.0;
      for (const float power : row) sum += power;
      return 10.0 * std::log10(sum / static_cast<double>(row.size()));
    };
    EXPECT_NEAR(decibels_at(2.9), 40.0, 1.0) << method;
    EXPECT_NEAR(decibels_at(7.0), 50.0, 1.0) << method;
  }
}

INSTANTIATE_TEST_SUITE_P(Enhancer, Mcra, testing::Values(8000, 16000, 22050, 44100, 48000, 96000));

TEST(Enhancer, RefusesOtherRatesAndMethods) {
  for (const int rate : {1, 7999, 384001}) EXPECT_THROW((void)make_enhancer("mcra-emns", rate), Fault);
  EXPECT_THROW((void)make_enhancer("none", 8000), Fault);
}

TEST(SegmentalSnr, IsTheMeanOfLimitedRatios) {
  std::vector<float> clean(900, 100.0F);  // 3 frames of 30 ms and 0 of silence
  clean.resize(1500, 0.0F);
  std::vector<float> signal = clean;
  EXPECT_DOUBLE_EQ(segmental_snr(clean, signal, 10000), 35.0);
  for (std::size_t i = 0; i < 300; ++i) signal[i] = 110.0F;     // 20 dB
  for (std::size_t i = 300; i < 600; ++i) signal[i] = 9000.0F;  // below -10 dB
  signal[1200] = 5.0F;                                          // where the reference is silent
  EXPECT_NEAR(segmental_snr(clean, signal, 10000), (20.0 - 10.0 + 35.0) / 3.0, 1e-9);
  SegmentalSnr along(10000);
  for (std::size_t n = 0; n < clean.size(); n += 77) {
    along.push_reference(std::span(clean).subspan(n, std::min<std::size_t>(77, clean.size() - n)));
    if (n >= 77 * 3) along.push_signal(std::span(signal).subspan(n - 77 * 3, 77));
  }
  const std::size_t compared = (clean.size() - 1) / 77 * 77 - 77 * 2;
  along.push_signal(std::span(signal).subspan(compared));
  EXPECT_DOUBLE_EQ(along.finish(), segmental_snr(clean, signal, 10000)) << "one behind the other";
  EXPECT_TRUE(std::isnan(segmental_snr(std::vector<float>(50, 0.0F), std::vector<float>(50, 1.0F), 10000)));
}

}  // namespace
}  // namespace kivsr::speech::test
