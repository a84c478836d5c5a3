// Noise reduction of a whole utterance on its way to the acoustic model: the spectra that the front end sees, with
// gains on the bands of its filter bank.
#pragma once

#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Whether rows of features cannot do without it.
inline bool needs_audio(NoiseMethod method) { return method != NoiseMethod::kNone && method != NoiseMethod::kAuto; }
// Whether the front end has what the methods need: their transform, their rate, filters of its own.
bool can_reduce_noise(Recipe recipe);

class NoiseReduction {
 public:
  // Throws Fault for a sampling rate or a shift that the noise estimate does not allow.
  NoiseReduction(const FrontEndParameters& parameters, const NoiseReductionParameters& settings);

  // spectra: of an utterance's frames, power or magnitude as the parameters say, in and out.
  void run(FeatureMatrix& spectra) const;
  // So many frames of a long utterance, half a minute, are enough for an estimate of their noise.
  int part_height() const;

 private:
  void reduce(FeatureMatrix& power) const;
  FeatureMatrix bands_of(const FeatureMatrix& power) const;
  FeatureMatrix noise_of(const FeatureMatrix& power) const;
  FeatureMatrix smoothed(const FeatureMatrix& bands, float seconds) const;
  bool noise_is_steady(const FeatureMatrix& bands) const;

  FrontEndParameters parameters_;
  NoiseReductionParameters settings_;
  FilterBank32f filters_;
  std::vector<float> spread_;  // row b: what the gain of band b counts in each bin; the columns sum to 1
};

}  // namespace kivsr::speech
