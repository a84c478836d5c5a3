// Numbers as little-endian bytes, whatever the order of the machine, and the CRC-32 of what was put so far.
// Next: io/binary_file.h, which reads them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kivsr::speech {

// CRC-32 of IEEE 802.3 (that of zlib and gzip).
std::uint32_t checksum_32(std::span<const std::uint8_t> bytes);
std::uint32_t checksum_32(std::string_view text);

// The number that up to 8 bytes are, the lowest first.
inline std::uint64_t little_endian_bits(std::span<const std::uint8_t> bytes) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) bits |= std::uint64_t{bytes[i]} << (8 * i);
  return bits;
}

class LittleEndianBytes {
 public:
  void put_text(std::string_view text) { bytes_ += text; }
  void put_8(std::uint32_t value) { put(value, 1); }
  void put_16(std::uint32_t value) { put(value, 2); }
  void put_32(std::uint32_t value) { put(value, 4); }
  void put_float(float value);
  void put_double(double value);
  void put_bytes(std::span<const std::uint8_t> bytes) { bytes_.append(bytes.begin(), bytes.end()); }

  std::uint32_t checksum() const { return checksum_32(bytes_); }
  std::string_view text() const { return bytes_; }

 private:
  void put(std::uint64_t value, int count);

  std::string bytes_;
};

}  // namespace kivsr::speech
