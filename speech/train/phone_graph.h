// The words of an utterance as a graph of phones: every pronunciation of each word, silence between words or not, and
// each phone as it sounds between its neighbours, within words and across their boundaries.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/models/phone_model.h"
#include "kivsr/speech/train/utterance_graph.h"

namespace kivsr::speech {

// Pronunciations as numbers of the phones of a model.
class PhoneLexicon {
 public:
  // Words with phones that the definition does not have are left out.
  PhoneLexicon(const Dictionary& dictionary, const Dictionary& fillers, const ModelDefinition& definition);

  int find(const std::string& word) const;  // -1 if there is none
  const std::vector<std::vector<int>>& pronunciations(int word) const { return words_[static_cast<std::size_t>(word)]; }
  int words() const { return static_cast<int>(words_.size()); }

 private:
  void add(const std::string& word, const std::vector<Pronunciation>& pronunciations,
           const ModelDefinition& definition);

  std::map<std::string, int, std::less<>> numbers_;
  std::vector<std::vector<std::vector<int>>> words_;
};

struct PhoneInContext {
  int base = 0;
  int left = 0;
  int right = 0;
  WordPosition position = WordPosition::kInternal;

  auto operator<=>(const PhoneInContext&) const = default;
};

// The model of a phone between its neighbours.
using HmmOfPhone = std::function<int(const PhoneInContext& phone)>;

// words: numbers of the lexicon. Pronunciations of a word are equally likely; silence before, between and behind words
// is taken or left with the probability 1/2. in_context: whether phones are told apart by their neighbours; silence
// then stands for the neighbours of an utterance and for every filler.
UtteranceGraph phone_graph(const PhoneModel& model, const PhoneLexicon& lexicon, std::span<const int> words,
                           bool in_context, const HmmOfPhone& hmm_of);
// With the models of the definition.
UtteranceGraph phone_graph(const PhoneModel& model, const PhoneLexicon& lexicon, std::span<const int> words);

// Every phone in context that words of the lexicon can have when any follows any.
std::vector<PhoneInContext> all_contexts(const PhoneLexicon& lexicon, const ModelDefinition& definition);

}  // namespace kivsr::speech
