// Deltas and accelerations by the library's streaming functions, or by its regression over a whole utterance.
#pragma once

#include <memory>

#include "kivsr/speech/front/feature_parameters.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// The stage that the parameters ask for, null for Delta::kNone. Rows come some frames later than their statics, those
// of the regression when the utterance ends. An utterance shorter than the window needs is computed as if its last
// frame went on.
std::unique_ptr<RowStage> make_delta_stage(const FeatureParameters& parameters);

}  // namespace kivsr::speech
