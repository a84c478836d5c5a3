// The two-stage Wiener filter of the advanced front end: its parts by their formulas, the whole on real speech.
#include "kivsr/speech/noise/aurora_enhancer.h"

#include <gtest/gtest.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/noise/segmental_snr.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

std::vector<float> white(std::size_t count, float deviation, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal(0.0F, deviation);
  std::vector<float> samples(count);
  for (float& x : samples) x = normal(generator);
  return samples;
}

double decibels(std::span<const float> samples) {
  double power = 0.0;
  for (const float x : samples) power += double{x} * x;
  return 10.0 * std::log10(power / static_cast<double>(samples.size()) + 1e-9);
}

TEST(NoiseGate, OpensAboveTheMeanAndHangsOver) {
  NoiseGate gate;
  const auto frame = [&](float amplitude) { return gate.speech(std::vector<float>(80, amplitude)); };
  for (int t = 0; t < 50; ++t) EXPECT_FALSE(frame(100.0F)) << t;
  // 15 steps of 1/16 octave of power are 2.8 dB: 1.3 is below them, 1.5 above.
  EXPECT_FALSE(frame(130.0F));
  for (int t = 0; t < 4; ++t) EXPECT_TRUE(frame(150.0F));
  EXPECT_EQ(gate.loud_frames(), 4);
  EXPECT_FALSE(frame(100.0F)) << "four loud frames have no hangover";
  for (int t = 0; t < 5; ++t) frame(1000.0F);
  int open = 0;
  while (frame(100.0F)) ++open;
  EXPECT_EQ(open, 15);
  // Far louder frames do not raise the mean, somewhat louder ones do.
  for (int t = 0; t < 300; ++t) frame(10000.0F);
  while (frame(100.0F)) {
  }
  EXPECT_TRUE(frame(150.0F));
  int until_closed = 0;
  while (frame(150.0F) && until_closed < 1000) ++until_closed;
  EXPECT_GT(until_closed, 1);
  EXPECT_LT(until_closed, 100);
}

TEST(Aggression, IsHardInNoiseAndSoftInSpeech) {
  Aggression aggression;
  const std::vector<float> noise(65, 100.0F), quiet(65, 20.0F), loud(65, 5000.0F), silence(65, 0.0F);
  const auto next = [&](const std::vector<float>& clean) {
    aggression.add(clean);
    return aggression.next(noise);
  };
  aggression.add(quiet);
  aggression.add(quiet);
  float value = 0.0F;
  for (int t = 0; t < 30; ++t) value = next(quiet);
  EXPECT_EQ(value, 0.8F);
  std::vector<float> steps;
  for (int t = 0; t < 5; ++t) steps.push_back(next(loud));
  EXPECT_EQ(steps[0], 0.5F) << "speech at once";
  EXPECT_EQ(steps[4], 0.1F);
  EXPECT_EQ(next(silence), 0.1F) << "nothing is left to decide by";
  for (int t = 0; t < 10; ++t) value = next(quiet);
  EXPECT_EQ(value, 0.8F);
}

// Frames of noise alone get the least gain, a loud tone gain 1 around its frequency; louder noise passes.
TEST(WienerStageTest, GainsTellSignalFromNoise) {
  for (const auto update : {WienerStage::NoiseUpdate::kGated, WienerStage::NoiseUpdate::kContinuous}) {
    WienerStage stage(update);
    FrameBuffer buffer;
    const auto hiss = white(80 * 60, 100.0F, 4);
    for (std::size_t t = 0; t < 60; ++t) {
      buffer.push(std::span(hiss).subspan(80 * t, 80));
      if (t >= 3) stage.design(buffer, true);
    }
    const float floor_gain = 0.07943282F / 1.07943282F;
    double mean = 0.0, power = 0.0;
    for (std::size_t k = 0; k < kAuroraSpectrum; ++k) {
      EXPECT_GE(stage.gains()[k], floor_gain * 0.999F);
      mean += stage.gains()[k] / kAuroraSpectrum;
      power += double{stage.noise()[k]} * stage.noise()[k] / WienerStage::window_power() / kAuroraSpectrum;
    }
    EXPECT_LT(mean, 0.25);
    EXPECT_NEAR(10.0 * std::log10(power), 40.0, 2.0);
    for (const float gain : stage.mel_gains()) EXPECT_LT(gain, 0.6F);

    const auto loud = tone(1000.0, kAuroraRate, 80 * 6, 20000.0);
    for (std::size_t t = 0; t < 6; ++t) {
      buffer.push(std::span(loud).subspan(80 * t, 80));
      stage.design(buffer, false);
    }
    EXPECT_GT(stage.gains()[16], 0.95F);  // 1000 Hz

    const auto burst = white(80 * 6, 5000.0F, 5);
    for (std::size_t t = 0; t < 6; ++t) {
      buffer.push(std::span(burst).subspan(80 * t, 80));
      stage.design(buffer, false);
    }
    std::vector<float> output(80);
    stage.filter(buffer, 0.0F, output);
    for (std::size_t n = 0; n < 80; ++n) EXPECT_NEAR(output[n], buffer.data()[80 + n], 600.0F) << "aggression 0";
    stage.filter(buffer, 1.0F, output);
    EXPECT_NEAR(decibels(output), decibels({buffer.data() + 80, 80}), 2.0);
  }
}

TEST(AuroraEnhancerTest, SuppressesNoiseByTwentyDecibelsAndOffset) {
  AuroraEnhancer enhancer(8000);
  auto noisy = white(8000 * 4, 300.0F, 9);
  NoiseTrack track;
  enhancer.record_noise(&track);
  const auto output = enhancer.run(noisy);
  EXPECT_LT(decibels(std::span(output).subspan(8000)), decibels(noisy) - 20.0);
  double power = 0.0;
  for (const float x : track.power.row(track.power.height() - 1)) power += x / kAuroraSpectrum;
  EXPECT_NEAR(10.0 * std::log10(power), decibels(noisy), 1.5);

  enhancer.record_noise(nullptr);
  for (std::size_t n = 0; n < noisy.size(); ++n) noisy[n] = 5000.0F;
  const auto settled = enhancer.run(noisy);
  for (std::size_t n = 16000; n < 24000; ++n) ASSERT_LT(std::abs(settled[n]), 1.0F) << n;
  EXPECT_THROW(AuroraEnhancer(16000), Fault);
}

TEST(AuroraEnhancerTest, BringsNoisySpeechNearer) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  for (const double ratio : {0.0, 5.0}) {
    double gain = 0.0;
    for (const auto& file : read_sentences()) {
      const auto clean = read_audio_at(file, kAuroraRate).samples;
      const auto noisy = with_white_noise(clean, kAuroraRate, ratio, 2);
      const auto output = AuroraEnhancer(kAuroraRate).run(noisy);
      gain += segmental_snr(clean, output, kAuroraRate) - segmental_snr(clean, noisy, kAuroraRate);
    }
    EXPECT_GT(gain / static_cast<double>(read_sentences().size()), 2.5) << ratio;
  }
}

}  // namespace
}  // namespace kivsr::speech::test
