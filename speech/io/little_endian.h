// Numbers as little-endian bytes, and the CRC-32 of what was put so far. Next: io/binary_file.h, which reads them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "kivsr/speech/io/byte_order.h"

namespace kivsr::speech {

// CRC-32 of IEEE 802.3 (that of zlib and gzip).
std::uint32_t checksum_32(std::span<const std::uint8_t> bytes);
std::uint32_t checksum_32(std::string_view text);

class LittleEndianBytes {
 public:
  void put_text(std::string_view text) { bytes_ += text; }
  void put_8(std::uint32_t value) { append_bits(value, 1, false, bytes_); }
  void put_16(std::uint32_t value) { append_bits(value, 2, false, bytes_); }
  void put_32(std::uint32_t value) { append_bits(value, 4, false, bytes_); }
  void put_float(float value);
  void put_double(double value);
  void put_bytes(std::span<const std::uint8_t> bytes) { bytes_.append(bytes.begin(), bytes.end()); }

  std::uint32_t checksum() const { return checksum_32(bytes_); }
  std::string_view text() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace kivsr::speech
