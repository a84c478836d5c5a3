// Square roots and their reciprocals: the estimate with its correction, and the special results.
#include <cmath>
#include <limits>

#include "frame/constants.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/roots.h"

namespace kivsr {
namespace {

// 1/sqrt(x) above val, val elsewhere. One Newton step on the processor's estimate; where the estimate is infinite
// (subnormal x) or zero (infinite x) the true value.
KivStatus reciprocal_root(float* src_dst, int len, float val) {
  using V = simd::Vec<float>;
  const V threshold = V::broadcast(val);
  const V half = V::broadcast(0.5F);
  const V three = V::broadcast(3.0F);
  const V smallest = V::broadcast(std::numeric_limits<float>::min());
  const V largest = V::broadcast(std::numeric_limits<float>::max());
  bool replaced_all = true;
  transform<float>(
      len,
      [&](V x) {
        const V r = reciprocal_sqrt_estimate(x);
        V root = half * r * (three - x * r * r);
        const auto above = x > threshold;
        replaced_all = replaced_all && !simd::any(above);
        const auto special = (x < smallest) | (x > largest);
        if (simd::any(special & above)) [[unlikely]] {
          root = simd::select(special, V::broadcast(1.0F) / simd::sqrt(x), root);
        }
        return simd::select(above, root, threshold);
      },
      src_dst, src_dst);
  return replaced_all ? kivStatusNoOperation : kivStatusOk;
}

// The integer form: 2^-scaleFactor / sqrt(x) to nearest and saturated above val, val elsewhere.
template <class D>
KivStatus reciprocal_root(const Kiv32s* src, D* dst, int len, Kiv32s val, int scale_factor) {
  const double factor = double_scale(scale_factor);
  const NearestRounding nearest;
  bool replaced_all = true;
  for (int i = 0; i < len; ++i) {
    const bool above = src[i] > val;
    replaced_all = replaced_all && !above;
    dst[i] = above ? round_saturated<D>(factor / std::sqrt(static_cast<double>(src[i]))) : saturate<D>(val);
  }
  return replaced_all ? kivStatusNoOperation : kivStatusOk;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSqrt_64f_I(Kiv64f* pSrcDst, int len) {
  return run(first_failure(not_null(pSrcDst), positive(len)), [&] {
    using V = simd::Vec<Kiv64f>;
    bool negative_met = false;
    transform<Kiv64f>(
        len,
        [&](V x) {
          const auto negative = x < V::zero();
          if (!simd::any(negative)) [[likely]] {
            return simd::sqrt(x);
          }
          negative_met = true;
          return simd::select(negative, V::broadcast(Special<Kiv64f>::nan()), simd::sqrt(x));
        },
        pSrcDst, pSrcDst);
    return negative_met ? kivStatusSqrtNegArg : kivStatusOk;
  });
}

KivStatus kivsRecSqrt_32f(Kiv32f* pSrcDst, int len, Kiv32f val) {
  return run(first_failure(not_null(pSrcDst), positive(len), require(val > 0.0F, kivStatusBadArgument)),
             [&] { return reciprocal_root(pSrcDst, len, val); });
}
KivStatus kivsRecSqrt_32s_Sfs(Kiv32s* pSrcDst, int len, Kiv32s val, int scaleFactor) {
  return run(first_failure(not_null(pSrcDst), positive(len), require(val > 0, kivStatusBadArgument)),
             [&] { return reciprocal_root(pSrcDst, pSrcDst, len, val, scaleFactor); });
}
KivStatus kivsRecSqrt_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, Kiv32s val, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len), require(val > 0, kivStatusBadArgument)),
             [&] { return reciprocal_root(pSrc, pDst, len, val, scaleFactor); });
}
}
