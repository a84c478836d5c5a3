#include "kivsr/speech/io/audio_writer.h"

#include <string>
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

TEST(AudioWriter, RefusesOtherNames) {
  for (const char* name : {"a", "a.mp3", "a.wav.raw"}) EXPECT_THROW(check_audio_name(name), Fault) << name;
  EXPECT_NO_THROW(check_audio_name("a.Flac"));
}

}  // namespace
}  // namespace kivsr::speech::test
