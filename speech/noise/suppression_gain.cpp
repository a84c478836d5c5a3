// The ratio xi(k) = m |G X|^2(frame before) / N + (1 - m) max(|X|^2 / N - 1, 0) is that of Y. Ephraim and D. Malah,
// "Speech enhancement using a minimum mean-square error short-time spectral amplitude estimator", 1984.
#include "kivsr/speech/noise/suppression_gain.h"

#include <cstddef>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr float kSmallestNoise = 1e-3F;  // of samples in 16-bit units: far below the noise of their rounding

}  // namespace

SuppressionGain::SuppressionGain(int bins, const GainSettings& settings) : bins_(bins), settings_(settings) {
  const auto size = static_cast<std::size_t>(bins);
  smallest_noise_.assign(size, kSmallestNoise);
  floor_.assign(size, settings.floor);
  one_.assign(size, 1.0F);
  for (auto* const values : {&divisor_, &posterior_, &prior_, &clean_}) values->assign(size, 0.0F);
}

void SuppressionGain::run(std::span<const float> power, std::span<const float> noise, std::span<float> gains) {
  call<kivsCopy_32f>(noise, divisor_, bins_);
  call<kivsMaxEvery_32f_I>(smallest_noise_, divisor_, bins_);
  call<kivsDiv_32f>(divisor_, power, posterior_, bins_);

  // prior = (1 - m) max(posterior - 1, 0) + m clean / noise; the first frame has none before it.
  const float memory = first_ ? 0.0F : settings_.memory;
  call<kivsAddC_32f>(posterior_, -1.0F, prior_, bins_);
  call<kivsZero_32f>(gains, bins_);
  call<kivsMaxEvery_32f_I>(gains, prior_, bins_);
  call<kivsMulC_32f_I>(1.0F - memory, prior_, bins_);
  call<kivsDiv_32f_I>(divisor_, clean_, bins_);
  call<kivsMulC_32f_I>(memory, clean_, bins_);
  call<kivsAdd_32f_I>(clean_, prior_, bins_);
  first_ = false;

  call<kivsFilterUpdateWiener_32f>(prior_, gains, bins_);
  if (settings_.rule == GainRule::kEmns) {
    call<kivsFilterUpdateEMNS_32f>(gains, posterior_, prior_, bins_);
    call<kivsCopy_32f>(prior_, gains, bins_);
    call<kivsMinEvery_32f_I>(one_, gains, bins_);
  }
  call<kivsMul_32f>(gains, gains, clean_, bins_);
  call<kivsMul_32f>(clean_, power, clean_, bins_);
  call<kivsMaxEvery_32f_I>(floor_, gains, bins_);
}

}  // namespace kivsr::speech
