// An utterance as the chain of states that its words make, and how the frames spread over them: by the forward-backward
// recursions (L. Rabiner, A tutorial on hidden Markov models, Proc. IEEE 77, 1989) or by the best path.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

// Below any log likelihood of a path relative to the best one of its frame; the log zero of the library's log-addition.
constexpr double kLogNever = -4.5e6;

// The states in the order in which they are passed. Silence before, between and behind the words is taken or left with
// the probability 1/2. All weights are natural logarithms.
struct StateChain {
  struct Jump {
    int from = 0;
    int to = 0;
    double weight = 0.0;
  };
  std::vector<int> states;      // of the model, at each place
  std::vector<double> begin;    // of the first frame at each place
  std::vector<double> stay;     // of the next frame at the same place
  std::vector<double> advance;  // of coming from the place before
  std::vector<double> end;      // of the last frame at each place
  std::vector<Jump> jumps;      // over a silence

  int places() const { return static_cast<int>(states.size()); }
};

// Silence and words of an utterance in their order, as units of the model.
std::vector<int> utterance_units(const WordModel& model, std::span<const int> words);

StateChain utterance_chain(const WordModel& model, std::span<const int> words);

// The fewest frames that pass all words.
int shortest_path(const WordModel& model, std::span<const int> words);

enum class AlignmentMethod { kBaumWelch, kViterbi };

// How much each place has of each frame.
struct Occupation {
  bool possible = false;           // false: no path has a likelihood that can be told from zero; the rest is not set
  double log_likelihood = 0.0;     // of all paths, or of the best one
  std::vector<double> shares;      // [frame][place]: 0 .. 1, sum 1 in each frame
  std::vector<double> stay_count;  // [place]: expected number of frames after which the path stays

  // The place that has most of a frame: that of the best path.
  std::size_t place(int frame) const;
};

// emissions: [frame][place], log likelihood of the frame in the state at the place; no fewer frames than the shortest
// path.
Occupation occupy(const StateChain& chain, std::span<const double> emissions, AlignmentMethod method);

}  // namespace kivsr::speech
