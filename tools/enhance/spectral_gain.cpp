// The ratio xi(k) = m |G X|^2(frame before) / N + (1 - m) max(|X|^2 / N - 1, 0) is that of Y. Ephraim and D. Malah,
// "Speech enhancement using a minimum mean-square error short-time spectral amplitude estimator", 1984.
#include "enhance/spectral_gain.h"

#include <algorithm>
#include <string>

#include "support/fault.h"

namespace kivsr::tools {

namespace {

constexpr float kSmallestNoise = 1e-6F;  // of samples in 16-bit units: far below the noise of their rounding

}  // namespace

SpectralGain::SpectralGain(int sample_rate, int fft_length, int hop, const SpectralGainSettings& settings)
    : sample_rate_(sample_rate), fft_length_(fft_length), hop_(hop), bins_(fft_length / 2 + 1), settings_(settings) {
  int size = 0;
  check(kivsGetSizeMCRA_32f(fft_length_, &size), "kivsGetSizeMCRA_32f");
  state_.resize((static_cast<std::size_t>(size) + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t));
  const auto bins = static_cast<std::size_t>(bins_);
  for (auto* const values : {&noise_, &divisor_, &posterior_, &clean_, &prior_}) values->assign(bins, 0.0F);
  floor_.assign(bins, settings_.floor);
  restart();
}

void SpectralGain::restart() {
  const KivStatus status = kivsAltInitMCRA_32f(sample_rate_, fft_length_, hop_, state());
  if (status == kivStatusOutOfRange)
    throw Fault("the noise estimate works from 8000 to 48000 Hz, not at " + std::to_string(sample_rate_) + " Hz");
  check(status, "kivsAltInitMCRA_32f");
  first_ = true;
}

void SpectralGain::run(std::span<const float> power, std::span<float> gains) {
  check(kivsUpdateNoisePSDMCRA_32f_I(power.data(), state(), noise_.data()), "kivsUpdateNoisePSDMCRA_32f_I");
  check(kivsSet_32f(kSmallestNoise, divisor_.data(), bins_), "kivsSet_32f");
  check(kivsMaxEvery_32f_I(noise_.data(), divisor_.data(), bins_), "kivsMaxEvery_32f_I");
  check(kivsDiv_32f(divisor_.data(), power.data(), posterior_.data(), bins_), "kivsDiv_32f");

  // prior = (1 - m) max(posterior - 1, 0) + m clean / noise; the first frame has no frame before.
  const float memory = first_ ? 0.0F : settings_.memory;
  check(kivsAddC_32f(posterior_.data(), -1.0F, prior_.data(), bins_), "kivsAddC_32f");
  check(kivsZero_32f(gains.data(), bins_), "kivsZero_32f");
  check(kivsMaxEvery_32f_I(gains.data(), prior_.data(), bins_), "kivsMaxEvery_32f_I");
  check(kivsMulC_32f_I(1.0F - memory, prior_.data(), bins_), "kivsMulC_32f_I");
  check(kivsDiv_32f_I(divisor_.data(), clean_.data(), bins_), "kivsDiv_32f_I");
  check(kivsMulC_32f_I(memory, clean_.data(), bins_), "kivsMulC_32f_I");
  check(kivsAdd_32f_I(clean_.data(), prior_.data(), bins_), "kivsAdd_32f_I");
  first_ = false;

  check(kivsFilterUpdateWiener_32f(prior_.data(), gains.data(), bins_), "kivsFilterUpdateWiener_32f");
  if (settings_.rule == GainRule::emns) {
    check(kivsFilterUpdateEMNS_32f(gains.data(), posterior_.data(), prior_.data(), bins_), "kivsFilterUpdateEMNS_32f");
    check(kivsSet_32f(1.0F, gains.data(), bins_), "kivsSet_32f");
    check(kivsMinEvery_32f_I(prior_.data(), gains.data(), bins_), "kivsMinEvery_32f_I");
  }
  check(kivsMul_32f(gains.data(), gains.data(), clean_.data(), bins_), "kivsMul_32f");
  check(kivsMul_32f(clean_.data(), power.data(), clean_.data(), bins_), "kivsMul_32f");
  check(kivsMaxEvery_32f_I(floor_.data(), gains.data(), bins_), "kivsMaxEvery_32f_I");
}

}  // namespace kivsr::tools
