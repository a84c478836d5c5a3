// Time-synchronous Viterbi search with beams: push the frames of an utterance, then finish, which leaves the search
// ready for the next one. Memory does not grow with the frames but with the words that were said: of the words on paths
// only those are kept that a path still leads back to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

// Paths that fall behind the best one by more than this (natural log) are given up.
struct Beams {
  float state = 200.0F;  // every frame
  float word = 200.0F;   // at the end of a word, behind the best word end of the frame
};

struct HypothesisWord {
  int label = 0;  // of the search network
  int first_frame = 0;
  int last_frame = 0;
};

struct Hypothesis {
  std::vector<HypothesisWord> words;  // silence and noise included
  double score = 0.0;                 // log likelihood of the best path with all weights
  bool complete = false;              // false: no path reached the end of a sentence, words are those of the best one
};

class ViterbiSearch {
 public:
  ViterbiSearch(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer, const Beams& beams);

  void push(std::span<const float> frame);
  // The next words that all paths have in common, which no frame can change any more: while the utterance goes on, for
  // whoever does not want to wait for its end. Each is given once; finish gives all words again.
  std::vector<HypothesisWord> take_settled();
  Hypothesis finish();

 private:
  // The end of a word on a path; the path goes back by previous.
  struct WordEnd {
    int previous;  // index into word_ends_, -1 at the start
    int label;
    int frame;
  };
  struct NodeExit {
    int node;
    float score;
    int previous;
    int label;
  };
  // The last state of a path inside a phone and the words behind it.
  struct Token {
    float score = kLogZero;
    int history = -1;
  };

  void reset();
  Token* states_of(int phone) {
    return states_.data() + static_cast<std::size_t>(phone) * static_cast<std::size_t>(state_count_);
  }
  void enter(int phone, Token token);
  void enter_node(int node, Token token, float threshold);
  void score_active_states(std::span<const float> frame);
  float advance(int phone);
  void leave(int phone, float threshold);
  void end_words(float threshold);
  std::vector<HypothesisWord> trace(int history) const;
  template <class Visit>
  void visit_histories(Visit&& visit);
  void forget_dead_ends();
  void settle();

  const SearchNetwork& network_;
  const AcousticModel& model_;
  Scorer& scorer_;
  Beams beams_;
  int state_count_;

  std::vector<Token> states_;    // [phone of the network][state]
  std::vector<Token> entering_;  // [phone of the network]: the path that enters with the next frame
  std::vector<int> active_;      // phones of the network that hold a path
  std::vector<int> next_active_;
  std::vector<std::int64_t> listed_;  // frame for which each phone was listed last
  std::vector<int> wanted_states_;    // of the model, in this frame
  std::vector<std::int64_t> wanted_;  // frame in which each state was wanted last
  std::vector<float> state_scores_;
  std::vector<NodeExit> exits_;     // words that end in this frame, the best for each node
  std::vector<int> exit_of_node_;   // index into exits_, -1
  std::vector<WordEnd> word_ends_;  // none is older than those before it
  std::size_t most_word_ends_ = 0;  // when there are more, those without a path are forgotten
  std::vector<HypothesisWord> settled_;
  std::size_t taken_ = 0;  // of the settled ones
  int first_frame_ = 0;    // behind them
  float best_ = 0.0F;      // of this frame, relative to offset_
  double offset_ = 0.0;    // scores are kept near zero: true score = score + offset_
  std::int64_t frame_ = 0;
};

}  // namespace kivsr::speech
