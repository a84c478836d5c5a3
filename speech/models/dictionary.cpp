#include "kivsr/speech/models/dictionary.h"

#include <algorithm>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {
std::string_view base_word(std::string_view word) {
  if (word.empty() || word.back() != ')') return word;
  const std::size_t open = word.rfind('(');
  if (open == std::string_view::npos || open == 0 || open + 2 >= word.size()) return word;
  const std::string_view number = word.substr(open + 1, word.size() - open - 2);
  return number.find_first_not_of("0123456789") == std::string_view::npos ? word.substr(0, open) : word;
}

void Dictionary::visit(const std::filesystem::path& path, const Filter& wanted, const Visitor& visitor) {
  const std::vector<std::uint8_t> bytes = read_whole_file(path);
  std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  std::vector<std::string_view> phones;
  std::string_view line;
  for (int number = 1; take_line(rest, line); ++number) {
    if (line.starts_with(";;") || line.starts_with("##")) continue;
    std::string_view word;
    take_word(line, word);
    word = base_word(word);
    if (word.empty() || !wanted(word)) continue;
    phones.clear();
    for (std::string_view phone; take_word(line, phone);) phones.push_back(phone);
    if (phones.empty()) {
      throw Fault(path.string() + ":" + std::to_string(number) + ": no phones after \"" + std::string(word) + "\"");
    }
    visitor(word, phones);
  }
}

Dictionary Dictionary::read(const std::filesystem::path& path, const std::set<std::string, std::less<>>* wanted) {
  Dictionary result;
  result.file_ = path;
  visit(
      path, [wanted](std::string_view word) { return wanted == nullptr || wanted->contains(word); },
      [&result](std::string_view word, std::span<const std::string_view> phones) {
        result.words_[std::string(word)].emplace_back(phones.begin(), phones.end());
      });
  return result;
}

const std::vector<Pronunciation>* Dictionary::find(std::string_view word) const {
  const auto found = words_.find(word);
  return found == words_.end() ? nullptr : &found->second;
}

}  // namespace kivsr::speech
