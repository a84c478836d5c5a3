// Gaussians that exist and a few minutes of other speech. Maximum a posteriori estimates stay where they were as far as
// nothing was heard of them (J. Gauvain, C. Lee, Maximum a posteriori estimation for multivariate Gaussian mixture
// observations of Markov chains, IEEE Trans. Speech and Audio Processing 2(2), 1994; D. Reynolds, T. Quatieri, R. Dunn,
// Speaker verification using adapted Gaussian mixture models, Digital Signal Processing 10, 2000). Linear regression
// (mean_regression.h) moves all of them together. Next: acoustic_adaptation.h, of the models of a decoder.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/models/word_model.h"
#include "kivsr/speech/train/mean_regression.h"
#include "kivsr/speech/train/statistics.h"

namespace kivsr::speech {

struct AdaptationSettings {
  MeanRegression regression;
  bool map = true;          // behind the regression
  double relevance = 16.0;  // frames that the model before counts in each Gaussian
  bool means = true;        // what MAP adapts
  bool variances = false;
  bool weights = false;

  void validate() const;
};

// With n frames, sums a and b, r the relevance:  m' = m + a / (n + r),  v' = (b + r v) / (n + r) - (m' - m)^2; a mean
// that stays does so in v' too. floor: least variances.
void map_adapt(HeardGaussian& gaussian, const AdaptationSettings& settings, std::span<const float> floor);
// w' = (n + r K w) / (N + r K) of K weights that add up to 1.
void map_adapt_weights(std::span<float> weights, std::span<const double> frames, double relevance);

// The Gaussians of one feature space: regression, then MAP. Returns the regression's number of classes.
int adapt_gaussians(std::vector<HeardGaussian>& gaussians, const AdaptationSettings& settings,
                    std::span<const float> floor);

// A model of words or a plain mixture. prior: what is adapted; heard: the model of the same shape that the sums belong
// to, which is the prior itself or came of it. Returns the number of classes.
int adapt(WordModel& prior, const WordModel& heard, const Statistics& statistics, const AdaptationSettings& settings);

}  // namespace kivsr::speech
