// Elementwise quotients. Exports: division.cpp.
#pragma once

#include <cstddef>

#include "kivsr/types.h"

namespace kivsr {

// dst = numerator / divisor; kivStatusDivByZero if a divisor is zero. Sources may be dst.
KivStatus divide(float* dst, const float* numerator, const float* divisor, std::ptrdiff_t len);
KivStatus divide(double* dst, const double* numerator, const double* divisor, std::ptrdiff_t len);

}  // namespace kivsr
