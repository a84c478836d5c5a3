// A binary file read field by field, some of it in memory at a time. Every read is checked against the end of the file,
// and every fault names the file and what was being read. Next: s3_file.h and sendump.h, the formats built on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/io/seekable_file.h"

namespace kivsr::speech {

// The whole content of a file; throws Fault if there is none.
std::vector<std::uint8_t> read_whole_file(const std::filesystem::path& file);

class BinaryFile {
 public:
  explicit BinaryFile(std::filesystem::path file);  // "-" is standard input

  // Words are little-endian until told otherwise.
  void set_big_endian(bool big_endian) { big_endian_ = big_endian; }
  bool big_endian() const { return big_endian_; }

  std::uint32_t read_word(std::string_view what);
  std::int32_t read_count(std::string_view what);  // a word that must not be negative
  std::uint16_t read_half_word(std::string_view what);
  std::string read_line(std::string_view what);             // up to the line feed, which is consumed
  std::string read_string(std::string_view what);           // up to the zero byte, which is consumed
  std::string read_until(char end, std::string_view what);  // the same up to any character
  // They stay until the next read.
  std::span<const std::uint8_t> read_bytes(std::int64_t count, std::string_view what);
  // The next bytes, which stay unread; fewer at the end of the file.
  std::span<const std::uint8_t> peek(std::size_t count);
  void skip(std::int64_t count, std::string_view what);

  // Faults unless the file holds that many more bytes: call it before memory is taken for what a header promises.
  void require(std::int64_t count, std::string_view what) const;
  // The same, and no more than that.
  void require_last(std::int64_t count, std::string_view what) const;
  void expect_end() const { require_last(0, "the end"); }

  std::int64_t position() const { return position_; }
  std::int64_t size() const { return content_.size(); }
  std::string name() const { return input_name(file_); }
  [[noreturn]] void fail(const std::string& message) const;

 private:
  std::span<const std::uint8_t> ahead() const { return std::span(bytes_).subspan(used_); }
  void fetch(std::size_t count);

  std::filesystem::path file_;
  SeekableFile content_;
  std::int64_t position_ = 0;
  std::vector<std::uint8_t> bytes_;  // what was read of the file, used_ of them handed out
  std::size_t used_ = 0;
  bool big_endian_ = false;
};

}  // namespace kivsr::speech
