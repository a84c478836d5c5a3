#include "program/picture/colour_map.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kivsr::program {

namespace {

constexpr Colour rgb(int red, int green, int blue) { return {red / 255.0, green / 255.0, blue / 255.0}; }

constexpr std::array kHeat = {rgb(0, 0, 4),      rgb(31, 12, 72),   rgb(85, 15, 109),
                              rgb(136, 34, 106), rgb(186, 54, 85),  rgb(227, 89, 51),
                              rgb(249, 140, 10), rgb(249, 201, 50), rgb(252, 255, 164)};
constexpr std::array kSigned = {rgb(33, 102, 172),  rgb(103, 169, 207), rgb(209, 229, 240), rgb(247, 247, 247),
                                rgb(253, 219, 199), rgb(239, 138, 98),  rgb(178, 24, 43)};

}  // namespace

std::uint32_t Colour::pixel() const {
  const auto byte = [](double value) { return static_cast<std::uint32_t>(std::lround(255.0 * value)); };
  return byte(red) << 16U | byte(green) << 8U | byte(blue);
}

ColourMap heat_map() { return kHeat; }
ColourMap signed_map() { return kSigned; }

Colour colour_at(ColourMap map, double value) {
  if (!(value > 0.0)) return map.front();
  if (value >= 1.0) return map.back();
  const double place = value * static_cast<double>(map.size() - 1);
  const auto index = static_cast<std::size_t>(place);
  const double part = place - static_cast<double>(index);
  const Colour& from = map[index];
  const Colour& to = map[index + 1];
  return {std::lerp(from.red, to.red, part), std::lerp(from.green, to.green, part),
          std::lerp(from.blue, to.blue, part)};
}

}  // namespace kivsr::program
