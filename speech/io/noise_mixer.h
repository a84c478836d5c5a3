// Noise added to a recording at a signal-to-noise ratio, the same for the same seed on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/io/audio_file.h"

namespace kivsr::speech {

// White Gaussian noise. Seed and place decide the samples.
std::vector<float> white_noise(std::size_t count, std::uint32_t seed);

// The noise from a place that the seed chooses, over and over again, so that count samples come together.
std::vector<float> repeated_noise(std::span<const float> noise, std::size_t count, std::uint32_t seed);

// Adds noise, one channel, to every channel of the audio with the one factor that makes the ratio of their energies,
// over all channels and the whole length, `decibels`. Throws Fault if either has no energy. Returns the number of
// samples that are now beyond 16 bits.
int mix_noise(AudioChannels& audio, std::span<const float> noise, double decibels);

}  // namespace kivsr::speech
