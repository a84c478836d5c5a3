// Colours for values between 0 and 1.
#pragma once

#include <cstdint>
#include <span>

#include "program/speech_names.h"

namespace kivsr::program {

struct Colour {
  double red;
  double green;
  double blue;

  // The pixel of a cairo image surface of format RGB24.
  std::uint32_t pixel() const;
};

// A map is a list of colours at equal distances, joined by straight lines.
using ColourMap = std::span<const Colour>;

// Black over red to pale yellow, of even rise in lightness.
ColourMap heat_map();
// Blue over white to red: white stands for zero.
ColourMap signed_map();

// value is clamped to 0 .. 1; NaN gives the first colour.
Colour colour_at(ColourMap map, double value);

}  // namespace kivsr::program
