// Perceptual linear prediction (H. Hermansky, "Perceptual linear predictive (PLP) analysis of speech", 1990) in the
// form that Kaldi gave it: the energies of a mel bank, weighed by the loudness of their frequencies and raised to the
// power 0.33333, are the spectrum whose autocorrelation prediction works on.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

class PerceptualPrediction {
 public:
  explicit PerceptualPrediction(const FrontEndParameters& parameters);

  // Of a frame's filter_count energies, which are used up: the lags 0 .. prediction_order.
  void autocorrelate(std::span<float> energies, std::span<float> lags);

 private:
  std::vector<float> loudness_;
  std::vector<float> spectrum_;  // the first and the last band twice
  std::vector<float> cosines_;   // a row for each band of the spectrum
};

}  // namespace kivsr::speech
