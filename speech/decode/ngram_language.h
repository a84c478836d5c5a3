// An n-gram model as the language of a search: any word of it that the dictionary can pronounce may follow any other.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kivsr/speech/decode/lexicon_tree.h"
#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/models/ngram_mixture.h"
#include "kivsr/speech/models/word_classes.h"

namespace kivsr::speech {

// Calls a visitor with the words of a dictionary that are wanted.
using DictionaryVisit = std::function<void(const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor)>;

class NgramLanguage : public SearchLanguage {
 public:
  // Adds its tree to the network's forest, and to its labels, which have to be empty, the pronunciations of its words.
  // name: of the dictionary, for messages. Where the model has a class its words are said, each with the class's
  // probability times its own; throws Fault if it has none of the classes.
  NgramLanguage(NgramMixture model, const WordClasses& classes, const DictionaryVisit& dictionary,
                const std::string& name, const AcousticModel& acoustic, const SearchWeights& weights,
                SearchNetwork& network);

  int states() const override { return model_.states(); }
  int start() const override { return start_; }
  int tree(int) const override { return tree_; }
  Step follow(int state, int arc) const override;
  bool goes_on() const override { return true; }
  float final_weight(int state) const override;

  // Words of the model, and of its classes, that cannot be said for want of a pronunciation.
  const std::vector<std::string>& unpronounceable() const { return unpronounceable_; }

 private:
  // What a spoken word is to the model.
  struct Sense {
    int word = 0;                  // of the model: itself or its class
    float log_probability = 0.0F;  // in its class
  };
  using Senses = std::multimap<std::string, Sense, std::less<>>;
  Senses senses_of(const WordClasses& classes) const;

  NgramMixture model_;
  SearchWeights weights_;
  int start_ = 0;
  int end_ = -1;  // the word that ends a sentence
  int tree_ = 0;
  std::vector<Sense> words_;  // [arc, which is a label]
  std::vector<std::string> unpronounceable_;
};

// The same as a network, with the fillers of the acoustic model.
SearchNetwork build_ngram_network(NgramMixture model, const WordClasses& classes,
                                  const std::filesystem::path& dictionary, const AcousticModel& acoustic,
                                  const SearchWeights& weights, std::vector<std::string>& unpronounceable);
// An n-gram model of phones.
SearchNetwork build_phone_ngram_network(NgramMixture model, const AcousticModel& acoustic,
                                        const SearchWeights& weights);

}  // namespace kivsr::speech
