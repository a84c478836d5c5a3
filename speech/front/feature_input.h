// Inputs that may be feature files as well as audio.
#pragma once

#include <filesystem>

#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Whether the extension is that of a feature file (.npy, .htk, .mfc, .csv); anything else is audio.
bool is_feature_file(const std::filesystem::path& file);

// The rows of a feature file that stand for the output of a front end with these parameters: throws Fault for rows of
// another width and for values that are not finite.
FeatureMatrix read_front_end_rows(const std::filesystem::path& file, const FrontEndParameters& parameters);

// Throws Fault at the first value that is infinite or NaN.
void require_finite(const FeatureMatrix& rows, const std::filesystem::path& file);

}  // namespace kivsr::speech
