#include "kivsr/speech/decode/word_errors.h"

#include <algorithm>
#include <tuple>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {
namespace {

struct Cost {
  int errors = 0;
  WordErrors counts;
};

// Fewer errors first, then fewer insertions and deletions, which is more substitutions.
bool better(const Cost& a, const Cost& b) {
  const auto key = [](const Cost& cost) {
    return std::tuple(cost.errors, cost.counts.deletions + cost.counts.insertions);
  };
  return key(a) < key(b);
}

bool is_marker(const std::string& word) { return word.size() > 2 && word.front() == '<' && word.back() == '>'; }

}  // namespace

std::vector<std::string> spoken_words(std::string_view text) {
  std::vector<std::string> words = words_of(text);
  std::erase_if(words, is_marker);
  for (std::string& word : words) word = std::string(base_word(word));
  return words;
}

WordErrors& WordErrors::operator+=(const WordErrors& other) {
  words += other.words;
  substitutions += other.substitutions;
  deletions += other.deletions;
  insertions += other.insertions;
  return *this;
}

WordErrors count_word_errors(const std::vector<std::string>& reference, const std::vector<std::string>& hypothesis) {
  // row[j]: the best way to turn the reference so far into the first j words of the hypothesis
  std::vector<Cost> row(hypothesis.size() + 1);
  const auto extended = [](Cost cost, int WordErrors::*kind) {
    ++cost.errors;
    ++(cost.counts.*kind);
    return cost;
  };
  for (std::size_t j = 1; j < row.size(); ++j) row[j] = extended(row[j - 1], &WordErrors::insertions);
  for (const std::string& word : reference) {
    Cost diagonal = row[0];
    row[0] = extended(row[0], &WordErrors::deletions);
    for (std::size_t j = 1; j < row.size(); ++j) {
      Cost best = word == hypothesis[j - 1] ? diagonal : extended(diagonal, &WordErrors::substitutions);
      const Cost deletion = extended(row[j], &WordErrors::deletions);
      const Cost insertion = extended(row[j - 1], &WordErrors::insertions);
      if (better(deletion, best)) best = deletion;
      if (better(insertion, best)) best = insertion;
      diagonal = row[j];
      row[j] = best;
    }
  }
  WordErrors result = row.back().counts;
  result.words = static_cast<int>(reference.size());
  return result;
}

References References::read(const std::filesystem::path& file) {
  const std::string text = read_text_file(file);
  References result;
  result.file_ = file;
  std::string_view lines = text;
  std::string_view line;
  for (int number = 1; take_line(lines, line); ++number) {
    const auto fail = [&](const std::string& message) {
      throw Fault(file.string() + ":" + std::to_string(number) + ": " + message);
    };
    line = trimmed(line);
    if (line.empty()) continue;
    const std::size_t open = line.find_last_of(" \t") + 1;
    if (line.size() - open < 3 || line[open] != '(' || line.back() != ')') {
      fail("the line does not end with (utterance-id)");
    }
    const std::string id(line.substr(open + 1, line.size() - open - 2));
    if (!result.sentences_.emplace(id, spoken_words(line.substr(0, open))).second) {
      fail("the utterance " + id + " is there twice");
    }
  }
  return result;
}

const std::vector<std::string>& References::find(const std::filesystem::path& audio) const {
  std::filesystem::path without_extension = audio;
  const std::string name = without_extension.replace_extension().generic_string();
  for (std::size_t start = 0; start != std::string::npos;) {
    const auto found = sentences_.find(name.substr(start));
    if (found != sentences_.end()) return found->second;
    const std::size_t slash = name.find('/', start);
    start = slash == std::string::npos ? slash : slash + 1;
  }
  throw Fault(file_.string() + ": has no utterance " + audio.stem().string());
}

}  // namespace kivsr::speech
