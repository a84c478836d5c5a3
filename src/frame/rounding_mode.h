// The rounding mode: pinned for the length of a conversion, the caller's restored afterwards.
#pragma once

#include "simd/control.h"

namespace kivsr {

// Rounding to nearest for its lifetime. Free when it already is the mode in force.
class NearestRounding {
 public:
  NearestRounding() : caller_(simd::rounding()) {
    if (!simd::is_nearest(caller_)) simd::set_rounding(simd::nearest(caller_));
  }
  ~NearestRounding() {
    if (!simd::is_nearest(caller_)) simd::set_rounding(caller_);
  }
  NearestRounding(const NearestRounding&) = delete;
  NearestRounding& operator=(const NearestRounding&) = delete;

 private:
  decltype(simd::rounding()) caller_;
};

// The same for long double.
class NearestExtendedRounding {
 public:
  NearestExtendedRounding() : caller_(simd::extended_rounding()) {
    simd::set_extended_rounding(simd::extended_nearest(caller_));
  }
  ~NearestExtendedRounding() { simd::set_extended_rounding(caller_); }
  NearestExtendedRounding(const NearestExtendedRounding&) = delete;
  NearestExtendedRounding& operator=(const NearestExtendedRounding&) = delete;

 private:
  decltype(simd::extended_rounding()) caller_;
};

}  // namespace kivsr
