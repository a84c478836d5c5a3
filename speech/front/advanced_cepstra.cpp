// Numbers without a name are those of the standard.
#include "kivsr/speech/front/advanced_cepstra.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/speech/front/high_bands.h"
#include "kivsr/speech/noise/fft_work.h"

namespace kivsr::speech {

namespace {

constexpr int kTransformOrder = 8;
constexpr int kTransform = 1 << kTransformOrder;
constexpr int kBins = kTransform / 2 + 1;
constexpr int kLowBands = 23;
constexpr int kCepstra = 13;  // c0 counted
constexpr float kPreEmphasis = 0.9F;
constexpr float kEnergyFloor = 1.92874985e-22F;  // e^-50
const float kBandFloor = std::exp(-10.0F);

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

std::vector<float> hamming(int length) {
  std::vector<float> window(size_of(length));
  for (int n = 0; n < length; ++n) {
    window[size_of(n)] = static_cast<float>(0.54 - 0.46 * std::cos(2.0 * std::numbers::pi * (n + 0.5) / length));
  }
  return window;
}

}  // namespace

AdvancedCepstra::AdvancedCepstra(bool high_bands)
    : bands_(high_bands ? kLowBands + HighBands::kBands : kLowBands),
      fft_(Fft32f::make<kivsFFTInitAlloc_R_32f>(kTransformOrder, kivFftScaleNone, 0)),
      window_(hamming(kAuroraWindow)),
      frame_(kAuroraWindow),
      padded_(kTransform, 0.0F),
      bins_(size_of(kBins)),
      power_(size_of(kBins)),
      logs_(size_of(bands_)),
      transformed_(size_of(kCepstra) + 1) {
  work_ = fft_work(fft_);
  int order = 0;
  filters_ = FilterBank32f::make<kivsMelFBankInitAlloc_32f>(&order, kTransform, 8000, 64.0F, 4000.0F, kLowBands,
                                                            1126.99402F, 700.0F, KIV_FBANK_BINWEIGHT);
  // One coefficient more than wanted, whose weight is then c0's alone: no weights at all.
  transform_ = DctLifter32f::make<kivsDCTLifterInitAlloc_MulC0_32f>(bands_, std::vector<float>(size_of(kCepstra), 1.0F),
                                                                    kCepstra);
}

void AdvancedCepstra::row_of(std::span<const float> samples, const HighBands* high_bands, std::span<float> row) {
  call<kivsWaveProcessing_Aurora_32f>(samples.subspan(1, kAuroraWindow), frame_);
  float energy = 0.0F;
  call<kivsDotProd_32f>(frame_, frame_, kAuroraWindow, &energy);

  // The sample before the frame has not seen the waveform processing.
  padded_[0] = samples[0];
  std::copy(frame_.begin(), frame_.end() - 1, padded_.begin() + 1);
  call<kivsMulC_32f_I>(-kPreEmphasis, padded_, kAuroraWindow);
  call<kivsAdd_32f_I>(frame_, padded_, kAuroraWindow);
  call<kivsMul_32f>(padded_, window_, padded_, kAuroraWindow);
  auto* const bins = reinterpret_cast<Kiv32f*>(bins_.data());
  call<kivsFFTFwd_RToCCS_32f>(padded_, bins, fft_, work_);
  std::transform(bins_.begin(), bins_.end(), power_.begin(),
                 [](Kiv32fc bin) { return bin.re * bin.re + bin.im * bin.im; });

  call<kivsEvalFBank_32f>(power_, logs_, filters_);
  for (std::size_t band = 0; band < kLowBands; ++band) logs_[band] = std::max(logs_[band], kBandFloor);
  call<kivsLn_32f_I>(logs_, kLowBands);
  if (high_bands != nullptr) high_bands->merge(power_, logs_, energy);

  call<kivsDCTLifter_32f>(logs_, transformed_, transform_);
  std::copy(transformed_.begin(), transformed_.begin() + kCepstra - 1, row.begin());
  row[kCepstra - 1] = transformed_.back();
  row[kCepstra] = energy >= kEnergyFloor ? std::log(energy) : -50.0F;
}

}  // namespace kivsr::speech
