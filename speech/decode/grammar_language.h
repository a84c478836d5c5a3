// A word network as the language of a search: a state is a place in the network, and its words are those that can be
// reached from there without another word between.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

// The pronunciations of a word that the model has all phones of. If there is none, reason says why.
std::vector<std::vector<int>> pronunciations(const std::string& word, const Dictionary& dictionary,
                                             const AcousticModel& model, std::string& reason);

class GrammarLanguage : public SearchLanguage {
 public:
  // Adds its trees to the forest and a label for each pronunciation of a word. Throws Fault for a word that cannot be
  // pronounced and for a network in which no sentence is possible.
  GrammarLanguage(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                  const SearchWeights& weights, SearchNetwork& network);

  int states() const override { return static_cast<int>(states_.size()); }
  int start() const override { return 0; }
  int tree(int state) const override { return states_[static_cast<std::size_t>(state)].tree; }
  Step follow(int, int arc) const override { return arcs_[static_cast<std::size_t>(arc)]; }
  float final_weight(int state) const override { return states_[static_cast<std::size_t>(state)].final_weight; }

 private:
  friend class GrammarBuilder;
  struct State {
    int tree = -1;
    float final_weight = kLogZero;
  };

  std::vector<State> states_;
  std::vector<Step> arcs_;
};

}  // namespace kivsr::speech
