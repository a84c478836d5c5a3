// x86: the control and status word of the SIMD unit, and the control word of the unit that computes long double.
// Read control.h first.
#pragma once

#include <xmmintrin.h>

namespace kivsr::simd {

inline unsigned rounding() { return _mm_getcsr(); }
inline void set_rounding(unsigned word) { _mm_setcsr(word); }
inline bool is_nearest(unsigned word) { return (word & 0x6000U) == 0; }
inline unsigned nearest(unsigned word) { return word & ~0x6000U; }

inline unsigned short extended_rounding() {
  unsigned short word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
inline void set_extended_rounding(unsigned short word) { asm volatile("fldcw %0" : : "m"(word) : "memory"); }
inline unsigned short extended_nearest(unsigned short word) { return static_cast<unsigned short>(word & ~0x0C00U); }

inline constexpr unsigned kInvalidFlag = 0x0001;
inline constexpr unsigned kWatchedFlags = kInvalidFlag | 0x0004;  // division by zero
inline constexpr unsigned kTrapMasks = 0x1F80;                    // set: exceptions raise their flag and do not trap

inline unsigned start_watch() {
  const unsigned caller = rounding();
  set_rounding(nearest(caller & ~kWatchedFlags) | kTrapMasks);
  return caller;
}
inline bool undefined_met() { return (rounding() & kWatchedFlags) != 0; }
inline void end_watch(unsigned caller) { set_rounding(caller & ~kInvalidFlag); }

}  // namespace kivsr::simd
