// Files of a text header and little-endian numbers behind it: a line that names the kind of file, lines "name value",
// the line "end", the numbers, and the CRC-32 of everything before it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/little_endian.h"

namespace kivsr::speech {

class RecordWriter {
 public:
  explicit RecordWriter(std::string_view kind);
  void line(std::string_view name, std::string_view value);
  void end_header();
  void put(std::span<const float> values);
  void put(std::span<const double> values);
  // The CRC-32 of what was put so far.
  std::uint32_t checksum() const { return bytes_.checksum(); }
  // Appears under its name when it is complete.
  void write(const std::filesystem::path& file) const;

 private:
  LittleEndianBytes bytes_;
};

class RecordReader {
 public:
  // Throws Fault for a file of another kind, a wrong checksum and a header without an end.
  RecordReader(const std::filesystem::path& file, std::string_view kind);

  const std::vector<std::pair<std::string, std::string>>& lines() const { return lines_; }
  // The value of a line; throws Fault if there is none.
  const std::string& value(std::string_view name) const;
  void get(std::span<float> values, std::string_view what);
  void get(std::span<double> values, std::string_view what);
  void require_numbers(std::uint64_t bytes, std::string_view what) const;
  // Throws Fault unless all numbers were read.
  void finish();
  std::string name() const { return file_.name(); }
  [[noreturn]] void fail(const std::string& message) const { file_.fail(message); }

 private:
  template <class Bits, class Number>
  void get_numbers(std::span<Number> values, std::string_view what);

  BinaryFile file_;
  std::vector<std::pair<std::string, std::string>> lines_;
};

// Whether the file begins with the line that names the kind.
bool is_record_file(const std::filesystem::path& file, std::string_view kind);

}  // namespace kivsr::speech
