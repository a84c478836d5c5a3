// Classes of words: an n-gram model has one word for all of a kind, "[weekday]", and a file says which words are meant
// and how probable each is in its class. Two forms are read, that of SRILM's classes-format,
//   [weekday] 0.2 monday
//   [weekday] 0.8 friday
// and that of Sphinx's class definitions:
//   LMCLASS [weekday]
//   monday 0.2
//   friday 0.8
//   END [weekday]
// In a class without probabilities all words have the same. Lines that start with # are comments.
// Next: decode/ngram_language.h, which says these words where the model has their class.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

class WordClasses {
 public:
  struct Member {
    std::string word;
    double probability = 0.0;
  };

  WordClasses() = default;
  // Throws Fault with the line of what cannot be read, and for a class whose probabilities add up to more than 1.
  static WordClasses read(const std::filesystem::path& file);

  const std::filesystem::path& file() const { return file_; }
  bool empty() const { return classes_.empty(); }
  bool has_class(std::string_view name) const { return classes_.contains(name); }
  const std::map<std::string, std::vector<Member>, std::less<>>& classes() const { return classes_; }

 private:
  std::filesystem::path file_;
  std::map<std::string, std::vector<Member>, std::less<>> classes_;
};

}  // namespace kivsr::speech
