// Files longer than what is read at a time: nothing is lost, doubled or shifted where the blocks meet.
#include "kivsr/speech/io/audio_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

TEST(AudioReader, BlocksJoinToTheWholeFile) {
  const TemporaryFolder folder;
  const auto values = whole(noise(300001));
  for (const int channels : {1, 3}) {
    const std::vector<int> kept(values.begin(), values.end() - static_cast<std::ptrdiff_t>(values.size()) % channels);
    AudioReader reader(folder.write("a.wav", wav(kept, 22050, channels)));
    EXPECT_EQ(reader.channels(), channels);
    int blocks = 0;
    std::size_t at = 0;
    for (auto block = reader.read(); !block.empty(); block = reader.read(), ++blocks) {
      ASSERT_EQ(block.size(), static_cast<std::size_t>(channels));
      for (std::size_t i = 0; i < block[0].size(); ++i) {
        for (const auto& channel : block) ASSERT_EQ(channel[i], static_cast<float>(kept[at++]));
      }
      EXPECT_EQ(reader.samples() * channels, static_cast<std::int64_t>(at));
    }
    EXPECT_EQ(at, kept.size());
    EXPECT_GT(blocks, 3);
    EXPECT_TRUE(reader.read().empty()) << "and stays at the end";
  }
}

TEST(MonoReader, IsTheResampledMeanOfTheChannels) {
  const TemporaryFolder folder;
  const auto values = whole(noise(300000));
  const auto file = folder.write("a.wav", wav(values, 11025, 2));
  std::vector<float> mean;
  for (std::size_t i = 0; i < values.size(); i += 2)
    mean.push_back(0.5F * static_cast<float>(values[i] + values[i + 1]));
  for (const int rate : {0, 8000, 16000}) {
    MonoReader reader(file, rate);
    std::vector<float> samples;
    std::size_t before = 0;
    for (; reader.read(samples); before = samples.size()) ASSERT_GT(samples.size(), before) << "true means more";
    EXPECT_EQ(samples.size(), before);
    EXPECT_EQ(samples, rate == 0 ? mean : resample(mean, 11025, rate)) << rate;
    EXPECT_EQ(reader.samples(), static_cast<std::int64_t>(samples.size()));
  }
}

// What only the end can show comes after the samples, as a fault and not as a shorter file.
TEST(AudioReader, FaultsAtTheEndAreNotTakenForTheEnd) {
  const TemporaryFolder folder;
  std::string bytes = bytes_16(whole(noise(100000)));
  bytes.pop_back();
  AudioReader cut(folder.write("cut.raw", bytes));
  EXPECT_FALSE(cut.read().empty());
  EXPECT_THROW(
      {
        while (!cut.read().empty()) {
        }
      },
      Fault);
  AudioReader swapped(folder.write("swapped.raw", bytes_16(whole(tone(100.0, 16000, 100000)), true)));
  EXPECT_FALSE(swapped.read().empty());
  EXPECT_THROW(
      {
        while (!swapped.read().empty()) {
        }
      },
      Fault);
}

// A complete file through a pipe, which has no size, is itself; and so it is for the next who looks.
TEST(AudioReader, PipesAreReadWholeAndMoreThanOnce) {
  const TemporaryFolder folder;
  const auto values = whole(noise(100001));
  const auto pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread program([&] { folder.write("pipe", wav(values, 16000, 1)); });
  for (int reader = 0; reader < 2; ++reader) {
    const Audio audio = read_audio(pipe);
    EXPECT_EQ(audio.sample_rate, 16000);
    EXPECT_TRUE(std::equal(values.begin(), values.end(), audio.samples.begin(), audio.samples.end()));
  }
  program.join();

  const auto cut = folder / "cut";
  ASSERT_EQ(mkfifo(cut.c_str(), 0600), 0);
  std::thread broken([&] {
    std::string bytes = wav(values, 16000, 1);
    bytes.resize(bytes.size() - 1000);
    folder.write("cut", bytes);
  });
  EXPECT_THROW(read_audio(cut), Fault);
  broken.join();
}

// Samples that had 8 bits are as smooth one way as the other; what looks swapped otherwise may be said to be right.
TEST(AudioReader, ByteOrderOfHeaderlessAudio) {
  const TemporaryFolder folder;
  std::vector<int> values = whole(tone(100.0, 16000, 20000));
  const auto swapped = folder.write("swapped.raw", bytes_16(values, true));
  EXPECT_THROW(read_audio(swapped), Fault);
  EXPECT_EQ(read_audio(swapped, {.order_is_known = true}).samples.size(), values.size());
  for (const int low : {0, 128}) {
    for (int& value : values) value = value / 256 * 256 + low;
    const Audio audio = read_audio(folder.write("eight.raw", bytes_16(values)));
    EXPECT_TRUE(std::equal(values.begin(), values.end(), audio.samples.begin(), audio.samples.end()));
  }
}

}  // namespace
}  // namespace kivsr::speech::test
