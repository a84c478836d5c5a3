#include "kivsr/speech/io/text_parts.h"

#include <algorithm>
#include <cstdint>

#include "kivsr/speech/io/binary_file.h"

namespace kivsr::speech {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

}  // namespace

std::string read_text_file(const std::filesystem::path& file) {
  const std::vector<std::uint8_t> bytes = read_whole_file(file);
  return {bytes.begin(), bytes.end()};
}

bool take_part(std::string_view& text, char separator, std::string_view& part) {
  if (text.empty()) return false;
  const std::size_t end = std::min(text.find(separator), text.size());
  part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return true;
}

bool take_word(std::string_view& text, std::string_view& word) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return !word.empty();
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  for (std::string_view word; take_word(text, word);) words.emplace_back(word);
  return words;
}

}  // namespace kivsr::speech
