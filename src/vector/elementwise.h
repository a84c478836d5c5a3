// Elementwise kernels that other families share. Exports: elementwise.cpp, division.cpp, logarithm.cpp, conversion.cpp.
#pragma once

#include <cstddef>
#include <cstring>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

template <class T>
inline void copy(T* dst, const T* src, std::ptrdiff_t len) {
  std::memcpy(dst, src, static_cast<std::size_t>(len) * sizeof(T));
}

template <class T>
inline void zero(T* dst, std::ptrdiff_t len) {
  std::memset(dst, 0, static_cast<std::size_t>(len) * sizeof(T));
}

template <class T>
inline void multiply_by_constant(T* dst, const T* src, T val, std::ptrdiff_t len) {
  const auto factor = simd::Vec<T>::broadcast(val);
  transform<T>(
      len, [=](auto x) { return x * factor; }, dst, src);
}

// dst = numerator / divisor; kivStatusDivByZero if a divisor is zero. Sources may be dst.
KivStatus divide(float* dst, const float* numerator, const float* divisor, std::ptrdiff_t len);
KivStatus divide(double* dst, const double* numerator, const double* divisor, std::ptrdiff_t len);

// Natural logarithm in place; kivStatusInfResult, kivStatusNanResult or kivStatusOk.
KivStatus logarithm(float* src_dst, std::ptrdiff_t len);

// Exact or nearest conversion times 2^-scaleFactor.
template <class T, class S>
inline void convert_scaled(T* dst, const S* src, std::ptrdiff_t len, int scale_factor) {
  const auto factor = simd::Vec<T>::broadcast(integer_scale(scale_factor));
  transform<T>(
      len, [=](auto x) { return x * factor; }, dst, src);
}

// Float to integer: times 2^-scaleFactor, rounded to nearest or truncated, saturated; NaN gives the lowest value.
void convert_to_integer(Kiv16s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor);
void convert_to_integer(Kiv32s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor);
void convert_to_integer(Kiv32s* dst, const double* src, std::ptrdiff_t len, int rounding, int scale_factor);

}  // namespace kivsr
