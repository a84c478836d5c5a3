// Blind equalisation of cepstra (ETSI ES 202 050, clause 5.4): a bias vector follows the difference between the
// corrected cepstrum and a reference, the faster the louder the frame.
#include <algorithm>

#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/aurora/equalisation.h"

namespace kivsr {
namespace {

void equalise(const float* reference, float* cepstrum, float* bias, int len, float energy) {
  // The threshold 211/64 and the step 9/1024 of the standard. A NaN energy moves nothing.
  const float loudness = energy > 3.296875F ? std::min(energy - 3.296875F, 1.0F) : 0.0F;
  const float step = loudness * 0.0087890625F;
  using V = simd::Vec<float>;
  const V mu = V::broadcast(step);
  transform_together(
      len,
      [=](V target, V& c, V& b) {
        c = c - b;
        b = b + mu * (c - target);
      },
      reference, cepstrum, bias);
}

// Energy in steps of 1/64, step in steps of 2^-16; the unsaturated difference moves the bias.
void equalise(const Kiv16s* reference, Kiv16s* cepstrum, Kiv16s* bias, int len, int energy) {
  const std::int64_t step = 9 * (std::clamp(energy, 211, 275) - 211);
  for (int i = 0; i < len; ++i) {
    const std::int64_t d = cepstrum[i] - bias[i];
    cepstrum[i] = saturate<Kiv16s>(d);
    bias[i] = saturate<Kiv16s>(bias[i] + ((step * (d - reference[i])) >> 16));
  }
}

template <class T, class Energy>
KivStatus equalise_checked(const T* reference, T* cepstrum, T* bias, int len, Energy energy) {
  return run(first_failure(not_null(reference, cepstrum, bias), positive(len)),
             [&] { equalise(reference, cepstrum, bias, len, energy); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
KivStatus kivsBlindEqualization_Aurora_32f(const Kiv32f* pRef, Kiv32f* pSrcDst, Kiv32f* pBias, int len, Kiv32f energy) {
  return kivsr::equalise_checked(pRef, pSrcDst, pBias, len, energy);
}
KivStatus kivsBlindEqualization_Aurora_16s(const Kiv16s* pRef, Kiv16s* pSrcDst, Kiv16s* pBias, int len, int energy) {
  return kivsr::equalise_checked(pRef, pSrcDst, pBias, len, energy);
}
}
