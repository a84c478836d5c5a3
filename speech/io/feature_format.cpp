#include "kivsr/speech/io/feature_format.h"

#include <optional>
#include <string>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

std::optional<FeatureFormat> format_of(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".npy") return FeatureFormat::kNpy;
  if (extension == ".htk") return FeatureFormat::kHtk;
  if (extension == ".mfc") return FeatureFormat::kMfc;
  if (extension == ".csv") return FeatureFormat::kCsv;
  return std::nullopt;
}

}  // namespace

FeatureFormat feature_format(const std::filesystem::path& file) {
  if (const auto format = format_of(file)) return *format;
  throw Fault(file.string() + ": the extension is none of .npy, .htk, .mfc and .csv");
}

bool is_feature_file(const std::filesystem::path& file) { return format_of(file).has_value(); }

}  // namespace kivsr::speech
