// The formats behind FeatureReader, one function each: it reads the header and leaves the file at the first row.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_layout.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/kaldi_archive.h"

namespace kivsr::speech {

class FeatureSource {
 public:
  explicit FeatureSource(BinaryFile file, FeatureFormat its_format) : format(its_format), file_(std::move(file)) {}
  virtual ~FeatureSource() = default;
  // Appends rows, if there are more.
  virtual void read(FeatureMatrix& rows) = 0;
  BinaryFile& file() { return file_; }

  FeatureFormat format;
  FeatureLayout layout;
  std::string encoding;
  bool has_frame_seconds = false;

 protected:
  BinaryFile file_;
};

std::unique_ptr<FeatureSource> open_npy(BinaryFile file);
std::unique_ptr<FeatureSource> open_htk(BinaryFile file);
std::unique_ptr<FeatureSource> open_mfc(BinaryFile file, int width);
std::unique_ptr<FeatureSource> open_table(BinaryFile file);  // with commas, or of openSMILE
std::unique_ptr<FeatureSource> open_arff(BinaryFile file);
std::unique_ptr<FeatureSource> open_matrix(BinaryFile file, const KaldiPlace& place);

}  // namespace kivsr::speech
