// Elementwise division: the reciprocal estimate with its correction, and the special results.
#include "division.h"

#include "arithmetic.h"
#include "frame/constants.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/division.h"

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

// Neither below nor above zero: both zeros, and NaN.
template <class T>
constexpr KivStatus divisor(T val) {
  return require(val < T{0} || val > T{0}, kivStatusDivByZeroErr);
}

template <class T>
KivStatus divide_constant(const T* src, T val, T* dst, int len) {
  return run(first_failure(not_null(src, dst), positive(len), divisor(val)),
             [&] { multiply_by_constant(dst, src, T{1} / val, len); });
}

template <class T>
KivStatus divide_constant_in_place(T val, T* src_dst, int len) {
  return run(first_failure(not_null(src_dst), positive(len), divisor(val)),
             [&] { scale_in_place(src_dst, T{1} / val, len); });
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

KivStatus kivsDivC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len) {
  return divide_constant(pSrc, val, pDst, len);
}
KivStatus kivsDivC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len) {
  return divide_constant(pSrc, val, pDst, len);
}
KivStatus kivsDivC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len) { return divide_constant_in_place(val, pSrcDst, len); }
KivStatus kivsDivC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len) { return divide_constant_in_place(val, pSrcDst, len); }
}
