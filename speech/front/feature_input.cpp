#include "kivsr/speech/front/feature_input.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"

namespace kivsr::speech {

bool is_feature_file(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  return extension == ".npy" || extension == ".htk" || extension == ".mfc" || extension == ".csv";
}

FeatureMatrix read_front_end_rows(const std::filesystem::path& file, const FrontEndParameters& parameters) {
  const int width = parameters.row_width();
  FeatureMatrix rows = read_feature_file(file, width);
  if (rows.width != width) {
    throw Fault(file.string() + ": rows of " + std::to_string(rows.width) + " values, " + std::to_string(width) +
                " are needed");
  }
  require_finite(rows, file);
  return rows;
}

void require_finite(const FeatureMatrix& rows, const std::filesystem::path& file) {
  const auto bad = std::find_if_not(rows.values.begin(), rows.values.end(), [](float v) { return std::isfinite(v); });
  if (bad == rows.values.end()) return;
  const auto place = static_cast<int>(bad - rows.values.begin());
  throw Fault(file.string() + ": frame " + std::to_string(place / rows.width) + ", value " +
              std::to_string(place % rows.width) + " is not finite");
}

}  // namespace kivsr::speech
