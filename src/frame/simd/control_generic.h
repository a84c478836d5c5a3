// Any processor, by the C library. Read control.h first.
#pragma once

#include <cfenv>

namespace kivsr::simd {

inline int rounding() { return std::fegetround(); }
inline void set_rounding(int mode) { std::fesetround(mode); }
inline bool is_nearest(int mode) { return mode == FE_TONEAREST; }
inline int nearest(int) { return FE_TONEAREST; }

inline int extended_rounding() { return rounding(); }
inline void set_extended_rounding(int mode) { set_rounding(mode); }
inline int extended_nearest(int mode) { return nearest(mode); }

inline std::fenv_t start_watch() {
  std::fenv_t caller;
  std::feholdexcept(&caller);
  std::fesetround(FE_TONEAREST);
  return caller;
}
inline bool undefined_met() { return std::fetestexcept(FE_INVALID | FE_DIVBYZERO) != 0; }
inline void end_watch(const std::fenv_t& caller) {
  std::fesetenv(&caller);
  std::feclearexcept(FE_INVALID);
}

}  // namespace kivsr::simd
