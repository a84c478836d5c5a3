#include "kivsr/speech/io/audio_writer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sndfile.h>
#include <unistd.h>

#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kIntegerUnit = 32768.0F;

int container(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".wav" || is_standard_stream(file)) return SF_FORMAT_WAV;
  if (extension == ".flac") return SF_FORMAT_FLAC;
  if (extension == ".raw") return SF_FORMAT_RAW;
  throw Fault(file.string() + ": audio is written to names that end in .wav, .flac or .raw");
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
std::vector<int> candidates(int container, int sample_format) {
  if (container == SF_FORMAT_RAW) return {SF_FORMAT_PCM_16};
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
  const int format = container(name);
  const bool fits = format != SF_FORMAT_RAW || channels == 1;
  for (const int candidate : candidates(format, sample_format)) {
    info.format = format | candidate;
    if (fits && sf_format_check(&info) != 0) return info;
  }
  throw Fault(name.string() + ": this format does not take " + std::to_string(info.channels) + " channels at " +
              std::to_string(info.samplerate) + " Hz");
}

}  // namespace

void check_audio_name(const std::filesystem::path& file) { container(file); }

// libsndfile writes through calls of our own: what it writes while it closes the file, the end of the sound and the
// header, may fail like the rest and must be known. Of a stream it believes that it can go back: what it would write
// over the head in the end is left out, and the head says from the start that the size is unknown.
struct AudioWriter::Sound {
  Sound(OutputFile& target, SF_INFO info) : output(target) {
    SF_VIRTUAL_IO calls{length, seek, read, write, tell};
    file = sf_open_virtual(&calls, SFM_WRITE, &info, this);
    if (file != nullptr && output.is_stream()) sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  }
  Sound(const Sound&) = delete;
  Sound& operator=(const Sound&) = delete;
  ~Sound() { close(); }
  void close() {
    closing = true;  // what comes then would be taken for sound
    if (file != nullptr) sf_close(std::exchange(file, nullptr));
  }

  static Sound& self(void* data) { return *static_cast<Sound*>(data); }
  static sf_count_t length(void* data) {
    return self(data).output.is_stream() ? self(data).streamed : lseek(self(data).output.descriptor(), 0, SEEK_END);
  }
  static sf_count_t tell(void* data) { return self(data).position; }
  static sf_count_t seek(sf_count_t offset, int whence, void* data) {
    const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self(data).position : length(data);
    return self(data).position = from + offset;
  }
  static sf_count_t read(void* bytes, sf_count_t count, void* data) {
    if (self(data).output.is_stream()) return 0;
    const ssize_t taken =
        pread(self(data).output.descriptor(), bytes, static_cast<std::size_t>(count), self(data).position);
    self(data).position += std::max<sf_count_t>(taken, 0);
    return std::max<sf_count_t>(taken, 0);
  }
  static sf_count_t write(const void* bytes, sf_count_t count, void* data) {
    Sound& sound = self(data);
    const std::string_view text(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
    return sound.output.is_stream() ? sound.write_on(text) : sound.write_at(text);
  }

  sf_count_t write_at(std::string_view text) {
    sf_count_t written = 0;
    while (!text.empty()) {
      const ssize_t part = pwrite(output.descriptor(), text.data(), text.size(), position);
      if (part < 0 && errno == EINTR) continue;
      if (part < 0) error = errno;
      if (part <= 0) break;
      text.remove_prefix(static_cast<std::size_t>(part));
      written += part;
      position += part;
    }
    return written;
  }

  // A fault must not pass through the C code of the library: it waits for whoever called that.
  sf_count_t write_on(std::string_view text) {
    const auto count = static_cast<sf_count_t>(text.size());
    position += count;
    if (position <= streamed || fault || closing) return count;
    try {
      output.write(streamed == 0 ? endless_head(text) : std::string(text));
      streamed = position;
    } catch (...) {
      fault = std::current_exception();
    }
    return count;
  }

  // The head of a WAV file with both of its sizes unknown; anything else as it is.
  static std::string endless_head(std::string_view text) {
    std::string head(text);
    constexpr std::size_t kFirstChunk = 12;
    if (head.size() < kFirstChunk || !head.starts_with("RIFF")) return head;
    head.replace(4, 4, 4, '\xFF');
    const std::size_t data = head.rfind("data");
    if (data != std::string::npos && data + 8 <= head.size()) head.replace(data + 4, 4, 4, '\xFF');
    return head;
  }

  OutputFile& output;
  sf_count_t position = 0;
  sf_count_t streamed = 0;
  bool closing = false;
  int error = 0;  // of a call that wrote
  std::exception_ptr fault;
  SNDFILE* file = nullptr;
};

AudioWriter::AudioWriter(OutputFile& file, const std::filesystem::path& name, int sample_rate, int channels,
                         int sample_format)
    : name_(name), file_(file) {
  const SF_INFO info = format_of(name, sample_rate, channels, sample_format);
  if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC) file.keep_until_commit();
  sound_ = std::make_unique<Sound>(file, info);
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
  if (sound_->fault) std::rethrow_exception(sound_->fault);
  if (file_.is_stream()) file_.flush();
}

void AudioWriter::finish() {
  sound_->close();
  if (sound_->fault) std::rethrow_exception(sound_->fault);
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
