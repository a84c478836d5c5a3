#include "kivsr/speech/io/noise_mixer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kLargestSample = 32767.0F;

double energy(std::span<const float> samples) {
  double sum = 0.0;
  call<kivsDotProd_32f64f>(samples, samples, samples.size(), &sum);
  return sum;
}

}  // namespace

// G. E. P. Box, M. E. Muller, "A note on the generation of random normal deviates", 1958, of uniform numbers of the
// Mersenne twister; the distributions of the standard library may differ between machines.
std::vector<float> white_noise(std::size_t count, std::uint32_t seed) {
  std::mt19937 generator(seed);
  const auto uniform = [&] { return (generator() + 1.0) / 4294967296.0; };
  std::vector<float> noise(count);
  for (std::size_t i = 0; i < count; i += 2) {
    const double radius = std::sqrt(-2.0 * std::log(uniform()));
    const double angle = 2.0 * std::numbers::pi * uniform();
    noise[i] = static_cast<float>(radius * std::cos(angle));
    if (i + 1 < count) noise[i + 1] = static_cast<float>(radius * std::sin(angle));
  }
  return noise;
}

std::vector<float> repeated_noise(std::span<const float> noise, std::size_t count, std::uint32_t seed) {
  std::vector<float> repeated(count);
  std::size_t place = std::mt19937(seed)() % noise.size();
  for (float& sample : repeated) {
    sample = noise[place];
    place = place + 1 == noise.size() ? 0 : place + 1;
  }
  return repeated;
}

int mix_noise(AudioChannels& audio, std::span<const float> noise, double decibels) {
  double speech = 0.0;
  for (const auto& channel : audio.channels) speech += energy(channel);
  const double added = static_cast<double>(audio.channels.size()) * energy(noise);
  if (!(speech > 0.0)) throw Fault("the recording is silent: no signal-to-noise ratio");
  if (!(added > 0.0)) throw Fault("the noise is silent: no signal-to-noise ratio");
  std::vector<float> scaled(noise.begin(), noise.end());
  const int count = static_cast<int>(scaled.size());
  const auto factor = static_cast<float>(std::sqrt(speech / added * std::pow(10.0, -decibels / 10.0)));
  call<kivsMulC_32f_I>(factor, scaled, count);
  std::ptrdiff_t beyond = 0;
  for (auto& channel : audio.channels) {
    call<kivsAdd_32f_I>(scaled, channel, count);
    beyond +=
        std::count_if(channel.begin(), channel.end(), [](float sample) { return std::abs(sample) > kLargestSample; });
  }
  return static_cast<int>(beyond);
}

}  // namespace kivsr::speech
