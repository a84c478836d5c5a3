#include "kivsr/speech/noise/aurora_enhancer.h"

#include <algorithm>
#include <array>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kFrame = kAuroraFrame;
constexpr int kStageDelay = 2;  // frames between the newest one of a stage's buffer and the one that it filters
constexpr int kDelay = 2 * kStageDelay;
constexpr float kOffsetPole = 1.0F - 1.0F / 1024.0F;

}  // namespace

AuroraEnhancer::AuroraEnhancer(int sample_rate)
    : first_stage_(WienerStage::NoiseUpdate::kGated), second_stage_(WienerStage::NoiseUpdate::kContinuous) {
  if (sample_rate != kAuroraRate) {
    throw Fault("the method aurora works at 8000 Hz, not at " + std::to_string(sample_rate) + " Hz");
  }
}

void AuroraEnhancer::reset() {
  first_stage_.reset();
  second_stage_.reset();
  first_buffer_.clear();
  second_buffer_.clear();
  gate_ = {};
  aggression_ = {};
  pending_.clear();
  frames_ = 0;
  recorded_ = 0;
  samples_in_ = 0;
  samples_out_ = 0;
  offset_input_ = 0.0F;
  offset_output_ = 0.0F;
}

// The first stage's noise; its window is centred at the end of the frame that it filters. The first row stands for the
// start of the signal.
void AuroraEnhancer::record_noise_of_frame() {
  if (track_ == nullptr) return;
  track_->hop = kAuroraFrame;
  FeatureMatrix& rows = track_->power;
  rows.width = kAuroraSpectrum;
  const auto noise = first_stage_.noise();
  for (; recorded_ <= static_cast<std::size_t>(frames_ - kStageDelay) && recorded_ * kFrame < samples_in_;
       ++recorded_) {
    for (const float x : noise) rows.values.push_back(static_cast<float>(x * x / WienerStage::window_power()));
  }
}

void AuroraEnhancer::step(std::span<const float> frame, std::vector<float>& output) {
  ++frames_;
  const bool speech = gate_.speech(frame);
  first_buffer_.push(frame);
  if (frames_ <= kStageDelay) return;
  std::array<float, kFrame> between;
  first_stage_.design(first_buffer_, !speech);
  first_stage_.filter(first_buffer_, 1.0F, between);
  record_noise_of_frame();
  aggression_.add(first_stage_.clean());
  second_buffer_.push(between);
  if (frames_ <= kDelay) return;
  second_stage_.design(second_buffer_, true);
  std::array<float, kFrame> result;
  second_stage_.filter(second_buffer_, aggression_.next(second_stage_.noise()), result);
  call<kivsCompensateOffset_32f_I>(result, kAuroraFrame, &offset_input_, offset_output_, kOffsetPole);
  offset_output_ = result.back();
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
