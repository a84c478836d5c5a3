// Numbers without a name are those of the standard.
#include "kivsr/speech/noise/wiener_stage.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr int kWindow = 200;
constexpr int kWindowStart = 60;  // in the buffer
constexpr int kTransformOrder = 8;
constexpr int kTransform = 1 << kTransformOrder;
constexpr int kResponse = 10;  // values of the impulse response that the taps are made of
constexpr int kTaps = 17;
constexpr int kAveragingFrames = 100;  // the noise is a plain mean over so many frames, then forgets by 0.99
constexpr int kFirstFrames = 11;       // the same of the second stage, before it follows by itself
const float kLeastMagnitude = std::exp(-10.0F);

std::vector<float> raised_cosine(int length) {
  std::vector<float> window(static_cast<std::size_t>(length));
  for (int n = 0; n < length; ++n) {
    window[static_cast<std::size_t>(n)] =
        static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (n + 0.5) / length));
  }
  return window;
}

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

}  // namespace

void FrameBuffer::push(std::span<const float> frame) {
  std::copy(samples_.begin() + kAuroraFrame, samples_.end(), samples_.begin());
  std::copy(frame.begin(), frame.end(), samples_.end() - kAuroraFrame);
}

WienerStage::WienerStage(NoiseUpdate update)
    : update_(update),
      window_(raised_cosine(kWindow)),
      tap_window_(raised_cosine(kTaps)),
      samples_(kTransform, 0.0F),
      packed_(kTransform) {
  fft_ = Fft32f::make<kivsFFTInitAlloc_R_32f>(kTransformOrder, kivFftScaleNone, 0);
  int work = 0;
  call<kivsFFTGetBufSize_R_32f>(fft_, &work);
  fft_work_.resize(static_cast<std::size_t>(std::max(work, 1)));
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
  clean_.fill(0.0F);
  noise_.fill(kLeastMagnitude);
  noise_power_.fill(kLeastMagnitude * kLeastMagnitude);
}

// Power spectra of the windowed samples, pairs of bins averaged, and the mean of two frames.
void WienerStage::analyse(const FrameBuffer& buffer) {
  call<kivsMul_32f>(buffer.data() + kWindowStart, window_, samples_, kWindow);
  call<kivsFFTFwd_RToPerm_32f>(samples_, packed_, fft_, fft_work_);
  previous_power_ = power_;
  call<kivsSmoothedPowerSpectrumAurora_32f>(packed_, power_, kTransform);
  root_of(power_, magnitude_);
  Spectrum mean = frames_ == 1 ? power_ : previous_power_;
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
      call<kivsNoiseSpectrumUpdate_Aurora_32f>(power, noise_power_, noise_power_, kAuroraSpectrum);
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
  call<kivsWienerFilterDesign_Aurora_32f>(mean_, noise_, clean_, gains_, kAuroraSpectrum);
  call<kivsMul_32f>(gains_, magnitude_, clean_, kAuroraSpectrum);
  call<kivsEvalFBank_32f>(gains_, mel_gains_, bank_);
}

void WienerStage::filter(const FrameBuffer& buffer, float aggression, std::span<float> output) {
  std::array<float, kAuroraBands> gains;
  call<kivsMulC_32f>(mel_gains_, aggression, gains, kAuroraBands);
  call<kivsAddC_32f>(gains, 1.0F - aggression, gains, kAuroraBands);
  std::array<float, kResponse> response;
  call<kivsMatVecMul_32f_D2>(inverse_transform_, kAuroraBands, gains, kAuroraBands, response, kResponse);
  std::array<float, kTaps> taps;
  call<kivsTabsCalculation_Aurora_32f>(response, taps);
  call<kivsMul_32f>(taps, tap_window_, taps, kTaps);
  const float* const frame = buffer.data() + kAuroraFrame - kTaps / 2;
  call<kivsResidualFilter_Aurora_32f>(frame, output, taps);
}

}  // namespace kivsr::speech
