// Sums, differences, products and extrema of two vectors: the exports and their one-line operations.
#include "arithmetic.h"

#include "copy.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/arithmetic.h"

namespace kivsr {
namespace {

using simd::Vec;

constexpr auto kAdd = [](auto x, auto old) { return old + x; };
constexpr auto kSubtract = [](auto x, auto old) { return old - x; };
constexpr auto kMaximum = [](auto x, auto old) { return max(x, old); };  // equal or NaN: old
constexpr auto kMinimum = [](auto x, auto old) { return min(old, x); };  // equal or NaN: x

template <class T, class Op>
KivStatus combine(const T* src, T* src_dst, int len, Op op) {
  return run(first_failure(not_null(src, src_dst), positive(len)),
             [&] { transform<T>(len, op, src_dst, src, static_cast<const T*>(src_dst)); });
}

template <class T>
KivStatus multiply_constant(const T* src, T val, T* dst, int len) {
  return run(first_failure(not_null(src, dst), positive(len)), [&] { multiply_by_constant(dst, src, val, len); });
}

template <class T>
KivStatus multiply_constant_in_place(T val, T* src_dst, int len) {
  return run(first_failure(not_null(src_dst), positive(len)), [&] { scale_in_place(src_dst, val, len); });
}

// Products are exact in 32 bits.
void multiply_words(Kiv16s* dst, const Kiv16s* a, const Kiv16s* b, int len, int scale_factor) {
  scale_to_16_bits(scale_factor, [&](auto scale) {
    transform<Kiv32s>(
        len, [&](auto x, auto y) { return scale(simd::multiply_words(x, y)); }, dst, a, b);
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsAbs_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] {
    transform<Kiv64f>(
        len, [](auto x) { return simd::abs(x); }, pDst, pSrc);
  });
}

KivStatus kivsAdd_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) { return combine(pSrc, pSrcDst, len, kAdd); }
KivStatus kivsAdd_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len) { return combine(pSrc, pSrcDst, len, kAdd); }
KivStatus kivsSub_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) { return combine(pSrc, pSrcDst, len, kSubtract); }
KivStatus kivsSub_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len) { return combine(pSrc, pSrcDst, len, kSubtract); }
KivStatus kivsMaxEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) {
  return combine(pSrc, pSrcDst, len, kMaximum);
}
KivStatus kivsMinEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) {
  return combine(pSrc, pSrcDst, len, kMinimum);
}
KivStatus kivsMinEvery_32s_I(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len) {
  return combine(pSrc, pSrcDst, len, kMinimum);
}

KivStatus kivsAddC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] {
    if (val == 0.0F) {
      copy(pDst, pSrc, len);
    } else {
      const auto term = simd::Vec<Kiv32f>::broadcast(val);
      transform<Kiv32f>(
          len, [=](auto x) { return x + term; }, pDst, pSrc);
    }
  });
}

KivStatus kivsMul_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc1, pSrc2, pDst), positive(len)), [&] {
    transform<Kiv32f>(
        len, [](auto a, auto b) { return a * b; }, pDst, pSrc1, pSrc2);
  });
}
KivStatus kivsMul_16s_Sfs(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrc1, pSrc2, pDst), positive(len)),
             [&] { multiply_words(pDst, pSrc1, pSrc2, len, scaleFactor); });
}

KivStatus kivsMulC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len) {
  return multiply_constant(pSrc, val, pDst, len);
}
KivStatus kivsMulC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len) {
  return multiply_constant(pSrc, val, pDst, len);
}
KivStatus kivsMulC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len) { return multiply_constant_in_place(val, pSrcDst, len); }
KivStatus kivsMulC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len) { return multiply_constant_in_place(val, pSrcDst, len); }
}
