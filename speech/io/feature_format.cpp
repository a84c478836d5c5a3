#include "kivsr/speech/io/feature_format.h"

#include <algorithm>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_archive.h"

namespace kivsr::speech {

namespace {

// A place in an archive aside.
std::optional<FeatureFormat> format_of(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  const auto format = extension.empty() ? std::nullopt : named_feature_format(extension.substr(1));
  return format == FeatureFormat::kOpenSmile ? std::nullopt : format;
}

bool is_sound(const KaldiPlace& place) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(place.file, error)) return false;  // the fault is the reader's
  BinaryFile file(place.file);
  if (place.byte > file.size()) return false;
  file.skip(place.byte, "the place");
  const auto ahead = file.peek(4);
  return std::string(ahead.begin(), ahead.end()) == "RIFF";
}

}  // namespace

std::optional<FeatureFormat> named_feature_format(std::string_view name) {
  const auto found = std::find(kFeatureFormatNames.begin(), kFeatureFormatNames.end(), name);
  if (found == kFeatureFormatNames.end()) return std::nullopt;
  return static_cast<FeatureFormat>(found - kFeatureFormatNames.begin());
}

FeatureFormat feature_format(const std::filesystem::path& file) {
  if (kaldi_place(file)) return FeatureFormat::kKaldi;
  if (const auto format = format_of(file)) return *format;
  throw Fault(file.string() + ": the extension is none of .npy, .htk, .mfc, .csv, .arff and .mat");
}

bool is_feature_file(const std::filesystem::path& file) {
  if (const auto place = kaldi_place(file)) return !is_sound(*place);
  return format_of(file).has_value();
}

}  // namespace kivsr::speech
