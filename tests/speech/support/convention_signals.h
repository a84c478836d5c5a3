// Four short recordings at 16 kHz on which toolkits are compared; scripts/conventions makes the same.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {

struct ConventionSignal {
  std::string name;
  std::vector<float> samples;  // whole numbers of 16 bits
};

// Speech, silence with single steps of the converter, the speech clipped, and noise over half the range.
inline std::array<ConventionSignal, 4> convention_signals() {
  constexpr std::size_t kLength = 4800;
  constexpr std::size_t kFirst = 10000;
  const std::string bytes = read_file("/usr/share/pocketsphinx/test/data/goforward.raw");
  std::array<ConventionSignal, 4> signals{{{"speech", {}}, {"silence", {}}, {"clipping", {}}, {"noise", {}}}};
  std::uint32_t state = 1;
  for (std::size_t n = 0; n < kLength && 2 * (kFirst + kLength) <= bytes.size(); ++n) {
    const auto low = static_cast<unsigned char>(bytes[2 * (kFirst + n)]);
    const auto high = static_cast<signed char>(bytes[2 * (kFirst + n) + 1]);
    const int sample = high * 256 + low;
    state = state * 1664525U + 1013904223U;
    signals[0].samples.push_back(static_cast<float>(sample));
    signals[1].samples.push_back(n >= 2400 && n % 800 == 0 ? 1.0F : 0.0F);
    signals[2].samples.push_back(static_cast<float>(std::clamp(30 * sample, -32768, 32767)));
    signals[3].samples.push_back(static_cast<float>(static_cast<int>(state >> 17U) - 16384));
  }
  return signals;
}

}  // namespace kivsr::speech::test
