// From samples to the rows that are written: front end, normalisation of energy, of mean and variance, deltas.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/front/feature_parameters.h"
#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// One utterance after the other: push samples as they come, then finish, which leaves it ready for the next.
// The rows are the same bits however the samples are cut into blocks; a stage that needs the whole utterance gives its
// rows when it ends.
class FeatureChain {
 public:
  explicit FeatureChain(const FeatureParameters& parameters);

  const FeatureParameters& parameters() const { return parameters_; }
  int row_width() const { return parameters_.row_width(); }

  // Appends the rows that these samples complete. rows.width is set.
  void push(std::span<const float> samples, FeatureMatrix& rows);
  void finish(FeatureMatrix& rows);
  // A whole utterance, pushed in blocks of that many samples; 0: at once.
  FeatureMatrix run(std::span<const float> samples, std::size_t block = 0);

 private:
  void pass(bool last, FeatureMatrix& rows);

  FeatureParameters parameters_;
  FrontEnd front_end_;
  std::vector<std::unique_ptr<RowStage>> stages_;
  FeatureMatrix current_;  // work areas
  FeatureMatrix next_;
};

}  // namespace kivsr::speech
