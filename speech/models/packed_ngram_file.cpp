#include "kivsr/speech/models/packed_ngram_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <utility>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/arpa_file.h"

namespace kivsr::speech {
namespace {

constexpr std::string_view kTitle = "Trie Language Model";
constexpr const char* kInstalledModels = "/usr/share/pocketsphinx/model";
constexpr std::uint32_t kQuantised = 1;  // values as 16-bit numbers
constexpr std::size_t kTableSize = 65536;
constexpr int kValueBits = 16;
constexpr int kMostOrder = 5;
constexpr std::int64_t kChunk = 65536;  // bytes in memory beside what they become

// Values are logarithms to the base 1.0001.
float natural(float value) {
  static const double base = std::log(1.0001);
  return static_cast<float>(static_cast<double>(value) * base);
}

// Entries of a fixed number of bits, one behind the other; a number of up to 57 bits is read at once.
class PackedEntries {
 public:
  PackedEntries(std::vector<std::uint8_t> bytes, int bits) : bytes_(std::move(bytes)), bits_(bits) {}

  std::uint32_t read(std::size_t entry, int offset, int count) const {
    const std::size_t bit = entry * static_cast<std::size_t>(bits_) + static_cast<std::size_t>(offset);
    std::uint64_t word = 0;
    std::memcpy(&word, bytes_.data() + bit / 8, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = bytes_reversed(word);
    return static_cast<std::uint32_t>(word >> (bit % 8) & ((std::uint64_t{1} << count) - 1));
  }

 private:
  std::vector<std::uint8_t> bytes_;
  int bits_;
};

class PackedReader {
 public:
  explicit PackedReader(const std::filesystem::path& path) : file_(path), builder_(file_.name()) {}

  NgramModel read() {
    read_counts();
    if (order_ > 1) read_tables();
    read_unigrams();
    for (int length = 2; length <= order_; ++length) read_entries(length);
    read_words();
    build_unigrams();
    for (int length = 2; length <= order_; ++length) build(length);
    return builder_.finish();
  }

 private:
  struct Tables {
    std::vector<float> probabilities;
    std::vector<float> backoffs;
  };

  std::size_t count(int length) const { return counts_[static_cast<std::size_t>(length) - 1]; }

  void read_counts() {
    const auto title = file_.read_bytes(static_cast<std::int64_t>(kTitle.size()), "the title");
    if (!std::equal(title.begin(), title.end(), kTitle.begin())) file_.fail("is not a packed n-gram model");
    order_ = file_.read_bytes(1, "the order")[0];
    if (order_ < 1 || order_ > kMostOrder) file_.fail("has n-grams of " + std::to_string(order_) + " words");
    for (int length = 1; length <= order_; ++length) {
      const auto number = static_cast<std::size_t>(file_.read_count("the number of n-grams"));
      file_.require(static_cast<std::int64_t>(number), "the n-grams");
      counts_.push_back(number);
    }
  }

  std::vector<float> read_table() {
    file_.require(4 * std::int64_t{kTableSize}, "a table of values");
    std::vector<float> values;
    for (std::size_t i = 0; i < kTableSize; ++i) values.push_back(read_float("a table of values"));
    return values;
  }

  float read_float(const char* what) { return natural(std::bit_cast<float>(file_.read_word(what))); }

  void read_tables() {
    if (file_.read_word("the kind of the values") != kQuantised) file_.fail("has values of a kind that is not known");
    for (int length = 2; length <= order_; ++length) {
      Tables& tables = tables_.emplace_back();
      tables.probabilities = read_table();
      if (length < order_) tables.backoffs = read_table();
    }
  }

  void read_unigrams() {
    file_.require(12 * (static_cast<std::int64_t>(count(1)) + 1), "the unigrams");
    for (std::size_t i = 0; i <= count(1); ++i) {
      probabilities_.push_back(read_float("a unigram"));
      backoffs_.push_back(read_float("a unigram"));
      next_.push_back(file_.read_word("a unigram"));
    }
  }

  int word_bits() const { return static_cast<int>(std::bit_width(count(1))); }
  int next_bits(int length) const { return length < order_ ? static_cast<int>(std::bit_width(count(length + 1))) : 0; }
  int value_bits(int length) const { return length < order_ ? 2 * kValueBits : kValueBits; }

  void read_entries(int length) {
    const int bits = word_bits() + value_bits(length) + next_bits(length);
    const auto size = static_cast<std::int64_t>((count(length) + 1) * static_cast<std::size_t>(bits) + 7) / 8 + 8;
    file_.require(size, "the n-grams");
    std::vector<std::uint8_t> packed;
    packed.reserve(static_cast<std::size_t>(size) + 8);
    for (std::int64_t rest = size; rest > 0; rest -= std::min(rest, kChunk)) {
      const auto bytes = file_.read_bytes(std::min(rest, kChunk), "the n-grams");
      packed.insert(packed.end(), bytes.begin(), bytes.end());
    }
    packed.resize(packed.size() + 8);  // the last entries are read eight bytes at a time too
    entries_.emplace_back(std::move(packed), bits);
  }

  void read_words() {
    const std::int64_t size = file_.read_count("the length of the words");
    const auto bytes = file_.read_bytes(size, "the words");
    const std::string text(bytes.begin(), bytes.end());
    for (std::size_t first = 0; first < text.size();) {
      const std::size_t last = std::min(text.find('\0', first), text.size());
      builder_.add_word(text.substr(first, last - first));
      ++words_;
      first = last + 1;
    }
    if (words_ != count(1)) {
      file_.fail("holds " + std::to_string(words_) + " words, but counts " + std::to_string(count(1)));
    }
    file_.expect_end();
  }

  // The values of unigrams are numbers themselves: the distinct ones are their table.
  void build_unigrams() {
    probabilities_.pop_back();
    backoffs_.pop_back();
    const ValueTable probabilities(probabilities_);
    const ValueTable backoffs(order_ > 1 ? backoffs_ : std::vector<float>());
    builder_.start_level(count(1), probabilities.values(), backoffs.values());
    for (std::uint32_t word = 0; word < count(1); ++word) {
      builder_.add({&word, 1}, probabilities.number(probabilities_[word]),
                   order_ > 1 ? backoffs.number(backoffs_[word]) : std::uint16_t{0});
    }
    builder_.finish_level();
  }

  void build(int length) {
    Tables& tables = tables_[static_cast<std::size_t>(length) - 2];
    builder_.start_level(count(length), std::move(tables.probabilities), std::move(tables.backoffs));
    length == 3 ? add_triples() : add_all(length);
    if (length == order_) entries_.clear();
    builder_.finish_level();
  }

  void add_all(int length) {
    std::array<std::uint32_t, kMostOrder> words{};
    for (std::uint32_t word = 0; word < count(1); ++word) {
      words[static_cast<std::size_t>(length) - 1] = word;
      descend(length, 2, next_[word], next_[word + 1], words);
    }
  }

  // Calls visit(pair, word, entry) for the entries of pairs whose second word is given; pair is the index of the entry
  // in the builder, where pairs are in the order of their first words, then of their second: every first word has its
  // next one, which the places count. For second words in ascending order.
  template <class Visit>
  void visit_pairs(std::uint32_t second, std::vector<std::uint32_t>& places, Visit&& visit) const {
    const PackedEntries& entries = entries_[0];
    for (std::size_t entry = next_[second]; entry < next_[second + 1]; ++entry) {
      const std::uint32_t first = entries.read(entry, 0, word_bits());
      visit(places[first]++, first, static_cast<std::uint32_t>(entry));
    }
  }

  // By their middle words, so that the pairs which begin them lie in a table by their first words: most of the n-grams
  // have three words, and a search for each takes longer than all else.
  void add_triples() {
    const auto first_pairs = builder_.first_pairs();
    std::vector<std::uint32_t> entry_of(count(2));  // [pair]
    std::vector<std::uint32_t> places(first_pairs.begin(), first_pairs.end());
    for (std::uint32_t word = 0; word < count(1); ++word) {
      visit_pairs(word, places,
                  [&](std::uint32_t pair, std::uint32_t, std::uint32_t entry) { entry_of[pair] = entry; });
    }
    places.assign(first_pairs.begin(), first_pairs.end());
    std::vector<std::uint32_t> pair_of(count(1));  // [first word]: with the middle word, if that is its second one
    for (std::uint32_t middle = 0; middle < count(1); ++middle) {
      visit_pairs(middle, places,
                  [&](std::uint32_t pair, std::uint32_t first, std::uint32_t) { pair_of[first] = pair + 1; });
      for (std::uint32_t pair = first_pairs[middle]; pair < first_pairs[middle + 1]; ++pair) {
        add_triples_of(entry_of[pair], middle, builder_.second_word(pair), pair_of);
      }
    }
  }

  void add_triples_of(std::size_t pair_entry, std::uint32_t middle, std::uint32_t last,
                      const std::vector<std::uint32_t>& pair_of) {
    const PackedEntries& entries = entries_[1];
    const int bits = word_bits();
    const auto [begin, end] = below(2, pair_entry);
    if (begin > end || end > count(3)) file_.fail("has n-grams out of their order");
    for (std::size_t entry = begin; entry < end; ++entry) {
      const std::uint32_t first = entries.read(entry, 0, bits);
      if (first >= count(1)) file_.fail("has no word " + std::to_string(first));
      const std::uint32_t pair = pair_of[first];
      if (pair == 0 || builder_.second_word(pair - 1) != middle) builder_.fail_without(std::array{first, middle});
      const auto [probability, backoff] = values(3, entry);
      builder_.add_behind(pair - 1, last, probability, backoff);
    }
  }

  // The range of entries of one more word.
  std::pair<std::size_t, std::size_t> below(int length, std::size_t entry) const {
    const PackedEntries& entries = entries_[static_cast<std::size_t>(length) - 2];
    const int next = word_bits() + value_bits(length);
    return {entries.read(entry, next, next_bits(length)), entries.read(entry + 1, next, next_bits(length))};
  }

  // Numbers of the probability and of the back-off weight.
  std::pair<std::uint16_t, std::uint16_t> values(int length, std::size_t entry) const {
    const PackedEntries& entries = entries_[static_cast<std::size_t>(length) - 2];
    const int bits = word_bits();
    const auto low = static_cast<std::uint16_t>(entries.read(entry, bits, kValueBits));
    if (length == order_) return {low, std::uint16_t{0}};
    return {static_cast<std::uint16_t>(entries.read(entry, bits + kValueBits, kValueBits)), low};
  }

  // The n-grams of a length below a range of entries of `depth` words. words is filled from its end. Packing leaves a
  // few entries at the end that no range leads to.
  void descend(int length, int depth, std::size_t first, std::size_t last,
               std::array<std::uint32_t, kMostOrder>& words) {
    if (first > last || last > count(depth)) file_.fail("has n-grams out of their order");
    const PackedEntries& entries = entries_[static_cast<std::size_t>(depth) - 2];
    for (std::size_t entry = first; entry < last; ++entry) {
      std::uint32_t& word = words[static_cast<std::size_t>(length - depth)];
      word = entries.read(entry, 0, word_bits());
      if (word >= count(1)) file_.fail("has no word " + std::to_string(word));
      if (depth < length) {
        const auto [begin, end] = below(depth, entry);
        descend(length, depth + 1, begin, end, words);
        continue;
      }
      const auto [probability, backoff] = values(length, entry);
      builder_.add({words.data(), static_cast<std::size_t>(length)}, probability, backoff);
    }
  }

  BinaryFile file_;
  NgramBuilder builder_;
  int order_ = 0;
  std::vector<std::size_t> counts_;
  std::vector<Tables> tables_;  // from two words on
  std::vector<float> probabilities_;
  std::vector<float> backoffs_;
  std::vector<std::uint32_t> next_;     // of unigrams: first entry of two words
  std::vector<PackedEntries> entries_;  // from two words on
  std::size_t words_ = 0;
};

}  // namespace

bool is_packed_ngram_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string title(kTitle.size(), '\0');
  file.read(title.data(), static_cast<std::streamsize>(title.size()));
  return file && title == kTitle;
}

NgramModel read_packed_ngrams(const std::filesystem::path& file) { return PackedReader(file).read(); }

NgramModel read_ngram_model(const std::string& name) {
  std::filesystem::path file(name);
  const std::filesystem::path installed = std::filesystem::path(kInstalledModels) / name / (name + ".lm.bin");
  if (!std::filesystem::exists(file) && name.find('/') == std::string::npos && std::filesystem::exists(installed)) {
    file = installed;
  }
  return is_packed_ngram_file(file) ? read_packed_ngrams(file) : read_arpa_file(file);
}

}  // namespace kivsr::speech
