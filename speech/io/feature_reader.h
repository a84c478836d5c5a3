// Reads rows of features back from the formats of feature_file.h, and from what other programs write in them.
#pragma once

#include <cstdint>
#include <filesystem>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Block after block: memory does not grow with the length of the file. The extension names the format, as for writing:
//   .npy  version 1 or 2, little-endian float or double, C order, two dimensions
//   .htk  floats of either byte order, not compressed and without a checksum; columns in the order of the file
//   .mfc  Sphinx, of either byte order; the file does not say how wide its rows are: mfc_width
//   .csv  as feature_file.h writes it; the column time_s is left out
// Values may be infinite or NaN. A file without rows has the width that it states, an .mfc mfc_width.
// Throws Fault for a file that is not of its format, is cut short or holds more than it states; the lines of .csv are
// checked as they are read, the others whole before the first row.
class FeatureReader {
 public:
  explicit FeatureReader(const std::filesystem::path& file, int mfc_width = 13);

  int width() const { return width_; }
  // Appends the next rows; false behind the last, when nothing was appended. rows.width is set.
  bool read(FeatureMatrix& rows);

 private:
  void open_npy();
  void open_htk();
  void open_mfc();
  void open_csv();
  void expect_rows(std::int64_t height, int width, int value_bytes);
  void read_values(FeatureMatrix& rows);
  void read_lines(FeatureMatrix& rows);

  BinaryFile file_;
  FeatureFormat format_;
  int width_ = 0;
  std::int64_t left_ = 0;  // rows of a binary format
  int value_bytes_ = 4;
  std::int64_t line_ = 1;  // of .csv, the last that was read
};

// A whole file.
FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width = 13);

}  // namespace kivsr::speech
