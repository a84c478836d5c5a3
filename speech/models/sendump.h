// Mixture weights in 8 bits ("sendump"): strings with their lengths describe the content, then one byte a weight,
// [stream][Gaussian][state]. A byte b stands for the log weight -b * 1024 * ln(1.0001).
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace kivsr::speech {

struct PackedWeights {
  int streams = 0;
  int densities = 0;
  int states = 0;
  std::vector<std::uint8_t> bytes;  // [stream][Gaussian][state], packed

  float log_weight(int stream, int density, int state) const;
};

PackedWeights read_sendump(const std::filesystem::path& file);

}  // namespace kivsr::speech
