// Numbers as text, the same in every locale.
#pragma once

#include <string>
#include <string_view>

namespace kivsr::speech {

// As printf("%.<digits>g") has it.
std::string number_text(double value, int digits);
// The fewest digits that give the same number again.
std::string exact_text(float value);
std::string exact_text(double value);
// Whether the whole text is a finite number, which is then in value.
bool read_number(std::string_view text, float& value);
bool read_number(std::string_view text, double& value);
bool read_number(std::string_view text, int& value);
// The same, with inf and nan as programs of this field write them.
bool read_any_number(std::string_view text, float& value);
bool read_any_number(std::string_view text, double& value);

}  // namespace kivsr::speech
