// What goes through the gate and when, on real speech in faint noise.
#include "kivsr/speech/noise/speech_gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "kivsr/speech/io/resampler.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

constexpr int kRate = 16000;

std::vector<float> faint_noise(int samples, unsigned seed) {
  std::vector<float> signal = noise(samples, seed);
  for (float& sample : signal) sample = std::round(sample * 0.01F);
  return signal;
}

// A second and a half of faint noise, a command, two seconds, a command, one second.
std::vector<float> two_commands() {
  const std::vector<float> command = read_audio(kRecordings / "goforward.raw").samples;
  std::vector<float> signal = faint_noise(3 * kRate / 2, 1);
  signal.insert(signal.end(), command.begin(), command.end());
  const std::vector<float> pause = faint_noise(2 * kRate, 2);
  signal.insert(signal.end(), pause.begin(), pause.end());
  signal.insert(signal.end(), command.begin(), command.end());
  signal.insert(signal.end(), pause.begin(), pause.begin() + kRate);
  return signal;
}

struct Passage {
  std::int64_t opened_at = 0;
  std::int64_t known_at = 0;  // samples heard when it opened
  std::int64_t shut_at = 0;   // when it shut
  std::vector<float> samples;

  bool operator==(const Passage&) const = default;
};

std::vector<Passage> passages(SpeechGate& gate, std::span<const float> signal, std::size_t block) {
  std::vector<Passage> all;
  const auto take = [&](SpeechGate::Event event, std::span<const float> samples) {
    if (event == SpeechGate::Event::kOpen) all.push_back({gate.opened_at(), gate.heard(), -1, {}});
    ASSERT_FALSE(all.empty());
    if (event == SpeechGate::Event::kShut) all.back().shut_at = gate.heard();
    all.back().samples.insert(all.back().samples.end(), samples.begin(), samples.end());
  };
  for (std::size_t start = 0; start < signal.size(); start += block) {
    gate.push(signal.subspan(start, std::min(block, signal.size() - start)), take);
  }
  gate.finish(take);
  return all;
}

TEST(SpeechGate, PassesSpeechAndALittleBefore) {
  const std::vector<float> signal = two_commands();
  SpeechGate gate(kRate);
  const auto all = passages(gate, signal, 160);
  ASSERT_GE(all.size(), 2U);
  for (const Passage& passage : all) {
    // a part of the signal as it is, opened soon after its first sample
    const auto from = signal.begin() + static_cast<std::ptrdiff_t>(passage.opened_at);
    ASSERT_LE(passage.opened_at + static_cast<std::int64_t>(passage.samples.size()),
              static_cast<std::int64_t>(signal.size()));
    EXPECT_TRUE(std::equal(passage.samples.begin(), passage.samples.end(), from));
    EXPECT_LE(passage.known_at - passage.opened_at, kRate / 2);
    EXPECT_EQ(passage.shut_at, passage.opened_at + static_cast<std::int64_t>(passage.samples.size()));
  }
  // the words of the command lie from 0.45 to 2.2 s
  for (const double start : {1.5, 1.5 + 2.79 + 2.0}) {
    const auto covers = [&](const Passage& passage) {
      return static_cast<double>(passage.opened_at) / kRate <= start + 0.45 &&
             static_cast<double>(passage.shut_at) / kRate >= start + 2.2;
    };
    EXPECT_TRUE(std::any_of(all.begin(), all.end(), covers)) << start;
  }
  EXPECT_LT(all.front().shut_at, static_cast<std::int64_t>(6.3 * kRate)) << "shuts in a pause of two seconds";
}

TEST(SpeechGate, IsTheSameForBlocksOfAnySizeAndTheNextSignal) {
  const std::vector<float> signal = two_commands();
  for (const int rate : {8000, 11025, 16000}) {
    const std::vector<float> at_rate = rate == kRate ? signal : resample(signal, kRate, rate);
    SpeechGate gate(rate);
    const auto expected = passages(gate, at_rate, at_rate.size());
    EXPECT_FALSE(expected.empty());
    for (const std::size_t block : {37U, 1000U, 48000U}) EXPECT_EQ(passages(gate, at_rate, block), expected) << block;
  }
}

// The detector hangs over speech by up to 0.4 s; faint sound at its end is no speech all the same.
TEST(SpeechGate, KnowsWhatWasLoud) {
  const std::vector<float> signal = two_commands();
  SpeechGate gate(kRate);
  const SpeechGate::Taker ignore = [](SpeechGate::Event, std::span<const float>) {};
  gate.push(std::span(signal).first(5 * kRate), ignore);
  EXPECT_TRUE(gate.was_loud(1.5 + 0.5, 1.5 + 0.6)) << "go";
  EXPECT_FALSE(gate.was_loud(0.5, 1.0));
  EXPECT_FALSE(gate.was_loud(4.5, 4.9));
  gate.push(std::vector<float>(70 * kRate), ignore);
  EXPECT_TRUE(gate.was_loud(0.5, 1.0)) << "longer ago than it knows";
  EXPECT_FALSE(gate.was_loud(74.0, 74.5));
}

TEST(SpeechGate, SilenceAndNothingNeverOpenIt) {
  SpeechGate gate(kRate);
  EXPECT_TRUE(passages(gate, std::vector<float>(5 * kRate), 4000).empty());
  EXPECT_TRUE(passages(gate, {}, 1).empty());
  EXPECT_TRUE(passages(gate, noise(50), 10).empty());
}

}  // namespace
}  // namespace kivsr::speech::test
