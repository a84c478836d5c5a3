// One n-gram model, or two as one: a word has the weighted sum of its probabilities in both. The sum is exact whatever
// the words before: a state is a context of one model, the longer one where both know the words, and tells where the
// other model is. Next: decode/ngram_language.h, which searches with it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/models/ngram_model.h"

namespace kivsr::speech {

class NgramMixture {
 public:
  NgramMixture(NgramModel model);  // NOLINT(google-explicit-constructor): a model is a mixture of one
  // share: of the first model, above 0 and below 1. A word that a model lacks has the probability 0 there.
  NgramMixture(NgramModel first, NgramModel second, double share);

  // The words of the first model, then the others of the second.
  int words() const { return first_words_ + static_cast<int>(more_words_.size()); }
  const std::string& word(int index) const;
  int find_word(std::string_view word) const;  // -1 if there is none
  void forget_names();                         // as of NgramModel

  // State 0 is the empty context; the states of the first model come first.
  int states() const { return first_.states() + static_cast<int>(more_contexts_.size()); }
  NgramModel::Step follow(int state, int word) const;

 private:
  struct Places {
    int first = 0;  // states of the models
    int second = 0;
  };

  void match_words();
  void match_contexts();
  Places places(int state) const;
  int word_in_first(int word) const { return word < first_words_ ? word : -1; }
  int word_in_second(int word) const;

  NgramModel first_;
  NgramModel second_;
  double share_ = 1.0;
  int first_words_;
  std::vector<int> words_in_second_;   // [word of the first model], -1
  std::vector<int> more_words_;        // of the second model, those that the first lacks
  std::vector<int> second_words_;      // [word of the second model]: in the mixture
  std::vector<int> second_places_;     // [state of the first model]: where the second is after the same words
  std::vector<int> states_of_second_;  // [state of the second model]: the mixture's after the same words
  std::vector<Places> more_contexts_;  // of the second model that the first lacks
};

}  // namespace kivsr::speech
