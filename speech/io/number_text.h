// Numbers as text, the same in every locale.
#pragma once

#include <string>

namespace kivsr::speech {

// As printf("%.<digits>g") has it.
std::string number_text(double value, int digits);
// The fewest digits that give the same number again.
std::string exact_text(float value);
std::string exact_text(double value);
// Whether the whole text is a finite number, which is then in value.
bool read_number(const std::string& text, float& value);
bool read_number(const std::string& text, double& value);
bool read_number(const std::string& text, int& value);

}  // namespace kivsr::speech
