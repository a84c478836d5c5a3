// The ratio xi(k) = m |G X|^2(frame before) / N + (1 - m) max(|X|^2 / N - 1, 0) is that of Y. Ephraim and D. Malah,
// "Speech enhancement using a minimum mean-square error short-time spectral amplitude estimator", 1984.
#include "kivsr/speech/noise/suppression_gain.h"

#include <cstddef>

#include "kivsr.h"
#include "kivsr/speech/io/fault.h"

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
  check(kivsCopy_32f(noise.data(), divisor_.data(), bins_), "kivsCopy_32f");
  check(kivsMaxEvery_32f_I(smallest_noise_.data(), divisor_.data(), bins_), "kivsMaxEvery_32f_I");
  check(kivsDiv_32f(divisor_.data(), power.data(), posterior_.data(), bins_), "kivsDiv_32f");

  // prior = (1 - m) max(posterior - 1, 0) + m clean / noise; the first frame has none before it.
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
  if (settings_.rule == GainRule::kEmns) {
    check(kivsFilterUpdateEMNS_32f(gains.data(), posterior_.data(), prior_.data(), bins_), "kivsFilterUpdateEMNS_32f");
    check(kivsCopy_32f(prior_.data(), gains.data(), bins_), "kivsCopy_32f");
    check(kivsMinEvery_32f_I(one_.data(), gains.data(), bins_), "kivsMinEvery_32f_I");
  }
  check(kivsMul_32f(gains.data(), gains.data(), clean_.data(), bins_), "kivsMul_32f");
  check(kivsMul_32f(clean_.data(), power.data(), clean_.data(), bins_), "kivsMul_32f");
  check(kivsMaxEvery_32f_I(floor_.data(), gains.data(), bins_), "kivsMaxEvery_32f_I");
}

}  // namespace kivsr::speech
