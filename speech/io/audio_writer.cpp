#include "kivsr/speech/io/audio_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <sndfile.h>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kIntegerUnit = 32768.0F;

int container(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".wav") return SF_FORMAT_WAV;
  if (extension == ".flac") return SF_FORMAT_FLAC;
  throw Fault(file.string() + ": audio is written to names that end in .wav or .flac");
}

// The distance of neighbouring values of a sample format in units of a 16-bit integer; 0: left to the library.
float step_of(int sample_format) {
  switch (sample_format) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 256.0F;
    case SF_FORMAT_PCM_16: return 1.0F;
    case SF_FORMAT_PCM_24: return 1.0F / 256.0F;
    default: return 0.0F;
  }
}

// libsndfile truncates where it clips: what it gets is rounded to nearest already.
float rounded(float sample, float step) { return step > 0.0F ? std::nearbyint(sample / step) * step : sample; }

}  // namespace

void check_audio_name(const std::filesystem::path& file) { container(file); }

struct AudioWriter::Sound {
  explicit Sound(SNDFILE* file) : file(file) {}
  Sound(const Sound&) = delete;
  Sound& operator=(const Sound&) = delete;
  ~Sound() { sf_close(file); }
  SNDFILE* file;
};

AudioWriter::AudioWriter(OutputFile& file, const std::filesystem::path& name, int sample_rate, int channels,
                         int sample_format)
    : name_(name) {
  SF_INFO info{};
  info.samplerate = sample_rate;
  info.channels = channels;
  for (const int candidate : {sample_format, static_cast<int>(SF_FORMAT_PCM_24)}) {
    info.format = container(name) | candidate;
    if (sf_format_check(&info) != 0) break;
  }
  if (sf_format_check(&info) == 0) {
    throw Fault(name.string() + ": this format does not take " + std::to_string(info.channels) + " channels at " +
                std::to_string(info.samplerate) + " Hz");
  }
  SNDFILE* const sound = sf_open_fd(file.descriptor(), SFM_WRITE, &info, SF_FALSE);
  if (sound == nullptr) throw Fault(name.string() + ": cannot be written: " + sf_strerror(nullptr));
  sound_ = std::make_unique<Sound>(sound);
  sf_command(sound, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  step_ = step_of(info.format & SF_FORMAT_SUBMASK);
}

AudioWriter::~AudioWriter() = default;

void AudioWriter::append(std::span<const std::vector<float>> channels) {
  const std::size_t length = channels.front().size();
  constexpr std::size_t kFrames = 4096;
  for (std::size_t begin = 0; begin < length; begin += kFrames) {
    const std::size_t count = std::min(kFrames, length - begin);
    block_.resize(count * channels.size());
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
      for (std::size_t i = 0; i < count; ++i) {
        block_[i * channels.size() + channel] = rounded(channels[channel][begin + i], step_) / kIntegerUnit;
      }
    }
    const auto frames = static_cast<sf_count_t>(count);
    if (sf_writef_float(sound_->file, block_.data(), frames) != frames) {
      throw Fault(name_.string() + ": cannot be written: " + sf_strerror(sound_->file));
    }
  }
}

void AudioWriter::finish() { sound_.reset(); }

void write_audio(OutputFile& file, const std::filesystem::path& name, const AudioChannels& audio) {
  AudioWriter writer(file, name, audio.sample_rate, static_cast<int>(audio.channels.size()), audio.sample_format);
  writer.append(audio.channels);
  writer.finish();
}

}  // namespace kivsr::speech
