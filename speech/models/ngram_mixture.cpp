#include "kivsr/speech/models/ngram_mixture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kivsr::speech {

NgramMixture::NgramMixture(NgramModel model) : first_(std::move(model)), first_words_(first_.words()) {}

NgramMixture::NgramMixture(NgramModel first, NgramModel second, double share)
    : first_(std::move(first)), second_(std::move(second)), share_(share), first_words_(first_.words()) {
  match_words();
  match_contexts();
}

void NgramMixture::match_words() {
  second_words_.assign(static_cast<std::size_t>(second_.words()), -1);
  words_in_second_.reserve(static_cast<std::size_t>(first_words_));
  for (int word = 0; word < first_words_; ++word) {
    const int second = second_.find_word(first_.word(word));
    words_in_second_.push_back(second);
    if (second >= 0) second_words_[static_cast<std::size_t>(second)] = word;
  }
  for (int word = 0; word < second_.words(); ++word) {
    int& known = second_words_[static_cast<std::size_t>(word)];
    if (known >= 0) continue;
    known = words();
    more_words_.push_back(word);
  }
}

void NgramMixture::match_contexts() {
  second_places_.assign(static_cast<std::size_t>(first_.states()), 0);
  first_.visit_contexts([this](int shorter, int word, int context) {
    const int second = words_in_second_[static_cast<std::size_t>(word)];
    if (second < 0) return;
    second_places_[static_cast<std::size_t>(context)] =
        second_.follow(second_places_[static_cast<std::size_t>(shorter)], second).next;
  });
  states_of_second_.assign(static_cast<std::size_t>(second_.states()), 0);
  second_.visit_contexts([this](int shorter, int word, int context) {
    const int state = states_of_second_[static_cast<std::size_t>(shorter)];
    const int first = word_in_first(second_words_[static_cast<std::size_t>(word)]);
    const int known = first < 0 || state >= first_.states() ? -1 : first_.longer_context(state, first);
    states_of_second_[static_cast<std::size_t>(context)] = known >= 0 ? known : states();
    if (known >= 0) return;
    more_contexts_.push_back({first < 0 ? 0 : first_.follow(places(state).first, first).next, context});
  });
}

NgramMixture::Places NgramMixture::places(int state) const {
  if (state >= first_.states()) return more_contexts_[static_cast<std::size_t>(state - first_.states())];
  return {state, second_places_[static_cast<std::size_t>(state)]};
}

int NgramMixture::word_in_second(int word) const {
  return word < first_words_ ? words_in_second_[static_cast<std::size_t>(word)]
                             : more_words_[static_cast<std::size_t>(word - first_words_)];
}

const std::string& NgramMixture::word(int index) const {
  return index < first_words_ ? first_.word(index) : second_.word(word_in_second(index));
}

int NgramMixture::find_word(std::string_view word) const {
  const int first = first_.find_word(word);
  if (first >= 0 || second_words_.empty()) return first;
  const int second = second_.find_word(word);
  return second < 0 ? -1 : second_words_[static_cast<std::size_t>(second)];
}

void NgramMixture::forget_names() {
  first_.forget_names();
  if (!second_words_.empty()) second_.forget_names();
}

// The next context of either model is what they know of the same words: the shorter one is the end of the longer one.
NgramModel::Step NgramMixture::follow(int state, int word) const {
  if (second_words_.empty()) return first_.follow(state, word);
  const Places at = places(state);
  double probability = 0.0;
  Places next;
  if (const int known = word_in_first(word); known >= 0) {
    const NgramModel::Step step = first_.follow(at.first, known);
    probability += share_ * std::exp(static_cast<double>(step.log_probability));
    next.first = step.next;
  }
  if (const int known = word_in_second(word); known >= 0) {
    const NgramModel::Step step = second_.follow(at.second, known);
    probability += (1.0 - share_) * std::exp(static_cast<double>(step.log_probability));
    next.second = step.next;
  }
  const bool first_is_longer = first_.context_words(next.first) >= second_.context_words(next.second);
  return {static_cast<float>(std::log(std::max(probability, 1e-300))),
          first_is_longer ? next.first : states_of_second_[static_cast<std::size_t>(next.second)]};
}

}  // namespace kivsr::speech
