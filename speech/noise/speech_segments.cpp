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

// The detector hangs over for 0.23 to 0.4 s. Where the recording is clean, energy tells more closely where speech ends:
// of a run the frames remain that are loud, or near one that is. Pauses below the least one are closed.
std::vector<FrameRun> trimmed(FrameRun run, std::span<const float> decibels, const SegmentRules& rules) {
  const auto margin = static_cast<std::size_t>(std::lround(std::min(rules.margin, 1e6) / kFrameSeconds));
  const double least = *std::max_element(decibels.begin(), decibels.end()) - rules.trim;
  std::vector<FrameRun> kept;
  for (std::size_t t = run.first; t < run.last; ++t) {
    if (!(decibels[t - run.first] > least)) continue;
    const std::size_t from = std::max(run.first, t - std::min(t, margin));
    const std::size_t to = std::min(t + margin + 1, run.last);
    const bool joins =
        !kept.empty() && (from <= kept.back().last || FrameRun{kept.back().last, from}.seconds() < rules.minimum_pause);
    if (joins) {
      kept.back().last = to;
    } else {
      kept.push_back({from, to});
    }
  }
  return kept;
}

float decibels_of(std::span<const float> frame) {
  float power = 0.0F;
  call<kivsDotProd_32f>(frame, frame, frame.size(), &power);
  return 10.0F * std::log10(power / static_cast<float>(frame.size()) + 0.01F);
}

}  // namespace

void FrameDecibels::push(std::span<const float> samples, std::vector<float>& decibels) {
  pending_.insert(pending_.end(), samples.begin(), samples.end());
  std::size_t start = 0;
  if (!begun_ && pending_.size() >= kFrame / 2) {
    begun_ = true;
    start = kFrame / 2;
  }
  for (; begun_ && start + kFrame <= pending_.size(); start += kFrame) {
    decibels.push_back(decibels_of(std::span(pending_).subspan(start, kFrame)));
  }
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(start));
}

void FrameDecibels::finish(std::vector<float>& decibels) {
  if (begun_ && pending_.size() >= kFrame / 2) decibels.push_back(decibels_of(pending_));
  pending_.clear();
  begun_ = false;
}

std::vector<float> frame_decibels(std::span<const float> samples) {
  FrameDecibels energies;
  std::vector<float> decibels;
  energies.push(samples, decibels);
  energies.finish(decibels);
  return decibels;
}

void SegmentFinder::push(const std::vector<bool>& speech, std::span<const float> decibels,
                         std::vector<SpeechSegment>& segments) {
  speech_.insert(speech_.end(), speech.begin(), speech.end());
  decibels_.insert(decibels_.end(), decibels.begin(), decibels.end());
  const std::size_t both = std::min(speech_.size(), decibels_.size());
  for (std::size_t t = 0; t < both; ++t) step(speech_[t], decibels_[t], segments);
  speech_.erase(speech_.begin(), speech_.begin() + static_cast<std::ptrdiff_t>(both));
  decibels_.erase(decibels_.begin(), decibels_.begin() + static_cast<std::ptrdiff_t>(both));
}

void SegmentFinder::step(bool speech, float decibels, std::vector<SpeechSegment>& segments) {
  const std::size_t frame = frames_++;
  const bool open = last_ > first_;
  if (open && !speech && !(FrameRun{last_, frame + 1}.seconds() < rules_.minimum_pause)) return close(segments);
  if (speech && !open) first_ = frame;
  if (speech) last_ = frame + 1;
  if (last_ > first_ && rules_.trim > 0.0) open_.push_back(decibels);
}

// Frame t lies around sample 80 (t + 1); the first and the last of the signal reach to its ends.
void SegmentFinder::close(std::vector<SpeechSegment>& segments) {
  const FrameRun whole{first_, last_};
  const auto edge = [](std::size_t frame) { return (static_cast<double>(frame) + 0.5) * kFrameSeconds; };
  const auto add = [&](FrameRun run) {
    if (!(run.seconds() >= rules_.minimum_speech)) return;
    const bool to_end = seconds_ > 0.0 && run.last == frames_;
    segments.push_back({run.first == 0 ? 0.0 : edge(run.first), to_end ? seconds_ : edge(run.last)});
  };
  if (rules_.trim > 0.0) {
    for (const FrameRun& run : trimmed(whole, std::span(open_).first(last_ - first_), rules_)) add(run);
  } else {
    add(whole);
  }
  first_ = last_ = 0;
  open_.clear();
}

void SegmentFinder::finish(double seconds, std::vector<SpeechSegment>& segments) {
  seconds_ = seconds;
  if (last_ > first_) close(segments);
  *this = SegmentFinder(rules_);
}

std::vector<SpeechSegment> speech_segments(const std::vector<bool>& speech, std::span<const float> decibels,
                                           double seconds, const SegmentRules& rules) {
  SegmentFinder finder(rules);
  std::vector<SpeechSegment> segments;
  finder.push(speech, decibels, segments);
  finder.finish(seconds, segments);
  return segments;
}

void SpeechSegmenter::pass_on(std::vector<SpeechSegment>& segments) {
  std::vector<bool> decided;
  if (evidence_) {
    const auto both = static_cast<std::ptrdiff_t>(std::min(speech_.size(), possible_.size()));
    decided.assign(speech_.begin(), speech_.begin() + both);
    for (std::size_t t = 0; t < decided.size(); ++t) decided[t] = decided[t] && possible_[t];
    speech_.erase(speech_.begin(), speech_.begin() + both);
    possible_.erase(possible_.begin(), possible_.begin() + both);
  } else {
    decided.swap(speech_);
  }
  if (listener) listener(decided, decibels_);
  finder_.push(decided, decibels_, segments);
  decibels_.clear();
}

void SpeechSegmenter::push(std::span<const float> samples, std::vector<SpeechSegment>& segments) {
  samples_ += samples.size();
  detector_.push(samples, speech_);
  if (evidence_) evidence_->push(samples, possible_);
  energies_.push(samples, decibels_);
  pass_on(segments);
}

void SpeechSegmenter::finish(std::vector<SpeechSegment>& segments) {
  detector_.finish(speech_);
  if (evidence_) evidence_->finish(possible_);
  energies_.finish(decibels_);
  pass_on(segments);
  finder_.finish(static_cast<double>(samples_) / kAuroraRate, segments);
  samples_ = 0;
}

}  // namespace kivsr::speech
