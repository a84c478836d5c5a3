// The triangles of a front end as a filter bank of the library.
#pragma once

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

// mel(f), and f of it. Only distances on the scale count: its unit does not.
class MelAxis {
 public:
  explicit MelAxis(const FrontEndParameters& parameters);
  double mel(double hertz) const;
  double hertz(double mel) const;
  // Of edge i = 0 .. filter_count + 1, at equal distances; filter i = 1 .. filter_count is centred at edge i.
  double edge(int i) const { return low_ + i * step_; }

 private:
  MelScale scale_;
  double multiplier_;
  double divisor_;
  double low_;
  double step_;
};

// Throws Fault for triangles that rounding leaves without a side.
FilterBank32f mel_filters(const FrontEndParameters& parameters);

}  // namespace kivsr::speech
