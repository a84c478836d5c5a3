// Numbers without a name are those of the standard.
#include "kivsr/speech/noise/wiener_stage.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr int kWindowStart = 60;  // in the buffer
constexpr int kTaps = 17;
constexpr int kCentre = kTaps / 2;
constexpr int kResponse = kCentre + 1;  // values of the impulse response that the taps are made of
constexpr int kAveragingFrames = 100;   // the noise is a plain mean over so many frames, then forgets by 0.99
constexpr int kFirstFrames = 11;        // the same of the second stage, before it follows by itself
const float kLeastMagnitude = std::exp(-10.0F);

// x = keep * x + (1 - keep) * y
template <std::size_t n>
void forget(std::array<float, n>& x, const std::array<float, n>& y, float keep) {
  std::array<float, n> scaled;
  call<kivsMulC_32f>(y, 1.0F - keep, scaled, n);
  call<kivsMulC_32f_I>(keep, x, n);
  call<kivsAdd_32f_I>(scaled, x, n);
}

template <std::size_t n>
void root_of(const std::array<float, n>& power, std::array<float, n>& magnitude) {
  std::transform(power.begin(), power.end(), magnitude.begin(), [](float x) { return std::sqrt(x); });
}

// The Wiener rule in two passes (clause 5.1.5). Noise powers and gains here are divided exactly: the library's kernels
// begin with the processor's estimates of reciprocals, whose 12 bits would show in the cepstra.
void design_gains(const float* mean, const float* noise, const float* clean, float* gains) {
  for (int i = 0; i < kAuroraSpectrum; ++i) {
    const float reciprocal = 1.0F / noise[i];
    const float excess = mean[i] * reciprocal - 1.0F;
    const float prior = 0.98F * clean[i] * reciprocal + 0.02F * (excess > 0.0F ? excess : 0.0F);
    const float ratio = prior / (1.0F + prior) * mean[i] * reciprocal;
    const float raised = ratio > 0.079432823F ? ratio : 0.079432823F;
    gains[i] = raised / (1.0F + raised);
  }
}

// The noise of the second stage behind its first frames; powers above zero.
void follow_noise(const float* power, float* noise) {
  for (int i = 0; i < kAuroraSpectrum; ++i) {
    const float share = power[i] / (power[i] + noise[i]);
    noise[i] *= 0.9F + 0.1F * share * (1.0F + noise[i] / (noise[i] + 0.1F * power[i]));
  }
}

}  // namespace

void FrameBuffer::push(std::span<const float> frame) {
  std::copy(samples_.begin() + kAuroraFrame, samples_.end(), samples_.begin());
  std::copy(frame.begin(), frame.end(), samples_.end() - kAuroraFrame);
}

WienerStage::WienerStage(NoiseUpdate update) : update_(update), tap_window_(raised_cosine(kTaps)) {
  bank_ = FilterBank32f::make<kivsMelFBankInitAllocLow_Aurora_32f>();
  make_inverse_transform();
  reset();
}

// The mel-warped inverse cosine transform: value n is the sum over bands of gain * cos(2 pi n f) * df, f the band's
// centre of gravity and df the width that it stands for, both as parts of the sampling rate.
void WienerStage::make_inverse_transform() {
  Spectrum frequencies;
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    frequencies[i] = static_cast<float>(i) / static_cast<float>(2 * (kAuroraSpectrum - 1));
  }
  std::array<float, kAuroraBands> centre;
  call<kivsEvalFBank_32f>(frequencies, centre, bank_);
  centre.front() = 0.0F;
  centre.back() = 0.5F;
  for (int n = 0; n < kResponse; ++n) {
    for (std::size_t k = 0; k < centre.size(); ++k) {
      const double width = double{centre[std::min(k + 1, centre.size() - 1)]} - centre[k == 0 ? 0 : k - 1];
      inverse_transform_.push_back(static_cast<float>(std::cos(2.0 * std::numbers::pi * n * centre[k]) * width));
    }
  }
}

void WienerStage::reset() {
  frames_ = 0;
  power_.fill(0.0F);
  clean_.fill(0.0F);
  noise_.fill(kLeastMagnitude);
  noise_power_.fill(kLeastMagnitude * kLeastMagnitude);
}

void WienerStage::analyse(const FrameBuffer& buffer) {
  previous_power_ = power_;
  spectrum_.analyse(buffer.data() + kWindowStart, power_);
  root_of(power_, magnitude_);
  Spectrum mean = previous_power_;
  forget(mean, power_, 0.5F);
  root_of(mean, mean_);
}

void WienerStage::update_noise(bool may_update) {
  if (update_ == NoiseUpdate::kGated) {
    if (may_update) {
      forget(noise_, mean_, frames_ < kAveragingFrames ? 1.0F - 1.0F / static_cast<float>(frames_) : 0.99F);
    }
  } else {
    Spectrum power;
    call<kivsMul_32f>(mean_, mean_, power, kAuroraSpectrum);
    if (frames_ < kFirstFrames) {
      forget(noise_power_, power, 1.0F - 1.0F / static_cast<float>(frames_));
    } else {
      follow_noise(power.data(), noise_power_.data());
    }
    for (float& x : noise_power_) x = std::max(x, kLeastMagnitude * kLeastMagnitude);
    root_of(noise_power_, noise_);
  }
  for (float& x : noise_) x = std::max(x, kLeastMagnitude);
}

void WienerStage::design(const FrameBuffer& buffer, bool may_update) {
  ++frames_;
  analyse(buffer);
  update_noise(may_update);
  design_gains(mean_.data(), noise_.data(), clean_.data(), gains_.data());
  call<kivsMul_32f>(gains_, magnitude_, clean_, kAuroraSpectrum);
  call<kivsEvalFBank_32f>(gains_, mel_gains_, bank_);
}

void WienerStage::filter(const FrameBuffer& buffer, float aggression, std::span<float> output) {
  std::array<float, kAuroraBands> gains;
  call<kivsMulC_32f>(mel_gains_, aggression, gains, kAuroraBands);
  call<kivsAddC_32f>(gains, 1.0F - aggression, gains, kAuroraBands);
  std::array<float, kResponse> response;
  call<kivsMatVecMul_32f_D2>(inverse_transform_, kAuroraBands, gains, kAuroraBands, response, kResponse);
  // Symmetric taps delay all frequencies alike.
  std::array<float, kTaps> taps;
  for (std::size_t k = 0; k <= kCentre; ++k) taps[kCentre - k] = taps[kCentre + k] = response[k];
  call<kivsMul_32f>(taps, tap_window_, taps, kTaps);
  call<kivsResidualFilter_Aurora_32f>(buffer.data() + kAuroraFrame - kCentre, output, taps);
}

}  // namespace kivsr::speech
