// An n-gram language model in little memory: log probabilities and back-off weights are numbers of 16 bits into a table
// of each order. n-grams hang on their contexts, the oldest word first, the words of one context in ascending order, so
// that a query is a search among the few words that were seen after a context.
//
// A state is a context: what can be told about the words before. State 0 is the empty context.
// Next: arpa_file.h and packed_ngram_file.h, which read it; decode/ngram_language.h, which searches with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kivsr::speech {

class NgramModel {
 public:
  struct Step {
    float log_probability = 0.0F;  // natural logarithm
    int next = 0;                  // state
  };

  int order() const { return static_cast<int>(levels_.size()); }
  int words() const { return static_cast<int>(names_.size()); }
  const std::string& word(int index) const { return names_[static_cast<std::size_t>(index)]; }
  int find_word(std::string_view word) const;  // -1 if there is none
  // Frees what only the names of words need, once they have been looked up.
  void forget_names();
  std::size_t count(int order) const { return levels_[static_cast<std::size_t>(order) - 1].words.size(); }

  int states() const { return static_cast<int>(bases_.back()); }
  // The probability of a word after a context, and the longest context that the words then give.
  Step follow(int state, int word) const;

  int context_words(int state) const { return static_cast<int>(level_of(static_cast<std::size_t>(state))); }
  // The context that has a word more, -1 if the model has none.
  int longer_context(int state, int word) const;
  // Calls visit(context, word, context with that word more) for all contexts but the empty one, shorter ones first.
  template <class Visit>
  void visit_contexts(Visit&& visit) const;

 private:
  friend class NgramBuilder;
  // The n-grams of one length.
  struct Level {
    std::vector<std::uint32_t> words;        // the last word of each
    std::vector<std::uint16_t> probability;  // index into probabilities
    std::vector<std::uint16_t> backoff;      // index into backoffs; none of the longest
    std::vector<std::uint32_t> children;     // first longer n-gram of each, and one more; none of the longest
    std::vector<std::uint32_t> suffix;       // state without the oldest word, of three words and more
    std::vector<float> probabilities;        // natural logarithms
    std::vector<float> backoffs;
  };

  std::size_t level_of(std::size_t state) const;
  std::ptrdiff_t find_child(std::size_t level, std::size_t index, std::uint32_t word) const;
  std::size_t suffix(std::size_t level, std::size_t index) const;
  float backoff(std::size_t level, std::size_t index) const;
  int context_after(std::size_t level, std::size_t index, std::ptrdiff_t child, std::uint32_t word) const;
  std::size_t longest_useful(std::size_t state) const;

  std::deque<std::string> names_;  // stay where they are for the index
  std::unordered_map<std::string_view, int> index_;
  std::vector<Level> levels_;       // [words of an n-gram - 1]
  std::vector<std::size_t> bases_;  // [words of a context]: its first state, and one more
};

template <class Visit>
void NgramModel::visit_contexts(Visit&& visit) const {
  for (std::size_t word = 0; bases_.size() > 2 && word < levels_[0].words.size(); ++word) {
    visit(0, static_cast<int>(word), static_cast<int>(bases_[1] + word));
  }
  for (std::size_t length = 2; length + 1 < bases_.size(); ++length) {
    const std::vector<std::uint32_t>& children = levels_[length - 2].children;
    for (std::size_t shorter = 0; shorter + 1 < children.size(); ++shorter) {
      for (std::size_t child = children[shorter]; child < children[shorter + 1]; ++child) {
        visit(static_cast<int>(bases_[length - 1] + shorter), static_cast<int>(levels_[length - 1].words[child]),
              static_cast<int>(bases_[length] + child));
      }
    }
  }
}

// Puts a model together: the words, then the n-grams of each length from the shortest to the longest.
class NgramBuilder {
 public:
  explicit NgramBuilder(std::string file) : file_(std::move(file)) {}

  // Faults for a word that is there already.
  void add_word(std::string word);
  int find_word(std::string_view word) const { return model_.find_word(word); }

  // Values that the 16-bit numbers of a length stand for.
  void start_level(std::size_t count, std::vector<float> probabilities, std::vector<float> backoffs);
  // words: oldest first. Of the unigrams, one for each word in its order.
  void add(std::span<const std::uint32_t> words, std::uint16_t probability, std::uint16_t backoff);
  // The same behind a context whose index in the level before is known.
  void add_behind(std::uint32_t context, std::uint32_t word, std::uint16_t probability, std::uint16_t backoff);
  // Of a finished second level: the first pair of each word, and one more; and the second word of a pair.
  std::span<const std::uint32_t> first_pairs() const { return model_.levels_[0].children; }
  std::uint32_t second_word(std::uint32_t pair) const { return model_.levels_[1].words[pair]; }
  [[noreturn]] void fail_without(std::span<const std::uint32_t> context) const;
  // Faults for an n-gram without its context or one that is there twice.
  void finish_level();
  NgramModel finish();

 private:
  [[noreturn]] void fail(const std::string& message) const;
  std::size_t find(std::span<const std::uint32_t> words) const;
  void sort_level(NgramModel::Level& shorter, NgramModel::Level& level) const;
  void find_suffixes(std::size_t level);

  std::string file_;
  NgramModel model_;
  std::vector<std::uint32_t> contexts_;  // of the n-grams of this level: index in the level before
};

}  // namespace kivsr::speech
