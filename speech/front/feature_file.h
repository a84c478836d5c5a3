// Writes rows of features in the formats that other programs read.
#pragma once

#include "kivsr/speech/front/feature_parameters.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

// Writes to the file and leaves the commit to the caller. rows are those of a chain with these parameters.
void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows,
                    const FeatureParameters& parameters);

}  // namespace kivsr::speech
