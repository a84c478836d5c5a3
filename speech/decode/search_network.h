// What the search walks: the language, which says what words may follow each other, and the lexicon trees, which say
// how they sound; between words silence and noise. Next: viterbi_search.h.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/decode/lexicon_tree.h"
#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

// A word with one of its pronunciations.
struct SearchLabel {
  std::string word;
  bool filler = false;
  int first_phone = 0;  // of the pronunciation, index into SearchNetwork::phones
  int phones = 0;
};

struct SearchFiller {
  int label = 0;
  float weight = 0.0F;
};

struct SearchNetwork {
  std::unique_ptr<LexiconForest> forest;  // of the acoustic model, which has to outlive it
  std::unique_ptr<SearchLanguage> language;
  int filler_tree = -1;               // its arcs are indices into fillers
  std::vector<SearchFiller> fillers;  // silence and noises
  std::vector<SearchLabel> labels;
  std::vector<int> phones;

  int add_label(std::string word, std::span<const int> pronunciation, bool filler = false);
  std::span<const int> phones_of(int label) const {
    const SearchLabel& known = labels[static_cast<std::size_t>(label)];
    return {phones.data() + known.first_phone, static_cast<std::size_t>(known.phones)};
  }
};

// Throws Fault for a word that the dictionary does not have or whose phones the model does not have, and for a network
// in which no sentence is possible.
SearchNetwork build_search_network(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                                   const SearchWeights& weights);

// Adds the fillers of the model behind the words.
void add_fillers(SearchNetwork& network, const AcousticModel& model, const SearchWeights& weights);

// Takes the words out of the network that cannot be pronounced; returns them.
std::vector<std::string> remove_unpronounceable(WordNetwork& words, const Dictionary& dictionary,
                                                const AcousticModel& model);

}  // namespace kivsr::speech
