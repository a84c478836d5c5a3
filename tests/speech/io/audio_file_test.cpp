#include "kivsr/speech/io/audio_file.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <functional>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

TEST(AudioFile, ReadsIntegersExactlyAndAveragesChannels) {
  const TemporaryFolder folder;
  const Audio mono = read_audio(folder.write("mono.wav", wav({-32768, -1, 0, 1, 32767}, 16000, 1)));
  EXPECT_EQ(mono.samples, (std::vector<float>{-32768, -1, 0, 1, 32767}));
  EXPECT_EQ(mono.sample_rate, 16000);
  EXPECT_EQ(mono.file_channels, 1);

  const Audio stereo = read_audio(folder.write("stereo.wav", wav({100, 200, -3, 4, 32767, 32767}, 44100, 2)));
  EXPECT_EQ(stereo.samples, (std::vector<float>{150, 0.5F, 32767}));
  EXPECT_EQ(stereo.sample_rate, 44100);
  EXPECT_EQ(stereo.file_channels, 2);
}

TEST(AudioFile, ReadsFilesWithoutHeader) {
  const TemporaryFolder folder;
  const auto samples = noise(2000);
  const auto little = bytes_16(whole(samples));
  const auto big = bytes_16(whole(samples), true);
  EXPECT_EQ(read_audio(folder.write("a.raw", little)).samples, samples);
  EXPECT_EQ(read_audio(folder.write("b.RAW", little)).sample_rate, 16000);
  EXPECT_EQ(read_audio(folder.write("c.raw", little), {8000}).sample_rate, 8000);
  EXPECT_EQ(read_audio(folder.write("d.pcm", little), {16000}).samples, samples);
  EXPECT_EQ(read_audio(folder.write("e.raw", big), {0, true}).samples, samples);
  // A rate for files without header does not turn a header into samples.
  EXPECT_EQ(read_audio(folder.write("f.wav", wav({1, 2, 3}, 16000, 1)), {8000}).samples, (std::vector<float>{1, 2, 3}));
}

TEST(AudioFile, ResamplesOnRequest) {
  const TemporaryFolder folder;
  const auto file = folder.write("a.wav", wav(whole(tone(440.0, 48000, 4800)), 48000, 1));
  const Audio audio = read_audio_at(file, 16000);
  EXPECT_EQ(audio.sample_rate, 16000);
  EXPECT_EQ(audio.file_sample_rate, 48000);
  EXPECT_EQ(audio.samples.size(), 1600U);
  EXPECT_DOUBLE_EQ(audio.seconds(), 0.1);
}

void write_flac(const std::filesystem::path& file, const std::vector<float>& samples) {
  SF_INFO info{};
  info.samplerate = 16000;
  info.channels = 1;
  info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
  SNDFILE* const sound = sf_open(file.c_str(), SFM_WRITE, &info);
  ASSERT_NE(sound, nullptr);
  const std::vector<int> integers = whole(samples);
  std::vector<short> shorts(integers.begin(), integers.end());
  ASSERT_EQ(sf_write_short(sound, shorts.data(), static_cast<sf_count_t>(shorts.size())),
            static_cast<sf_count_t>(shorts.size()));
  sf_close(sound);
}

TEST(AudioFile, ReadsFlacAndNoticesACut) {
  const TemporaryFolder folder;
  const auto samples = noise(40000);
  write_flac(folder / "a.flac", samples);
  EXPECT_EQ(read_audio(folder / "a.flac").samples, samples);
  const std::string bytes = read_file(folder / "a.flac");
  EXPECT_THROW(read_audio(folder.write("cut.flac", bytes.substr(0, bytes.size() / 2))), Fault);
}

TEST(AudioFile, NamesFileAndFault) {
  const TemporaryFolder folder;
  const auto samples = noise(2000);
  const std::string whole_wav = wav(whole(samples), 16000, 1);
  std::string not_a_number = "RIFF" + little_endian(40, 4) + "WAVEfmt " + little_endian(16, 4) + little_endian(3, 2) +
                             little_endian(1, 2) + little_endian(16000, 4) + little_endian(64000, 4) +
                             little_endian(4, 2) + little_endian(32, 2) + "data" + little_endian(4, 4) +
                             little_endian(0x7FC00000U, 4);
  std::filesystem::create_directory(folder / "folder.wav");
  struct Case {
    std::filesystem::path file;
    std::string fault;
  };
  const Case cases[] = {
      {folder / "none.wav", "no such file"},
      {folder / "folder.wav", "is a folder"},
      {folder.write("empty.wav", ""), "cannot be read as audio"},
      {folder.write("text.wav", "no audio at all, only text"), "cannot be read as audio"},
      {folder.write("zero.wav", wav({}, 16000, 1)), "holds no samples"},
      {folder.write("zero.raw", ""), "holds no samples"},
      {folder.write("cut.wav", whole_wav.substr(0, whole_wav.size() - 1001)), "truncated: 1001 bytes"},
      {folder.write("header.wav", whole_wav.substr(0, 30)), "cannot be read as audio"},
      {folder.write("cut.raw", bytes_16({1, 2, 3}).substr(0, 5)), "truncated"},
      {folder.write("swapped.raw", bytes_16(whole(tone(301.3, 16000, 4000)), true)), "byte-swapped"},
      {folder.write("nan.wav", not_a_number), "not a number"},
  };
  for (const Case& item : cases) {
    try {
      read_audio(item.file);
      FAIL() << item.file << " was read";
    } catch (const Fault& fault) {
      const std::string message = fault.what();
      EXPECT_EQ(message.find(item.file.string() + ": "), 0U) << message;
      EXPECT_NE(message.find(item.fault), std::string::npos) << message;
      EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
  }
}

// Programs that write to a pipe cannot go back to fill in the size.
TEST(AudioFile, AcceptsWavFilesOfUnknownSize) {
  const TemporaryFolder folder;
  std::string bytes = wav({5, 6, 7}, 16000, 1);
  bytes.replace(4, 4, little_endian(0xFFFFFFFFU, 4)).replace(40, 4, little_endian(0xFFFFFFFFU, 4));
  EXPECT_EQ(read_audio(folder.write("pipe.wav", bytes)).samples, (std::vector<float>{5, 6, 7}));
}

}  // namespace
}  // namespace kivsr::speech::test
