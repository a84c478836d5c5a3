// Deltas and accelerations by the library's streaming functions, or by its regression over a whole utterance.
#ifndef KIVSR_TOOLS_FEATURES_DELTA_STAGE_H
#define KIVSR_TOOLS_FEATURES_DELTA_STAGE_H

#include <memory>

#include "features/feature_parameters.h"
#include "features/row_stage.h"

namespace kivsr::tools {

// The stage that the parameters ask for, null for Delta::none. Rows come some frames later than their statics, those of
// the regression when the utterance ends. An utterance shorter than the window needs is computed as if its last frame
// went on.
std::unique_ptr<RowStage> make_delta_stage(const FeatureParameters& parameters);

}  // namespace kivsr::tools

#endif
