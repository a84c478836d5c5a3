// Reference transcriptions and how far a hypothesis is from them.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

struct WordErrors {
  int words = 0;  // of the reference
  int substitutions = 0;
  int deletions = 0;   // words of the reference that were not recognised
  int insertions = 0;  // recognised words that the reference does not have

  int total() const { return substitutions + deletions + insertions; }
  WordErrors& operator+=(const WordErrors& other);
};

// The fewest errors that explain the hypothesis; among equals, as many substitutions as possible.
WordErrors count_word_errors(const std::vector<std::string>& reference, const std::vector<std::string>& hypothesis);

// The words of a transcript, without <s>, </s>, <sil> and the (2) of another pronunciation.
std::vector<std::string> spoken_words(std::string_view text);

// Lines "words (utterance-id)".
class References {
 public:
  static References read(const std::filesystem::path& file);
  // The id is the path without its extension, or the end of it from a slash on. Throws Fault if there is none.
  const std::vector<std::string>& find(const std::filesystem::path& audio) const;

 private:
  std::filesystem::path file_;
  std::map<std::string, std::vector<std::string>> sentences_;
};

}  // namespace kivsr::speech
