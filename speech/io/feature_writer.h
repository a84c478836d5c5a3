// Writes rows of features in the formats that other programs read, as they come.
#pragma once

#include <cstdint>
#include <string>

#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_layout.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/htk_checksum.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

class FeatureWriter {
 public:
  // The file is the caller's, who commits it after finish. An HTK kind with _K gets its checksum; _C and _V are not
  // written. Columns without names are x1, x2, ...
  FeatureWriter(OutputFile& file, FeatureFormat format, FeatureLayout layout);

  void append(const FeatureMatrix& rows);
  // Puts the number of rows where the format wants it.
  void finish();

 private:
  std::string header() const;
  void put_htk_rows(const FeatureMatrix& rows, std::string& bytes);
  void put_lines(const FeatureMatrix& rows, std::string& text) const;

  OutputFile& file_;
  FeatureFormat format_;
  FeatureLayout layout_;
  HtkChecksums checksum_;
  std::int64_t frames_ = 0;
};

// All rows at once.
void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const FeatureLayout& layout);

}  // namespace kivsr::speech
