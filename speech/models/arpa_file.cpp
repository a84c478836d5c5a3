#include "kivsr/speech/models/arpa_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr std::size_t kMostValues = 65536;
constexpr std::string_view kSpace = " \t\r";
constexpr int kMostOrder = 5;

class ArpaReader {
 public:
  explicit ArpaReader(const std::filesystem::path& path)
      : file_(path.string()), bytes_(read_whole_file(path)), builder_(file_) {
    rest_ = {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
  }

  NgramModel read() {
    read_counts();
    for (std::size_t length = 1; length <= counts_.size(); ++length) read_section(length);
    if (line_ != "\\end\\") fail("expected \\end\\");
    return builder_.finish();
  }

 private:
  [[noreturn]] void fail(const std::string& message) const {
    throw Fault(file_ + ":" + std::to_string(number_) + ": " + message);
  }

  // The next line that is not empty, without the space around it.
  void next() {
    do {
      if (rest_.empty()) {
        ++number_;
        fail("truncated: the file ends here");
      }
      line_ = rest_.substr(0, rest_.find('\n'));
      rest_.remove_prefix(std::min(line_.size() + 1, rest_.size()));
      ++number_;
      line_.remove_prefix(std::min(line_.find_first_not_of(kSpace), line_.size()));
      line_ = line_.substr(0, line_.find_last_not_of(kSpace) + 1);
    } while (line_.empty());
  }

  std::string_view take_word() {
    const std::string_view word = line_.substr(0, line_.find_first_of(kSpace));
    line_.remove_prefix(word.size());
    line_.remove_prefix(std::min(line_.find_first_not_of(kSpace), line_.size()));
    return word;
  }

  // Whatever stands before \data\ is a comment.
  void read_counts() {
    do next();
    while (line_ != "\\data\\");
    for (next(); line_.starts_with("ngram "); next()) {
      std::size_t length = 0;
      std::size_t count = 0;
      const char* const last = line_.data() + line_.size();
      const auto [middle, fault] = std::from_chars(line_.data() + 6, last, length);
      if (fault != std::errc() || middle == last || *middle != '=' || length != counts_.size() + 1) {
        fail("expected \"ngram " + std::to_string(counts_.size() + 1) + "=COUNT\"");
      }
      const auto [end, count_fault] = std::from_chars(middle + 1, last, count);
      if (count_fault != std::errc() || end != last) fail("the count is not a number");
      if (count > bytes_.size()) fail("the file is too short for " + std::to_string(count) + " n-grams");
      counts_.push_back(count);
    }
    if (counts_.empty() || counts_.size() > kMostOrder) fail("n-grams of one to five words are read");
  }

  float take_value() {
    const std::string_view text = take_word();
    float value = 0.0F;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (fault != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
      fail("\"" + std::string(text) + "\" is not a log probability");
    }
    return static_cast<float>(static_cast<double>(value) * std::log(10.0));
  }

  void read_section(std::size_t length) {
    if (line_ != "\\" + std::to_string(length) + "-grams:") {
      fail("expected \\" + std::to_string(length) + "-grams: after " + std::to_string(read_) + " n-grams");
    }
    const std::size_t count = counts_[length - 1];
    std::vector<std::uint32_t> words;
    std::vector<float> probabilities;
    std::vector<float> backoffs;
    words.reserve(count * length);
    for (next(); !line_.starts_with('\\'); next()) {
      if (probabilities.size() == count) fail("holds more n-grams than its count " + std::to_string(count));
      probabilities.push_back(take_value());
      for (std::size_t i = 0; i < length; ++i) words.push_back(take_known_word(length));
      const bool longest = length == counts_.size();
      const float backoff = line_.empty() ? 0.0F : take_value();
      if (!longest) backoffs.push_back(backoff);
      if (!line_.empty()) fail("more words than an n-gram of this section has");
    }
    if (probabilities.size() != count) {
      fail("the section before holds " + std::to_string(probabilities.size()) + " n-grams, but counts " +
           std::to_string(count));
    }
    read_ = count;
    build(length, words, probabilities, backoffs);
  }

  std::uint32_t take_known_word(std::size_t length) {
    const std::string_view word = take_word();
    if (word.empty()) fail("fewer words than an n-gram of this section has");
    if (length == 1) builder_.add_word(std::string(word));
    const int index = builder_.find_word(word);
    if (index < 0) fail("the word \"" + std::string(word) + "\" is no unigram");
    return static_cast<std::uint32_t>(index);
  }

  void build(std::size_t length, const std::vector<std::uint32_t>& words, const std::vector<float>& probabilities,
             const std::vector<float>& backoffs) {
    const ValueTable probability_table(probabilities);
    const ValueTable backoff_table(backoffs);
    builder_.start_level(probabilities.size(), probability_table.values(), backoff_table.values());
    for (std::size_t i = 0; i < probabilities.size(); ++i) {
      builder_.add({words.data() + i * length, length}, probability_table.number(probabilities[i]),
                   backoffs.empty() ? std::uint16_t{0} : backoff_table.number(backoffs[i]));
    }
    builder_.finish_level();
  }

  std::string file_;
  std::vector<std::uint8_t> bytes_;
  std::string_view rest_;
  std::string_view line_;
  int number_ = 0;  // of the line
  std::vector<std::size_t> counts_;
  std::size_t read_ = 0;  // n-grams of the section before
  NgramBuilder builder_;
};

}  // namespace

ValueTable::ValueTable(const std::vector<float>& values) : values_(values) {
  std::sort(values_.begin(), values_.end());
  values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
  if (values_.size() <= kMostValues) return;
  const double least = values_.front();
  const double step = (values_.back() - least) / (kMostValues - 1);
  values_.resize(kMostValues);
  for (std::size_t i = 0; i < kMostValues; ++i) values_[i] = static_cast<float>(least + static_cast<double>(i) * step);
}

std::uint16_t ValueTable::number(float value) const {
  const auto above = std::lower_bound(values_.begin(), values_.end(), value);
  if (above == values_.begin()) return 0;
  const bool below_is_nearer = above == values_.end() || value - *(above - 1) < *above - value;
  return static_cast<std::uint16_t>(above - values_.begin() - (below_is_nearer ? 1 : 0));
}

NgramModel read_arpa_file(const std::filesystem::path& file) { return ArpaReader(file).read(); }

}  // namespace kivsr::speech
