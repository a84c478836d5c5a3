// Mixture weights in few bits ("sendump"): strings with their lengths describe the content, then the weights,
// [stream][Gaussian][state]. A byte b stands for the log weight -b * 1024 * ln(1.0001). They are bytes themselves, or
// numbers of 4 bits, the first of two states in the low half, each of which stands for one of 16 bytes before them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace kivsr::speech {

struct PackedWeights {
  int streams = 0;
  int densities = 0;
  int states = 0;
  std::vector<std::uint8_t> bytes;  // [stream][Gaussian][state], packed

  const std::uint8_t* row(std::size_t stream, std::size_t density) const {
    return bytes.data() + (stream * static_cast<std::size_t>(densities) + density) * static_cast<std::size_t>(states);
  }
  // Of every value that a byte can have.
  std::vector<float> log_weights() const;
  float log_weight(int stream, int density, int state) const;
};

PackedWeights read_sendump(const std::filesystem::path& file);

}  // namespace kivsr::speech
