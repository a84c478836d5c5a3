// Phones as words: what may be said is any sequence of phones, alone or among keywords.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

// Each phone that is no filler, pronounced as itself.
Dictionary phone_dictionary(const ModelDefinition& definition);

// Any sequence of the phones. Labels have the names of the phones.
SearchNetwork build_phone_loop(const AcousticModel& model, const SearchWeights& weights);

struct Keyword {
  std::string text;         // one word or several
  double threshold = 1e-5;  // how much less likely than any phones it may sound
  bool each_phone = true;   // the threshold is to be taken as often as the keyword has phones
};

// Any sequence of phones and keywords. A keyword weighs as its phones do, divided by its threshold. The labels of
// phones are fillers, those of keywords have their texts. Throws Fault for a word that cannot be pronounced.
SearchNetwork build_keyword_loop(const std::vector<Keyword>& keywords, const Dictionary& dictionary,
                                 const AcousticModel& model, const SearchWeights& weights);

}  // namespace kivsr::speech
