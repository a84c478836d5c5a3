#include "kivsr/speech/io/binary_file.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBlock = 1 << 16;  // bytes that are read at a time

const std::filesystem::path& checked(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) throw Fault(file.string() + ": no such file");
  if (std::filesystem::is_directory(file, error)) throw Fault(file.string() + ": is a directory, not a file");
  return file;
}

std::ifstream opened(const std::filesystem::path& file) {
  std::ifstream stream(checked(file), std::ios::binary);
  if (!stream) throw Fault(file.string() + ": cannot be opened");
  return stream;
}

}  // namespace

std::vector<std::uint8_t> read_whole_file(const std::filesystem::path& file) {
  std::ifstream stream = opened(file);
  std::vector<std::uint8_t> bytes;
  std::size_t size = 0;
  while (stream) {
    bytes.resize(std::max(2 * size, kBlock));
    stream.read(reinterpret_cast<char*>(bytes.data() + size), static_cast<std::streamsize>(bytes.size() - size));
    size += static_cast<std::size_t>(stream.gcount());
  }
  if (stream.bad()) throw Fault(file.string() + ": cannot be read");
  bytes.resize(size);
  return bytes;
}

BinaryFile::BinaryFile(std::filesystem::path file)
    : file_(std::move(file)), content_(is_standard_stream(file_) ? file_ : checked(file_)) {}

void BinaryFile::fail(const std::string& message) const { throw Fault(name() + ": " + message); }

void BinaryFile::require(std::int64_t count, std::string_view what) const {
  const std::int64_t left = size() - position_;
  if (count <= left) return;
  fail("truncated: " + std::string(what) + " needs " + std::to_string(count) + " bytes at byte " +
       std::to_string(position_) + ", " + std::to_string(left) + " are left");
}

void BinaryFile::require_last(std::int64_t count, std::string_view what) const {
  require(count, what);
  if (position_ + count < size()) fail(std::to_string(size() - position_ - count) + " bytes left over at the end");
}

// So that many bytes lie ahead, which the file must hold.
void BinaryFile::fetch(std::size_t count) {
  if (ahead().size() >= count) return;
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(used_));
  used_ = 0;
  const std::size_t known = bytes_.size();
  const auto left = static_cast<std::size_t>(size() - position_) - known;
  bytes_.resize(known + std::min(left, std::max(count - known, kBlock)));
  const auto wanted = std::span(bytes_).subspan(known);
  if (content_.read(position_ + static_cast<std::int64_t>(known), wanted) != wanted.size()) fail("cannot be read");
}

std::span<const std::uint8_t> BinaryFile::read_bytes(std::int64_t count, std::string_view what) {
  require(count, what);
  fetch(static_cast<std::size_t>(count));
  const auto result = ahead().first(static_cast<std::size_t>(count));
  used_ += result.size();
  position_ += count;
  return result;
}

std::span<const std::uint8_t> BinaryFile::peek(std::size_t count) {
  const auto known =
      static_cast<std::size_t>(std::min<std::int64_t>(size() - position_, static_cast<std::int64_t>(count)));
  fetch(known);
  return ahead().first(known);
}

void BinaryFile::skip(std::int64_t count, std::string_view what) {
  require(count, what);
  used_ = static_cast<std::size_t>(
      std::min(static_cast<std::int64_t>(bytes_.size()), static_cast<std::int64_t>(used_) + count));
  position_ += count;
}

std::uint32_t BinaryFile::read_word(std::string_view what) {
  return static_cast<std::uint32_t>(bits_of(read_bytes(4, what), big_endian_));
}

std::uint16_t BinaryFile::read_half_word(std::string_view what) {
  return static_cast<std::uint16_t>(bits_of(read_bytes(2, what), big_endian_));
}

std::int32_t BinaryFile::read_count(std::string_view what) {
  const auto value = static_cast<std::int32_t>(read_word(what));
  if (value < 0) fail(std::string(what) + " is negative: " + std::to_string(value));
  return value;
}

std::string BinaryFile::read_until(char end, std::string_view what) {
  const auto left = static_cast<std::size_t>(size() - position_);
  for (std::size_t searched = 0;;) {
    const auto bytes = ahead();
    const auto to =
        std::find(bytes.begin() + static_cast<std::ptrdiff_t>(searched), bytes.end(), static_cast<std::uint8_t>(end));
    if (to != bytes.end()) {
      const std::string text(bytes.begin(), to);
      used_ += text.size() + 1;
      position_ += static_cast<std::int64_t>(text.size()) + 1;
      return text;
    }
    if (bytes.size() == left) {
      fail("truncated: " + std::string(what) + " at byte " + std::to_string(position_) + " has no end");
    }
    searched = bytes.size();
    fetch(std::min(left, std::max(2 * searched, kBlock)));
  }
}

std::string BinaryFile::read_line(std::string_view what) { return read_until('\n', what); }

std::string BinaryFile::read_string(std::string_view what) { return read_until('\0', what); }

}  // namespace kivsr::speech
