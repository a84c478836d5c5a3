// What could be speech: voices, clean, in noise and over music; not tones, hum, coloured noise, alarms, music, many
// voices at once or silence, which stand out as much.
#include "kivsr/speech/noise/voice_evidence.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include <gtest/gtest.h>

#include "kivsr/speech/noise/speech_segments.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

constexpr int kRate = 8000;

std::vector<bool> evidence_of(std::span<const float> samples, std::size_t block = 1000) {
  VoiceEvidence evidence;
  std::vector<bool> possible;
  for (std::size_t at = 0; at < samples.size(); at += block) {
    evidence.push(samples.subspan(at, std::min(block, samples.size() - at)), possible);
  }
  evidence.finish(possible);
  EXPECT_EQ(possible.size(), samples.size() / 80);
  return possible;
}

double share(const std::vector<bool>& frames) {
  return static_cast<double>(std::count(frames.begin(), frames.end(), true)) / static_cast<double>(frames.size());
}

// Partials of a frequency that may change from sample to sample, the k-th of 1 / k of the amplitude.
template <class Frequency>
std::vector<float> harmonics(Frequency frequency, int partials, int count) {
  std::vector<float> samples(static_cast<std::size_t>(count));
  double phase = 0.0;
  for (int n = 0; n < count; ++n) {
    phase += 2.0 * std::numbers::pi * frequency(static_cast<double>(n) / kRate) / kRate;
    double sum = 0.0;
    for (int k = 1; k <= partials; ++k) sum += std::sin(k * phase) / k;
    samples[static_cast<std::size_t>(n)] = static_cast<float>(3000.0 * sum);
  }
  return samples;
}

void add(std::vector<float>& samples, std::span<const float> others, float factor = 1.0F) {
  for (std::size_t n = 0; n < samples.size(); ++n) samples[n] += factor * others[n % others.size()];
}

// A melody over chords that change every 1.2 s; each note is struck anew and dies away by this many times e in a
// second.
std::vector<float> chords(int count, double decay) {
  constexpr std::array kRoots = {220.0, 293.7, 246.9, 329.6};
  std::vector<float> samples(static_cast<std::size_t>(count));
  for (const double interval : {1.0, 1.26, 1.5}) {
    add(samples,
        harmonics([&](double t) { return kRoots[static_cast<std::size_t>(t / 1.2) % 4] * interval; }, 6, count));
  }
  add(samples, harmonics([&](double t) { return kRoots[static_cast<std::size_t>(t / 0.3) * 7 % 4] * 2.0; }, 4, count));
  for (std::size_t n = 0; n < samples.size(); ++n) {
    samples[n] *= static_cast<float>(std::exp(-decay * static_cast<double>(n % (3 * kRate / 10)) / kRate));
  }
  return samples;
}

// Two strokes a second of a drum of 120 Hz, and noise that falls faster between them.
std::vector<float> drums(int count) {
  std::vector<float> samples = tone(120.0, kRate, count);
  const std::vector<float> white = noise(count, 5);
  for (std::size_t n = 0; n < samples.size(); ++n) {
    const auto since = [&](std::size_t period) { return static_cast<double>((n + 1000) % period) / kRate; };
    samples[n] =
        static_cast<float>(samples[n] * std::exp(-15.0 * since(4000)) + 4.0 * white[n] * std::exp(-30.0 * since(2000)));
  }
  return samples;
}

// Twelve of the sentences at once, each from another place on.
std::vector<float> babble(int count) {
  std::vector<float> samples(static_cast<std::size_t>(count));
  for (std::size_t voice = 0; voice < 12; ++voice) {
    std::vector<float> sentence = read_audio_at(read_sentences()[voice % read_sentences().size()], kRate).samples;
    std::rotate(sentence.begin(), sentence.begin() + static_cast<std::ptrdiff_t>(1900 * voice), sentence.end());
    add(samples, sentence);
  }
  return samples;
}

TEST(VoiceEvidence, SoundsThatAreNoVoices) {
  constexpr int kCount = 10 * kRate;
  EXPECT_EQ(share(evidence_of(std::vector<float>(kCount))), 0.0) << "silence";
  const std::vector<float> white = noise(kCount, 3);
  EXPECT_EQ(share(evidence_of(white)), 0.0) << "white noise";
  std::vector<float> brown(kCount);
  for (std::size_t n = 1; n < brown.size(); ++n) brown[n] = 0.999F * brown[n - 1] + 0.05F * white[n];
  EXPECT_LT(share(evidence_of(brown)), 0.05) << "brown noise";
  for (const double frequency : {100.0, 440.0, 1000.0, 3000.0}) {
    EXPECT_EQ(share(evidence_of(tone(frequency, kRate, kCount))), 0.0) << frequency << " Hz";
  }
  std::vector<float> beeps = tone(1000.0, kRate, kCount);
  for (std::size_t n = 0; n < beeps.size(); ++n) beeps[n] *= n % 4000 < 2000 ? 1.0F : 0.0F;
  EXPECT_EQ(share(evidence_of(beeps)), 0.0) << "beeps";
  std::vector<float> hum = tone(50.0, kRate, kCount);
  for (const double frequency : {150.0, 250.0, 350.0}) {
    const std::vector<float> line = tone(frequency, kRate, kCount, 3000.0);
    for (std::size_t n = 0; n < hum.size(); ++n) hum[n] += line[n];
  }
  EXPECT_EQ(share(evidence_of(hum)), 0.0) << "hum";
}

TEST(VoiceEvidence, AlarmsAndMusicAreNoVoices) {
  constexpr int kCount = 12 * kRate;
  const auto horn = [](double t) { return std::fmod(t, 0.8) < 0.4 ? 440.0 : 585.0; };
  const auto siren = [](double t) { return 900.0 + 500.0 * std::sin(std::numbers::pi * t); };
  const auto vibrato = [](double t) { return 330.0 * (1.0 + 0.004 * std::sin(35.0 * t)); };
  std::vector<float> bursts = harmonics([](double) { return 310.0; }, 7, kCount);
  std::vector<float> beeps = tone(2900.0, kRate, kCount);
  for (std::size_t n = 0; n < bursts.size(); ++n) {
    bursts[n] *= n % 12000 < 8000 ? 1.0F : 0.0F;
    beeps[n] = std::round(beeps[n] * (n % 8000 < 4000 ? 1.0F : 0.0F));
  }
  const std::pair<const char*, std::vector<float>> sounds[] = {{"two tones", harmonics(horn, 3, kCount)},
                                                               {"siren", harmonics(siren, 2, kCount)},
                                                               {"held note", harmonics(vibrato, 8, kCount)},
                                                               {"horn", bursts},
                                                               {"high beeps of whole numbers", beeps},
                                                               {"organ", chords(kCount, 0.0)},
                                                               {"strings", chords(kCount, 3.0)},
                                                               {"guitar", chords(kCount, 8.0)},
                                                               {"drums", drums(kCount)}};
  for (const auto& [name, samples] : sounds) EXPECT_LT(share(evidence_of(samples)), 0.05) << name;
}

TEST(VoiceEvidence, OneVoiceOverMusicOrBabbleButNotBabbleItself) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  const std::vector<float> crowd = babble(20 * kRate);
  EXPECT_LT(share(evidence_of(crowd)), 0.6);
  for (const auto& [name, background] : {std::pair("babble", crowd), std::pair("music", chords(20 * kRate, 3.0))}) {
    double found = 0.0;
    for (const auto& file : read_sentences()) {
      const Audio audio = read_audio_at(file, kRate);
      std::vector<float> mixed = audio.samples;
      const double ratio = speech_power(audio.samples, kRate) / speech_power(background, kRate);
      add(mixed, background, static_cast<float>(std::sqrt(ratio / 10.0)));
      found += share(evidence_of(mixed)) / static_cast<double>(read_sentences().size());
    }
    EXPECT_GT(found, 0.85) << name;
  }
}

// Of the frames that are loud in the clean recording; the level does not matter.
TEST(VoiceEvidence, Voices) {
  if (all_speech().empty()) GTEST_SKIP() << "the recordings are not installed";
  for (const auto& [ratio, least] : {std::pair(100.0, 0.98), std::pair(10.0, 0.9), std::pair(0.0, 0.3)}) {
    std::size_t found = 0;
    std::size_t wanted = 0;
    for (const auto& file : all_speech()) {
      const Audio audio = read_audio_at(file, kRate);
      std::vector<float> signal = ratio > 50.0 ? audio.samples : with_white_noise(audio.samples, kRate, ratio, 1);
      for (float& sample : signal) sample *= 0.1F;
      const std::vector<bool> possible = evidence_of(signal);
      const std::vector<float> level = frame_decibels(audio.samples);
      const float loudest = *std::max_element(level.begin(), level.end());
      for (std::size_t t = 0; t < std::min(level.size(), possible.size()); ++t) {
        if (level[t] < loudest - 25.0F) continue;
        ++wanted;
        found += possible[t] ? 1U : 0U;
      }
    }
    EXPECT_GT(static_cast<double>(found) / static_cast<double>(wanted), least) << ratio << " dB";
  }
}

TEST(VoiceEvidence, BlocksDoNotMatterAndASignalLeavesNothingBehind) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  const Audio audio = read_audio_at(read_sentences().front(), kRate);
  const std::vector<bool> whole = evidence_of(audio.samples, audio.samples.size());
  EXPECT_GT(share(whole), 0.5);
  for (const std::size_t block : {7, 80, 399, 10000}) EXPECT_EQ(evidence_of(audio.samples, block), whole) << block;
  VoiceEvidence evidence;
  for (int run = 0; run < 2; ++run) {
    std::vector<bool> again;
    evidence.push(audio.samples, again);
    evidence.finish(again);
    EXPECT_EQ(again, whole);
  }
}

// The segmenter with it finds what lies within the detector's own segments.
TEST(VoiceEvidence, SegmentsOfVoicesAreThoseOfTheDetectorOrLess) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  // half a second of faint noise first, that the tone stands out
  std::vector<float> signal = noise(kRate / 2, 4);
  for (float& sample : signal) sample *= 0.01F;
  const std::vector<float> hum = tone(440.0, kRate, 7 * kRate / 2);
  signal.insert(signal.end(), hum.begin(), hum.end());
  const Audio audio = read_audio_at(read_sentences().front(), kRate);
  signal.insert(signal.end(), audio.samples.begin(), audio.samples.end());
  const auto seconds = [&](SpeechMethod method) {
    SpeechSegmenter segmenter(Arithmetic::kSinglePrecision, {}, method);
    std::vector<SpeechSegment> segments;
    for (std::size_t at = 0; at < signal.size(); at += 777) {
      segmenter.push(std::span(signal).subspan(at, std::min<std::size_t>(777, signal.size() - at)), segments);
    }
    segmenter.finish(segments);
    double sum = 0.0;
    double early = 0.0;
    for (const SpeechSegment& segment : segments) {
      sum += segment.duration();
      early += std::max(0.0, std::min(segment.end, 3.4) - segment.start);
    }
    return std::pair(sum, early);
  };
  const auto [voices, of_tone] = seconds(SpeechMethod::kVoices);
  const auto [sounds, of_tone_too] = seconds(SpeechMethod::kEtsi);
  EXPECT_EQ(of_tone, 0.0);
  EXPECT_GT(of_tone_too, 1.0);
  EXPECT_GT(voices, 0.6 * audio.seconds());
  EXPECT_LE(voices, sounds);
}

}  // namespace
}  // namespace kivsr::speech::test
