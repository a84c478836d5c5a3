// Segments as they come against the rules as they are written, applied to all frames one after the other.
#include "kivsr/speech/noise/speech_segments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

using Frames = std::vector<bool>;

// Pauses between speech that are shorter than this are closed.
Frames without_pauses(Frames speech, double minimum) {
  std::size_t end = speech.size();  // behind the last speech so far; none
  for (std::size_t t = 0; t < speech.size(); ++t) {
    if (!speech[t]) continue;
    if (end < t && 0.01 * static_cast<double>(t - end) < minimum)
      std::fill(speech.begin() + static_cast<std::ptrdiff_t>(end), speech.begin() + static_cast<std::ptrdiff_t>(t),
                true);
    end = t + 1;
  }
  return speech;
}

template <class Visit>
void visit_runs(const Frames& speech, Visit visit) {
  for (std::size_t first = 0; first < speech.size();) {
    std::size_t last = first;
    while (last < speech.size() && speech[last]) ++last;
    if (last > first) visit(first, last);
    first = last + 1;
  }
}

std::vector<SpeechSegment> expected_segments(const Frames& speech, const std::vector<float>& decibels, double seconds,
                                             const SegmentRules& rules) {
  Frames kept = without_pauses(speech, rules.minimum_pause);
  if (rules.trim > 0.0) {
    Frames near(speech.size(), false);
    const auto margin = static_cast<std::size_t>(std::lround(rules.margin / 0.01));
    visit_runs(kept, [&](std::size_t first, std::size_t last) {
      const float loudest = *std::max_element(decibels.begin() + static_cast<std::ptrdiff_t>(first),
                                              decibels.begin() + static_cast<std::ptrdiff_t>(last));
      for (std::size_t t = first; t < last; ++t) {
        for (std::size_t loud = first; loud < last; ++loud) {
          const std::size_t distance = t > loud ? t - loud : loud - t;
          if (distance <= margin && static_cast<double>(decibels[loud]) > static_cast<double>(loudest) - rules.trim)
            near[t] = true;
        }
      }
    });
    kept = without_pauses(near, rules.minimum_pause);
  }
  std::vector<SpeechSegment> segments;
  visit_runs(kept, [&](std::size_t first, std::size_t last) {
    if (0.01 * static_cast<double>(last - first) < rules.minimum_speech) return;
    segments.push_back({first == 0 ? 0.0 : 0.01 * (static_cast<double>(first) + 0.5),
                        last == speech.size() ? seconds : 0.01 * (static_cast<double>(last) + 0.5)});
  });
  return segments;
}

TEST(SegmentFinder, SegmentsAsTheyComeAreThoseOfTheRules) {
  std::mt19937 generator(9);
  const auto below = [&](unsigned count) { return generator() % count; };
  for (int signal = 0; signal < 300; ++signal) {
    const SegmentRules rules{0.005 + 0.01 * below(15), 0.005 + 0.01 * below(8), below(3) == 0 ? 0.0 : 20.0,
                             0.01 * below(6)};
    Frames speech;
    std::vector<float> decibels;
    while (speech.size() < 200) {
      const unsigned run = 1 + below(signal % 2 == 0 ? 30 : 6);
      speech.insert(speech.end(), run, speech.empty() ? below(2) == 0 : !speech.back());
    }
    for (std::size_t t = 0; t < speech.size(); ++t) decibels.push_back(static_cast<float>(20 + 7 * below(6)));
    const double seconds = 0.01 * static_cast<double>(speech.size()) + 0.004;
    const auto expected = expected_segments(speech, decibels, seconds, rules);

    SegmentFinder finder(rules);
    std::vector<SpeechSegment> found;
    for (std::size_t decided = 0, measured = 0; decided < speech.size() || measured < speech.size();) {
      const std::size_t next = std::min(decided + below(20), speech.size());
      const std::size_t ahead = std::min(std::max<std::size_t>(measured, next) + below(12), speech.size());
      finder.push(Frames(speech.begin() + static_cast<std::ptrdiff_t>(decided),
                         speech.begin() + static_cast<std::ptrdiff_t>(next)),
                  std::span(decibels).subspan(measured, ahead - measured), found);
      decided = next;
      measured = ahead;
    }
    finder.finish(seconds, found);
    ASSERT_EQ(found.size(), expected.size()) << signal;
    for (std::size_t i = 0; i < found.size(); ++i) {
      EXPECT_NEAR(found[i].start, expected[i].start, 1e-9) << signal;
      EXPECT_NEAR(found[i].end, expected[i].end, 1e-9) << signal;
    }
  }
}

TEST(FrameDecibels, BlocksDoNotMatter) {
  for (const int count : {0, 39, 40, 79, 80, 119, 120, 5000, 5045}) {
    const auto samples = noise(count);
    const auto at_once = frame_decibels(samples);
    ASSERT_EQ(at_once.size(), static_cast<std::size_t>(count / 80));
    for (const std::size_t block : {1U, 39U, 41U, 333U}) {
      FrameDecibels energies;
      std::vector<float> decibels;
      for (std::size_t n = 0; n < samples.size(); n += block) {
        energies.push(std::span(samples).subspan(n, std::min(block, samples.size() - n)), decibels);
      }
      energies.finish(decibels);
      EXPECT_EQ(decibels, at_once) << count << ' ' << block;
    }
  }
}

// A signal in blocks gives the segments of the detector's decisions, each before the signal ends.
TEST(SpeechSegmenter, GivesSegmentsWhileTheSignalGoesOn) {
  std::mt19937 generator(3);
  std::normal_distribution<float> normal(0.0F, 20.0F);
  std::vector<float> samples(10 * 8000);
  for (float& x : samples) x = normal(generator);
  for (const int start : {16000, 56000}) {
    const auto burst = tone(500.0, 8000, 8000);
    for (std::size_t n = 0; n < burst.size(); ++n) samples[static_cast<std::size_t>(start) + n] += burst[n];
  }
  const SegmentRules rules;
  const auto expected =
      speech_segments(SpeechDetector(Arithmetic::kSinglePrecision).run(samples), frame_decibels(samples), 10.0, rules);
  ASSERT_EQ(expected.size(), 2U);
  SpeechSegmenter segmenter(Arithmetic::kSinglePrecision, rules);
  for (int signal = 0; signal < 2; ++signal) {
    std::vector<SpeechSegment> found;
    for (std::size_t n = 0; n < samples.size(); n += 400) {
      segmenter.push(std::span(samples).subspan(n, 400), found);
      if (n == 48000) {
        EXPECT_EQ(found.size(), 1U) << "three seconds after the first";
      }
    }
    segmenter.finish(found);
    ASSERT_EQ(found.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_DOUBLE_EQ(found[i].start, expected[i].start);
      EXPECT_DOUBLE_EQ(found[i].end, expected[i].end);
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
