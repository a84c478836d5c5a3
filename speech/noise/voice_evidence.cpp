#include "kivsr/speech/noise/voice_evidence.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/speech/noise/fft_work.h"
#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kFrame = kAuroraFrame;
constexpr std::size_t kSpectrum = 256;      // samples, 32 ms
constexpr std::size_t kSpan = 400;          // samples that show the period, 50 ms
constexpr int kShortestPeriod = 18;         // samples, 444 Hz
constexpr int kLongestPeriod = 130;         // 62 Hz
constexpr float kEmphasis = 0.95F;          // makes brown noise white
constexpr std::size_t kFirstBin = 6;        // 190 Hz
constexpr std::size_t kLastBin = 48;        // 1500 Hz: above, white noise hides voices
constexpr std::size_t kMovementFrames = 5;  // between spectra that are compared
constexpr std::size_t kAround = 50;         // frames on either side that decide about one

// Chosen on the sounds of scripts/vad-table.
constexpr float kLeastPeriodicity = 0.35F;
constexpr float kMostFlatness = 0.45F;
constexpr float kMostPurity = 0.85F;
constexpr float kLeastMovement = 0.05F;
constexpr std::size_t kLeastVoiced = 8;   // frames around
constexpr float kLeastModulation = 2.0F;  // dB, standard deviation of the level around
constexpr float kDepth = 30.0F;           // dB below the loudest frame around, where modulation ends

}  // namespace

VoiceEvidence::VoiceEvidence()
    : fft_(Fft32f::make<kivsFFTInitAlloc_R_32f>(8, kivFftScaleNone, 0)), fft_work_(fft_work(fft_)) {
  for (std::size_t n = 0; n < kSpectrum; ++n) {
    window_.push_back(static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (static_cast<double>(n) + 0.5) /
                                                              static_cast<double>(kSpectrum))));
  }
  work_.resize(kSpectrum + 2);
  power_.resize(kSpectrum / 2 + 1);
  reset();
}

// Half a span of silence stands before the signal, less the frame that the first one lies around.
void VoiceEvidence::reset() {
  emphasised_.assign(kSpan / 2 - kFrame, 0.0F);
  smoothed_ = emphasised_;
  std::fill(std::begin(last_), std::end(last_), 0.0F);
  magnitudes_.clear();
  frames_.clear();
  first_ = measured_ = decided_ = received_ = 0;
}

FrameEvidence VoiceEvidence::measure(std::size_t start) {
  FrameEvidence result;
  float period = 0.0F;
  call<kivsPeriodicity_32f>(std::span(smoothed_).subspan(start), static_cast<int>(kSpan), kShortestPeriod,
                            kLongestPeriod, &result.periodicity, &period);
  const auto middle = std::span(emphasised_).subspan(start + (kSpan - kSpectrum) / 2, kSpectrum);
  call<kivsMul_32f>(middle, window_, work_, kSpectrum);
  call<kivsFFTFwd_RToCCS_32f>(work_, work_, fft_, fft_work_);
  float sum = 0.0F;
  float peak = 0.0F;
  double logs = 0.0;
  std::vector<float> magnitudes;
  for (std::size_t k = kFirstBin; k <= kLastBin; ++k) {
    power_[k] = work_[2 * k] * work_[2 * k] + work_[2 * k + 1] * work_[2 * k + 1] + 1e-3F;
    sum += power_[k];
    logs += std::log(power_[k]);
    magnitudes.push_back(std::sqrt(power_[k]));
  }
  const std::size_t bins = kLastBin - kFirstBin + 1;
  for (std::size_t k = kFirstBin + 2; k + 2 <= kLastBin; ++k) {
    peak = std::max(peak, power_[k - 2] + power_[k - 1] + power_[k] + power_[k + 1] + power_[k + 2]);
  }
  result.flatness = static_cast<float>(std::exp(logs / static_cast<double>(bins))) * static_cast<float>(bins) / sum;
  result.purity = peak / sum;
  result.decibels = 10.0F * std::log10(sum);
  call<kivsDivC_32f_I>(std::sqrt(sum), magnitudes, bins);
  magnitudes_.push_back(std::move(magnitudes));
  if (magnitudes_.size() > kMovementFrames) {
    float cosine = 0.0F;
    call<kivsDotProd_32f>(magnitudes_.front(), magnitudes_.back(), bins, &cosine);
    result.movement = 1.0F - cosine;
    magnitudes_.pop_front();
  }
  return result;
}

void VoiceEvidence::analyse() {
  std::size_t start = 0;
  for (; start + kSpan <= emphasised_.size(); start += kFrame) {
    frames_.push_back(measure(start));
    ++measured_;
  }
  emphasised_.erase(emphasised_.begin(), emphasised_.begin() + static_cast<std::ptrdiff_t>(start));
  smoothed_.erase(smoothed_.begin(), smoothed_.begin() + static_cast<std::ptrdiff_t>(start));
}

bool VoiceEvidence::could_be_speech(std::size_t frame) const {
  const std::size_t from = std::max(first_, frame - std::min(frame, kAround));
  const std::size_t to = std::min(frame + kAround + 1, measured_);
  float loudest = -100.0F;
  for (std::size_t t = from; t < to; ++t) loudest = std::max(loudest, frames_[t - first_].decibels);
  std::size_t voiced = 0;
  double sum = 0.0;
  double squares = 0.0;
  for (std::size_t t = from; t < to; ++t) {
    const FrameEvidence& evidence = frames_[t - first_];
    voiced += evidence.periodicity > kLeastPeriodicity && evidence.flatness < kMostFlatness &&
                      evidence.purity < kMostPurity && evidence.movement > kLeastMovement
                  ? 1U
                  : 0U;
    const double level = std::max(evidence.decibels, loudest - kDepth);
    sum += level;
    squares += level * level;
  }
  const auto count = static_cast<double>(to - from);
  const double variance = squares / count - sum / count * (sum / count);
  return voiced >= kLeastVoiced && variance > kLeastModulation * kLeastModulation;
}

void VoiceEvidence::decide(std::size_t frames, std::vector<bool>& possible) {
  for (; decided_ < frames; ++decided_) {
    possible.push_back(could_be_speech(decided_));
    if (decided_ >= kAround) {
      frames_.pop_front();
      ++first_;
    }
  }
}

void VoiceEvidence::push(std::span<const float> samples, std::vector<bool>& possible) {
  received_ += samples.size();
  for (const float sample : samples) {
    const float emphasised = sample - kEmphasis * last_[0];
    last_[0] = sample;
    emphasised_.push_back(emphasised);
    smoothed_.push_back(emphasised + last_[1] + last_[2] + last_[3]);
    last_[3] = last_[2];
    last_[2] = last_[1];
    last_[1] = emphasised;
  }
  analyse();
  if (measured_ > kAround) decide(measured_ - kAround, possible);
}

void VoiceEvidence::finish(std::vector<bool>& possible) {
  const std::size_t wanted = received_ / kFrame;
  emphasised_.resize(emphasised_.size() + kSpan, 0.0F);
  smoothed_.resize(emphasised_.size(), 0.0F);
  analyse();
  decide(wanted, possible);
  reset();
}

}  // namespace kivsr::speech
