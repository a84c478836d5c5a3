// Writes rows of features in the formats that other programs read, as they come.
#pragma once

#include <cstdint>
#include <string>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

class FeatureWriter {
 public:
  // Rows of this recipe. The file is the caller's, who commits it after finish.
  FeatureWriter(OutputFile& file, FeatureFormat format, const Recipe& recipe);

  void append(const FeatureMatrix& rows);
  // Puts the number of rows where the format wants it.
  void finish();

 private:
  std::string header() const;

  OutputFile& file_;
  FeatureFormat format_;
  Recipe recipe_;
  std::int64_t frames_ = 0;
};

// All rows at once.
void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const Recipe& recipe);

}  // namespace kivsr::speech
