// The control and status word of the SIMD unit, and the control word of the unit beside it.
#pragma once

#include <xmmintrin.h>

namespace kivsr::simd {

inline constexpr unsigned kRoundingBits = 0x6000;    // zero: to nearest, ties to even
inline constexpr unsigned kInvalidFlag = 0x0001;     // sticky: an operation had no defined result
inline constexpr unsigned kZeroDivideFlag = 0x0004;  // sticky: a finite number was divided by zero
inline constexpr unsigned kMaskBits = 0x1F80;        // set: exceptions raise their flag and do not trap

inline unsigned control_word() { return _mm_getcsr(); }
inline void set_control_word(unsigned word) { _mm_setcsr(word); }

// The same of the unit that computes long double.
inline constexpr unsigned short kExtendedRoundingBits = 0x0C00;
inline unsigned short extended_control_word() {
  unsigned short word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
inline void set_extended_control_word(unsigned short word) { asm volatile("fldcw %0" : : "m"(word) : "memory"); }

}  // namespace kivsr::simd
