// Noise added to a recording at a signal-to-noise ratio, the same for the same seed on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/io/audio_file.h"

namespace kivsr::speech {

// Samples without an end, the same after every restart.
class NoiseStream {
 public:
  virtual ~NoiseStream() = default;
  virtual void read(std::span<float> samples) = 0;
  virtual void restart() = 0;
};

// White Gaussian noise. Seed and place decide the samples.
std::unique_ptr<NoiseStream> white_noise_stream(std::uint32_t seed);
std::vector<float> white_noise(std::size_t count, std::uint32_t seed);

// The noise from a place that the seed chooses, over and over again: of a file, which is read as often as it takes (a
// pipe is kept, kept_pipe.h), mixed down and resampled; or count samples of an array.
std::unique_ptr<NoiseStream> file_noise_stream(const std::filesystem::path& file, int sample_rate, const RawFormat& raw,
                                               std::uint32_t seed);
std::vector<float> repeated_noise(std::span<const float> noise, std::size_t count, std::uint32_t seed);

// What is known of a recording and its noise once all of both was heard.
class MixLevels {
 public:
  // The next samples of all channels, and as many of the noise.
  void add(std::span<const std::vector<float>> channels, std::span<const float> noise);
  // Of the noise, so that the ratio of the energies over all channels is `decibels`. Throws Fault if either has none.
  float factor(double decibels) const;

 private:
  double speech_ = 0.0;
  double noise_ = 0.0;
};

// Adds noise, one channel, to every channel. Returns the number of samples that are beyond 16 bits then.
std::int64_t add_noise(std::span<std::vector<float>> channels, std::span<const float> noise, float factor);

// Both of a recording in memory.
std::int64_t mix_noise(AudioChannels& audio, std::span<const float> noise, double decibels);

}  // namespace kivsr::speech
