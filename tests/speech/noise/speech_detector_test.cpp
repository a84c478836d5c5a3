// The voice activity detector on real speech: what is speech by its energy is found at every level and in noise, both
// forms of the detector decide alike, silence and noise in front do not count.
#include "kivsr/speech/noise/speech_detector.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "kivsr/speech/noise/speech_segments.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

struct Count {
  int equal = 0;
  int frames = 0;
  int found = 0;
  int speech = 0;
  double share_equal() const { return static_cast<double>(equal) / frames; }
  double share_found() const { return static_cast<double>(found) / speech; }
};

std::vector<float> scaled(std::span<const float> samples, double decibels) {
  std::vector<float> result;
  for (const float x : samples) result.push_back(std::round(x * static_cast<float>(std::pow(10.0, decibels / 20))));
  return result;
}

// Frames within 25 dB of the loudest one of the clean signal are speech.
void compare(std::span<const float> clean, std::span<const float> signal, Count& count) {
  const auto speech = SpeechDetector(Arithmetic::kSinglePrecision).run(signal);
  const auto words = SpeechDetector(Arithmetic::kSixteenBits).run(signal);
  ASSERT_EQ(speech.size(), signal.size() / 80);
  ASSERT_EQ(words.size(), speech.size());
  const auto level = frame_decibels(clean);
  ASSERT_EQ(level.size(), speech.size());
  const float least = *std::max_element(level.begin(), level.end()) - 25.0F;
  for (std::size_t t = 4; t < speech.size(); ++t) {
    ++count.frames;
    count.equal += speech[t] == words[t] ? 1 : 0;
    if (level[t] < least) continue;
    ++count.speech;
    count.found += speech[t] ? 1 : 0;
  }
}

TEST(SpeechDetectorTest, FindsSpeechAtEveryLevelAlikeInBothForms) {
  if (all_speech().empty()) GTEST_SKIP() << "the recordings are not installed";
  Count all;
  for (const double level : {0.0, -20.0, -40.0}) {
    for (const double ratio : {100.0, 10.0, 0.0}) {
      Count count;
      for (const auto& file : all_speech()) {
        const Audio audio = read_audio_at(file, kAuroraRate);
        const auto noisy = ratio < 50 ? with_white_noise(audio.samples, kAuroraRate, ratio, 1) : audio.samples;
        compare(audio.samples, scaled(noisy, level), count);
      }
      EXPECT_GT(count.share_found(), ratio < 5 ? 0.95 : 0.985) << level << " dB, noise " << ratio;
      EXPECT_GT(count.share_equal(), 0.99) << level << " dB, noise " << ratio;
      std::printf("%4.0f dB, noise at %3.0f dB: %.1f %% of the speech found, %.2f %% equal\n", level, ratio,
                  100 * count.share_found(), 100 * count.share_equal());
      all.equal += count.equal;
      all.frames += count.frames;
    }
  }
  std::printf("both forms: %.2f %% equal of %.1f minutes\n", 100 * all.share_equal(), all.frames / 6000.0);
  EXPECT_GT(all.frames, 2 * 6000);
  EXPECT_GT(all.share_equal(), 0.995);
}

TEST(SpeechDetectorTest, NoiseAndSilenceInFrontAreNoSpeech) {
  for (const float deviation : {0.0F, 3.0F, 100.0F}) {
    int speech_in_front = 0, frames_in_front = 0;
    for (const auto& file : read_sentences()) {
      std::vector<float> samples(2 * kAuroraRate, 0.0F);
      const Audio audio = read_audio_at(file, kAuroraRate);
      samples.insert(samples.end(), audio.samples.begin(), audio.samples.end());
      std::mt19937 generator(7);
      std::normal_distribution<float> normal(0.0F, std::max(deviation, 1e-9F));
      for (float& x : samples) x = std::round(x + normal(generator));
      for (const auto arithmetic : {Arithmetic::kSinglePrecision, Arithmetic::kSixteenBits}) {
        const auto speech = SpeechDetector(arithmetic).run(samples);
        for (std::size_t t = 0; t < 190; ++t) speech_in_front += speech[t] ? 1 : 0;
        frames_in_front += 190;
        const auto segments = speech_segments(speech, frame_decibels(samples), 2 + audio.seconds(), {});
        ASSERT_FALSE(segments.empty()) << file;
        EXPECT_NEAR(segments.back().end, 2 + audio.seconds(), 0.5) << file;
        EXPECT_LE(segments.back().start, 3.0) << file;
      }
    }
    EXPECT_LE(speech_in_front, frames_in_front / 20) << deviation;
  }
}

TEST(SpeechDetectorTest, BlocksDoNotMatter) {
  const auto samples = noise(8123);
  for (const auto arithmetic : {Arithmetic::kSinglePrecision, Arithmetic::kSixteenBits}) {
    SpeechDetector detector(arithmetic);
    const auto whole = detector.run(samples);
    EXPECT_EQ(whole.size(), samples.size() / 80);
    for (const std::size_t block : {1U, 79U, 1000U}) {
      std::vector<bool> speech;
      for (std::size_t n = 0; n < samples.size(); n += block) {
        detector.push(std::span(samples).subspan(n, std::min(block, samples.size() - n)), speech);
        const auto frames = std::min(n + block, samples.size()) / 80;
        ASSERT_EQ(speech.size(), frames < 13 ? 0 : frames - 8);
      }
      detector.finish(speech);
      EXPECT_EQ(speech, whole) << block;
    }
    for (const std::size_t few : {0U, 79U, 80U, 399U, 400U, 879U}) {
      EXPECT_EQ(detector.run(std::span(samples).first(few)), std::vector<bool>(few / 80, false));
    }
  }
}

TEST(SpeechSegmentsTest, RulesCloseCutAndDrop) {
  // speech in frames 100 - 199 and 215 - 299, a blip at 400 - 405; quiet at the ends of the first and from 240 to 279
  std::vector<bool> speech(500, false);
  std::vector<float> decibels(500, 60.0F);
  for (std::size_t t = 0; t < 500; ++t) {
    speech[t] = (t >= 100 && t < 200) || (t >= 215 && t < 300) || (t >= 400 && t < 406);
    if (t < 130 || (t >= 240 && t < 280)) decibels[t] = 20.0F;
  }
  const auto times = [&](const SegmentRules& rules) {
    std::string text;
    for (const auto& segment : speech_segments(speech, decibels, 5.0, rules)) {
      char line[64];
      std::snprintf(line, sizeof line, "%.3f-%.3f ", segment.start, segment.end);
      text += line;
    }
    return text;
  };
  EXPECT_EQ(times({0.0, 0.0, 0.0, 0.0}), "1.005-2.005 2.155-3.005 4.005-4.065 ");
  EXPECT_EQ(times({0.2, 0.1, 0.0, 0.1}), "1.005-3.005 ");
  EXPECT_EQ(times({0.2, 0.1, 30.0, 0.05}), "1.255-2.455 2.755-3.005 ");
  EXPECT_EQ(times({0.2, 0.1, 30.0, 0.15}), "1.155-3.005 ");
  std::fill(speech.begin(), speech.end(), true);
  EXPECT_EQ(times({0.2, 0.1, 0.0, 0.1}), "0.000-5.000 ");
}

}  // namespace
}  // namespace kivsr::speech::test
