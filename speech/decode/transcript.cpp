#include "kivsr/speech/decode/transcript.h"

#include <algorithm>
#include <cstddef>

namespace kivsr::speech {
namespace {

constexpr std::string_view kSpace = " \t\r\n\f\v";
constexpr std::string_view kMarks = ".,;:!?\"()[]{}-*_/";

std::string in_small_letters(std::string_view text) {
  std::string small(text);
  for (char& letter : small) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return small;
}

}  // namespace

std::vector<std::string> word_forms(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kMarks);
  if (first == std::string_view::npos) return {};
  const std::string_view bare = text.substr(first, text.find_last_not_of(kMarks) - first + 1);
  std::vector<std::string> forms;
  for (std::string form : {std::string(text), in_small_letters(text), std::string(bare), in_small_letters(bare)}) {
    if (std::find(forms.begin(), forms.end(), form) == forms.end()) forms.push_back(std::move(form));
  }
  return forms;
}

std::vector<std::string> words_of_text(std::string_view text, const std::function<bool(const std::string&)>& known) {
  std::vector<std::string> words;
  for (std::size_t at = text.find_first_not_of(kSpace); at != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(kSpace, at), text.size());
    const std::vector<std::string> forms = word_forms(text.substr(at, end - at));
    if (!forms.empty()) {
      const auto found = std::find_if(forms.begin(), forms.end(), known);
      words.push_back(found == forms.end() ? forms.back() : *found);
    }
    at = text.find_first_not_of(kSpace, end);
  }
  return words;
}

}  // namespace kivsr::speech
