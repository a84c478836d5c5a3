// Conversion between hertz and mel.
#include "kivsr/frontend/mel_scale.h"

#include "frame/elementary.h"
#include "frame/status.h"

namespace kivsr {
namespace {

// A NaN constant passes.
KivStatus scale_check(const float* src, const float* dst, int len, float multiplier, float divisor) {
  return first_failure(not_null(src, dst), positive(len),
                       require(!(multiplier <= 0.0F) && !(divisor <= 0.0F), kivStatusBadSize));
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsLinearToMel_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv) {
  return run(scale_check(pSrc, pDst, len, melMul, melDiv), [&] {
    const double reciprocal = 1.0 / melDiv;
    for (int k = 0; k < len; ++k) {
      const long double ratio = 1.0L + static_cast<long double>(pSrc[k]) * reciprocal;
      pDst[k] = static_cast<Kiv32f>(melMul * natural_log(static_cast<double>(ratio)));
    }
  });
}
KivStatus kivsMelToLinear_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv) {
  return run(scale_check(pSrc, pDst, len, melMul, melDiv), [&] {
    const double reciprocal = 1.0 / melMul;
    for (int k = 0; k < len; ++k) pDst[k] = static_cast<Kiv32f>(melDiv * (exponential(pSrc[k] * reciprocal) - 1.0));
  });
}
}
