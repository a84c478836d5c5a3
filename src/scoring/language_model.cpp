// Scaling of language-model scores: floor, scale, insertion penalty.
#include "kivsr/scoring/language_model.h"

#include <algorithm>

#include "frame/status.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

void scale(Kiv32f* dst, const Kiv32f* src, int len, Kiv32f floor, Kiv32f factor, Kiv32f offset) {
  using V = simd::Vec<Kiv32f>;
  const V lowest = V::broadcast(floor);
  const V multiplier = V::broadcast(factor);
  const V term = V::broadcast(offset);
  // The maximum takes the floor for a NaN.
  transform<Kiv32f>(
      len, [=](V x) { return max(x, lowest) * multiplier + term; }, dst, src);
}

// Products are exact; the sum with the offset wraps.
void scale(Kiv32s* dst, const Kiv16s* src, int len, Kiv16s floor, Kiv16s factor, Kiv32s offset) {
  using V = simd::Vec<Kiv32s>;
  const V lowest = V::broadcast(floor);
  const V multiplier = V::broadcast(factor);
  const V term = V::broadcast(offset);
  transform<Kiv32s>(
      len, [=](V x) { return simd::multiply_words(max(x, lowest), multiplier) + term; }, dst, src);
}

template <class S, class D>
KivStatus scale_checked(const S* src, D* dst, int len, S floor, S factor, D offset) {
  return run(first_failure(not_null(src, dst), positive(len)), [&] { scale(dst, src, len, floor, factor, offset); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsScaleLM_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f floor, Kiv32f scale, Kiv32f offset) {
  return scale_checked(pSrc, pDst, len, floor, scale, offset);
}
KivStatus kivsScaleLM_16s32s(const Kiv16s* pSrc, Kiv32s* pDst, int len, Kiv16s floor, Kiv16s scale, Kiv32s offset) {
  return scale_checked(pSrc, pDst, len, floor, scale, offset);
}
}
