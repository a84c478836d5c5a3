// Entropies.
#include <algorithm>
#include <limits>

#include "frame/constants.h"
#include "frame/elementary.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/simd/math.h"
#include "frame/status.h"
#include "kivsr/vector/entropy.h"

namespace kivsr {
namespace {

using simd::Vec;

// The lanes p ln p, 0 for zeros; false if one is negative or NaN.
bool entropy_terms(Vec<float> p, float* terms) {
  constexpr int W = Vec<float>::width;
  const Vec<float> zero = Vec<float>::zero();
  const Vec<float> safe = select(p == zero, Vec<float>::broadcast(1.0F), p);
  simd::store(terms, safe * log_normal(safe));
  if (all_positive_normal(safe)) return true;
  if (!all(p >= zero)) return false;
  // Subnormal and infinite lanes.
  float lanes[W];
  simd::store(lanes, safe);
  for (int i = 0; i < W; ++i) {
    const bool normal = lanes[i] >= std::numeric_limits<float>::min() && lanes[i] <= std::numeric_limits<float>::max();
    if (!normal) terms[i] = lanes[i] * static_cast<float>(natural_log(lanes[i]));
  }
  return true;
}

// The terms are added one after the other in single precision.
KivStatus entropy(const float* src, std::ptrdiff_t len, float* result) {
  constexpr std::ptrdiff_t W = Vec<float>::width;
  constexpr float kLn2 = 0.6931472F;
  float total = 0.0F;
  for (std::ptrdiff_t i = 0; i < len; i += W) {
    const auto n = static_cast<int>(std::min(W, len - i));
    float terms[W];
    if (!entropy_terms(n == W ? simd::load<float>(src + i) : simd::load_some<float>(src + i, n), terms)) {
      *result = Special<float>::nan();
      return kivStatusNanResult;
    }
    for (int k = 0; k < n; ++k) total += terms[k];
  }
  *result = total / kLn2;
  return kivStatusOk;
}

// Probabilities of 15 fractional bits.
KivStatus entropy(const Kiv16s* src, std::ptrdiff_t len, Kiv32s* result, int scale_factor) {
  constexpr double kOne = 32768.0;
  const NearestRounding nearest;
  double total = 0.0;
  for (std::ptrdiff_t i = 0; i < len; ++i) {
    if (src[i] < 0) {
      *result = std::numeric_limits<Kiv32s>::min();
      return kivStatusNanResult;
    }
    if (src[i] > 0) total += src[i] * binary_log(src[i] / kOne);
  }
  *result = round_saturated<Kiv32s>(total / kOne * double_scale(scale_factor));
  return kivStatusOk;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsEntropy_32f(const Kiv32f* pSrc, int len, Kiv32f* pResult) {
  return run(first_failure(not_null(pSrc, pResult), positive(len)), [&] { return entropy(pSrc, len, pResult); });
}
KivStatus kivsEntropy_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pResult, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pResult), positive(len)),
             [&] { return entropy(pSrc, len, pResult, scaleFactor); });
}
}
