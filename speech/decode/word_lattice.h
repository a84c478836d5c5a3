// What else could have been said: the words that a search ended within a beam, as a graph from the start to the end of
// the utterance. Posteriors of words by forward and backward sums over its paths, the best sentences, and the file
// format of HTK. Next: lattice_recorder.h, which gathers it during a search.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_history.h"

namespace kivsr::speech {

struct LatticeArc {
  int from = 0;  // node
  int to = 0;    // a later one
  int label = 0;
  double acoustic = 0.0;  // log likelihood
  double language = 0.0;  // scaled log weight, with all penalties
  double posterior = 0.0;

  double score() const { return acoustic + language; }
};

// What the sound of a frame can be at all, whatever words are allowed.
struct FrameSound {
  float best = 0.0F;    // log likelihood of the likeliest state, of those of all phones alone and of the search's own
  float spread = 0.0F;  // of the likeliest phone alone above the mean of all
};

// The first node is the start, the last one the end. No arcs: nothing could be said to its end.
struct WordLattice {
  std::vector<int> frames;  // [node]: frames before it, ascending
  std::vector<LatticeArc> arcs;
  std::vector<FrameSound> sounds;  // [frame]; empty where no sentence was complete

  bool empty() const { return arcs.empty(); }
};

struct Sentence {
  std::vector<HypothesisWord> words;  // silence and noise included
  double score = 0.0;
};

// Sets the posteriors of the arcs. scale: of the log scores, below 1, since frames are not independent of each other.
void find_posteriors(WordLattice& lattice, double scale);

// The best sentences that differ in their words, the best first.
std::vector<Sentence> best_sentences(const WordLattice& lattice, const SearchNetwork& network, int count);

// HTK's standard lattice format, words on the links.
std::string lattice_text(const WordLattice& lattice, const SearchNetwork& network, const std::string& utterance,
                         double frame_seconds);

}  // namespace kivsr::speech
