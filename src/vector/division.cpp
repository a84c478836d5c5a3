// Elementwise division and the special results of zero divisors.
#include "division.h"

#include "arithmetic.h"
#include "frame/constants.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/division.h"

namespace kivsr {
namespace {

// A zero divisor gives a result by the sign of the numerator alone.
template <class T>
KivStatus divide_vectors(T* dst, const T* numerator, const T* divisor, std::ptrdiff_t len) {
  using V = simd::Vec<T>;
  const V zero = V::zero();
  bool zero_met = false;
  transform<T>(
      len,
      [&](V d, V n) {
        V q;
        if (quotients(n, d, &q)) [[likely]] {
          return q;
        }
        zero_met = true;
        const V below =
            simd::select(n < zero, V::broadcast(Special<T>::negative_infinity()), V::broadcast(Special<T>::nan()));
        const V special = simd::select(n > zero, V::broadcast(Special<T>::infinity()), below);
        return simd::select(d == zero, special, q);
      },
      dst, divisor, numerator);
  return zero_met ? kivStatusDivByZero : kivStatusOk;
}

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

KivStatus divide(float* dst, const float* numerator, const float* divisor, std::ptrdiff_t len) {
  return divide_vectors(dst, numerator, divisor, len);
}
KivStatus divide(double* dst, const double* numerator, const double* divisor, std::ptrdiff_t len) {
  return divide_vectors(dst, numerator, divisor, len);
}

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
