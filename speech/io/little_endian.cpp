#include "kivsr/speech/io/little_endian.h"

#include <bit>

#include <zlib.h>

namespace kivsr::speech {

namespace {

std::uint32_t checksum(const void* bytes, std::size_t count) {
  return static_cast<std::uint32_t>(crc32_z(0, static_cast<const Bytef*>(bytes), count));
}

}  // namespace

std::uint32_t checksum_32(std::span<const std::uint8_t> bytes) { return checksum(bytes.data(), bytes.size()); }

std::uint32_t checksum_32(std::string_view text) { return checksum(text.data(), text.size()); }

void LittleEndianBytes::put_float(float value) { put_32(std::bit_cast<std::uint32_t>(value)); }

void LittleEndianBytes::put_double(double value) { append_bits(std::bit_cast<std::uint64_t>(value), 8, false, bytes_); }

}  // namespace kivsr::speech
