#include "kivsr/speech/noise/aurora_enhancer.h"

#include <algorithm>
#include <array>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kFrame = kAuroraFrame;

}  // namespace

AuroraEnhancer::AuroraEnhancer(int sample_rate) {
  if (sample_rate != kAuroraRate) {
    throw Fault("the method aurora works at 8000 Hz, not at " + std::to_string(sample_rate) + " Hz");
  }
}

void AuroraEnhancer::reset() {
  reduction_.reset();
  pending_.clear();
  started_ = false;
  designed_ = 0;
  recorded_ = 0;
  samples_in_ = 0;
  samples_out_ = 0;
}

// The first stage's noise; its window is centred at the end of the frame that it filters. The first row stands for the
// start of the signal.
void AuroraEnhancer::record_noise_of_frame() {
  if (track_ == nullptr) return;
  track_->hop = kAuroraFrame;
  FeatureMatrix& rows = track_->power;
  rows.width = kAuroraSpectrum;
  const auto noise = reduction_.first().stage().noise();
  for (; recorded_ <= designed_ && recorded_ * kFrame < samples_in_; ++recorded_) {
    for (const float x : noise) rows.values.push_back(static_cast<float>(x * x / WienerStage::window_power()));
  }
}

void AuroraEnhancer::step(std::span<const float> frame, std::vector<float>& output) {
  std::array<float, kFrame> result{};
  bool done = true;
  if (started_ || !is_silent(frame)) {
    started_ = true;
    done = reduction_.push(frame, result);
  }
  if (!started_ || reduction_.first_ran()) {
    ++designed_;
    record_noise_of_frame();
  }
  if (!done) return;
  samples_out_ += kFrame;
  output.insert(output.end(), result.begin(), result.end());
}

void AuroraEnhancer::push(std::span<const float> samples, std::vector<float>& output) {
  samples_in_ += samples.size();
  pending_.insert(pending_.end(), samples.begin(), samples.end());
  std::size_t start = 0;
  for (; pending_.size() - start >= kFrame; start += kFrame) step(std::span(pending_).subspan(start, kFrame), output);
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(start));
}

void AuroraEnhancer::finish(std::vector<float>& output) {
  pending_.resize(kFrame, 0.0F);
  while (samples_out_ < samples_in_) {
    step(pending_, output);
    std::fill(pending_.begin(), pending_.end(), 0.0F);
  }
  output.resize(output.size() - (samples_out_ - samples_in_));
  reset();
}

}  // namespace kivsr::speech
