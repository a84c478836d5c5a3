// Magnitudes of complex vectors. Exports: magnitude.cpp.
#pragma once

#include <cstddef>

#include "kivsr/types.h"

namespace kivsr {

// sqrt(re^2 + im^2) without overflow of the squares.
void magnitude(float* dst, const Kiv32fc* src, std::ptrdiff_t len);
// The same of integers times 2^-scaleFactor, to nearest even and saturated.
void magnitude(Kiv32s* dst, const Kiv32sc* src, std::ptrdiff_t len, int scale_factor);

}  // namespace kivsr
