#include "kivsr/speech/io/audio_file.h"

namespace kivsr::speech {

AudioChannels read_audio_channels(const std::filesystem::path& file, const RawFormat& raw) {
  AudioReader reader(file, raw);
  AudioChannels audio;
  audio.sample_rate = reader.sample_rate();
  audio.sample_format = reader.sample_format();
  audio.channels.resize(static_cast<std::size_t>(reader.channels()));
  for (auto block = reader.read(); !block.empty(); block = reader.read()) {
    for (std::size_t channel = 0; channel < block.size(); ++channel) {
      audio.channels[channel].insert(audio.channels[channel].end(), block[channel].begin(), block[channel].end());
    }
  }
  return audio;
}

namespace {

// sample_rate: 0 for that of the file.
Audio read_mono(const std::filesystem::path& file, int sample_rate, const RawFormat& raw) {
  MonoReader reader(file, sample_rate, raw);
  Audio audio;
  while (reader.read(audio.samples)) {
  }
  audio.file_channels = reader.file().channels();
  audio.file_sample_rate = reader.file().sample_rate();
  audio.sample_rate = sample_rate > 0 ? sample_rate : audio.file_sample_rate;
  return audio;
}

}  // namespace

Audio read_audio(const std::filesystem::path& file, const RawFormat& raw) { return read_mono(file, 0, raw); }

Audio read_audio_at(const std::filesystem::path& file, int sample_rate, const RawFormat& raw) {
  return read_mono(file, sample_rate, raw);
}

}  // namespace kivsr::speech
