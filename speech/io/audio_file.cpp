#include "kivsr/speech/io/audio_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include <sndfile.h>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/resampler.h"

namespace kivsr::speech {

namespace {

constexpr int kDefaultRawRate = 16000;
constexpr float kIntegerUnit = 32768.0F;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
  throw Fault(file.string() + ": " + what);
}

struct CloseSound {
  void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;

bool is_raw(const std::filesystem::path& file, const RawFormat& raw) {
  const std::string extension = lower_extension(file);
  if (extension == ".raw") return true;
  if (raw.sample_rate <= 0) return false;
  SF_INFO info{};
  return !Sound(sf_open(file.c_str(), SFM_READ, &info)) && sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT;
}

std::uint32_t little_endian_32(const unsigned char* bytes) {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8U | static_cast<std::uint32_t>(bytes[2]) << 16U |
         static_cast<std::uint32_t>(bytes[3]) << 24U;
}

// Bytes of sound that the header of a RIFF file promises beyond those that the file holds. libsndfile silently takes
// what is there. Programs that write to a pipe leave a size of 0 or nearly 2^31 or 2^32, which promises nothing.
std::uint64_t missing_riff_bytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::array<unsigned char, 12> header{};
  if (!stream.read(reinterpret_cast<char*>(header.data()), 12) || std::memcmp(header.data(), "RIFF", 4) != 0) return 0;
  std::error_code error;
  const std::uint64_t file_size = std::filesystem::file_size(file, error);
  std::uint64_t position = 12;
  while (!error && stream.seekg(static_cast<std::streamoff>(position)) &&
         stream.read(reinterpret_cast<char*>(header.data()), 8)) {
    const std::uint64_t size = little_endian_32(header.data() + 4);
    position += 8;
    if (std::memcmp(header.data(), "data", 4) == 0) {
      return size >= 0x7FFF0000U || position + size <= file_size ? 0 : position + size - file_size;
    }
    position += size + (size & 1U);
  }
  return 0;
}

// Speech changes little from one sample to the next; with its bytes swapped it is noise. True if the samples would be
// far smoother with their bytes the other way round.
bool looks_byte_swapped(const std::vector<std::int16_t>& samples) {
  const auto swap = [](std::int16_t value) {
    const auto bits = static_cast<std::uint16_t>(value);
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(bits << 8U | bits >> 8U));
  };
  double as_read = 0.0;
  double swapped = 0.0;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    as_read += std::abs(static_cast<double>(samples[i]) - samples[i - 1]);
    swapped += std::abs(static_cast<double>(swap(samples[i])) - swap(samples[i - 1]));
  }
  return samples.size() >= 1000 && as_read > 8.0 * swapped;
}

AudioChannels read_raw(const std::filesystem::path& file, const RawFormat& raw) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) fail(file, std::string("cannot be read: ") + std::strerror(errno));
  std::vector<std::int16_t> samples;
  std::array<unsigned char, 1 << 16> block{};
  for (;;) {
    stream.read(reinterpret_cast<char*>(block.data()), block.size());
    const auto count = static_cast<std::size_t>(stream.gcount());
    if (count % 2 != 0) fail(file, "truncated: an odd number of bytes for 16-bit samples");
    for (std::size_t i = 0; i < count; i += 2) {
      const unsigned low = block[i + (raw.big_endian ? 1 : 0)];
      const unsigned high = block[i + (raw.big_endian ? 0 : 1)];
      samples.push_back(static_cast<std::int16_t>(static_cast<std::uint16_t>(high << 8U | low)));
    }
    if (count < block.size()) break;
  }
  if (stream.bad()) fail(file, "cannot be read to its end");
  if (samples.empty()) fail(file, "holds no samples");
  if (looks_byte_swapped(samples)) {
    fail(file,
         raw.big_endian ? "byte-swapped: the samples are little-endian" : "byte-swapped: the samples are big-endian");
  }

  AudioChannels audio;
  audio.channels.emplace_back(samples.begin(), samples.end());
  audio.sample_rate = raw.sample_rate > 0 ? raw.sample_rate : kDefaultRawRate;
  audio.sample_format = SF_FORMAT_PCM_16;
  return audio;
}

AudioChannels read_sound_file(const std::filesystem::path& file) {
  SF_INFO info{};
  const Sound sound(sf_open(file.c_str(), SFM_READ, &info));
  if (!sound) {
    std::string reason = sf_strerror(nullptr);
    while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) reason.pop_back();
    fail(file, "cannot be read as audio: " + reason);
  }
  if (info.channels < 1 || info.samplerate < 1) fail(file, "names no channels or no sampling rate");
  if (const std::uint64_t missing = missing_riff_bytes(file); missing != 0) {
    fail(file, "truncated: " + std::to_string(missing) + " bytes of sound are missing");
  }

  AudioChannels audio;
  audio.sample_rate = info.samplerate;
  audio.sample_format = info.format & SF_FORMAT_SUBMASK;
  const auto channels = static_cast<std::size_t>(info.channels);
  audio.channels.resize(channels);
  const std::size_t frames_at_once = std::max<std::size_t>(1, 65536 / channels);
  std::vector<float> block(frames_at_once * channels);
  sf_count_t total = 0;
  for (;;) {
    const sf_count_t count = sf_readf_float(sound.get(), block.data(), static_cast<sf_count_t>(frames_at_once));
    if (count <= 0) break;
    total += count;
    if (total > INT_MAX) fail(file, "too long: more than 2^31 samples");
    for (std::size_t channel = 0; channel < channels; ++channel) {
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const float sample = block[i * channels + channel];
        if (!std::isfinite(sample)) {
          fail(file, "holds a sample that is not a number, at " + std::to_string(audio.channels[channel].size()));
        }
        audio.channels[channel].push_back(sample * kIntegerUnit);
      }
    }
  }
  if (sf_error(sound.get()) != SF_ERR_NO_ERROR) fail(file, std::string("damaged: ") + sf_strerror(sound.get()));
  if (info.frames != SF_COUNT_MAX && total < info.frames) {
    fail(file, "truncated: " + std::to_string(total) + " of " + std::to_string(info.frames) + " samples");
  }
  if (total == 0) fail(file, "holds no samples");
  return audio;
}

std::vector<float> mix_down(std::vector<std::vector<float>>& channels) {
  std::vector<float> samples = std::move(channels.front());
  const int count = static_cast<int>(samples.size());
  for (std::size_t channel = 1; channel < channels.size(); ++channel) {
    check(kivsAdd_32f_I(channels[channel].data(), samples.data(), count), "kivsAdd_32f_I");
  }
  if (channels.size() > 1) {
    check(kivsMulC_32f_I(1.0F / static_cast<float>(channels.size()), samples.data(), count), "kivsMulC_32f_I");
  }
  return samples;
}

}  // namespace

AudioChannels read_audio_channels(const std::filesystem::path& file, const RawFormat& raw) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) fail(file, "no such file");
  if (std::filesystem::is_directory(status)) fail(file, "is a folder, not an audio file");
  return is_raw(file, raw) ? read_raw(file, raw) : read_sound_file(file);
}

Audio read_audio(const std::filesystem::path& file, const RawFormat& raw) {
  AudioChannels channels = read_audio_channels(file, raw);
  Audio audio;
  audio.file_channels = static_cast<int>(channels.channels.size());
  audio.file_sample_rate = audio.sample_rate = channels.sample_rate;
  audio.samples = mix_down(channels.channels);
  return audio;
}

Audio read_audio_at(const std::filesystem::path& file, int sample_rate, const RawFormat& raw) {
  Audio audio = read_audio(file, raw);
  if (audio.sample_rate == sample_rate) return audio;
  try {
    audio.samples = resample(audio.samples, audio.sample_rate, sample_rate);
  } catch (const Fault& fault) {
    fail(file, fault.what());
  }
  audio.sample_rate = sample_rate;
  return audio;
}

}  // namespace kivsr::speech
