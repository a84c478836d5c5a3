// Log likelihoods of the components of a model's mixtures over the frames of an utterance, in double precision.
#pragma once

#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

struct MixtureLikelihoods {
  int frames = 0;
  std::vector<double> components;  // [component][frame]: log of weight times density
  std::vector<double> mixture;     // [frame]: log of their sum

  // Turns log likelihoods of components into their shares of the mixture, which add up to 1 in each frame.
  void to_shares();
};

class MixtureEvaluator {
 public:
  explicit MixtureEvaluator(const WordModel& model);
  // Frames first .. first + count of the features, in one state.
  MixtureLikelihoods evaluate(int state, const FeatureMatrix& features, int first, int count) const;

 private:
  struct Terms {
    std::vector<float> inverse_variances;  // [component][dimension]
    std::vector<double> constants;         // [component]: log weight and normaliser
  };
  const WordModel& model_;
  std::vector<Terms> terms_;  // of each state
};

}  // namespace kivsr::speech
