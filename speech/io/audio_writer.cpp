#include "kivsr/speech/io/audio_writer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sndfile.h>
#include <unistd.h>

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

// What to try for audio of that sample format, the best first. What a lossy codec wrote has no more than 16 bits.
std::vector<int> candidates(int sample_format) {
  switch (sample_format) {
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_S8: return {sample_format, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW: return {sample_format, SF_FORMAT_PCM_16};
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE: return {sample_format, SF_FORMAT_PCM_24};
    default: return {SF_FORMAT_PCM_16};
  }
}

// libsndfile truncates where it clips: what it gets is rounded to nearest already.
float rounded(float sample, float step) { return step > 0.0F ? std::nearbyint(sample / step) * step : sample; }

SF_INFO format_of(const std::filesystem::path& name, int sample_rate, int channels, int sample_format) {
  SF_INFO info{};
  info.samplerate = sample_rate;
  info.channels = channels;
  for (const int candidate : candidates(sample_format)) {
    info.format = container(name) | candidate;
    if (sf_format_check(&info) != 0) return info;
  }
  throw Fault(name.string() + ": this format does not take " + std::to_string(info.channels) + " channels at " +
              std::to_string(info.samplerate) + " Hz");
}

}  // namespace

void check_audio_name(const std::filesystem::path& file) { container(file); }

// libsndfile writes through calls of our own: what it writes while it closes the file, the end of the sound and the
// header, may fail like the rest and must be known.
struct AudioWriter::Sound {
  Sound(int descriptor, SF_INFO info) : descriptor(descriptor) {
    SF_VIRTUAL_IO calls{length, seek, read, write, tell};
    file = sf_open_virtual(&calls, SFM_WRITE, &info, this);
  }
  Sound(const Sound&) = delete;
  Sound& operator=(const Sound&) = delete;
  ~Sound() { close(); }
  void close() {
    if (file != nullptr) sf_close(std::exchange(file, nullptr));
  }

  static Sound& self(void* data) { return *static_cast<Sound*>(data); }
  static sf_count_t length(void* data) { return lseek(self(data).descriptor, 0, SEEK_END); }
  static sf_count_t tell(void* data) { return self(data).position; }
  static sf_count_t seek(sf_count_t offset, int whence, void* data) {
    const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self(data).position : length(data);
    return self(data).position = from + offset;
  }
  static sf_count_t read(void* bytes, sf_count_t count, void* data) {
    const ssize_t taken = pread(self(data).descriptor, bytes, static_cast<std::size_t>(count), self(data).position);
    self(data).position += std::max<sf_count_t>(taken, 0);
    return std::max<sf_count_t>(taken, 0);
  }
  static sf_count_t write(const void* bytes, sf_count_t count, void* data) {
    Sound& sound = self(data);
    sf_count_t written = 0;
    while (written < count) {
      const ssize_t part = pwrite(sound.descriptor, static_cast<const char*>(bytes) + written,
                                  static_cast<std::size_t>(count - written), sound.position);
      if (part < 0 && errno == EINTR) continue;
      if (part < 0) sound.error = errno;
      if (part <= 0) break;
      written += part;
      sound.position += part;
    }
    return written;
  }

  int descriptor;
  sf_count_t position = 0;
  int error = 0;  // of a call that wrote
  SNDFILE* file = nullptr;
};

AudioWriter::AudioWriter(OutputFile& file, const std::filesystem::path& name, int sample_rate, int channels,
                         int sample_format)
    : name_(name) {
  const SF_INFO info = format_of(name, sample_rate, channels, sample_format);
  sound_ = std::make_unique<Sound>(file.descriptor(), info);
  if (sound_->file == nullptr) fail(sf_strerror(nullptr));
  sf_command(sound_->file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
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
      fail(sf_strerror(sound_->file));
    }
  }
}

void AudioWriter::finish() {
  sound_->close();
  if (sound_->error != 0) fail("");
}

void AudioWriter::fail(const char* reason) const {
  throw Fault(name_.string() + ": cannot be written: " + (sound_->error != 0 ? std::strerror(sound_->error) : reason));
}

void write_audio(OutputFile& file, const std::filesystem::path& name, const AudioChannels& audio) {
  AudioWriter writer(file, name, audio.sample_rate, static_cast<int>(audio.channels.size()), audio.sample_format);
  writer.append(audio.channels);
  writer.finish();
}

}  // namespace kivsr::speech
