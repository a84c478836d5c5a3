#include "kivsr/speech/io/feature_format.h"

#include <string>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

FeatureFormat feature_format(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".npy") return FeatureFormat::kNpy;
  if (extension == ".htk") return FeatureFormat::kHtk;
  if (extension == ".mfc") return FeatureFormat::kMfc;
  if (extension == ".csv") return FeatureFormat::kCsv;
  throw Fault(file.string() + ": the extension is none of .npy, .htk, .mfc and .csv");
}

}  // namespace kivsr::speech
