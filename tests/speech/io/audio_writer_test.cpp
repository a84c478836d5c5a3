#include "kivsr/speech/io/audio_writer.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

AudioChannels through_file(const AudioChannels& audio, const std::string& name) {
  const TemporaryFolder folder;
  OutputFile file(folder / name);
  write_audio(file, folder / name, audio);
  file.commit();
  return read_audio_channels(folder / name);
}

TEST(AudioWriter, KeepsSamplesRateChannelsAndSampleFormat) {
  AudioChannels audio{{noise(5000, 1), noise(5000, 2), noise(5000, 3)}, 44100, SF_FORMAT_PCM_16};
  for (const char* name : {"a.wav", "a.flac", "a.WAV"}) {
    const AudioChannels read = through_file(audio, name);
    EXPECT_EQ(read.channels, audio.channels) << name;
    EXPECT_EQ(read.sample_rate, 44100) << name;
    EXPECT_EQ(read.sample_format, SF_FORMAT_PCM_16) << name;
  }
  for (float& sample : audio.channels[1]) sample += 0.25F;
  audio.sample_format = SF_FORMAT_FLOAT;
  EXPECT_EQ(through_file(audio, "a.wav").channels, audio.channels);
  const AudioChannels flac = through_file(audio, "a.flac");
  EXPECT_EQ(flac.channels, audio.channels);
  EXPECT_EQ(flac.sample_format, SF_FORMAT_PCM_24);
}

TEST(AudioWriter, RoundsToNearest) {
  for (const auto& [sample_format, step] : {std::pair(SF_FORMAT_PCM_16, 1.0F), std::pair(SF_FORMAT_PCM_24, 0.00390625F),
                                            std::pair(SF_FORMAT_PCM_U8, 256.0F)}) {
    const AudioChannels audio{{{-2.4F * step, -0.6F * step, 0.4F * step, 1.6F * step}}, 16000, sample_format};
    EXPECT_EQ(through_file(audio, "a.wav").channels[0], (std::vector<float>{-2.0F * step, -step, 0.0F, 2.0F * step}));
  }
}

TEST(AudioWriter, ClipsWhatDoesNotFit) {
  const AudioChannels audio{{{40000.0F, -40000.0F, 32767.0F, 1.0F}}, 16000, SF_FORMAT_PCM_16};
  EXPECT_EQ(through_file(audio, "a.wav").channels[0], (std::vector<float>{32767.0F, -32768.0F, 32767.0F, 1.0F}));
}

// What a codec that loses wrote goes into 16 bits; 8 bits stay 8 bits where they can.
TEST(AudioWriter, TakesASampleFormatThatTheFileKnows) {
  for (const auto& [sample_format, name, expected] :
       {std::tuple(SF_FORMAT_MPEG_LAYER_III, "a.wav", SF_FORMAT_PCM_16),
        std::tuple(SF_FORMAT_VORBIS, "a.flac", SF_FORMAT_PCM_16),
        std::tuple(SF_FORMAT_GSM610, "a.flac", SF_FORMAT_PCM_16), std::tuple(SF_FORMAT_ULAW, "a.wav", SF_FORMAT_ULAW),
        std::tuple(SF_FORMAT_ULAW, "a.flac", SF_FORMAT_PCM_16),
        std::tuple(SF_FORMAT_PCM_U8, "a.flac", SF_FORMAT_PCM_S8),
        std::tuple(SF_FORMAT_PCM_S8, "a.wav", SF_FORMAT_PCM_U8)}) {
    const AudioChannels audio{{std::vector<float>(2000, 512.0F)}, 16000, sample_format};
    const AudioChannels read = through_file(audio, name);
    EXPECT_EQ(read.sample_format, expected) << name << " " << sample_format;
    EXPECT_NEAR(read.channels[0][1000], 512.0F, 16.0F);
  }
}

// libsndfile writes the end of the sound while it closes the file: no room for it must not go unnoticed.
TEST(AudioWriter, NoRoomIsAFaultAtTheEndToo) {
  for (const char* name : {"a.wav", "a.flac"}) {
    const TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit{100, 100};
      setrlimit(RLIMIT_FSIZE, &limit);
      int status = 1;
      try {
        OutputFile file(folder / name);
        AudioWriter writer(file, folder / name, 16000, 1, SF_FORMAT_PCM_16);
        writer.append(std::vector<std::vector<float>>{noise(1000, 1)});
        writer.finish();
        file.commit();
      } catch (const Fault& fault) {
        status = std::string(fault.what()).find("cannot be written: File too large") != std::string::npos ? 0 : 2;
      }
      _exit(status);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << name;
    EXPECT_TRUE(folder.names().empty()) << name;
  }
}

TEST(AudioWriter, RefusesOtherNames) {
  for (const char* name : {"a", "a.mp3", "a.wav.bin"}) EXPECT_THROW(check_audio_name(name), Fault) << name;
  EXPECT_NO_THROW(check_audio_name("a.Flac"));
}

}  // namespace
}  // namespace kivsr::speech::test
