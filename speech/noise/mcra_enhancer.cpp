// Overlap-add: J. B. Allen, "Short term spectral analysis, synthesis, and modification by discrete Fourier transform",
// 1977.
#include "kivsr/speech/noise/mcra_enhancer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/fft_work.h"

namespace kivsr::speech {

namespace {

constexpr int kOverlap = 4;            // frames that a sample is part of
constexpr int kFramesASecond = 50;     // of which the shortest frame is one
constexpr int kFirstFrames = 12;       // whose mean power the noise estimate begins with
constexpr double kNoiseSeconds = 1.0;  // in which the smoothed estimate follows a step to 1 - 1/e

int frame_length(int sample_rate) {
  return static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::clamp(sample_rate, 8000, 384000)) / kFramesASecond));
}

// The root of a periodic Hann window: sin(pi n / N).
std::vector<float> root_hann(int length) {
  std::vector<float> window(static_cast<std::size_t>(length));
  for (std::size_t n = 0; n < window.size(); ++n) {
    window[n] = static_cast<float>(std::sin(std::numbers::pi * static_cast<double>(n) / length));
  }
  return window;
}

}  // namespace

McraEnhancer::McraEnhancer(int sample_rate, const GainSettings& settings)
    : sample_rate_(sample_rate),
      fft_length_(frame_length(sample_rate)),
      hop_(fft_length_ / kOverlap),
      beginning_(static_cast<std::size_t>(kFirstFrames * hop_)),
      mcra_(sample_rate, fft_length_, hop_),
      gain_(fft_length_ / 2 + 1, settings),
      analysis_window_(root_hann(fft_length_)),
      synthesis_window_(analysis_window_) {
  // The squares of the windows that overlap at a sample sum to half their number.
  call<kivsMulC_32f_I>(2.0F / kOverlap, synthesis_window_, fft_length_);
  fft_ =
      Fft32f::make<kivsFFTInitAlloc_R_32f>(std::countr_zero(static_cast<unsigned>(fft_length_)), kivFftScaleInverse, 0);
  fft_work_ = fft_work(fft_);
  const auto length = static_cast<std::size_t>(fft_length_);
  samples_.resize(length);
  overlap_.assign(length, 0.0F);
  factors_.resize(length);
  power_.resize(length / 2 + 1);
  gains_.resize(length / 2 + 1);
}

void McraEnhancer::push(std::span<const float> samples, std::vector<float>& output) {
  received_ += samples.size();
  pending_.insert(pending_.end(), samples.begin(), samples.end());
  if (!started_ && pending_.size() < beginning_) return;
  if (!started_) start();
  process_pending(output);
}

// The frames that begin before the signal see its beginning mirrored, so that they have its level.
void McraEnhancer::start() {
  started_ = true;
  skip_ = static_cast<std::size_t>(fft_length_ - hop_);
  std::vector<float> mirrored(skip_);
  const std::size_t period = std::max<std::size_t>(1, 2 * (pending_.size() - 1));
  for (std::size_t i = 1; i <= skip_; ++i) {
    const std::size_t place = i % period;
    mirrored[skip_ - i] = pending_[std::min(place, period - place)];
  }
  pending_.insert(pending_.begin(), mirrored.begin(), mirrored.end());
  const auto length = static_cast<std::size_t>(fft_length_);
  pending_.resize(std::max(pending_.size(), length), 0.0F);

  const int bins = static_cast<int>(power_.size());
  noise_.assign(power_.size(), 0.0F);
  int frames = 0;
  for (std::size_t begin = 0; frames < kFirstFrames && begin + length <= pending_.size(); ++frames) {
    analyse(std::span(pending_).subspan(begin, length));
    call<kivsAdd_32f_I>(power_, noise_, bins);
    begin += static_cast<std::size_t>(hop_);
  }
  call<kivsMulC_32f_I>(1.0F / static_cast<float>(frames), noise_, bins);
  mcra_.begin(noise_);
  gain_.restart();
}

void McraEnhancer::process_pending(std::vector<float>& output) {
  const auto length = static_cast<std::size_t>(fft_length_);
  const auto hop = static_cast<std::size_t>(hop_);
  std::size_t begin = 0;
  for (; begin + length <= pending_.size(); begin += hop) {
    process_frame(std::span(pending_).subspan(begin, length));
    const std::size_t skipped = std::min(skip_, hop);
    skip_ -= skipped;
    // Of the frames behind the end, which finish() adds, only what belongs to the signal.
    const std::size_t wanted = std::min(hop - skipped, received_ - emitted_);
    const auto first = overlap_.begin() + static_cast<std::ptrdiff_t>(skipped);
    output.insert(output.end(), first, first + static_cast<std::ptrdiff_t>(wanted));
    emitted_ += wanted;
    std::copy(overlap_.begin() + hop_, overlap_.end(), overlap_.begin());
    std::fill(overlap_.end() - hop_, overlap_.end(), 0.0F);
  }
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(begin));
}

// samples_ and power_ of a frame.
void McraEnhancer::analyse(std::span<const float> frame) {
  call<kivsMul_32f>(frame, analysis_window_, samples_, fft_length_);
  call<kivsFFTFwd_RToPack_32f>(samples_, samples_, fft_, fft_work_);
  const std::size_t last = samples_.size() - 1;
  power_.front() = samples_.front() * samples_.front();
  power_.back() = samples_[last] * samples_[last];
  for (std::size_t k = 1; 2 * k < last; ++k) {
    power_[k] = samples_[2 * k - 1] * samples_[2 * k - 1] + samples_[2 * k] * samples_[2 * k];
  }
}

void McraEnhancer::process_frame(std::span<const float> frame) {
  analyse(frame);
  smooth_noise(mcra_.update(power_));
  gain_.run(power_, noise_, gains_);
  record_frame();

  const std::size_t last = samples_.size() - 1;
  factors_.front() = gains_.front();
  factors_.back() = gains_.back();
  for (std::size_t k = 1; 2 * k < last; ++k) factors_[2 * k - 1] = factors_[2 * k] = gains_[k];
  call<kivsMul_32f>(samples_, factors_, samples_, fft_length_);
  call<kivsFFTInv_PackToR_32f>(samples_, samples_, fft_, fft_work_);
  call<kivsMul_32f>(samples_, synthesis_window_, samples_, fft_length_);
  call<kivsAdd_32f_I>(samples_, overlap_, fft_length_);
}

// The library's estimate follows a frame within some 20 ms, and with it the speech that MCRA takes for noise.
void McraEnhancer::smooth_noise(std::span<const float> estimate) {
  const int bins = static_cast<int>(noise_.size());
  const auto kept = static_cast<float>(std::exp(-hop_ / (kNoiseSeconds * sample_rate_)));
  call<kivsMulC_32f_I>(kept, noise_, bins);
  call<kivsMulC_32f>(estimate, 1.0F - kept, gains_, bins);
  call<kivsAdd_32f_I>(gains_, noise_, bins);
}

// The middles of the frames are multiples of the hop; that of the first lies before the signal, some behind it.
void McraEnhancer::record_frame() {
  const std::size_t frame = frames_++;
  if (track_ == nullptr || frame == 0 || (frame - 1) * static_cast<std::size_t>(hop_) >= received_) return;
  track_->hop = hop_;
  track_->power.width = static_cast<int>(power_.size());
  track_->power.values.insert(track_->power.values.end(), noise_.begin(), noise_.end());
  // The squared window sums to half the length.
  call<kivsMulC_32f_I>(2.0F / static_cast<float>(fft_length_), track_->power.row(track_->power.height() - 1),
                       track_->power.width);
}

void McraEnhancer::finish(std::vector<float>& output) {
  if (received_ != 0) {
    if (!started_) start();
    process_pending(output);
    while (emitted_ < received_) {
      pending_.resize(static_cast<std::size_t>(fft_length_), 0.0F);
      process_pending(output);
    }
  }
  std::fill(overlap_.begin(), overlap_.end(), 0.0F);
  pending_.clear();
  received_ = emitted_ = skip_ = frames_ = 0;
  started_ = false;
}

}  // namespace kivsr::speech
