#include "kivsr/speech/noise/smoothed_spectrum.h"

#include <cmath>
#include <numbers>

#include "kivsr/speech/noise/fft_work.h"

namespace kivsr::speech {

namespace {

constexpr int kTransformOrder = 8;
constexpr int kTransform = 1 << kTransformOrder;

}  // namespace

std::vector<float> raised_cosine(int length) {
  std::vector<float> window(static_cast<std::size_t>(length));
  for (int n = 0; n < length; ++n) {
    window[static_cast<std::size_t>(n)] =
        static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (n + 0.5) / length));
  }
  return window;
}

SmoothedSpectrum::SmoothedSpectrum()
    : fft_(Fft32f::make<kivsFFTInitAlloc_R_32f>(kTransformOrder, kivFftScaleNone, 0)),
      window_(raised_cosine(kAuroraWindow)),
      samples_(kTransform, 0.0F),
      packed_(kTransform) {
  work_ = fft_work(fft_);
}

void SmoothedSpectrum::analyse(const float* samples, Power& power) {
  call<kivsMul_32f>(samples, window_, samples_, kAuroraWindow);
  call<kivsFFTFwd_RToPerm_32f>(samples_, packed_, fft_, work_);
  call<kivsSmoothedPowerSpectrumAurora_32f>(packed_, power, kTransform);
}

}  // namespace kivsr::speech
