#include "kivsr/speech/io/binary_file.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

std::vector<std::uint8_t> read_whole_file(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) throw Fault(file.string() + ": no such file");
  if (std::filesystem::is_directory(file, error)) throw Fault(file.string() + ": is a directory, not a file");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw Fault(file.string() + ": cannot be opened");
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  if (stream.bad()) throw Fault(file.string() + ": cannot be read");
  return bytes;
}

BinaryFile::BinaryFile(std::filesystem::path file) : file_(std::move(file)), bytes_(read_whole_file(file_)) {}

void BinaryFile::fail(const std::string& message) const { throw Fault(name() + ": " + message); }

void BinaryFile::require(std::int64_t count, std::string_view what) const {
  const auto left = static_cast<std::int64_t>(bytes_.size() - position_);
  if (count <= left) return;
  fail("truncated: " + std::string(what) + " needs " + std::to_string(count) + " bytes at byte " +
       std::to_string(position_) + ", " + std::to_string(left) + " are left");
}

void BinaryFile::expect_end() const {
  if (position_ < bytes_.size()) fail(std::to_string(bytes_.size() - position_) + " bytes left over at the end");
}

std::span<const std::uint8_t> BinaryFile::read_bytes(std::int64_t count, std::string_view what) {
  require(count, what);
  const std::span<const std::uint8_t> result(bytes_.data() + position_, static_cast<std::size_t>(count));
  position_ += result.size();
  return result;
}

std::uint32_t BinaryFile::read_word(std::string_view what) {
  const auto bytes = read_bytes(4, what);
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i) {
    word |= static_cast<std::uint32_t>(bytes[static_cast<std::size_t>(i)]) << (big_endian_ ? 24 - 8 * i : 8 * i);
  }
  return word;
}

std::uint16_t BinaryFile::read_half_word(std::string_view what) {
  const auto bytes = read_bytes(2, what);
  const int first = bytes[0];
  const int second = bytes[1];
  return static_cast<std::uint16_t>(big_endian_ ? first * 256 + second : second * 256 + first);
}

std::int32_t BinaryFile::read_count(std::string_view what) {
  const auto value = static_cast<std::int32_t>(read_word(what));
  if (value < 0) fail(std::string(what) + " is negative: " + std::to_string(value));
  return value;
}

std::string BinaryFile::read_until(char end, std::string_view what) {
  const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
  const auto to = std::find(from, bytes_.end(), static_cast<std::uint8_t>(end));
  if (to == bytes_.end()) {
    fail("truncated: " + std::string(what) + " at byte " + std::to_string(position_) + " has no end");
  }
  position_ += static_cast<std::size_t>(to - from) + 1;
  return std::string(from, to);
}

std::string BinaryFile::read_line(std::string_view what) { return read_until('\n', what); }

std::string BinaryFile::read_string(std::string_view what) { return read_until('\0', what); }

}  // namespace kivsr::speech
