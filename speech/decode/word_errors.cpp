#include "kivsr/speech/decode/word_errors.h"

#include <algorithm>
#include <sstream>
#include <tuple>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
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
  const std::vector<std::uint8_t> bytes = read_whole_file(file);
  std::istringstream lines(std::string(bytes.begin(), bytes.end()));
  References result;
  result.file_ = file;
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const auto fail = [&](const std::string& message) {
      throw Fault(file.string() + ":" + std::to_string(number) + ": " + message);
    };
    std::istringstream fields(line);
    std::vector<std::string> words;
    for (std::string word; fields >> word;) words.push_back(word);
    if (words.empty()) continue;
    const std::string last = words.back();
    if (last.size() < 3 || last.front() != '(' || last.back() != ')') fail("the line does not end with (utterance-id)");
    words.pop_back();
    std::erase_if(words, is_marker);
    for (std::string& word : words) word = std::string(base_word(word));
    const std::string id = last.substr(1, last.size() - 2);
    if (!result.sentences_.emplace(id, words).second) fail("the utterance " + id + " is there twice");
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
