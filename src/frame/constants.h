// The special results by element type.
#pragma once

#include "kivsr/types.h"

namespace kivsr {

template <class T>
struct Special;

template <>
struct Special<float> {
  static float infinity() { return kivConstantOfINF_32f; }
  static float negative_infinity() { return kivConstantOfINF_NEG_32f; }
  static float nan() { return kivConstantOfNAN_32f; }
};
template <>
struct Special<double> {
  static double infinity() { return kivConstantOfINF_64f; }
  static double negative_infinity() { return kivConstantOfINF_NEG_64f; }
  static double nan() { return kivConstantOfNAN_64f; }
};

}  // namespace kivsr
