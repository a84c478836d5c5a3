#include "kivsr/speech/models/ngram_model.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

int NgramModel::find_word(std::string_view word) const {
  const auto found = index_.find(word);
  return found == index_.end() ? -1 : found->second;
}

void NgramModel::forget_names() {
  index_ = {};
  names_ = {};
}

// Words of the context that a state is.
std::size_t NgramModel::level_of(std::size_t state) const {
  std::size_t level = 0;
  while (state >= bases_[level + 1]) ++level;
  return level;
}

// The n-gram that has one word more than a context, -1 if it was not seen.
std::ptrdiff_t NgramModel::find_child(std::size_t level, std::size_t index, std::uint32_t word) const {
  if (level == 0) return static_cast<std::ptrdiff_t>(word);
  const std::vector<std::uint32_t>& children = levels_[level - 1].children;
  const auto words = levels_[level].words.begin();
  const auto last = words + static_cast<std::ptrdiff_t>(children[index + 1]);
  const auto found = std::lower_bound(words + static_cast<std::ptrdiff_t>(children[index]), last, word);
  return found == last || *found != word ? -1 : found - words;
}

// The state without the oldest word.
std::size_t NgramModel::suffix(std::size_t level, std::size_t index) const {
  if (level <= 1) return 0;
  return level == 2 ? bases_[1] + levels_[1].words[index] : levels_[level - 1].suffix[index];
}

float NgramModel::backoff(std::size_t level, std::size_t index) const {
  return level == 0 ? 0.0F : levels_[level - 1].backoffs[levels_[level - 1].backoff[index]];
}

// A context after which no word was seen and that costs nothing to leave says no more than the shorter one.
std::size_t NgramModel::longest_useful(std::size_t state) const {
  for (;;) {
    const std::size_t level = level_of(state);
    const std::size_t index = state - bases_[level];
    if (level == 0) return state;
    const std::vector<std::uint32_t>& children = levels_[level - 1].children;
    if (children[index] != children[index + 1] || std::abs(backoff(level, index)) > 1e-4F) return state;
    state = suffix(level, index);
  }
}

// After a word that was seen behind a context of level words, where it is the n-gram child.
int NgramModel::context_after(std::size_t level, std::size_t index, std::ptrdiff_t child, std::uint32_t word) const {
  while (child < 0 || level + 1 == levels_.size()) {
    if (level == 0) return 0;  // a model of single words
    const std::size_t shorter = suffix(level, index);
    level = level_of(shorter);
    index = shorter - bases_[level];
    child = find_child(level, index, word);
  }
  return static_cast<int>(longest_useful(bases_[level + 1] + static_cast<std::size_t>(child)));
}

NgramModel::Step NgramModel::follow(int from, int word) const {
  auto state = static_cast<std::size_t>(from);
  float weight = 0.0F;
  for (;;) {
    const std::size_t level = level_of(state);
    const std::size_t index = state - bases_[level];
    const std::ptrdiff_t child = find_child(level, index, static_cast<std::uint32_t>(word));
    if (child >= 0) {
      const Level& found = levels_[level];
      return {weight + found.probabilities[found.probability[static_cast<std::size_t>(child)]],
              context_after(level, index, child, static_cast<std::uint32_t>(word))};
    }
    weight += backoff(level, index);
    state = suffix(level, index);
  }
}

int NgramModel::longer_context(int state, int word) const {
  const std::size_t level = level_of(static_cast<std::size_t>(state));
  if (level + 1 >= levels_.size()) return -1;
  const std::ptrdiff_t child =
      find_child(level, static_cast<std::size_t>(state) - bases_[level], static_cast<std::uint32_t>(word));
  return child < 0 ? -1 : static_cast<int>(bases_[level + 1] + static_cast<std::size_t>(child));
}

void NgramBuilder::fail(const std::string& message) const { throw Fault(file_ + ": " + message); }

void NgramBuilder::add_word(std::string word) {
  const auto number = static_cast<int>(model_.names_.size());
  const std::string& name = model_.names_.emplace_back(std::move(word));
  if (!model_.index_.try_emplace(name, number).second) fail("holds the word \"" + name + "\" twice");
}

void NgramBuilder::start_level(std::size_t count, std::vector<float> probabilities, std::vector<float> backoffs) {
  if (model_.levels_.size() > 2) find_suffixes(model_.levels_.size());  // the longest n-grams are no contexts
  NgramModel::Level& level = model_.levels_.emplace_back();
  level.words.reserve(count);
  level.probability.reserve(count);
  if (!backoffs.empty()) level.backoff.reserve(count);
  level.probabilities = std::move(probabilities);
  level.backoffs = std::move(backoffs);
  contexts_.clear();
  if (model_.levels_.size() > 1) contexts_.reserve(count);
}

// Index of an n-gram in its level.
std::size_t NgramBuilder::find(std::span<const std::uint32_t> words) const {
  std::size_t index = 0;
  for (std::size_t level = 0; level < words.size(); ++level) {
    const std::ptrdiff_t child = model_.find_child(level, index, words[level]);
    if (child >= 0) {
      index = static_cast<std::size_t>(child);
      continue;
    }
    fail_without(words);
  }
  return index;
}

void NgramBuilder::fail_without(std::span<const std::uint32_t> context) const {
  std::string text;
  for (const std::uint32_t word : context) text += (text.empty() ? "" : " ") + model_.word(static_cast<int>(word));
  fail("has n-grams that begin with \"" + text + "\", which it does not hold itself");
}

void NgramBuilder::add(std::span<const std::uint32_t> words, std::uint16_t probability, std::uint16_t backoff) {
  add_behind(static_cast<std::uint32_t>(find(words.first(words.size() - 1))), words.back(), probability, backoff);
}

void NgramBuilder::add_behind(std::uint32_t context, std::uint32_t word, std::uint16_t probability,
                              std::uint16_t backoff) {
  NgramModel::Level& level = model_.levels_.back();
  if (model_.levels_.size() > 1) contexts_.push_back(context);
  level.words.push_back(word);
  level.probability.push_back(probability);
  if (!level.backoffs.empty()) level.backoff.push_back(backoff);
}

// n-grams by context, then by word.
void NgramBuilder::sort_level(NgramModel::Level& shorter, NgramModel::Level& level) const {
  const std::size_t count = level.words.size();
  std::vector<std::uint32_t> order(count);
  shorter.children.assign(shorter.words.size() + 1, 0);
  for (const std::uint32_t context : contexts_) ++shorter.children[context + 1];
  std::partial_sum(shorter.children.begin(), shorter.children.end(), shorter.children.begin());
  std::vector<std::uint32_t> next(shorter.children.begin(), shorter.children.end() - 1);
  for (std::size_t i = 0; i < count; ++i) order[next[contexts_[i]]++] = static_cast<std::uint32_t>(i);
  const auto by_word = [&](std::uint32_t a, std::uint32_t b) { return level.words[a] < level.words[b]; };
  for (std::size_t context = 0; context < shorter.words.size(); ++context) {
    const auto first = order.begin() + static_cast<std::ptrdiff_t>(shorter.children[context]);
    const auto last = order.begin() + static_cast<std::ptrdiff_t>(shorter.children[context + 1]);
    if (!std::is_sorted(first, last, by_word)) std::sort(first, last, by_word);
    const auto same = [&](std::uint32_t a, std::uint32_t b) { return level.words[a] == level.words[b]; };
    if (std::adjacent_find(first, last, same) != last) {
      fail("holds an n-gram with the word \"" + model_.word(static_cast<int>(level.words[*first])) + "\" twice");
    }
  }
  const auto arrange = [&](auto& values) {
    if (values.empty()) return;
    auto sorted = values;
    for (std::size_t i = 0; i < count; ++i) sorted[i] = values[order[i]];
    values.swap(sorted);
  };
  arrange(level.words);
  arrange(level.probability);
  arrange(level.backoff);
}

void NgramBuilder::finish_level() {
  const std::size_t order = model_.levels_.size();
  NgramModel::Level& level = model_.levels_.back();
  if (order == 1) {
    if (level.words.size() != model_.names_.size()) fail("does not have one unigram for each word");
    model_.bases_ = {0, 1, 1 + level.words.size()};
    return;
  }
  sort_level(model_.levels_[order - 2], level);
  model_.bases_.push_back(model_.bases_.back() + level.words.size());
  if (model_.bases_.back() > 0x7FFFFFFFU) fail("holds more n-grams than can be numbered");
}

// Of every context of three words and more the one without its oldest word: what the shorter state becomes by the last
// word.
void NgramBuilder::find_suffixes(std::size_t order) {
  NgramModel::Level& level = model_.levels_[order - 1];
  const NgramModel::Level& shorter = model_.levels_[order - 2];
  level.suffix.resize(level.words.size());
  for (std::size_t context = 0; context < shorter.words.size(); ++context) {
    for (std::uint32_t i = shorter.children[context]; i < shorter.children[context + 1]; ++i) {
      std::size_t state = model_.suffix(order - 1, context);
      for (;;) {
        const std::size_t words = model_.level_of(state);
        const std::size_t index = state - model_.bases_[words];
        const std::ptrdiff_t child = model_.find_child(words, index, level.words[i]);
        if (child >= 0) {
          level.suffix[i] = static_cast<std::uint32_t>(model_.bases_[words + 1] + static_cast<std::size_t>(child));
          break;
        }
        state = model_.suffix(words, index);
      }
    }
  }
}

NgramModel NgramBuilder::finish() {
  NgramModel::Level& longest = model_.levels_.back();
  longest.backoff = {};
  if (model_.levels_.size() > 0 && model_.bases_.size() > 2) model_.bases_.pop_back();
  if (model_.levels_.size() == 1) model_.bases_ = {0, 1};
  return std::move(model_);
}

}  // namespace kivsr::speech
