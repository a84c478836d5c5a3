// The first model: the frames of each utterance are spread evenly over its states, and a codebook of the frames of each
// state gives its mixture (Y. Linde, A. Buzo, R. Gray, IEEE Trans. Communications 28, 1980).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/train/training_list.h"
#include "kivsr/speech/train/training_settings.h"

namespace kivsr::speech {

// Another model to start from: it tells where the words of the utterances lie and how long they take.
struct Aligner {
  WordModel model;
  double frames_per_state = 0.0;  // 0: all words have the same number of states

  // Throws Fault unless it has the words and the dimension of the other.
  void check_fits(const WordModel& other) const;
  // By the duration of the word in the model, at least 3; none if that does not count.
  std::optional<int> states(const std::string& word) const;
};

// The units and states of a model, without numbers. aligner: may be null.
WordModel model_shape(const Recipe& recipe, const std::vector<TrainingItem>& items, bool plain_mixture,
                      const TrainingSettings& settings, const Aligner* aligner);

// Fills in the numbers. Throws Fault for a word that is in no utterance with enough frames. With an aligner the frames
// of each word, not of the whole utterance, are spread over its states. Memory holds the rows of one state at a time:
// of a plain mixture all of them.
void start_model(WordModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings,
                 const Aligner* aligner);

}  // namespace kivsr::speech
