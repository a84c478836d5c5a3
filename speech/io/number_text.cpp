#include "kivsr/speech/io/number_text.h"

#include <charconv>
#include <cmath>

namespace kivsr::speech {

namespace {

template <class Value, class... Format>
std::string text_of(Value value, Format... format) {
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, value, format...).ptr};
}

template <class Value>
bool read_any(std::string_view text, Value& value) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end;
}

template <class Value>
bool read(std::string_view text, Value& value) {
  return read_any(text, value) && std::isfinite(static_cast<double>(value));
}

}  // namespace

std::string number_text(double value, int digits) { return text_of(value, std::chars_format::general, digits); }

std::string exact_text(float value) { return text_of(value); }
std::string exact_text(double value) { return text_of(value); }

bool read_number(std::string_view text, float& value) { return read(text, value); }
bool read_number(std::string_view text, double& value) { return read(text, value); }
bool read_number(std::string_view text, int& value) { return read(text, value); }

bool read_any_number(std::string_view text, double& value) {
  return read_any(text.substr(text.starts_with('+') ? 1 : 0), value);
}
// Through a double where a float has no such number: it is infinite, or zero.
bool read_any_number(std::string_view text, float& value) {
  if (read_any(text.substr(text.starts_with('+') ? 1 : 0), value)) return true;
  double wide = 0.0;
  const bool read = read_any_number(text, wide);
  if (read) value = static_cast<float>(wide);
  return read;
}

}  // namespace kivsr::speech
