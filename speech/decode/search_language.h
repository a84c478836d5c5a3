// What the search asks of a grammar or a language model: which words may follow in a state, at which weight, and which
// state comes after them. Next: grammar_language.h, ngram_language.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kivsr::speech {

struct SearchWeights {
  float language_weight = 6.5F;    // scales the log weights of the word network
  float insertion_penalty = 0.0F;  // log, added for each word
  float silence_penalty = -10.0F;  // log, added for each silence between words
  float noise_penalty = -30.0F;    // log, added for each noise between words
  // In loops of a grammar instead of the penalty: where the words that may follow cost less than this on average, all
  // of them cost so much more. Where few words may follow, the choice among them costs too little to keep noises from
  // becoming words. 0: the penalty holds there too.
  float word_cost = 0.0F;
};

// What suits the recognition of words, by grammars, lists and n-gram models.
constexpr SearchWeights kWordWeights{.insertion_penalty = -10.0F, .word_cost = 36.0F};

// A word that may follow in the states of one lexicon tree.
struct LanguageWord {
  int arc = 0;  // names it to follow()
  std::vector<int> phones;
  float look_ahead = 0.0F;  // its weight, or about that where the state decides it
};

class SearchLanguage {
 public:
  struct Step {
    float weight = 0.0F;  // log, scaled, with the insertion penalty
    int next = 0;         // state
    int label = 0;        // of the word
  };

  // Another state that a path is in at once, without a word.
  struct Jump {
    float weight = 0.0F;  // log, scaled
    int next = 0;
  };

  virtual ~SearchLanguage() = default;
  virtual int states() const = 0;
  virtual int start() const = 0;
  virtual int tree(int state) const = 0;  // the lexicon tree with the words that may follow
  virtual Step follow(int state, int arc) const = 0;
  // Appends all such states, those behind others too.
  virtual void jumps(int /*state*/, std::vector<Jump>& /*jumps*/) const {}
  // Whether a state tells what may follow after a pause too, as words before it do; else a sentence begins there.
  virtual bool goes_on() const { return false; }
  virtual float final_weight(int state) const = 0;  // of ending the sentence; below kLogZero / 2 where it cannot end
};

}  // namespace kivsr::speech
