// Colours for values between 0 and 1.
#ifndef KIVSR_TOOLS_PICTURE_COLOUR_MAP_H
#define KIVSR_TOOLS_PICTURE_COLOUR_MAP_H

#include <cstdint>
#include <span>

namespace kivsr::tools {

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

}  // namespace kivsr::tools

#endif
