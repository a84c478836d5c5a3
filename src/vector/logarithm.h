// Natural logarithms. Exports: logarithm.cpp, logarithm_sums.cpp.
#pragma once

#include <cstddef>

#include "kivsr/types.h"

namespace kivsr {

// Natural logarithm in place; kivStatusInfResult, kivStatusNanResult or kivStatusOk.
KivStatus logarithm(float* src_dst, std::ptrdiff_t len);

// Sum of natural logarithms. Where a zero was met +inf and kivStatusInfResult, where a negative or NaN was met NaN and
// kivStatusNanResult.
KivStatus sum_of_logarithms(const float* src, std::ptrdiff_t len, double* total);
KivStatus sum_of_logarithms(const double* src, std::ptrdiff_t len, double* total);

}  // namespace kivsr
