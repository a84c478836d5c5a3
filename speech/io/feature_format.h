// The formats of files of features.
#pragma once

#include <filesystem>

namespace kivsr::speech {

enum class FeatureFormat {
  kNpy,  // NumPy 1.0, little-endian float, C order, shape (frames, width)
  kHtk,  // big-endian float; kind MFCC, LPCEPSTRA or FBANK with the qualifiers _0 _E _D _A _Z; c0 behind the other
         // cepstra
  kMfc,  // Sphinx: the number of floats, then the floats, little-endian
  kCsv   // a line of column names, then a line a frame that starts with the time of its first sample in seconds
};

// By the extension of the name; throws Fault for any other.
FeatureFormat feature_format(const std::filesystem::path& file);

// Whether the extension is that of a feature file; anything else is audio.
bool is_feature_file(const std::filesystem::path& file);

}  // namespace kivsr::speech
