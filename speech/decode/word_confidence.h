// How sure the words of a hypothesis are: what else the lattice has in their place, and how well they fit the sound,
// whatever else it may be. Next: word_lattice.h for the lattice.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_history.h"
#include "kivsr/speech/decode/word_lattice.h"

namespace kivsr::speech {

struct WordEvidence {
  // The largest sum, over the frames of the word, of the posteriors of all arcs with the same word (F. Wessel et al.,
  // IEEE Trans. SAP 9(3), 2001).
  double posterior = 0.0;
  // Mean log likelihood of its frames behind that of the likeliest state of each, by the mean spread of the states of
  // the utterance: near 0 where the sound is what the word sounds like, -1 where it could be anything.
  double fit = 0.0;
  double language = 0.0;  // log weight of the word, scaled, with penalties
  int frames = 0;
  bool filler = false;  // silence or noise
};

// Posteriors of the lattice are known.
std::vector<WordEvidence> word_evidence(const WordLattice& lattice, const SearchNetwork& network,
                                        std::span<const HypothesisWord> words);

// From 0 to 1, the probability that the word is right: logistic regression of its evidence, and of how well the whole
// utterance fits. Silence and noise have their posteriors.
std::vector<double> word_confidences(std::span<const WordEvidence> words);

}  // namespace kivsr::speech
