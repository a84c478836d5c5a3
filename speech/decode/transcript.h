// Running text as the words of a dictionary.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

// The forms in which a dictionary may have a word of a text, the likeliest first: as it stands, in small letters, and
// both without the marks around it ("Well," -> "Well,", "well,", "Well", "well"). Empty for marks alone.
std::vector<std::string> word_forms(std::string_view text);

// The words of a text: of each the first form that is known, else the last of its forms.
std::vector<std::string> words_of_text(std::string_view text, const std::function<bool(const std::string&)>& known);

}  // namespace kivsr::speech
