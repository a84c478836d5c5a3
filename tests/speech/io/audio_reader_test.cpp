// Files longer than what is read at a time: nothing is lost, doubled or shifted where the blocks meet.
#include "kivsr/speech/io/audio_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <sndfile.h>

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
  AudioReader swapped(folder.write("swapped.raw", bytes_16(whole(tone(101.3, 16000, 100000)), true)));
  EXPECT_FALSE(swapped.read().empty());
  EXPECT_THROW(
      {
        while (!swapped.read().empty()) {
        }
      },
      Fault);
}

// A thread that writes the bytes into a pipe of that name, some at a time.
class PipeWriter {
 public:
  PipeWriter(const std::filesystem::path& pipe, std::string bytes, std::size_t at_once) {
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    thread_ = std::thread([=, bytes = std::move(bytes)] {
      std::ofstream file(pipe, std::ios::binary);
      for (std::size_t place = 0; place < bytes.size(); place += at_once) {
        file.write(bytes.data() + place, static_cast<std::streamsize>(std::min(at_once, bytes.size() - place)));
        file.flush();
      }
    });
  }
  ~PipeWriter() { thread_.join(); }

 private:
  std::thread thread_;
};

std::string with_sizes(std::string bytes, std::uint32_t riff, std::uint32_t data) {
  return bytes.replace(4, 4, little_endian(riff, 4)).replace(40, 4, little_endian(data, 4));
}

// As they come, however they are cut, whether the size is known or written as programs do that do not know it; what is
// behind the samples is left alone.
TEST(AudioReader, PipesAreReadAsTheyCome) {
  const TemporaryFolder folder;
  const auto values = whole(noise(40001));
  const std::string known = wav(values, 16000, 1);
  int number = 0;
  for (const std::size_t at_once : {777U, 4096U, 1000000U}) {
    for (const std::string& bytes :
         {known, with_sizes(known, 0xFFFFFFFFU, 0xFFFFFFFFU), with_sizes(known, 0, 0), with_sizes(known, 36, 0),
          with_sizes(known, 0x7FFFFFFFU, 0x7FFFFFFFU - 36), known + "LIST" + little_endian(4, 4) + "INFO"}) {
      const auto pipe = folder / std::to_string(number++);
      const PipeWriter writer(pipe, bytes, at_once);
      EXPECT_EQ(AudioReader::rate_of(pipe), 16000) << "and nothing of it is lost";
      const Audio audio = read_audio(pipe);
      ASSERT_TRUE(std::equal(values.begin(), values.end(), audio.samples.begin(), audio.samples.end())) << number;
    }
  }
  const PipeWriter raw(folder / "raw", bytes_16(values), 777);
  EXPECT_EQ(read_audio(folder / "raw", {.sample_rate = 8000}).samples.size(), values.size());
  const PipeWriter cut(folder / "cut", known.substr(0, known.size() - 1000), 5000);
  try {
    read_audio(folder / "cut");
    ADD_FAILURE();
  } catch (const Fault& fault) {
    EXPECT_NE(std::string(fault.what()).find("cut: truncated: 1000 bytes"), std::string::npos) << fault.what();
  }
}

// The first samples are there before the last are written.
TEST(AudioReader, APipeIsNotWaitedFor) {
  const TemporaryFolder folder;
  const auto pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::promise<void> first_came;
  std::thread program([&] {
    std::ofstream file(pipe, std::ios::binary);
    const std::string bytes = with_sizes(wav(whole(noise(2000)), 16000, 1), 0xFFFFFFFFU, 0xFFFFFFFFU);
    file.write(bytes.data(), 1044).flush();
    EXPECT_EQ(first_came.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    file.write(bytes.data() + 1044, static_cast<std::streamsize>(bytes.size() - 1044));
  });
  AudioReader reader(pipe);
  EXPECT_EQ(reader.read()[0].size(), 500U);
  first_came.set_value();
  while (!reader.read().empty()) {
  }
  EXPECT_EQ(reader.samples(), 2000);
  program.join();
}

// Every kind of plain samples, against libsndfile's reading of them; it is libsndfile that wrote them too.
TEST(AudioReader, PlainSamplesAreThoseOfTheLibraryThatWroteThem) {
  const TemporaryFolder folder;
  const auto file = folder / "a.wav";
  for (const int kind : std::initializer_list<int>{SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                                                   SF_FORMAT_PCM_32, SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE,
                                                   SF_FORMAT_WAVEX - SF_FORMAT_WAV + SF_FORMAT_PCM_24}) {
    for (const int channels : {1, 2, 5}) {
      SF_INFO info{};
      info.samplerate = 44100;
      info.channels = channels;
      info.format = SF_FORMAT_WAV + kind;
      SNDFILE* sound = sf_open(file.c_str(), SFM_WRITE, &info);
      ASSERT_NE(sound, nullptr) << kind;
      const auto samples = tone(441.3, 44100, 30000 * channels, 0.9);
      ASSERT_EQ(sf_writef_float(sound, samples.data(), 30000), 30000);
      sf_close(sound);
      sound = sf_open(file.c_str(), SFM_READ, &info);
      std::vector<float> expected(samples.size());
      ASSERT_EQ(sf_readf_float(sound, expected.data(), 30000), 30000);
      sf_close(sound);
      const AudioChannels audio = read_audio_channels(file);
      EXPECT_EQ(audio.sample_format, info.format & SF_FORMAT_SUBMASK);
      ASSERT_EQ(audio.channels.size(), static_cast<std::size_t>(channels));
      for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto channel = i % static_cast<std::size_t>(channels);
        ASSERT_EQ(audio.channels[channel].at(i / static_cast<std::size_t>(channels)), 32768.0F * expected[i]);
      }
    }
  }
}

// Samples that had 8 bits are as smooth one way as the other, or look swapped and may be right; of others the order
// must be said.
TEST(AudioReader, ByteOrderOfHeaderlessAudio) {
  const TemporaryFolder folder;
  std::vector<int> values = whole(tone(101.3, 16000, 20000));
  const auto swapped = folder.write("swapped.raw", bytes_16(values, true));
  EXPECT_THROW(read_audio(swapped), Fault);
  EXPECT_EQ(read_audio(swapped, {.order_is_known = true}).samples.size(), values.size());
  for (const int low : {0, 128}) {
    for (int& value : values) value = value / 256 * 256 + low;
    const Audio audio = read_audio(folder.write("eight.raw", bytes_16(values)));
    EXPECT_TRUE(std::equal(values.begin(), values.end(), audio.samples.begin(), audio.samples.end()));
  }
  // 160 values over and over.
  AudioReader eight(folder.write("other.raw", bytes_16(whole(tone(100.0, 16000, 20000)), true)));
  while (!eight.read().empty()) {
  }
  EXPECT_EQ(eight.samples(), 20000);
  EXPECT_NE(eight.remark().find("byte-swapped"), std::string::npos) << eight.remark();
}

}  // namespace
}  // namespace kivsr::speech::test
