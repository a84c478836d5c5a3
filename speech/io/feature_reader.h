// Reads rows of features back from the formats of feature_file.h, and from what other programs write in them.
#pragma once

#include <filesystem>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// The extension names the format, as for writing:
//   .npy  version 1 or 2, little-endian float or double, C order, two dimensions
//   .htk  floats of either byte order, not compressed and without a checksum; columns in the order of the file
//   .mfc  Sphinx, of either byte order; the file does not say how wide its rows are: mfc_width
//   .csv  as feature_file.h writes it; the column time_s is left out
// Values may be infinite or NaN. A file without rows has the width that it states, an .mfc mfc_width.
// Throws Fault for a file that is not of its format, is cut short or holds more than it states.
FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width = 13);

}  // namespace kivsr::speech
