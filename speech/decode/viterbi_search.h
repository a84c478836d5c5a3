// Time-synchronous Viterbi search with beams: push the frames of an utterance, then finish, which leaves the search
// ready for the next one. Words are found through lexicon trees, every phone sounds as its neighbours make it, in other
// words too, and the weight of a word is known in part from its first phone on (the best weight of the words that may
// still come). Next: active_phones.h for the places of paths, word_history.h for the words behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/decode/active_phones.h"
#include "kivsr/speech/decode/lattice_recorder.h"
#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_history.h"
#include "kivsr/speech/decode/word_lattice.h"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

// Paths that fall behind the best one by more than this (natural log) are given up.
struct Beams {
  float state = 100.0F;  // every frame
  float phone = 100.0F;  // at the start of a phone
  float word = 50.0F;    // at the end of a word, behind the best word end of the frame
  int phones = 8000;     // that hold paths after a frame, the best ones; 0: any number
};

// What suits the kind of the model: the Gaussians of whole words are few and sharp, so that the right word may fall far
// behind for a while.
Beams default_beams(const AcousticModel& model);

struct Hypothesis {
  std::vector<HypothesisWord> words;  // silence and noise included
  double score = 0.0;                 // log likelihood of the best path with all weights
  bool complete = false;              // false: no path reached the end of a sentence, words are those of the best one
  WordLattice lattice;                // if it was recorded
};

// The best path through the frames so far.
struct BestPath {
  std::vector<HypothesisWord> words;  // the last one may not have ended; without the silence that it is in
  int silent_frames = 0;              // since its last word ended; 0: inside a word
  bool may_end = false;               // whether the sentence may end here
};

class ViterbiSearch {
 public:
  ViterbiSearch(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer, const Beams& beams);

  // From the next utterance on, finish gives a lattice of the words that are within a beam of the best path. Memory
  // then grows with the frames.
  void record_lattice(float beam);

  void push(std::span<const float> frame);
  // The next words that all paths have in common, which no frame can change any more: while the utterance goes on, for
  // whoever does not want to wait for its end. Each is given once; finish gives all words again.
  std::vector<HypothesisWord> take_settled();
  // Of an utterance that goes on.
  BestPath best_path() const;
  Hypothesis finish();
  // The same at a pause: the sentence need not end here, and where the language knows what may come behind the words
  // (SearchLanguage::goes_on) the next utterance continues it.
  Hypothesis pause();
  // Forgets the utterance, and what it would have continued.
  void restart();

 private:
  // A path at the end of a word.
  struct WordExit {
    float score;
    int history;
    int next;  // state of the language
    int label;
    int context;  // of its last phone
    const FanOutTable::Variant* variant;
    float language;  // weight of the word, part of the score
  };
  // A path that leaves the last phone of words.
  struct Ending {
    int phone;
    Token token;
  };
  // Where words that end with the same phone lead to the same state of the language.
  struct Junction {
    int state;    // active state
    int context;  // left context of what follows
  };

  // The words that end with a phone, as arcs of the forest, and what their last phone is to the one that follows.
  struct EndingWords {
    std::span<const int> arcs;
    int base;
  };

  void reset();
  Hypothesis finish_in(bool sentence_ends);
  EndingWords ending_words(const ActivePhone& phone) const;
  int likeliest_ending(const ActivePhone& phone) const;
  float final_weight(const WordExit& exit, bool sentence_ends) const;
  RecordedEnd recorded(const WordExit& exit) const;
  WordLattice finished_lattice(bool sentence_ends);
  bool ends_silently(const WordExit& exit) const;
  void score_states(std::span<const float> frame);
  FrameSound frame_sound() const;
  void list(int phone);
  void set_hmm(ActivePhone& phone, int hmm) const;
  template <int kStates>
  float advance(int phone);
  template <int kStates>
  float advance_all();
  float narrowed_threshold(float threshold) const;
  float exit_score(int phone, int& history);
  void enter(int phone, Token token);
  void leave_phones(float threshold);
  void leave(int phone, float threshold);
  void enter_children(int phone, Token token, float threshold);
  void enter_child(int phone, int node, int first_slot, Token token, float threshold);
  float word_look_ahead(int node, int state, TreeKind kind) const;
  SearchLanguage::Step follow(int arc, int state, TreeKind kind) const;
  const SearchLanguage::Step& word_step(int arc, int language_state) const;
  void end_words(float beam);
  void end_word(int phone, Token token);
  void add_exit(const WordExit& exit);
  void join(const WordExit& exit, int index);
  void enter_words(float threshold);
  void enter_tree(const Junction& junction, TreeKind kind, const int* best, float threshold);
  template <class Visit>
  void visit_histories(Visit&& visit);
  void settle();

  const SearchNetwork& network_;
  const LexiconForest& forest_;
  const AcousticModel& model_;
  Scorer& scorer_;
  Beams beams_;
  int state_count_;
  int contexts_;

  // What the language said of a word after a state: the same is asked in many frames.
  struct KnownStep {
    int state = -1;
    int arc = -1;
    SearchLanguage::Step step;
  };

  ActivePhones phones_;
  mutable std::vector<KnownStep> known_steps_;  // where a pair hashes to, the last one asked for
  WordHistory words_;
  std::optional<LatticeRecorder> recorder_;
  float lattice_beam_ = 0.0F;
  std::vector<FrameSound> sounds_;  // [frame], for the lattice
  std::vector<int> active_;         // phones that hold a path
  std::vector<int> next_active_;
  std::vector<int> left_phones_;      // phones that lost their paths in this frame
  std::vector<std::int64_t> wanted_;  // frame in which each state of the model was wanted last
  std::vector<int> wanted_states_;    // in the next frame
  std::vector<float> state_scores_;
  std::vector<Ending> endings_;              // of this frame
  std::vector<WordExit> exits_;              // the same as words, those that count
  std::vector<SearchLanguage::Jump> jumps_;  // of one exit
  std::vector<int> exit_histories_;          // word of each exit, -1 as long as no path went on from it
  std::vector<Junction> junctions_;          // of this frame
  std::vector<int> best_exits_;              // [junction][context of the phone that follows]: exit, -1
  float best_ = 0.0F;                        // of this frame, relative to offset_
  float entry_threshold_ = kLogZero;         // of this frame, for the start of a phone
  double offset_ = 0.0;                      // scores are kept near zero: true score = score + offset_
  std::int64_t frame_ = 0;
  int best_phone_ = -1;  // of this frame; -1: no path is left
  int start_state_;      // of the language
};

}  // namespace kivsr::speech
