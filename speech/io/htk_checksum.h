// The checksum of 16 bits behind the values of an HTK file of a kind with _K. The description of the format does not
// say which one, so that a file is written with the first of these and read with any of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "kivsr/speech/io/byte_order.h"

namespace kivsr::speech {

// The usual cyclic redundancy checks of 16 bits, of the polynomials of CCITT and of IBM.
class HtkChecksums {
 public:
  void add(std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
      for (std::size_t i = 0; i < kChecks.size(); ++i) sums_[i] = step(kChecks[i], sums_[i], byte);
    }
  }
  std::uint16_t written() const { return sums_[0]; }
  // In either byte order.
  bool fit(std::uint16_t stored) const {
    const auto swapped = bytes_reversed(stored);
    for (const std::uint16_t sum : sums_) {
      if (sum == stored || sum == swapped) return true;
    }
    return false;
  }

 private:
  struct Check {
    std::uint16_t polynomial;
    bool lowest_bit_first;
    std::uint16_t start;
  };
  static constexpr std::array<Check, 6> kChecks{{{0x8408, true, 0},
                                                 {0x8408, true, 0xFFFF},
                                                 {0x1021, false, 0},
                                                 {0x1021, false, 0xFFFF},
                                                 {0xA001, true, 0},
                                                 {0x8005, false, 0}}};

  static std::uint16_t step(const Check& check, unsigned sum, std::uint8_t byte) {
    sum ^= check.lowest_bit_first ? byte : static_cast<unsigned>(byte) << 8U;
    for (int bit = 0; bit < 8; ++bit) {
      if (check.lowest_bit_first) {
        sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? check.polynomial : 0U);
      } else {
        sum = (sum << 1U & 0xFFFFU) ^ ((sum & 0x8000U) != 0 ? check.polynomial : 0U);
      }
    }
    return static_cast<std::uint16_t>(sum);
  }

  std::array<std::uint16_t, 6> sums_{0, 0xFFFF, 0, 0xFFFF, 0, 0};
};

}  // namespace kivsr::speech
