// Signals and audio files made for the tests; the files are put together byte by byte, without the library that reads
// them.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace kivsr::speech::test {

inline std::vector<float> tone(double frequency, int rate, int count, double amplitude = 10000.0) {
  std::vector<float> samples(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) {
    samples[static_cast<std::size_t>(n)] =
        static_cast<float>(amplitude * std::sin(2.0 * std::numbers::pi * frequency * n / rate));
  }
  return samples;
}

// Whole numbers as a 16-bit file would hold them: noise whose level rises and falls.
inline std::vector<float> noise(int count, unsigned seed = 1) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal(0.0F, 800.0F);
  std::vector<float> samples(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) {
    samples[static_cast<std::size_t>(n)] =
        std::round(normal(generator) * (1.1F + std::sin(0.002F * static_cast<float>(n))));
  }
  return samples;
}

inline std::string bytes_16(const std::vector<int>& values, bool big_endian = false) {
  std::string bytes;
  for (const int value : values) {
    const auto low = static_cast<char>(static_cast<unsigned>(value) & 0xFFU);
    const auto high = static_cast<char>(static_cast<unsigned>(value) >> 8U & 0xFFU);
    bytes += big_endian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

inline std::string little_endian(std::uint32_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
  return bytes;
}

// A 16-bit WAV file; values interleave the channels.
inline std::string wav(const std::vector<int>& values, int rate, int channels) {
  const std::string data = bytes_16(values);
  const auto size = static_cast<std::uint32_t>(data.size());
  const auto block = static_cast<std::uint32_t>(2 * channels);
  return "RIFF" + little_endian(36 + size, 4) + "WAVEfmt " + little_endian(16, 4) + little_endian(1, 2) +
         little_endian(static_cast<std::uint32_t>(channels), 2) + little_endian(static_cast<std::uint32_t>(rate), 4) +
         little_endian(static_cast<std::uint32_t>(rate) * block, 4) + little_endian(block, 2) + little_endian(16, 2) +
         "data" + little_endian(size, 4) + data;
}

inline std::vector<int> whole(const std::vector<float>& samples) { return {samples.begin(), samples.end()}; }

}  // namespace kivsr::speech::test
