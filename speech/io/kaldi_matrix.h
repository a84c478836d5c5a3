// One matrix or vector in the form that Kaldi gives it in archives and in files of their own: binary or text, of floats
// or doubles, or compressed. A vector counts as one row. Next: kaldi_archive.h, many of them with their keys.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/binary_file.h"

namespace kivsr::speech {

enum class KaldiType {
  kFloatMatrix,   // "FM": rows one behind the other, little-endian
  kDoubleMatrix,  // "DM"
  kFloatVector,   // "FV"
  kDoubleVector,  // "DV"
  kCompressed,    // "CM": bytes between four percentiles of each column, columns one behind the other
  kCompressed16,  // "CM2": 16 bits between the least and the largest value of the matrix
  kCompressed8,   // "CM3": 8 bits likewise
  kTextMatrix,    // " [", a line a row, "]"
  kTextVector
};
const char* kaldi_type_name(KaldiType type);

// Block of rows after block; a compressed matrix of columns and text are held whole. Throws Fault for what is none of
// these, is cut short, or states a size that cannot be.
class KaldiMatrixReader {
 public:
  // The file stands in front of the matrix, behind its key and the space that follows it.
  explicit KaldiMatrixReader(BinaryFile& file);

  KaldiType type() const { return type_; }
  bool is_vector() const;
  std::int64_t height() const { return height_; }
  int width() const { return width_; }

  // Appends some rows; false behind the last, behind which the file then stands.
  bool read(std::vector<float>& values) { return read_rows(values); }
  bool read(std::vector<double>& values) { return read_rows(values); }
  void skip_rows(std::int64_t rows);
  // The file stands behind the matrix.
  void skip() { skip_rows(height_ - done_); }

 private:
  void open_packed();
  void open_compressed();
  void open_text();
  void read_columns(float least, float range);
  template <class Value>
  bool read_rows(std::vector<Value>& values);

  BinaryFile* file_;
  KaldiType type_ = KaldiType::kFloatMatrix;
  std::int64_t height_ = 0;
  int width_ = 0;
  std::int64_t done_ = 0;  // rows
  int value_bytes_ = 4;    // of those that are still in the file
  float least_ = 0.0F;     // of 8 and 16 bits
  float step_ = 0.0F;
  std::vector<double> held_;        // all of a text
  std::vector<float> held_floats_;  // all of a compressed matrix of columns
};

// As the reader takes it, behind a key: with the mark of binary data, or text. T is float or double.
template <class T>
std::string kaldi_bytes(std::span<const T> values, int width, bool text);

}  // namespace kivsr::speech
