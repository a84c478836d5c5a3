// The control and status word of the SIMD unit.
#pragma once

#include <xmmintrin.h>

namespace kivsr::simd {

inline constexpr unsigned kRoundingBits = 0x6000;    // zero: to nearest, ties to even
inline constexpr unsigned kInvalidFlag = 0x0001;     // sticky: an operation had no defined result
inline constexpr unsigned kZeroDivideFlag = 0x0004;  // sticky: a finite number was divided by zero
inline constexpr unsigned kMaskBits = 0x1F80;        // set: exceptions raise their flag and do not trap

inline unsigned control_word() { return _mm_getcsr(); }
inline void set_control_word(unsigned word) { _mm_setcsr(word); }

}  // namespace kivsr::simd
