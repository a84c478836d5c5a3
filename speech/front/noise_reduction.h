// Noise reduction of a whole utterance on its way to the acoustic model: the spectra that the front end sees, with
// gains on the bands of its filter bank.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "kivsr.h"
#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/library_object.h"
#include "kivsr/speech/noise/suppression_gain.h"

namespace kivsr::speech {

struct NoiseReductionSettings {
  GainSettings gain;
  float residual = 0.005F;         // share of the noise's power that stays, whatever the gain
  double first_seconds = 0.05;     // whose mean power the noise estimate begins with
  double smoothing_seconds = 0.3;  // the noise is averaged over so much on either side
};

// "mcra-wiener" or "mcra-emns"; throws Fault for another name.
NoiseReductionSettings noise_reduction_settings(const std::string& method);
std::vector<std::string> noise_reduction_methods();

class NoiseReduction {
 public:
  // Throws Fault for a sampling rate or a shift that the noise estimate does not allow.
  NoiseReduction(const FrontEndParameters& parameters, const NoiseReductionSettings& settings);

  // The rows of the front end for an utterance with less noise.
  FeatureMatrix run(std::span<const float> samples) const;
  // power: the power spectra of an utterance's frames, in and out.
  void reduce(FeatureMatrix& power) const;

 private:
  FeatureMatrix bands_of(const FeatureMatrix& power) const;
  FeatureMatrix noise_of(const FeatureMatrix& power) const;
  FeatureMatrix smoothed(const FeatureMatrix& bands) const;

  FrontEndParameters parameters_;
  NoiseReductionSettings settings_;
  LibraryObject<KivsFBankState_32f, kivsFBankFree_32f> filters_;
  std::vector<float> spread_;  // row b: what the gain of band b counts in each bin; the columns sum to 1
};

}  // namespace kivsr::speech
