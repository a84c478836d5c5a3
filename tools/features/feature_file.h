// Writes rows of features in the formats that other programs read.
#ifndef KIVSR_TOOLS_FEATURES_FEATURE_FILE_H
#define KIVSR_TOOLS_FEATURES_FEATURE_FILE_H

#include <filesystem>

#include "features/feature_matrix.h"
#include "features/feature_parameters.h"
#include "support/output_file.h"

namespace kivsr::tools {

enum class FeatureFormat {
  npy,  // NumPy 1.0, little-endian float, C order, shape (frames, width)
  htk,  // big-endian float; kind MFCC, LPCEPSTRA or FBANK with the qualifiers _0 _E _D _A _Z; c0 behind the other
        // cepstra
  mfc,  // Sphinx: the number of floats, then the floats, little-endian
  csv   // a line of column names, then a line a frame that starts with the time of its first sample in seconds
};

// By the extension of the name; throws Fault for any other.
FeatureFormat feature_format(const std::filesystem::path& file);

// Writes to the file and leaves the commit to the caller. rows are those of a chain with these parameters.
void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows,
                    const FeatureParameters& parameters);

}  // namespace kivsr::tools

#endif
