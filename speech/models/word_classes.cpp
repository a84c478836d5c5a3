#include "kivsr/speech/models/word_classes.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {
namespace {

using Classes = std::map<std::string, std::vector<WordClasses::Member>, std::less<>>;

constexpr double kNotGiven = -1.0;
constexpr double kRounding = 1e-3;  // of probabilities that are written with few digits

class ClassReader {
 public:
  explicit ClassReader(const std::filesystem::path& file) : file_(file.string()), text_(read_text_file(file)) {}

  Classes read() {
    std::string_view rest = text_;
    for (std::string_view line; take_line(rest, line);) {
      ++number_;
      const std::vector<std::string> words = words_of(line);
      if (!words.empty() && !words.front().starts_with('#')) take(words);
    }
    if (open_) fail("truncated: " + *open_ + " has no END");
    if (classes_.empty()) throw Fault(file_ + ": has no class of words");
    for (auto& [name, members] : classes_) share_out(name, members);
    return std::move(classes_);
  }

 private:
  [[noreturn]] void fail(const std::string& message) const {
    throw Fault(file_ + ":" + std::to_string(number_) + ": " + message);
  }

  void take(const std::vector<std::string>& words) {
    if (words.front() == "LMCLASS" || words.front() == "END") {
      mark(words);
    } else if (open_) {
      if (words.size() > 2) fail("expected a word and its probability");
      add(*open_, words.front(), words.size() == 2 ? probability(words[1]) : kNotGiven);
    } else {
      if (words.size() < 2) fail("expected a class, a probability and a word");
      double value = kNotGiven;
      const bool given = words.size() > 2 && read_number(words[1], value);
      if (words.size() > (given ? 3U : 2U)) fail("a class has single words: join those of " + words.back());
      add(words.front(), words.back(), given ? probability(words[1]) : kNotGiven);
    }
  }

  void mark(const std::vector<std::string>& words) {
    const bool begins = words.front() == "LMCLASS";
    if (words.size() != 2 || begins == open_.has_value() || (!begins && words[1] != *open_)) {
      fail("unexpected " + words.front());
    }
    open_ = begins ? std::optional(words[1]) : std::nullopt;
  }

  double probability(const std::string& text) const {
    double value = 0.0;
    if (!read_number(text, value) || !(value > 0.0 && value <= 1.0)) fail(text + " is no probability");
    return value;
  }

  void add(const std::string& name, const std::string& word, double value) {
    std::vector<WordClasses::Member>& members = classes_[name];
    if (!members.empty() && (members.front().probability == kNotGiven) != (value == kNotGiven)) {
      fail("either all words of " + name + " have a probability or none");
    }
    members.push_back({word, value});
  }

  void share_out(const std::string& name, std::vector<WordClasses::Member>& members) const {
    double sum = 0.0;
    for (WordClasses::Member& member : members) {
      if (member.probability == kNotGiven) member.probability = 1.0 / static_cast<double>(members.size());
      sum += member.probability;
    }
    if (sum > 1.0 + kRounding) {
      throw Fault(file_ + ": the probabilities of " + name + " add up to " + number_text(sum, 4));
    }
  }

  std::string file_;
  std::string text_;
  int number_ = 0;
  std::optional<std::string> open_;  // class of Sphinx's form
  Classes classes_;
};

}  // namespace

WordClasses WordClasses::read(const std::filesystem::path& file) {
  WordClasses result;
  result.file_ = file;
  result.classes_ = ClassReader(file).read();
  return result;
}

}  // namespace kivsr::speech
