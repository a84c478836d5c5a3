// Reductions that other families share. Exports: reductions.cpp (sums, products), search.cpp (extrema, order), and
// logarithm_sums.cpp (entropy, sums of logarithms), magnitude.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/transform.h"
#include "kivsr/types.h"

namespace kivsr {

template <class T>
inline T sum(const T* src, std::ptrdiff_t len) {
  return reduce_sum<T>(
      len, [](auto total, auto x) { return total + x; }, src);
}

// Accumulated in T.
template <class T, class S>
inline T dot_product(const S* a, const S* b, std::ptrdiff_t len) {
  return reduce_sum<T>(
      len, [](auto total, auto x, auto y) { return mul_add(x, y, total); }, a, b);
}

// Exact sums of any int length.
std::int64_t exact_sum(const Kiv16s* src, std::ptrdiff_t len);
std::int64_t exact_sum(const Kiv32s* src, std::ptrdiff_t len);
std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len);

// The first place of the largest (smallest) element, len >= 1. A NaN inside is passed over, one in front gives 0.
std::ptrdiff_t index_of_maximum(const float* src, std::ptrdiff_t len);
std::ptrdiff_t index_of_maximum(const double* src, std::ptrdiff_t len);
std::ptrdiff_t index_of_minimum(const float* src, std::ptrdiff_t len);
std::ptrdiff_t index_of_minimum(const double* src, std::ptrdiff_t len);

// Sum of natural logarithms. Where a zero was met +inf and kivStatusInfResult, where a negative or NaN was met NaN and
// kivStatusNanResult.
KivStatus sum_of_logarithms(const float* src, std::ptrdiff_t len, double* total);
KivStatus sum_of_logarithms(const double* src, std::ptrdiff_t len, double* total);

// sqrt(re^2 + im^2) without overflow of the squares.
void magnitude(float* dst, const Kiv32fc* src, std::ptrdiff_t len);
// The same of integers times 2^-scaleFactor, to nearest even and saturated.
void magnitude(Kiv32s* dst, const Kiv32sc* src, std::ptrdiff_t len, int scale_factor);

}  // namespace kivsr
