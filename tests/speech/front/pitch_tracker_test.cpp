// Pitch of signals whose pitch is known.
#include "kivsr/speech/front/pitch_tracker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {

namespace {

constexpr double kPi = 3.14159265358979323846;

PitchParameters at_rate(int rate) {
  PitchParameters parameters;
  parameters.sample_rate = rate;
  parameters.shift = rate / 100;
  return parameters;
}

// Cosines at all multiples of the frequency below 0.45 of the rate, a train of pulses: the sum over h = 1 .. H of
// cos(2 h x) is (sin((2 H + 1) x) / sin x - 1) / 2.
std::vector<float> pulses(double frequency, int rate, std::size_t count) {
  std::vector<float> samples(count);
  const int harmonics = static_cast<int>(0.45 * rate / frequency);
  for (std::size_t n = 0; n < count; ++n) {
    const double x = std::remainder(kPi * frequency * static_cast<double>(n) / rate, kPi);
    const double ratio = std::abs(x) < 1e-9 ? 2 * harmonics + 1 : std::sin((2 * harmonics + 1) * x) / std::sin(x);
    samples[n] = static_cast<float>(6000.0 * (ratio - 1.0) / harmonics);
  }
  return samples;
}

void add_noise(std::vector<float>& samples, double decibels, unsigned seed) {
  double power = 0.0;
  for (const float x : samples) power += static_cast<double>(x) * static_cast<double>(x);
  const double deviation = std::sqrt(power / static_cast<double>(samples.size()) * std::pow(10.0, -decibels / 10.0));
  std::mt19937 generator(seed);
  std::normal_distribution<double> normal(0.0, deviation);
  for (float& x : samples) x += static_cast<float>(normal(generator));
}

double cents(float frequency, double truth) { return 1200.0 * std::log2(static_cast<double>(frequency) / truth); }

TEST(PitchTracker, PulseTrainsOfAllFrequenciesAndRates) {
  for (const int rate : {8000, 11025, 16000, 44100}) {
    PitchTracker tracker(at_rate(rate));
    for (const double frequency : {62.0, 75.5, 100.0, 140.3, 221.7, 333.0, 487.0}) {
      const auto frames = tracker.run(pulses(frequency, rate, static_cast<std::size_t>(rate)));
      ASSERT_EQ(frames.size(), static_cast<std::size_t>((rate - 1) / (rate / 100) + 1));
      for (std::size_t t = 5; t < 95; ++t) {
        ASSERT_NEAR(cents(frames[t].frequency, frequency), 0.0, 2.0) << rate << ' ' << frequency << ' ' << t;
        ASSERT_GT(frames[t].probability, 0.9F);
      }
    }
  }
}

struct Errors {
  void add(float frequency, double truth) {
    const double error = frequency > 0.0F ? cents(frequency, truth) : 0.0;
    missed += frequency == 0.0F ? 1 : 0;
    gross += std::abs(error) > 300.0 ? 1 : 0;
    if (frequency == 0.0F || std::abs(error) > 300.0) return;
    sum += error;
    squares += error * error;
    ++count;
  }
  double mean() const { return sum / count; }
  double root_mean_square() const { return std::sqrt(squares / count); }
  int missed = 0;
  int gross = 0;  // another octave
  int count = 0;
  double sum = 0.0;
  double squares = 0.0;
};

Errors errors_in_noise(const PitchParameters& parameters, const std::vector<double>& frequencies, double decibels) {
  PitchTracker tracker(parameters);
  const int rate = parameters.sample_rate;
  Errors errors;
  for (const double frequency : frequencies) {
    for (const unsigned seed : {1U, 7U}) {
      auto samples = pulses(frequency, rate, static_cast<std::size_t>(2 * rate));
      add_noise(samples, decibels, seed);
      const auto frames = tracker.run(samples);
      for (std::size_t t = 5; t < 195; ++t) errors.add(frames[t].frequency, frequency);
    }
  }
  return errors;
}

TEST(PitchTracker, NoiseShiftsPulseTrainsLittle) {
  for (const int rate : {8000, 16000}) {
    for (const double decibels : {40.0, 20.0, 10.0, 0.0}) {
      const Errors errors = errors_in_noise(at_rate(rate), {62.0, 90.0, 128.0, 180.0, 260.0, 370.0, 487.0}, decibels);
      EXPECT_EQ(errors.gross, 0) << rate << ' ' << decibels;
      EXPECT_LE(errors.missed, decibels < 5.0 ? 13 : 0) << rate << ' ' << decibels;  // of 2660
      EXPECT_NEAR(errors.mean(), 0.0, 0.2) << rate << ' ' << decibels;
      EXPECT_LE(errors.root_mean_square(), 2.0) << rate << ' ' << decibels;
    }
  }
}

TEST(PitchTracker, FiveOctavesAtATime) {
  PitchParameters parameters = at_rate(16000);
  parameters.low_frequency = 40.0F;
  parameters.high_frequency = 1280.0F;
  const Errors quiet =
      errors_in_noise(parameters, {42.0, 51.0, 75.0, 128.0, 260.0, 487.0, 600.0, 740.0, 900.0, 1100.0, 1250.0}, 20.0);
  EXPECT_EQ(quiet.gross + quiet.missed, 0);
  EXPECT_LE(quiet.root_mean_square(), 2.0);
  const Errors noisy = errors_in_noise(parameters, {62.0, 75.0, 128.0, 260.0, 487.0, 600.0, 740.0}, 0.0);
  EXPECT_EQ(noisy.gross, 0);
  EXPECT_LE(noisy.missed, 13);
}

TEST(PitchTracker, SilenceAndNoiseAreUnvoiced) {
  PitchTracker tracker(at_rate(16000));
  for (const PitchFrame& frame : tracker.run(std::vector<float>(8000))) {
    ASSERT_EQ(frame.frequency, 0.0F);
    ASSERT_EQ(frame.correlation, 0.0F);
    ASSERT_LT(frame.probability, 0.1F);
  }
  std::vector<float> noise(160000);
  std::mt19937 generator(1);
  std::normal_distribution<float> normal(0.0F, 1000.0F);
  for (float& x : noise) x = normal(generator);
  int voiced = 0;
  for (const PitchFrame& frame : tracker.run(noise)) voiced += frame.frequency > 0.0F ? 1 : 0;
  EXPECT_LE(voiced, 20);
}

// A voice that glides, a pause with a hum 40 dB below, the voice again an octave higher.
std::vector<float> glide_and_pause() {
  std::vector<float> samples;
  double phase = 0.0;
  for (int n = 0; n < 48000; ++n) {
    const double time = n / 16000.0;
    const bool pause = time > 1.2 && time < 1.8;
    const double frequency = pause ? 100.0 : time < 1.5 ? 100.0 * std::exp2(0.4 * time) : 260.0 - 40.0 * time;
    phase += 2.0 * kPi * frequency / 16000.0;
    double sum = 0.0;
    for (int h = 1; h <= 12; ++h) sum += std::cos(h * phase + h * h) / h;
    samples.push_back(static_cast<float>((pause ? 50.0 : 5000.0) * sum));
  }
  return samples;
}

TEST(PitchTracker, FollowsGlidesAndSeesPauses) {
  const auto samples = glide_and_pause();
  PitchTracker tracker(at_rate(16000));
  const auto frames = tracker.run(samples);
  ASSERT_EQ(frames.size(), 300U);
  for (std::size_t t = 0; t < frames.size(); ++t) {
    const double time = 0.01 * static_cast<double>(t);
    if (time > 0.03 && time < 1.17) {
      ASSERT_NEAR(cents(frames[t].frequency, 100.0 * std::exp2(0.4 * time)), 0.0, 10.0) << t;
    } else if (time > 1.23 && time < 1.77) {
      ASSERT_EQ(frames[t].frequency, 0.0F) << t;
    } else if (time > 1.83 && time < 2.97) {
      ASSERT_NEAR(cents(frames[t].frequency, 260.0 - 40.0 * time), 0.0, 10.0) << t;
    }
  }
}

TEST(PitchTracker, BlocksGiveTheSameBitsWithinTheDelay) {
  auto samples = glide_and_pause();
  add_noise(samples, 10.0, 3);
  samples.resize(samples.size() - 77);
  for (const int rate : {8000, 16000, 44100}) {
    PitchTracker tracker(at_rate(rate));
    const auto whole = tracker.run(samples);
    for (const std::size_t block : {1U, 159U, 4096U, 10007U}) {
      std::vector<PitchFrame> frames;
      for (std::size_t begin = 0; begin < samples.size(); begin += block) {
        const std::size_t end = std::min(begin + block, samples.size());
        tracker.push(std::span(samples).subspan(begin, end - begin), frames);
        const auto due = (static_cast<long>(end) - tracker.delay()) / (rate / 100);
        ASSERT_GE(static_cast<long>(frames.size()), due) << block;
      }
      tracker.finish(frames);
      ASSERT_EQ(frames.size(), whole.size());
      for (std::size_t t = 0; t < whole.size(); ++t) {
        ASSERT_EQ(frames[t].frequency, whole[t].frequency) << block << ' ' << t;
        ASSERT_EQ(frames[t].correlation, whole[t].correlation);
        ASSERT_EQ(frames[t].probability, whole[t].probability);
      }
    }
  }
}

TEST(PitchTracker, ShortSignalsAndFaults) {
  PitchTracker tracker(at_rate(16000));
  EXPECT_EQ(tracker.run({}).size(), 0U);
  for (const std::size_t count : {1U, 160U}) EXPECT_EQ(tracker.run(std::vector<float>(count, 1.0F)).size(), 1U);
  EXPECT_EQ(tracker.run(std::vector<float>(161, 1.0F)).size(), 2U);
  const auto faulty = [](auto change) {
    PitchParameters parameters;
    change(parameters);
    EXPECT_THROW(PitchTracker{parameters}, Fault);
  };
  faulty([](PitchParameters& p) { p.sample_rate = 7999; });
  faulty([](PitchParameters& p) { p.shift = 0; });
  faulty([](PitchParameters& p) { p.low_frequency = 10.0F; });
  faulty([](PitchParameters& p) { p.high_frequency = p.low_frequency; });
  faulty([](PitchParameters& p) { p.high_frequency = 2500.0F; });
  faulty([](PitchParameters& p) { p.low_frequency = std::nanf(""); });
}

}  // namespace
}  // namespace kivsr::speech::test
