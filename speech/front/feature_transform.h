// A matrix that makes new columns of those of a row: what linear discriminant analysis and semi-tied covariances find
// in training (train/discriminant_analysis.h).
#pragma once

#include <memory>
#include <span>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// matrix: [new column][column]. Appends the transformed rows to result, whose width says how many new columns there
// are.
void transform_rows(std::span<const float> matrix, const FeatureMatrix& rows, FeatureMatrix& result);

// The stage of Recipe::feature_transform; null where that is empty.
std::unique_ptr<RowStage> make_transform_stage(const Recipe& recipe);

}  // namespace kivsr::speech
