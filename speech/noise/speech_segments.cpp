#include "kivsr/speech/noise/speech_segments.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

namespace {

constexpr double kFrameSeconds = static_cast<double>(kAuroraFrame) / kAuroraRate;
constexpr std::size_t kFrame = kAuroraFrame;

// Frames first .. last - 1.
struct FrameRun {
  std::size_t first;
  std::size_t last;
  double seconds() const { return static_cast<double>(last - first) * kFrameSeconds; }
};

// Runs of speech, pauses below the least one closed.
std::vector<FrameRun> runs_of(const std::vector<bool>& speech, double minimum_pause) {
  std::vector<FrameRun> runs;
  for (std::size_t t = 0; t < speech.size(); ++t) {
    if (!speech[t]) continue;
    if (!runs.empty() && (runs.back().last == t || FrameRun{runs.back().last, t}.seconds() < minimum_pause)) {
      runs.back().last = t + 1;
    } else {
      runs.push_back({t, t + 1});
    }
  }
  return runs;
}

// The detector hangs over for 0.23 to 0.4 s. Where the recording is clean, energy tells more closely where speech ends:
// of a run the frames remain that are loud, or near one that is.
std::vector<bool> trimmed(const std::vector<bool>& speech, std::span<const float> decibels, const SegmentRules& rules) {
  const auto margin = static_cast<std::size_t>(std::lround(std::min(rules.margin, 1e6) / kFrameSeconds));
  std::vector<bool> kept(speech.size(), false);
  for (const FrameRun& run : runs_of(speech, rules.minimum_pause)) {
    const auto within = decibels.subspan(run.first, run.last - run.first);
    const double least = *std::max_element(within.begin(), within.end()) - rules.trim;
    std::size_t done = run.first;
    for (std::size_t t = run.first; t < run.last; ++t) {
      if (!(decibels[t] > least)) continue;
      const std::size_t from = std::max(done, t - std::min(t, margin));
      done = std::min(t + margin + 1, run.last);
      std::fill(kept.begin() + static_cast<std::ptrdiff_t>(from), kept.begin() + static_cast<std::ptrdiff_t>(done),
                true);
    }
  }
  return kept;
}

// Frame t lies around sample 80 (t + 1); the first and the last reach to the ends of the signal.
SpeechSegment segment_of(FrameRun run, std::size_t frames, double seconds) {
  const auto edge = [&](std::size_t frame) { return (static_cast<double>(frame) + 0.5) * kFrameSeconds; };
  return {run.first == 0 ? 0.0 : edge(run.first), run.last == frames ? seconds : std::min(edge(run.last), seconds)};
}

}  // namespace

std::vector<float> frame_decibels(std::span<const float> samples) {
  std::vector<float> decibels;
  for (std::size_t start = kFrame / 2; start + kFrame / 2 <= samples.size(); start += kFrame) {
    const auto frame = samples.subspan(start, std::min(kFrame, samples.size() - start));
    const int count = static_cast<int>(frame.size());
    float power = 0.0F;
    call<kivsDotProd_32f>(frame, frame, count, &power);
    decibels.push_back(10.0F * std::log10(power / static_cast<float>(count) + 0.01F));
  }
  return decibels;
}

std::vector<SpeechSegment> speech_segments(const std::vector<bool>& speech, std::span<const float> decibels,
                                           double seconds, const SegmentRules& rules) {
  std::vector<SpeechSegment> segments;
  for (const FrameRun& run :
       runs_of(rules.trim > 0.0 ? trimmed(speech, decibels, rules) : speech, rules.minimum_pause)) {
    if (run.seconds() >= rules.minimum_speech) segments.push_back(segment_of(run, speech.size(), seconds));
  }
  return segments;
}

}  // namespace kivsr::speech
