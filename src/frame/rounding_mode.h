// The SSE rounding mode: pinned for the length of a conversion, the caller's control word restored afterwards.
#pragma once

#include "simd/control.h"

namespace kivsr {

// Rounding to nearest for its lifetime. Free when it already is the mode in force.
class NearestRounding {
 public:
  NearestRounding() : caller_(simd::control_word()) {
    if ((caller_ & simd::kRoundingBits) != 0) simd::set_control_word(caller_ & ~simd::kRoundingBits);
  }
  ~NearestRounding() {
    if ((caller_ & simd::kRoundingBits) != 0) simd::set_control_word(caller_);
  }
  NearestRounding(const NearestRounding&) = delete;
  NearestRounding& operator=(const NearestRounding&) = delete;

 private:
  unsigned caller_;
};

// The same for long double.
class NearestExtendedRounding {
 public:
  NearestExtendedRounding() : caller_(simd::extended_control_word()) {
    simd::set_extended_control_word(static_cast<unsigned short>(caller_ & ~simd::kExtendedRoundingBits));
  }
  ~NearestExtendedRounding() { simd::set_extended_control_word(caller_); }
  NearestExtendedRounding(const NearestExtendedRounding&) = delete;
  NearestExtendedRounding& operator=(const NearestExtendedRounding&) = delete;

 private:
  unsigned short caller_;
};

}  // namespace kivsr
