// The phones of the words that a search found, and the states inside them, with their frames: the frames of each word
// are aligned again with the chain of its phones, which the neighbours in other words make sound as they did in the
// search. The path is the search's own.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_history.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

struct StateSegment {
  int place = 0;  // in its phone, from 0
  int first_frame = 0;
  int last_frame = 0;
};

struct PhoneSegment {
  int phone = 0;  // of the model definition
  int hmm = 0;    // that it sounded as
  int first_frame = 0;
  int last_frame = 0;
  std::vector<StateSegment> states;  // those that were not skipped
};

class PhoneAligner {
 public:
  // All have to outlive it.
  PhoneAligner(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer);

  // The phones of each word. rows: all frames of the utterance. A word without room for its phones has none, which
  // happens to the last words of a sentence that was not completed.
  std::vector<std::vector<PhoneSegment>> align(std::span<const HypothesisWord> words, const FeatureMatrix& rows);

 private:
  int right_context(std::span<const HypothesisWord> words, std::size_t index) const;
  int left_context(std::span<const HypothesisWord> words, std::size_t index) const;
  void make_chain(std::span<const int> phones, int left, int right);
  void want_states();
  void advance(std::span<const float> row, int frame);
  float best_entry(int place, int& from) const;
  std::vector<PhoneSegment> trace(std::span<const int> phones, int first_frame, int frames) const;

  const SearchNetwork& network_;
  const AcousticModel& model_;
  Scorer& scorer_;
  int state_count_;
  std::vector<int> hmms_;           // of the word's phones
  std::vector<float> scores_;       // [phone][state], of the frame before
  std::vector<float> next_scores_;  // the same
  std::vector<int> sources_;        // [frame][phone][state]: where the best path came from, -1: the start
  std::vector<int> wanted_states_;
  std::vector<float> state_scores_;
};

}  // namespace kivsr::speech
