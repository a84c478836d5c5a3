// Numbers made of bytes and bytes of numbers, in either order, whatever the order of the machine.
// Next: io/little_endian.h, which gathers what a file will hold; io/binary_file.h, which reads one.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kivsr::speech {

// The number that up to 8 bytes are.
inline std::uint64_t bits_of(std::span<const std::uint8_t> bytes, bool big_endian = false) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bits |= std::uint64_t{bytes[big_endian ? bytes.size() - 1 - i : i]} << (8 * i);
  }
  return bits;
}

// Appends the lowest bytes of a number.
inline void append_bits(std::uint64_t bits, int count, bool big_endian, std::string& bytes) {
  char own[8];
  for (int i = 0; i < count; ++i) {
    own[i] = static_cast<char>(bits >> (8 * (big_endian ? count - 1 - i : i)) & 0xFFU);
  }
  bytes.append(own, static_cast<std::size_t>(count));
}

// The number that the same bytes are the other way round.
template <std::unsigned_integral T>
constexpr T bytes_reversed(T number) {
  std::uint64_t result = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) result = result << 8U | (std::uint64_t{number} >> (8 * i) & 0xFFU);
  return static_cast<T>(result);
}

}  // namespace kivsr::speech
