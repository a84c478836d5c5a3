#include "kivsr/speech/front/advanced_front_end.h"

#include <algorithm>

namespace kivsr::speech {

namespace {

constexpr int kFramesOfARow = 3;  // that its window reaches into

}  // namespace

AdvancedFrontEnd::AdvancedFrontEnd(int sample_rate, bool with_speech)
    : frame_(static_cast<std::size_t>(sample_rate / 100)),
      with_speech_(with_speech),
      cepstra_(sample_rate == 2 * kAuroraRate) {
  if (sample_rate == 2 * kAuroraRate) high_bands_.emplace();
}

void AdvancedFrontEnd::reset() {
  reduction_.reset();
  decision_.reset();
  if (high_bands_) high_bands_->reset();
  pending_.clear();
  samples_.fill(0.0F);
  started_ = false;
  denoised_frames_ = 0;
}

void AdvancedFrontEnd::decide(int result, std::vector<float>& speech) {
  if (result != kivVadUndecided) speech.push_back(result == kivVadSpeech ? 1.0F : 0.0F);
}

void AdvancedFrontEnd::add_row(FeatureMatrix& rows) {
  rows.values.resize(rows.values.size() + kColumns);
  cepstra_.row_of(samples_, high_bands_ ? &*high_bands_ : nullptr, std::span(rows.values).last(kColumns));
}

void AdvancedFrontEnd::step(std::span<const float> frame, FeatureMatrix& rows, std::vector<float>& speech) {
  if (!started_ && is_silent(frame)) {
    rows.values.resize(rows.values.size() + kColumns, 0.0F);
    if (with_speech_) speech.push_back(0.0F);
    return;
  }
  started_ = true;
  std::array<float, kAuroraFrame> low;
  if (high_bands_) {
    high_bands_->split(frame, low);
    frame = low;
  }
  std::array<float, kAuroraFrame> denoised;
  const bool complete = reduction_.push(frame, denoised);
  if (!reduction_.first_ran()) return;
  if (with_speech_) decide(decision_.next(reduction_.first()), speech);
  if (high_bands_) high_bands_->keep_low(reduction_.first().stage().power());
  if (!complete) return;
  if (high_bands_) high_bands_->analyse();
  if (denoised_ != nullptr) denoised_->insert(denoised_->end(), denoised.begin(), denoised.end());
  std::copy(samples_.begin() + kAuroraFrame, samples_.end(), samples_.begin());
  std::copy(denoised.begin(), denoised.end(), samples_.end() - kAuroraFrame);
  if (++denoised_frames_ >= kFramesOfARow) add_row(rows);
}

void AdvancedFrontEnd::push(std::span<const float> samples, FeatureMatrix& rows, std::vector<float>& speech) {
  rows.width = kColumns;
  while (!samples.empty()) {
    if (pending_.empty() && samples.size() >= frame_) {
      step(samples.first(frame_), rows, speech);
      samples = samples.subspan(frame_);
      continue;
    }
    const auto part = samples.first(std::min(samples.size(), frame_ - pending_.size()));
    pending_.insert(pending_.end(), part.begin(), part.end());
    samples = samples.subspan(part.size());
    if (pending_.size() < frame_) break;
    step(pending_, rows, speech);
    pending_.clear();
  }
}

// Rows that are complete have been given; the detector still looks at what is behind its last decisions.
void AdvancedFrontEnd::finish(FeatureMatrix& rows, std::vector<float>& speech) {
  rows.width = kColumns;
  for (int i = 0; with_speech_ && denoised_frames_ >= kFramesOfARow && i < VoiceDecision::kLookAhead; ++i) {
    decide(decision_.flush(), speech);
  }
  reset();
}

}  // namespace kivsr::speech
