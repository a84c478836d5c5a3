// Blind equalisation of cepstra (ETSI ES 202 050, clause 5.4): takes a fixed channel out of c1, c2, ... frame by frame.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// c = x - b; b += s (c - r), r the reference: what the cepstra of this front end are like on average without a channel.
// The bias b starts at `bias` in every utterance. The step s is 9/1024 for frames whose log energy is 275/64 or more
// and falls to 0 at 211/64. c0 and the log energy itself stay as they are.
// The log energy is the last value of the row where the front end gives it, else what c0 says: the mean of the
// logarithms of the filters' energies; without c0 either, every frame counts fully.
class EqualisationStage : public RowStage {
 public:
  // reference and bias: one value for each of c1, c2, ...; empty stands for zeros. Throws Fault for another number of
  // values and for rows that are not cepstra.
  EqualisationStage(const FrontEndParameters& parameters, std::vector<float> reference, std::vector<float> bias = {});

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override;
  bool finish(FeatureMatrix& result) override;

 private:
  float log_energy(std::span<const float> row) const;

  FrontEndParameters parameters_;
  std::vector<float> reference_;
  std::vector<float> first_bias_;
  std::vector<float> bias_;
};

// The stage that the recipe asks for, null for none. From the mean: the bias starts at the mean of the utterance, which
// suits a model whose training took the mean out, with a reference of zeros.
std::unique_ptr<RowStage> make_equalisation_stage(const Recipe& recipe);

// c1 .. c12 of the standard's own features.
std::vector<float> aurora_reference_cepstrum();

}  // namespace kivsr::speech
