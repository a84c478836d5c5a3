#include "program/numbers.h"

#include <cmath>

#include "kivsr/speech/io/number_text.h"

namespace kivsr::program {

std::string NumberRange::words() const {
  return "from " + speech::number_text(low, 10) + " to " + speech::number_text(high, 10);
}

std::string NumberRange::fault(const std::string& text) const {
  double value = 0.0;
  const std::string digits = text.starts_with('+') ? text.substr(1) : text;
  // The conversion behind this check knows whole numbers only as digits.
  const bool is_number =
      speech::read_number(digits, value) &&
      (!whole || digits.find_first_not_of("0123456789", digits.starts_with('-') ? 1 : 0) == std::string::npos);
  if (is_number && value >= low && value <= high) return "";
  return "\"" + text + "\" is not a " + (whole ? "whole number " : "number ") + words();
}

}  // namespace kivsr::program
