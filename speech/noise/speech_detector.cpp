#include "kivsr/speech/noise/speech_detector.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr int kUndecided = 4;
constexpr int kSpeech = 1;
constexpr int kLookAhead = 6;  // calls between a frame and its decision
constexpr int kLag = 2;        // frames between the newest one and the one that the gains are about
constexpr int kVarianceBins = 64;
constexpr int kFractionBits = 10;  // of the gains in 16 bits: the squared sum of 25 stays below 2^31

// Gains in 16 bits. The detector subtracts 3 from the squared sum of the bands, which is meant for gains between 0 and
// 1 and would be lost among integers; the sum is lowered here to sqrt(sum^2 - 3) by the first band, which nothing else
// reads.
std::array<Kiv16s, kAuroraBands> words_of(std::span<const float> gains) {
  std::array<Kiv16s, kAuroraBands> bands;
  call<kivsConvert_32f16s_Sfs>(gains, bands, kAuroraBands, kivRndNear, -kFractionBits);
  constexpr int kOne = 1 << kFractionBits;
  int sum = 0;
  for (const Kiv16s band : bands) sum += band;
  const double square = std::max(0.0, static_cast<double>(sum) * sum - 3.0 * kOne * kOne);
  bands.front() = static_cast<Kiv16s>(bands.front() + std::lround(std::sqrt(square)) - sum);
  return bands;
}

}  // namespace

SpeechDetector::SpeechDetector(Arithmetic arithmetic)
    : arithmetic_(arithmetic), stage_(WienerStage::NoiseUpdate::kGated) {
  int size = 0;
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADGetBufSize_Aurora_32f>(&size);
  } else {
    call<kivsVADGetBufSize_Aurora_16s>(&size);
  }
  state_.resize((static_cast<std::size_t>(size) + sizeof(Kiv32s) - 1) / sizeof(Kiv32s));
  reset();
}

void SpeechDetector::reset() {
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADInit_Aurora_32f>(state());
  } else {
    call<kivsVADInit_Aurora_16s>(state());
  }
  stage_.reset();
  gate_ = {};
  buffer_.clear();
  pending_.clear();
  frames_ = 0;
  calls_ = 0;
  decided_ = 0;
  wanted_ = 0;
  random_ = 1;
}

int SpeechDetector::decide() {
  int result = 0;
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADDecision_Aurora_32f>(stage_.mel_gains(), stage_.gains(), gate_.loud_frames(), &result, state());
    return result;
  }
  const auto bands = words_of(stage_.mel_gains());
  std::array<Kiv16s, kVarianceBins> gains;
  call<kivsConvert_32f16s_Sfs>(stage_.gains(), gains, kVarianceBins, kivRndNear, -kFractionBits);
  call<kivsVADDecision_Aurora_16s>(bands, gains, gate_.loud_frames(), &result, state());
  return result;
}

void SpeechDetector::take(int result, std::vector<bool>& speech) {
  ++calls_;
  if (result == kUndecided) return;
  const auto frames = static_cast<std::size_t>(calls_ - kLookAhead);
  speech.insert(speech.end(), frames - decided_, result == kSpeech);
  decided_ = frames;
}

// White noise within half a unit. Digital silence would leave nothing but rounding errors to compare.
float SpeechDetector::dither() {
  random_ = random_ * 1664525U + 1013904223U;
  return static_cast<float>(random_ >> 8U) * 0x1p-24F - 0.5F;
}

void SpeechDetector::step(std::span<const float> frame, std::vector<bool>& speech) {
  ++frames_;
  std::array<float, kAuroraFrame> dithered;
  std::transform(frame.begin(), frame.end(), dithered.begin(), [&](float x) { return x + dither(); });
  const bool gate_open = gate_.speech(dithered);
  buffer_.push(dithered);
  if (frames_ <= kLag) return;
  stage_.design(buffer_, !gate_open);
  take(decide(), speech);
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
  for (int i = 0; i < kLag; ++i) {
    step(pending_, speech);
    std::fill(pending_.begin(), pending_.end(), 0.0F);
  }
  for (int i = 0; i < kLookAhead && decided_ < wanted_; ++i) {
    int result = 0;
    if (arithmetic_ == Arithmetic::kSinglePrecision) {
      call<kivsVADFlush_Aurora_32f>(&result, state());
    } else {
      call<kivsVADFlush_Aurora_16s>(&result, state());
    }
    take(result, speech);
  }
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
