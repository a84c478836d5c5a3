// Normalised cross-correlation of a frame with what follows it. Exports: correlation.cpp.
#pragma once

#include <cstddef>

#include "kivsr/types.h"

namespace kivsr {

// r[k] = sum of x[n] x[n + min_lag + k] over the root of both energies, n < len, k < lags; zero_energy tells whether
// an energy is zero (the coefficient then is). kivStatusOk or kivStatusNoMemory.
KivStatus lag_coefficients(float* r, const float* x, std::ptrdiff_t len, std::ptrdiff_t min_lag, std::ptrdiff_t lags,
                           bool& zero_energy);
KivStatus lag_coefficients(float* r, const Kiv16s* x, std::ptrdiff_t len, std::ptrdiff_t min_lag, std::ptrdiff_t lags,
                           bool& zero_energy);

}  // namespace kivsr
