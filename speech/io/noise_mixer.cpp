#include "kivsr/speech/io/noise_mixer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>
#include <random>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kept_pipe.h"

namespace kivsr::speech {

namespace {

constexpr float kLargestSample = 32767.0F;

double energy(std::span<const float> samples) {
  double sum = 0.0;
  call<kivsDotProd_32f64f>(samples, samples, samples.size(), &sum);
  return sum;
}

class WhiteNoise : public NoiseStream {
 public:
  explicit WhiteNoise(std::uint32_t seed) : seed_(seed), generator_(seed) {}

  void restart() override {
    generator_.seed(seed_);
    has_second_ = false;
  }

  void read(std::span<float> samples) override {
    for (float& sample : samples) sample = next();
  }

 private:
  // G. E. P. Box, M. E. Muller, "A note on the generation of random normal deviates", 1958, of uniform numbers of the
  // Mersenne twister; the distributions of the standard library may differ between machines.
  float next() {
    has_second_ = !has_second_;
    if (!has_second_) return second_;
    const auto uniform = [&] { return (generator_() + 1.0) / 4294967296.0; };
    const double radius = std::sqrt(-2.0 * std::log(uniform()));
    const double angle = 2.0 * std::numbers::pi * uniform();
    second_ = static_cast<float>(radius * std::sin(angle));
    return static_cast<float>(radius * std::cos(angle));
  }

  std::uint32_t seed_;
  std::mt19937 generator_;
  float second_ = 0.0F;
  bool has_second_ = false;
};

std::uint64_t length_of(const std::filesystem::path& file, int sample_rate, const RawFormat& raw) {
  MonoReader reader(file, sample_rate, raw);
  while (!reader.read().empty()) {
  }
  if (reader.samples() == 0) throw Fault(input_name(file) + ": too short for noise");
  return static_cast<std::uint64_t>(reader.samples());
}

class FileNoise : public NoiseStream {
 public:
  FileNoise(const std::filesystem::path& file, int sample_rate, const RawFormat& raw, std::uint32_t seed)
      : file_(file), raw_(raw), sample_rate_(sample_rate) {
    keep_pipe(file);
    begin_ = static_cast<std::int64_t>(std::mt19937(seed)() % length_of(file, sample_rate, raw));
    restart();
  }

  void restart() override {
    reader_.emplace(file_, sample_rate_, raw_);
    left_ = {};
    for (std::int64_t skipped = 0; skipped < begin_;) {
      if (left_.empty()) left_ = reader_->read();
      const auto part =
          static_cast<std::size_t>(std::min<std::int64_t>(begin_ - skipped, static_cast<std::int64_t>(left_.size())));
      left_ = left_.subspan(part);
      skipped += static_cast<std::int64_t>(part);
    }
  }

  void read(std::span<float> samples) override {
    while (!samples.empty()) {
      if (left_.empty()) left_ = reader_->read();
      if (left_.empty()) left_ = reader_.emplace(file_, sample_rate_, raw_).read();
      const std::size_t part = std::min(left_.size(), samples.size());
      std::copy_n(left_.begin(), part, samples.begin());
      left_ = left_.subspan(part);
      samples = samples.subspan(part);
    }
  }

 private:
  std::filesystem::path file_;
  RawFormat raw_;
  int sample_rate_;
  std::int64_t begin_ = 0;
  std::optional<MonoReader> reader_;
  std::span<const float> left_;  // of the reader's block
};

}  // namespace

std::unique_ptr<NoiseStream> white_noise_stream(std::uint32_t seed) { return std::make_unique<WhiteNoise>(seed); }

std::unique_ptr<NoiseStream> file_noise_stream(const std::filesystem::path& file, int sample_rate, const RawFormat& raw,
                                               std::uint32_t seed) {
  return std::make_unique<FileNoise>(file, sample_rate, raw, seed);
}

std::vector<float> white_noise(std::size_t count, std::uint32_t seed) {
  std::vector<float> noise(count);
  WhiteNoise(seed).read(noise);
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

void MixLevels::add(std::span<const std::vector<float>> channels, std::span<const float> noise) {
  for (const auto& channel : channels) speech_ += energy(channel);
  noise_ += static_cast<double>(channels.size()) * energy(noise);
}

float MixLevels::factor(double decibels) const {
  if (!(speech_ > 0.0)) throw Fault("the recording is silent: no signal-to-noise ratio");
  if (!(noise_ > 0.0)) throw Fault("the noise is silent: no signal-to-noise ratio");
  return static_cast<float>(std::sqrt(speech_ / noise_ * std::pow(10.0, -decibels / 10.0)));
}

std::int64_t add_noise(std::span<std::vector<float>> channels, std::span<const float> noise, float factor) {
  std::vector<float> scaled(noise.begin(), noise.end());
  call<kivsMulC_32f_I>(factor, scaled, scaled.size());
  std::int64_t beyond = 0;
  for (auto& channel : channels) {
    call<kivsAdd_32f_I>(scaled, channel, scaled.size());
    beyond +=
        std::count_if(channel.begin(), channel.end(), [](float sample) { return std::abs(sample) > kLargestSample; });
  }
  return beyond;
}

std::int64_t mix_noise(AudioChannels& audio, std::span<const float> noise, double decibels) {
  MixLevels levels;
  levels.add(audio.channels, noise);
  return add_noise(audio.channels, noise, levels.factor(decibels));
}

}  // namespace kivsr::speech
