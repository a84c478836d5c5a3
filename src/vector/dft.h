// Real DFT of composite lengths for other families: as fft.h, with a length in the place of the order. Nothing is
// checked and nothing is allocated; all memory is the caller's.
#pragma once

#include <initializer_list>

#include "fft.h"
#include "kivsr/types.h"

namespace kivsr::dft {

// The longest transform: its parts can be counted in 32 bits.
inline constexpr int kMaximumLength = 1 << 28;

// Whether the prime factors of the length have passes: 2, 3, 5, 7, 11 and 13.
constexpr bool has_passes(int length) {
  if (length < 1 || length > kMaximumLength) return false;
  for (const int prime : {2, 3, 5, 7, 11, 13}) {
    while (length % prime == 0) length /= prime;
  }
  return length == 1;
}

// Of a length with has_passes(length).
fft::Sizes sizes(int length);

// The object stands at the first 32-byte boundary in `object`. flag: kivFftScaleForward ... kivFftScaleNone.
KivsDFTSpec_R_32f* construct(void* object, void* construction, int length, int flag, int hint = 0);

// N samples to a CCS spectrum: N + 2 values, N + 1 for odd N. dst may be src.
void forward(const Kiv32f* src, Kiv32f* dst, const KivsDFTSpec_R_32f& spec, void* work);
// A CCS spectrum to N samples. dst may be src.
void inverse(const Kiv32f* src, Kiv32f* dst, const KivsDFTSpec_R_32f& spec, void* work);

}  // namespace kivsr::dft
