// The pass of training that estimates a transform of the features, from the covariances of the frames of each state.
#pragma once

#include <cstddef>

#include "kivsr/speech/models/phone_model.h"
#include "kivsr/speech/train/reestimation.h"
#include "kivsr/speech/train/statistics.h"
#include "kivsr/speech/train/training_settings.h"

namespace kivsr::speech {

struct TransformWanted {
  int lda = 0;        // values of a row that linear discriminant analysis keeps; 0: no analysis
  bool mllt = false;  // a semi-tied covariance transform behind it

  bool any() const { return lda > 0 || mllt; }
};

// The sums have products (Statistics::want_products), the states of the model one Gaussian each. The recipe gets the
// transform, the states are what the sums say of the transformed frames.
ReestimationReport estimate_transform(PhoneModel& model, const Statistics& statistics, const TransformWanted& wanted,
                                      const TrainingSettings& settings);

}  // namespace kivsr::speech
