// libsndfile as a source.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

#include <sndfile.h>

#include "kivsr/speech/io/audio_source.h"
#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/seekable_file.h"

namespace kivsr::speech {

namespace {

constexpr float kIntegerUnit = 32768.0F;

struct CloseSound {
  void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;

// Bytes of sound that the header of a RIFF file promises beyond those that the file holds. libsndfile silently takes
// what is there. Programs that write to a pipe leave a size of 0 or nearly 2^31 or 2^32, which promises nothing.
std::uint64_t missing_riff_bytes(const SeekableFile& file) {
  std::array<unsigned char, 12> header{};
  if (file.read(0, header) < 12 || std::memcmp(header.data(), "RIFF", 4) != 0) return 0;
  const auto file_size = static_cast<std::uint64_t>(file.size());
  std::uint64_t position = 12;
  while (position + 8 <= file_size && file.read(static_cast<std::int64_t>(position), std::span(header).first(8)) == 8) {
    const std::uint64_t size = bits_of(std::span(header).subspan(4, 4));
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

class SoundSource : public AudioSource {
 public:
  SoundSource(const std::filesystem::path& file, std::unique_ptr<SoundFile> sound)
      : file_(file), sound_(std::move(sound)) {
    const SF_INFO& info = sound_->info;
    if (info.channels < 1 || info.samplerate < 1) fail_audio(file, "names no channels or no sampling rate");
    if (const std::uint64_t missing = missing_riff_bytes(sound_->file()); missing != 0) {
      fail_audio(file, "truncated: " + std::to_string(missing) + " bytes of sound are missing");
    }
    sample_rate = info.samplerate;
    sample_format = info.format & SF_FORMAT_SUBMASK;
    promised_ = info.frames;
    block.resize(static_cast<std::size_t>(info.channels));
    frames_at_once_ = std::max<std::size_t>(1, kAudioBlock / block.size());
    interleaved_.resize(frames_at_once_ * block.size());
  }

  void fill() override {
    for (auto& channel : block) channel.clear();
    if (ended_) return;
    const sf_count_t count =
        sf_readf_float(sound_->get(), interleaved_.data(), static_cast<sf_count_t>(frames_at_once_));
    ended_ = count <= 0;
    if (ended_) return check_whole();
    if (total + count > INT_MAX) fail_audio(file_, "too long: more than 2^31 samples");
    for (std::size_t channel = 0; channel < block.size(); ++channel) {
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const float sample = interleaved_[i * block.size() + channel];
        if (!std::isfinite(sample)) {
          fail_audio(file_, "holds a sample that is not a number, at " +
                                std::to_string(total + static_cast<std::int64_t>(block[channel].size())));
        }
        block[channel].push_back(sample * kIntegerUnit);
      }
    }
    total += count;
  }

 private:
  void check_whole() const {
    if (sf_error(sound_->get()) != SF_ERR_NO_ERROR)
      fail_audio(file_, std::string("damaged: ") + sf_strerror(sound_->get()));
    if (promised_ != SF_COUNT_MAX && total < promised_) {
      fail_audio(file_, "truncated: " + std::to_string(total) + " of " + std::to_string(promised_) + " samples");
    }
    if (total == 0) fail_audio(file_, "holds no samples");
  }

  std::filesystem::path file_;
  std::unique_ptr<SoundFile> sound_;
  sf_count_t promised_ = 0;
  std::size_t frames_at_once_ = 1;
  std::vector<float> interleaved_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<AudioSource> make_sound_source(const std::filesystem::path& file, ByteSource content,
                                               bool unknown_is_fault) {
  const bool is_pipe = content.is_pipe();
  auto sound = std::make_unique<SoundFile>(SeekableFile(std::move(content)));
  if (sound->get() != nullptr) {
    auto source = std::make_unique<SoundSource>(file, std::move(sound));
    source->is_pipe = is_pipe;
    return source;
  }
  if (!unknown_is_fault && sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT) return nullptr;
  std::string reason = sf_strerror(nullptr);
  while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) reason.pop_back();
  fail_audio(file, "cannot be read as audio: " + reason);
}

}  // namespace kivsr::speech
