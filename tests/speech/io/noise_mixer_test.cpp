// Noise in blocks and as a whole, of a file and of an array.
#include "kivsr/speech/io/noise_mixer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {

namespace {

// Read in blocks of lengths that grow, after another restart.
std::vector<float> in_blocks(NoiseStream& stream, std::size_t count) {
  std::vector<float> samples(count);
  stream.read(std::span(samples).first(count / 2));
  stream.restart();
  std::size_t block = 1;
  for (std::size_t place = 0; place < count; place += block, block = block * 3 + 1) {
    stream.read(std::span(samples).subspan(place, std::min(block, count - place)));
  }
  return samples;
}

TEST(NoiseStream, IsTheSameInBlocksAndAsAWhole) {
  for (const std::uint32_t seed : {0U, 1U, 77U}) {
    EXPECT_EQ(in_blocks(*white_noise_stream(seed), 9999), white_noise(9999, seed));
  }
  const TemporaryFolder folder;
  // Shorter than a block of the reader, longer, of another rate and of two channels.
  const std::filesystem::path files[] = {folder.write("short.wav", wav(whole(noise(700)), 16000, 1)),
                                         folder.write("long.wav", wav(whole(noise(40000)), 16000, 1)),
                                         folder.write("slow.wav", wav(whole(noise(20000)), 11025, 2))};
  for (const auto& file : files) {
    const std::vector<float> noise = read_audio_at(file, 16000).samples;
    for (const std::uint32_t seed : {1U, 2U, 3U}) {
      const auto stream = file_noise_stream(file, 16000, {}, seed);
      EXPECT_EQ(in_blocks(*stream, 100000), repeated_noise(noise, 100000, seed)) << file << seed;
    }
  }
}

TEST(MixLevels, TheRatioIsThatOfAllBlocksAndChannels) {
  const std::vector<std::vector<float>> channels = {noise(5000, 1), std::vector<float>(5000, 0.0F)};
  const std::vector<float> added = white_noise(5000, 4);
  MixLevels levels;
  for (std::size_t place = 0; place < 5000; place += 1000) {
    std::vector<std::vector<float>> block;
    for (const auto& channel : channels) {
      block.emplace_back(channel.data() + place, channel.data() + place + 1000);
    }
    levels.add(block, std::span(added).subspan(place, 1000));
  }
  double speech = 0.0;
  double noise = 0.0;
  for (const float sample : channels[0]) speech += double{sample} * sample;
  for (const float sample : added) noise += 2.0 * double{sample} * sample;
  EXPECT_NEAR(levels.factor(6.0), std::sqrt(speech / noise * std::pow(10.0, -0.6)), 1e-5 * std::sqrt(speech / noise));

  AudioChannels audio;
  audio.channels = channels;
  EXPECT_EQ(mix_noise(audio, added, 6.0), 0);
  EXPECT_FLOAT_EQ(audio.channels[1][17], levels.factor(6.0) * added[17]);
  EXPECT_THROW(MixLevels().factor(0.0), Fault);
}

}  // namespace

}  // namespace kivsr::speech::test
