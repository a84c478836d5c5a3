// Where the filters lie and how they weigh.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/elementary.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "kivsr/types.h"

namespace kivsr {

// mel(f) = multiplier ln(1 + f / divisor) and its inverse.
struct MelScale {
  double multiplier;
  double divisor;
  double mel(double hertz) const { return multiplier * natural_log(1.0 + hertz / divisor); }
  double hertz(double mel) const { return divisor * (exponential(mel / multiplier) - 1.0); }
};

// Values at equal distances.
struct EqualSteps {
  double low;
  double span;
  double steps;
  double at(std::ptrdiff_t i) const { return static_cast<double>(i) * span / steps + low; }
};

// The bin of a position, never outside previous .. last, so that no constants can produce a bank that reads beyond the
// spectrum (a NaN stays at the previous bin).
inline Kiv32s bin_of(float position, bool truncate, Kiv32s previous, Kiv32s last) {
  const double bin = truncate ? std::trunc(position) : position;
  if (!(bin > previous)) return previous;
  return bin >= last ? last : std::clamp(round_saturated<Kiv32s>(bin), previous, last);
}

// a / b as a weight: nearest in floating point, truncated in fixed point.
struct FloatRatio {
  float operator()(Kiv32s a, Kiv32s b) const { return static_cast<float>(a) / static_cast<float>(b); }
};
template <int kFractionBits>
struct FixedRatio {
  Kiv32s operator()(Kiv32s a, Kiv32s b) const { return static_cast<Kiv32s>((std::int64_t{a} << kFractionBits) / b); }
};

// Triangles over whole bins. Both halves are lopsided: the rising half starts at 1/w on the lower edge and reaches 1 at
// the centre, the falling half ends at 1/w' on the upper edge.
template <class W, class Ratio>
void design_bin_weights(const Kiv32s* c, W* const* rising, W* const* falling, std::ptrdiff_t filters, Ratio ratio) {
  for (std::ptrdiff_t i = 1; i <= filters; ++i) {
    const Kiv32s rise = c[i] - c[i - 1] + 1;
    const Kiv32s fall = c[i + 1] - c[i] + 1;
    for (Kiv32s k = 0; k < rise; ++k) rising[i - 1][k] = ratio(k + 1, rise);
    for (Kiv32s k = 0; k < fall - 1; ++k) falling[i - 1][k] = ratio(fall - 1 - k, fall);
  }
}

}  // namespace kivsr
