// What follows the static cepstra of an utterance on their way to the acoustic model.
#pragma once

#include <span>

#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Subtracts from each column its mean over the utterance.
void subtract_utterance_mean(FeatureMatrix& cepstra);

// Rows of three times the width, "1s_c_d_dd": [c, d, dd] with d(t) = c(t+2) - c(t-2) and
// dd(t) = (c(t+3) - c(t-1)) - (c(t+1) - c(t-3)); frames beyond either end repeat the first or the last.
FeatureMatrix append_dynamics(const FeatureMatrix& cepstra);

// Mean normalisation and dynamic features.
FeatureMatrix utterance_features(FeatureMatrix cepstra);

// The whole chain: front end, mean normalisation, dynamic features. samples are at the rate of the parameters.
FeatureMatrix utterance_features(const FrontEndParameters& parameters, std::span<const float> samples);

}  // namespace kivsr::speech
