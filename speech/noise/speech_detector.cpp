#include "kivsr/speech/noise/speech_detector.h"

#include <algorithm>

namespace kivsr::speech {

SpeechDetector::SpeechDetector(Arithmetic arithmetic) : decision_(arithmetic) {}

void SpeechDetector::reset() {
  stage_.reset();
  decision_.reset();
  pending_.clear();
  silent_ = 0;
  calls_ = 0;
  decided_ = 0;
  wanted_ = 0;
}

void SpeechDetector::take(int result, std::vector<bool>& speech) {
  ++calls_;
  if (result == kivVadUndecided) return;
  const auto frames = silent_ + static_cast<std::size_t>(calls_ - VoiceDecision::kLookAhead);
  speech.insert(speech.end(), frames - decided_, result == kivVadSpeech);
  decided_ = frames;
}

void SpeechDetector::step(std::span<const float> frame, std::vector<bool>& speech) {
  if (stage_.frames() == 0 && is_silent(frame)) {
    ++silent_;
    ++decided_;
    speech.push_back(false);
  } else if (stage_.push(frame)) {
    take(decision_.next(stage_), speech);
  }
}

void SpeechDetector::push(std::span<const float> samples, std::vector<bool>& speech) {
  constexpr std::size_t kFrame = kAuroraFrame;
  pending_.insert(pending_.end(), samples.begin(), samples.end());
  std::size_t start = 0;
  for (; pending_.size() - start >= kFrame; start += kFrame) {
    ++wanted_;
    step(std::span(pending_).subspan(start, kFrame), speech);
  }
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(start));
}

void SpeechDetector::finish(std::vector<bool>& speech) {
  pending_.resize(kAuroraFrame, 0.0F);
  for (int i = 0; i < kAuroraStageDelay && decided_ < wanted_; ++i) {
    if (stage_.push(pending_)) take(decision_.next(stage_), speech);
    std::fill(pending_.begin(), pending_.end(), 0.0F);
  }
  for (int i = 0; i < VoiceDecision::kLookAhead && decided_ < wanted_; ++i) take(decision_.flush(), speech);
  speech.resize(speech.size() + wanted_ - std::min(decided_, wanted_), false);
  reset();
}

std::vector<bool> SpeechDetector::run(std::span<const float> samples) {
  std::vector<bool> speech;
  push(samples, speech);
  finish(speech);
  return speech;
}

}  // namespace kivsr::speech
