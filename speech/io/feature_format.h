// The formats of files of features.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kivsr::speech {

enum class FeatureFormat {
  kNpy,        // NumPy 1.0, little-endian float, C order, shape (frames, width)
  kHtk,        // big-endian float; kind MFCC, LPCEPSTRA, FBANK, ... with its qualifiers; c0 behind the other cepstra
  kMfc,        // Sphinx: the number of floats, then the floats, little-endian
  kCsv,        // a line of column names, then a line a frame that starts with the time of its first sample in seconds
  kOpenSmile,  // the same with semicolons, and the name of the sound before the time, as openSMILE writes it
  kArff,       // the columns of the latter as attributes, for Weka and its kin
  kKaldi       // one matrix of Kaldi
};

// "npy", "htk", "mfc", "csv", "opensmile", "arff", "mat".
inline constexpr std::array<std::string_view, 7> kFeatureFormatNames{"npy",       "htk",  "mfc", "csv",
                                                                     "opensmile", "arff", "mat"};
std::optional<FeatureFormat> named_feature_format(std::string_view name);

// By the extension of the name, which is that of the format (both tables are .csv; a file that is read says by its
// first line which one it is); a place in an archive (kaldi_archive.h) is kKaldi. Throws Fault for any other.
FeatureFormat feature_format(const std::filesystem::path& file);

// Whether the extension is that of a feature file; anything else is audio, a WAV file at a place in an archive too.
bool is_feature_file(const std::filesystem::path& file);

}  // namespace kivsr::speech
