#include "program/picture_options.h"

#include <optional>
#include <utility>

#include "kivsr/speech/io/number_text.h"
#include "program/command.h"

namespace kivsr::program {

namespace {

constexpr double kSmallest = 300.0;
constexpr double kLargest = 8000.0;

// The numbers on both sides of the character.
std::optional<std::pair<double, double>> pair_of(const std::string& text, char between) {
  const std::size_t place = text.find(between);
  std::pair<double, double> numbers;
  if (place == std::string::npos || !speech::read_number(text.substr(0, place), numbers.first) ||
      !speech::read_number(text.substr(place + 1), numbers.second)) {
    return std::nullopt;
  }
  return numbers;
}

std::string size_fault(const std::string& text) {
  const auto size = pair_of(text, 'x');
  const auto fits = [](double side) { return side >= kSmallest && side <= kLargest && side == static_cast<int>(side); };
  return size && fits(size->first) && fits(size->second) ? ""
                                                         : text + " is no size like 1280x900, from 300 to 8000 each";
}

std::string range_fault(const std::string& text) {
  const auto range = pair_of(text, ',');
  return range && range->first < range->second ? "" : text + " is no range like -3,3";
}

}  // namespace

void add_picture_options(Command command, PictureOptions& options, const std::string& help,
                         const std::string& range_help) {
  const Option picture = command.add_option("--picture", options.file, "PNG, SVG or PDF with " + help);
  command
      .add_option_function(
          "--size",
          [&options](const std::string& text) {
            const auto size = pair_of(text, 'x').value();
            options.width = static_cast<int>(size.first);
            options.height = static_cast<int>(size.second);
          },
          "Size of the picture in pixels, or in points of SVG and PDF (default: as suits)")
      .type_name("WIDTHxHEIGHT")
      .check(size_fault)
      .needs(picture);
  command
      .add_option_function(
          "--range",
          [&options](const std::string& text) {
            const auto range = pair_of(text, ',').value();
            options.range = Range{range.first, range.second};
          },
          "Values from end to end of " + range_help + " in the picture (default: those that are there)")
      .type_name("LOW,HIGH")
      .check(range_fault)
      .needs(picture);
}

}  // namespace kivsr::program
