// Conversions between element types. Exports: conversion.cpp.
#pragma once

#include <cstddef>

#include "frame/scale.h"
#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

// Exact or nearest conversion times 2^-scaleFactor.
template <class T, class S>
[[gnu::always_inline]] inline void convert_scaled(T* dst, const S* src, std::ptrdiff_t len, int scale_factor) {
  const auto factor = simd::Vec<T>::broadcast(integer_scale(scale_factor));
  transform<T>(
      len, [=](auto x) { return x * factor; }, dst, src);
}

// Float to integer: times 2^-scaleFactor, rounded to nearest or truncated, saturated; NaN gives the lowest value.
void convert_to_integer(Kiv16s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor);
void convert_to_integer(Kiv32s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor);
void convert_to_integer(Kiv32s* dst, const double* src, std::ptrdiff_t len, int rounding, int scale_factor);

}  // namespace kivsr
