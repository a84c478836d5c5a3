// Log likelihoods of the components of a model's mixtures over the frames of an utterance, in double precision.
#pragma once

#include <span>
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
  // The states stay where they are as long as the evaluator is used.
  MixtureEvaluator(std::span<const MixtureState> states, int dimension);
  explicit MixtureEvaluator(const WordModel& model) : MixtureEvaluator(model.states, model.dimension()) {}
  // Frames first .. first + count of the features, in one state.
  MixtureLikelihoods evaluate(int state, const FeatureMatrix& features, int first, int count) const;
  // Log likelihoods of the components of one frame, as many as the state has; returns the log of their sum. In single
  // precision, which is enough for shares and beams.
  double score(int state, const float* frame, float* components) const;
  // The same of frames that lie one behind the other, of a state of one component.
  void score_frames(int state, const float* frames, std::span<float> scores) const;
  // Of all rows together, in one state.
  double log_likelihood(int state, const FeatureMatrix& features) const;
  // Of a component, in double precision.
  const double* mean(int state, std::size_t component) const {
    return terms_[static_cast<std::size_t>(state)].means.data() + component * static_cast<std::size_t>(dimension_);
  }
  std::span<const MixtureState> states() const { return states_; }
  int dimension() const { return dimension_; }

 private:
  struct Terms {
    std::vector<float> inverse_variances;  // [component][dimension]
    std::vector<double> constants;         // [component]: log weight and normaliser
    std::vector<float> single_constants;
    std::vector<double> means;
  };
  std::span<const MixtureState> states_;
  int dimension_;
  std::vector<Terms> terms_;  // of each state
};

}  // namespace kivsr::speech
