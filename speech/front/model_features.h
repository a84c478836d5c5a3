// From an utterance on disk, audio or features, to the vectors that a model of kivsr train is made of.
// What was done in training is stored in the model, so that recognition does the same.
#pragma once

#include <filesystem>
#include <optional>

#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

enum class UtteranceNormalisation {
  kNone,
  kMean,         // each column less its mean over the utterance
  kMeanVariance  // and divided by its standard deviation over the utterance
};
enum class UtteranceDynamics {
  kNone,
  kDifferences  // statics, first and second differences: append_dynamics
};

struct ModelFeatures {
  int width = 13;  // of the static features
  UtteranceNormalisation normalisation = UtteranceNormalisation::kMean;
  UtteranceDynamics dynamics = UtteranceDynamics::kDifferences;
  std::optional<FrontEndParameters> front_end;  // of audio; a model of feature files has none

  int dimension() const { return dynamics == UtteranceDynamics::kNone ? width : 3 * width; }
  // Normalises and appends; rows are static features.
  FeatureMatrix apply(FeatureMatrix rows) const;
};

struct LoadedUtterance {
  FeatureMatrix features;
  double seconds = 0.0;  // of feature files: at 100 frames a second where there is no front end
};

// Throws Fault for a file that cannot be read, has another width, holds a value that is not a number or has no frame,
// and for audio where the features has no front end.
LoadedUtterance load_utterance(const std::filesystem::path& file, const ModelFeatures& features,
                               const RawFormat& raw = {});

}  // namespace kivsr::speech
