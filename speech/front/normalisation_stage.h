// Normalisation of the log energy and of mean and variance, of a whole utterance or running along with it.
#pragma once

#include <memory>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

constexpr float kSmallestVariance = 1e-10F;  // and the factor of a column whose variance is not above it

// The stages that the recipe asks for, null for none. The running forms, and the energy against a known maximum,
// give a row at once; the others when the utterance ends.
std::unique_ptr<RowStage> make_energy_stage(const Recipe& recipe);
std::unique_ptr<RowStage> make_normalisation_stage(const Recipe& recipe);

// Subtracts from each column its mean and, if asked for, divides it by its standard deviation (with height - 1 below
// the sum of squares); a column that does not change becomes zeros.
void normalise_utterance(FeatureMatrix& rows, bool variance);

}  // namespace kivsr::speech
