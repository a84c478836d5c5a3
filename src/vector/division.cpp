// Elementwise division and roots: reciprocal estimates with their corrections, and the special results.
#include <algorithm>
#include <cmath>
#include <limits>

#include "elementwise.h"
#include "frame/constants.h"
#include "frame/status.h"
#include "kivsr/vector/elementwise.h"

namespace kivsr {
namespace {

// n / d with the special results of a zero divisor, by the sign of the numerator alone.
template <class T>
T quotient(T n, T d) {
  if (d != T{0}) return n / d;
  return n > T{0} ? Special<T>::infinity() : n < T{0} ? Special<T>::negative_infinity() : Special<T>::nan();
}

// Lanes of a group of four are divided exactly together, so that a group with a zero divisor has exact quotients.
simd::Vec<float> divide_lanes(simd::Vec<float> n, simd::Vec<float> d, simd::Vec<float> approximate, unsigned exact,
                              bool* zero_met) {
  constexpr int W = simd::Vec<float>::width;
  float numerators[W];
  float divisors[W];
  float quotients[W];
  store(numerators, n);
  store(divisors, d);
  store(quotients, approximate);
  for (int group = 0; group < W; group += 4) {
    unsigned lanes = (exact >> group) & 0xF;
    for (int i = group; i < group + 4; ++i) {
      if (divisors[i] == 0.0F) {
        *zero_met = true;
        lanes = 0xF;
      }
    }
    for (int i = group; i < group + 4; ++i) {
      if (((lanes >> (i - group)) & 1) != 0) quotients[i] = quotient(numerators[i], divisors[i]);
    }
  }
  return simd::load<float>(quotients);
}

}  // namespace

// q = n r (1 + e + e^2) with r the processor's estimate of 1/d and e = 1 - d r. Where r is zero, infinite or NaN (zero,
// subnormal, huge and infinite divisors) e is not finite or not small and the lane is divided exactly.
// The correction multiplies r, not n r, which may overflow where the quotient does not.
KivStatus divide(float* dst, const float* numerator, const float* divisor, std::ptrdiff_t len) {
  using V = simd::Vec<float>;
  const V one = V::broadcast(1.0F);
  const V quarter = V::broadcast(0.25F);
  bool zero_met = false;
  transform<float>(
      len,
      [&](V d, V n) {
        const V r = reciprocal_estimate(d);
        const V e = one - d * r;
        const V e2 = e * e;
        const V q = n * (r * (one + e + e2));
        const auto regular = e2 < quarter;
        if (simd::all(regular)) [[likely]] {
          return q;
        }
        return divide_lanes(n, d, q, ~simd::bit_mask(regular), &zero_met);
      },
      dst, divisor, numerator);
  return zero_met ? kivStatusDivByZero : kivStatusOk;
}

KivStatus divide(double* dst, const double* numerator, const double* divisor, std::ptrdiff_t len) {
  using V = simd::Vec<double>;
  const V zero = V::zero();
  bool zero_met = false;
  transform<double>(
      len,
      [&](V d, V n) {
        const auto zeros = d == zero;
        const V q = n / d;
        if (!simd::any(zeros)) [[likely]] {
          return q;
        }
        zero_met = true;
        const V sign_result = simd::select(n > zero, V::broadcast(Special<double>::infinity()),
                                           simd::select(n < zero, V::broadcast(Special<double>::negative_infinity()),
                                                        V::broadcast(Special<double>::nan())));
        return simd::select(zeros, sign_result, q);
      },
      dst, divisor, numerator);
  return zero_met ? kivStatusDivByZero : kivStatusOk;
}

namespace {

template <class T>
KivStatus divide_checked(const T* divisor, const T* numerator, T* dst, int len) {
  return run(first_failure(not_null(divisor, numerator, dst), positive(len)),
             [&] { return divide(dst, numerator, divisor, len); });
}

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

KivStatus kivsDiv_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len) {
  return divide_checked(pSrc1, pSrc2, pDst, len);
}
KivStatus kivsDiv_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len) {
  return divide_checked(pSrc1, pSrc2, pDst, len);
}
KivStatus kivsDiv_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) {
  return divide_checked<Kiv32f>(pSrc, pSrcDst, pSrcDst, len);
}

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
