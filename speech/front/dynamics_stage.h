// First and second derivatives: by the library's streaming functions, by its regression over a whole utterance, or the
// differences that Sphinx models are trained with.
#pragma once

#include <memory>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// The stage that the recipe asks for, null for Dynamics::kNone. Rows come some frames later than their statics, those
// of the regression when the utterance ends. An utterance shorter than the window needs is computed as if its last
// frame went on.
std::unique_ptr<RowStage> make_dynamics_stage(const Recipe& recipe);

// Behind it, from statics with first and second derivatives to the columns that the recipe wants: third ones appended,
// as HTK's qualifier _T has them, second ones or the log energy left out. Null where the columns are right.
std::unique_ptr<RowStage> make_columns_stage(const Recipe& recipe);

}  // namespace kivsr::speech
