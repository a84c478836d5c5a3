// The automaton that the search walks: a word network in which every word is written out as its phones, with loops of
// silence and noise between words. Next: viterbi_search.h.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

struct SearchWeights {
  float language_weight = 6.5F;    // scales the log weights of the word network
  float insertion_penalty = 0.0F;  // log, added for each word
  float silence_penalty = -10.0F;  // log, added for each silence between words
  float noise_penalty = -30.0F;    // log, added for each noise between words
};

// One phone in one place of the network.
struct SearchPhone {
  int phone = 0;    // of the acoustic model
  int next = -1;    // the phone after it in the word; -1: the word ends here
  int label = -1;   // at the end of a word: which one
  int target = -1;  // at the end of a word: the node it leads to
};

struct SearchEntry {
  int phone = 0;  // first phone of a word, index into phones
  float weight = 0.0F;
};

struct SearchNode {
  std::vector<SearchEntry> entries;  // the words that may follow
  float final_weight = kLogZero;     // of ending the sentence here
};

struct SearchLabel {
  std::string word;
  bool filler = false;
};

struct SearchNetwork {
  std::vector<SearchNode> nodes;  // the first one is the start
  std::vector<SearchPhone> phones;
  std::vector<SearchLabel> labels;
};

// Throws Fault for a word that the dictionary does not have or whose phones the model does not have, and for a network
// in which no sentence is possible.
SearchNetwork build_search_network(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                                   const SearchWeights& weights);

// Takes the words out of the network that cannot be pronounced; returns them.
std::vector<std::string> remove_unpronounceable(WordNetwork& words, const Dictionary& dictionary,
                                                const AcousticModel& model);

}  // namespace kivsr::speech
