// Pronunciation dictionaries: a line is a word and its phones; "word(2)" gives another pronunciation of word.
// Empty lines and lines that start with ";;" or "##" are comments.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kivsr::speech {

using Pronunciation = std::vector<std::string>;  // names of phones

class Dictionary {
 public:
  // Keeps the words of the set, or all of them if there is none: a large dictionary is read to its end, not kept.
  static Dictionary read(const std::filesystem::path& file, const std::set<std::string, std::less<>>* wanted = nullptr);

  // Calls a function with each word that is wanted, without the mark of another pronunciation, and its phones, in the
  // order of the file. They stay only as long as the call.
  using Visitor = std::function<void(std::string_view word, std::span<const std::string_view> phones)>;
  using Filter = std::function<bool(std::string_view word)>;
  static void visit(const std::filesystem::path& file, const Filter& wanted, const Visitor& visitor);

  void add(const std::string& word, Pronunciation pronunciation) { words_[word].push_back(std::move(pronunciation)); }

  // The pronunciations of a word in the order of the file; null if it has none.
  const std::vector<Pronunciation>* find(std::string_view word) const;
  const std::map<std::string, std::vector<Pronunciation>, std::less<>>& words() const { return words_; }
  const std::filesystem::path& file() const { return file_; }

 private:
  std::filesystem::path file_;
  std::map<std::string, std::vector<Pronunciation>, std::less<>> words_;
};

// The word without the "(2)" that marks another pronunciation.
std::string_view base_word(std::string_view word);

}  // namespace kivsr::speech
