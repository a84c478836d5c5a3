#include "kivsr/speech/io/audio_reader.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>

#include <sndfile.h>
#include <unistd.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/seekable_file.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBlock = 65536;  // samples of all channels that are read at a time
constexpr int kDefaultRawRate = 16000;
constexpr float kIntegerUnit = 32768.0F;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
  throw Fault(file.string() + ": " + what);
}

struct CloseSound {
  void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;

std::uint32_t little_endian_32(const unsigned char* bytes) {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8U | static_cast<std::uint32_t>(bytes[2]) << 16U |
         static_cast<std::uint32_t>(bytes[3]) << 24U;
}

// Bytes of sound that the header of a RIFF file promises beyond those that the file holds. libsndfile silently takes
// what is there. Programs that write to a pipe leave a size of 0 or nearly 2^31 or 2^32, which promises nothing.
std::uint64_t missing_riff_bytes(const SeekableFile& file) {
  std::array<unsigned char, 12> header{};
  if (file.read(0, header) < 12 || std::memcmp(header.data(), "RIFF", 4) != 0) return 0;
  const auto file_size = static_cast<std::uint64_t>(file.size());
  std::uint64_t position = 12;
  while (position + 8 <= file_size && file.read(static_cast<std::int64_t>(position), std::span(header).first(8)) == 8) {
    const std::uint64_t size = little_endian_32(header.data() + 4);
    position += 8;
    if (std::memcmp(header.data(), "data", 4) == 0) {
      return size >= 0x7FFF0000U || position + size <= file_size ? 0 : position + size - file_size;
    }
    position += size + (size & 1U);
  }
  return 0;
}

// libsndfile over a file that is open already.
class SoundFile {
 public:
  explicit SoundFile(SeekableFile file) : file_(std::move(file)) {
    SF_VIRTUAL_IO calls{length, seek, read, nullptr, tell};
    sound_.reset(sf_open_virtual(&calls, SFM_READ, &info, this));
  }
  SoundFile(const SoundFile&) = delete;
  SoundFile& operator=(const SoundFile&) = delete;

  SNDFILE* get() const { return sound_.get(); }
  SeekableFile& file() { return file_; }
  SF_INFO info{};

 private:
  static SoundFile& self(void* data) { return *static_cast<SoundFile*>(data); }
  static sf_count_t length(void* data) { return self(data).file_.size(); }
  static sf_count_t tell(void* data) { return self(data).position_; }
  static sf_count_t seek(sf_count_t offset, int whence, void* data) {
    const sf_count_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self(data).position_ : length(data);
    const sf_count_t place = from + offset;
    return place < 0 ? -1 : self(data).position_ = place;
  }
  static sf_count_t read(void* bytes, sf_count_t count, void* data) {
    const auto wanted = static_cast<std::size_t>(std::max<sf_count_t>(count, 0));
    const auto done = static_cast<sf_count_t>(
        self(data).file_.read(self(data).position_, {static_cast<unsigned char*>(bytes), wanted}));
    self(data).position_ += done;
    return done;
  }

  SeekableFile file_;
  sf_count_t position_ = 0;
  Sound sound_;
};

// Speech changes little from one sample to the next; with its bytes swapped it is noise. Compares the two as the
// samples go by. Samples that had 8 bits once are smooth either way: their low bytes are all the same.
class ByteOrderCheck {
 public:
  void add(std::int16_t sample) {
    const auto bits = static_cast<std::uint16_t>(sample);
    if (count_ == 0) first_low_byte_ = bits & 0xFFU;
    low_bytes_differ_ = low_bytes_differ_ || (bits & 0xFFU) != first_low_byte_;
    const auto swapped = static_cast<std::int16_t>(static_cast<std::uint16_t>(bits << 8U | bits >> 8U));
    if (count_++ > 0) {
      as_read_ += std::abs(static_cast<double>(sample) - last_);
      swapped_ += std::abs(static_cast<double>(swapped) - last_swapped_);
    }
    last_ = sample;
    last_swapped_ = swapped;
  }
  // True if the samples would be far smoother with their bytes the other way round.
  bool looks_swapped() const { return count_ >= 1000 && low_bytes_differ_ && as_read_ > 8.0 * swapped_; }

 private:
  std::int64_t count_ = 0;
  double as_read_ = 0.0;
  double swapped_ = 0.0;
  std::int16_t last_ = 0;
  std::int16_t last_swapped_ = 0;
  unsigned first_low_byte_ = 0;
  bool low_bytes_differ_ = false;
};

}  // namespace

class AudioReader::Source {
 public:
  virtual ~Source() = default;
  virtual void fill() = 0;

  int sample_rate = 0;
  int sample_format = 0;
  std::int64_t total = 0;
  std::vector<std::vector<float>> block;  // one a channel
};

class AudioReader::RawSource : public AudioReader::Source {
 public:
  RawSource(const std::filesystem::path& file, SeekableFile content, const RawFormat& raw)
      : file_(file),
        big_endian_(raw.big_endian),
        order_is_known_(raw.order_is_known),
        content_(std::move(content)),
        bytes_(kBlock) {
    sample_rate = raw.sample_rate > 0 ? raw.sample_rate : kDefaultRawRate;
    sample_format = SF_FORMAT_PCM_16;
    block.resize(1);
  }

  void fill() override {
    std::vector<float>& samples = block.front();
    samples.clear();
    if (ended_) return;
    const std::size_t count = content_.read(2 * total, bytes_);
    if (count % 2 != 0) fail(file_, "truncated: an odd number of bytes for 16-bit samples");
    for (std::size_t i = 0; i < count; i += 2) {
      const unsigned low = bytes_[i + (big_endian_ ? 1 : 0)];
      const unsigned high = bytes_[i + (big_endian_ ? 0 : 1)];
      const auto sample = static_cast<std::int16_t>(static_cast<std::uint16_t>(high << 8U | low));
      order_.add(sample);
      samples.push_back(sample);
    }
    total += static_cast<std::int64_t>(samples.size());
    ended_ = count < bytes_.size();
    if (ended_) check_whole();
  }

 private:
  void check_whole() const {
    if (2 * total < content_.size()) fail(file_, "cannot be read to its end");
    if (total == 0) fail(file_, "holds no samples");
    if (!order_is_known_ && order_.looks_swapped()) {
      fail(file_, std::string("byte-swapped: the samples look ") + (big_endian_ ? "little" : "big") +
                      "-endian (--raw-order-known, if they are not)");
    }
  }

  std::filesystem::path file_;
  bool big_endian_;
  bool order_is_known_;
  SeekableFile content_;
  std::vector<unsigned char> bytes_;
  ByteOrderCheck order_;
  bool ended_ = false;
};

class AudioReader::SoundSource : public AudioReader::Source {
 public:
  SoundSource(const std::filesystem::path& file, std::unique_ptr<SoundFile> sound)
      : file_(file), sound_(std::move(sound)) {
    const SF_INFO& info = sound_->info;
    if (info.channels < 1 || info.samplerate < 1) fail(file, "names no channels or no sampling rate");
    if (const std::uint64_t missing = missing_riff_bytes(sound_->file()); missing != 0) {
      fail(file, "truncated: " + std::to_string(missing) + " bytes of sound are missing");
    }
    sample_rate = info.samplerate;
    sample_format = info.format & SF_FORMAT_SUBMASK;
    promised_ = info.frames;
    block.resize(static_cast<std::size_t>(info.channels));
    frames_at_once_ = std::max<std::size_t>(1, kBlock / block.size());
    interleaved_.resize(frames_at_once_ * block.size());
  }

  void fill() override {
    for (auto& channel : block) channel.clear();
    if (ended_) return;
    const sf_count_t count =
        sf_readf_float(sound_->get(), interleaved_.data(), static_cast<sf_count_t>(frames_at_once_));
    ended_ = count <= 0;
    if (ended_) return check_whole();
    if (total + count > INT_MAX) fail(file_, "too long: more than 2^31 samples");
    for (std::size_t channel = 0; channel < block.size(); ++channel) {
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const float sample = interleaved_[i * block.size() + channel];
        if (!std::isfinite(sample)) {
          fail(file_, "holds a sample that is not a number, at " +
                          std::to_string(total + static_cast<std::int64_t>(block[channel].size())));
        }
        block[channel].push_back(sample * kIntegerUnit);
      }
    }
    total += count;
  }

 private:
  void check_whole() const {
    if (sf_error(sound_->get()) != SF_ERR_NO_ERROR) fail(file_, std::string("damaged: ") + sf_strerror(sound_->get()));
    if (promised_ != SF_COUNT_MAX && total < promised_) {
      fail(file_, "truncated: " + std::to_string(total) + " of " + std::to_string(promised_) + " samples");
    }
    if (total == 0) fail(file_, "holds no samples");
  }

  std::filesystem::path file_;
  std::unique_ptr<SoundFile> sound_;
  sf_count_t promised_ = 0;
  std::size_t frames_at_once_ = 1;
  std::vector<float> interleaved_;
  bool ended_ = false;
};

AudioReader::AudioReader(const std::filesystem::path& file, const RawFormat& raw) {
  SeekableFile content(file);
  if (lower_extension(file) == ".raw") {
    source_ = std::make_unique<RawSource>(file, std::move(content), raw);
    return;
  }
  auto sound = std::make_unique<SoundFile>(std::move(content));
  if (sound->get() != nullptr) {
    source_ = std::make_unique<SoundSource>(file, std::move(sound));
  } else if (raw.sample_rate > 0 && sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT) {
    source_ = std::make_unique<RawSource>(file, std::move(sound->file()), raw);
  } else {
    std::string reason = sf_strerror(nullptr);
    while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) reason.pop_back();
    fail(file, "cannot be read as audio: " + reason);
  }
}

AudioReader::~AudioReader() = default;
AudioReader::AudioReader(AudioReader&&) noexcept = default;
AudioReader& AudioReader::operator=(AudioReader&&) noexcept = default;

int AudioReader::sample_rate() const { return source_->sample_rate; }
int AudioReader::channels() const { return static_cast<int>(source_->block.size()); }
int AudioReader::sample_format() const { return source_->sample_format; }
std::int64_t AudioReader::samples() const { return source_->total; }
bool AudioReader::is_headerless() const { return dynamic_cast<const RawSource*>(source_.get()) != nullptr; }

std::span<const std::vector<float>> AudioReader::read() {
  source_->fill();
  if (source_->block.front().empty()) return {};
  return source_->block;
}

namespace {

Resampler resampler_of(const std::filesystem::path& file, int from_rate, int to_rate) {
  try {
    return Resampler(from_rate, to_rate);
  } catch (const Fault& fault) {
    fail(file, fault.what());
  }
}

}  // namespace

MonoReader::MonoReader(const std::filesystem::path& file, int sample_rate, const RawFormat& raw)
    : MonoReader(AudioReader(file, raw), file, sample_rate) {}

MonoReader::MonoReader(AudioReader reader, const std::filesystem::path& file, int sample_rate)
    : reader_(std::move(reader)),
      resampler_(resampler_of(file, reader_.sample_rate(), sample_rate == 0 ? reader_.sample_rate() : sample_rate)) {}

bool MonoReader::read(std::vector<float>& samples) {
  if (ended_) return false;
  const std::size_t before = samples.size();
  const auto channels = reader_.read();
  if (channels.empty()) {
    resampler_.finish(samples);
    ended_ = true;
  } else {
    mean_ = channels.front();
    const int count = static_cast<int>(mean_.size());
    for (const std::vector<float>& channel : channels.subspan(1)) {
      call<kivsAdd_32f_I>(channel, mean_, count);
    }
    if (channels.size() > 1) {
      call<kivsMulC_32f_I>(1.0F / static_cast<float>(channels.size()), mean_, count);
    }
    resampler_.push(mean_, samples);
  }
  samples_ += static_cast<std::int64_t>(samples.size() - before);
  return !ended_ || samples.size() > before;
}

}  // namespace kivsr::speech
