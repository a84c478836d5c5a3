// Lines, words and parts of a text, taken from its front one after another. Unlike streams, which keep an exception of
// memory that ends to themselves, nothing here can take the middle of a text for its end.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

// The whole content of a file; throws Fault if there is none.
std::string read_text_file(const std::filesystem::path& file);

// The text up to the separator or its end, without it; false where no text is left.
bool take_part(std::string_view& text, char separator, std::string_view& part);
inline bool take_line(std::string_view& text, std::string_view& line) { return take_part(text, '\n', line); }
// The next characters that are not blanks (nor ends of lines); false where none are left.
bool take_word(std::string_view& text, std::string_view& word);
// Without the blanks at both ends.
std::string_view trimmed(std::string_view text);
std::vector<std::string> words_of(std::string_view text);

}  // namespace kivsr::speech
