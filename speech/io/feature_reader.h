// Reads rows of features back from the formats of feature_writer.h, and from what other programs write in them.
// Next: feature_source.h, the formats.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_layout.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

class FeatureSource;

// Block after block: memory does not grow with the length of the file, but for what is marked *, whose rows are held.
// The name says the format, as for writing, or what stands in front of it (feature_name):
//   .npy  version 1 or 2, little-endian float or double, C order, two dimensions
//   .htk  of either byte order, floats or compressed to 16 bits (_C); columns in the order of the file
//   .mfc  Sphinx, of either byte order; the file does not say how wide its rows are: mfc_width
//   .csv  as feature_writer.h writes it, with commas or semicolons; time and name are left out
//   .arff its numeric attributes, those named time_s and frameTime aside; ? is NaN
//   .mat  a matrix of Kaldi, binary or text*, compressed too (CM*, CM2, CM3); so is FILE:BYTE, a place in an archive,
//         and either with [FIRST:LAST] or [FIRST:LAST,FIRST:LAST], rows and columns, both ends counted
// Values may be infinite or NaN. A file without rows has the width that it states, an .mfc mfc_width.
// Throws Fault for a file that is not of its format, is cut short or holds more than it states; text is checked as it
// is read, the others whole before the first row.
class FeatureReader {
 public:
  explicit FeatureReader(const std::filesystem::path& file, int mfc_width = 13);
  ~FeatureReader();
  FeatureReader(FeatureReader&&) noexcept;
  FeatureReader& operator=(FeatureReader&&) noexcept;

  FeatureFormat format() const;
  const FeatureLayout& layout() const;
  int width() const { return layout().width; }
  std::string encoding() const;    // "float", "text", ...: how the file keeps its values
  bool has_frame_seconds() const;  // whether it says how far its rows are apart
  // Appends the next rows; false behind the last, when nothing was appended. rows.width is set.
  bool read(FeatureMatrix& rows);

 private:
  std::unique_ptr<FeatureSource> source_;
};

// A whole file.
FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width = 13);

// Whether the checksum behind the values of an HTK file of a kind with _K fits them; empty without one. No description
// of the format says which checksum of 16 bits it is: any of the usual ones fits.
std::optional<bool> htk_checksum_fits(const std::filesystem::path& file);

}  // namespace kivsr::speech
