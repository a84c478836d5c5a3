// Real FFT objects for other families: size, placement and transforms without status checks. Tables and passes:
// fft_transform.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fft_object.h"
#include "fft_real_pass.h"
#include "kivsr/types.h"

// Placed at a 32-byte boundary. The tables follow it in the same block.
struct KivsFFTSpec_R_32f {
  Kiv32s identifier;
  Kiv32s order;
  Kiv32s forward_scaled;
  Kiv32s inverse_scaled;
  Kiv32f factor;
  Kiv32s hint;
  Kiv32s work_bytes;  // 0: a transform needs no work buffer
  Kiv32s reserved;    // 0
  float* complex_tables;
  float* real_tables;
  void* unused[12 * 4 / sizeof(void*) - 2];
};
static_assert(sizeof(KivsFFTSpec_R_32f) == 20 * 4 && offsetof(KivsFFTSpec_R_32f, complex_tables) == 8 * 4);

namespace kivsr::fft {

inline constexpr Kiv32s kIdentifier_32f = 6;
Sizes sizes_32f(int order);

// Builds an object in sizes_32f(order).object bytes at any address; returns its aligned place. `temporary` has
// .initialisation bytes (null when that is 0).
KivsFFTSpec_R_32f* place_32f(void* memory, void* temporary, int order, int flag, int hint);

// Transforms with a valid object and a work buffer of .work bytes (null when that is 0). dst may be src.
void forward_32f(const float* src, float* dst, const KivsFFTSpec_R_32f& spec, void* work, Spectrum spectrum);
void inverse_32f(const float* src, float* dst, const KivsFFTSpec_R_32f& spec, void* work);

}  // namespace kivsr::fft
