// A word network as the language of a search: a state is a place in the network, and its words are those that can be
// reached from there without another word between. Slots of it are filled by an n-gram model: behind the states of the
// network come those of the model, once for each place where a slot may end.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/decode/ngram_language.h"
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
  // pronounced, for a network in which no sentence is possible, and for a slot if there is nothing to fill it.
  GrammarLanguage(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                  const SearchWeights& weights, SearchNetwork& network,
                  std::unique_ptr<NgramLanguage> filling = nullptr);

  int states() const override;
  int start() const override { return 0; }
  int tree(int state) const override;
  Step follow(int state, int arc) const override;
  void jumps(int state, std::vector<Jump>& jumps) const override;
  float final_weight(int state) const override;

 private:
  friend class GrammarBuilder;
  // The way into a slot.
  struct Entrance {
    float weight = 0.0F;
    int slot = 0;
  };
  struct State {
    int tree = -1;
    float final_weight = kLogZero;
    std::vector<Entrance> entrances = {};
  };
  // A state of the filling, and the slot in which it is; before its first word a slot is in a state of its own, which
  // it cannot be left from.
  struct Filled {
    int slot = kNoSlot;
    int state = kEntry;
  };
  static constexpr int kNoSlot = -1;  // a state of the network
  static constexpr int kEntry = -1;

  Filled filled(int state) const;
  int filling_state(int state) const { return state == kEntry ? filling_->start() : state; }
  int state_in(int slot, int state) const;

  std::vector<State> states_;
  std::vector<Step> arcs_;
  std::unique_ptr<NgramLanguage> filling_;
  std::vector<int> slots_;  // [slot]: the state of the network that comes behind it
};

// A grammar whose slots the words of an n-gram model fill, with the fillers of the acoustic model. dictionary: of the
// words of the grammar; file: of those of the model.
SearchNetwork build_mixed_network(const WordNetwork& words, const Dictionary& dictionary, NgramMixture ngrams,
                                  const WordClasses& classes, const std::filesystem::path& file,
                                  const AcousticModel& model, const SearchWeights& weights,
                                  std::vector<std::string>& unpronounceable);

}  // namespace kivsr::speech
