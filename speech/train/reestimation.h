// The step from the sums of a pass to the next model, and the growth of mixtures by splitting.
#pragma once

#include "kivsr/speech/models/word_model.h"
#include "kivsr/speech/train/statistics.h"
#include "kivsr/speech/train/training_settings.h"

namespace kivsr::speech {

struct ReestimationReport {
  int floored_variances = 0;
  int floored_weights = 0;
  int merged_components = 0;
  int unseen_states = 0;  // states that no frame reached: they stay as they are
};

// Means, variances, weights and transitions of the greatest likelihood, with floors. A component of fewer frames than
// least_occupation is merged with the one that loses least likelihood by it. With a variance prior of p frames each
// variance becomes (n v + p v0) / (n + p), n the component's frames and v0 the mean variance of all words.
ReestimationReport reestimate(WordModel& model, const Statistics& statistics, const TrainingSettings& settings);

// The same of states alone, their probabilities of staying left out. pooled: whether the state takes part in the mean
// variance.
ReestimationReport reestimate_states(std::vector<MixtureState>& states, const std::vector<char>& pooled,
                                     const std::vector<float>& variance_floor, const Statistics& statistics,
                                     const TrainingSettings& settings);
// The probability of staying of so many frames after which the path stayed, of all.
float probability_of_staying(double stays, double frames);

// Splits the heaviest components of each state, distance standard deviations to both sides of the mean, until it has
// count of them or both halves of the next would have less than least_occupation frames. Returns the number of splits.
int split_components(std::vector<MixtureState>& states, int dimension, int count, double distance,
                     double least_occupation);

}  // namespace kivsr::speech
