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

// A file of rows to read.
struct FeatureName {
  std::filesystem::path file;
  FeatureFormat format;
};
// Of "FORMAT:FILE", with one of the names above, that file whatever it is called; of "-" standard input if it begins as
// .npy, .csv, .arff or a binary .mat does; of other names that file if feature_format knows it. Empty for anything
// else, which is audio, a WAV file at a place in an archive too.
std::optional<FeatureName> feature_name(const std::filesystem::path& name);
bool is_feature_file(const std::filesystem::path& name);

}  // namespace kivsr::speech
