#include "kivsr/speech/noise/aurora_reduction.h"

#include <algorithm>
#include <array>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr float kOffsetPole = 1.0F - 1.0F / 1024.0F;

}  // namespace

bool is_silent(std::span<const float> frame) {
  return std::all_of(frame.begin(), frame.end(), [](float x) { return x == 0.0F; });
}

void GatedStage::reset() {
  stage_.reset();
  buffer_.clear();
  gate_ = {};
  frames_ = 0;
}

bool GatedStage::push(std::span<const float> frame) {
  ++frames_;
  buffer_.push(frame);
  if (frames_ <= kAuroraStageDelay) return false;
  const bool speech = gate_.speech(buffer_.second());
  stage_.design(buffer_, !speech);
  return true;
}

void AuroraReduction::reset() {
  first_.reset();
  second_.reset();
  buffer_.clear();
  aggression_ = {};
  offset_input_ = 0.0F;
  offset_output_ = 0.0F;
}

bool AuroraReduction::push(std::span<const float> frame, std::span<float> output) {
  if (!first_.push(frame)) return false;
  std::array<float, kAuroraFrame> between;
  first_.filter(between);
  aggression_.add(first_.stage().clean());
  buffer_.push(between);
  if (first_.frames() <= kDelay) return false;
  second_.design(buffer_, true);
  second_.filter(buffer_, aggression_.next(second_.noise()), output);
  call<kivsCompensateOffset_32f_I>(output, kAuroraFrame, &offset_input_, offset_output_, kOffsetPole);
  offset_output_ = output.back();
  return true;
}

}  // namespace kivsr::speech
