#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <span>
#include <utility>

#include <sndfile.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/audio_source.h"
#include "kivsr/speech/io/byte_order.h"

namespace kivsr::speech {

namespace {

constexpr int kDefaultRawRate = 16000;

std::int16_t swapped(std::int16_t sample) {
  return static_cast<std::int16_t>(bytes_reversed(static_cast<std::uint16_t>(sample)));
}

// Speech changes little from one sample to the next; with its bytes swapped it is noise. Compares the two as the
// samples go by. Samples that had 8 bits once have few values, which may be of any order.
class ByteOrderCheck {
 public:
  void add(std::span<const std::int16_t> samples) {
    constexpr std::size_t kPart = 16384;  // whose sums an int holds
    for (; !samples.empty(); samples = samples.subspan(std::min(kPart, samples.size()))) {
      add_part(samples.first(std::min(kPart, samples.size())));
    }
  }
  // True if the samples would be far smoother with their bytes the other way round.
  bool looks_swapped() const {
    return count_ >= 1000 && static_cast<double>(as_read_) > 8.0 * static_cast<double>(swapped_);
  }
  bool had_8_bits() const { return values_ <= 256; }

 private:
  void add_part(std::span<const std::int16_t> samples) {
    int as_read = count_ > 0 ? std::abs(samples[0] - last_) : 0;
    int other = count_ > 0 ? std::abs(swapped(samples[0]) - swapped(last_)) : 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
      as_read += std::abs(samples[i] - samples[i - 1]);
      other += std::abs(swapped(samples[i]) - swapped(samples[i - 1]));
    }
    as_read_ += as_read;
    swapped_ += other;
    count_ += static_cast<std::int64_t>(samples.size());
    last_ = samples.back();
    for (std::size_t i = 0; i < samples.size() && had_8_bits(); ++i) {
      auto seen = seen_[static_cast<std::uint16_t>(samples[i])];
      values_ += seen ? 0 : 1;
      seen = true;
    }
  }

  std::int64_t count_ = 0;
  std::int64_t as_read_ = 0;
  std::int64_t swapped_ = 0;
  std::int16_t last_ = 0;
  std::bitset<65536> seen_;
  int values_ = 0;
};

class RawSource : public AudioSource {
 public:
  RawSource(const std::filesystem::path& file, ByteSource content, const RawFormat& raw)
      : file_(file), big_endian_(raw.big_endian), order_is_known_(raw.order_is_known), content_(std::move(content)) {
    sample_rate = raw.sample_rate > 0 ? raw.sample_rate : kDefaultRawRate;
    sample_format = SF_FORMAT_PCM_16;
    is_pipe = content_.is_pipe();
    is_headerless = true;
    block.resize(1);
    samples_.resize(kAudioBlock);
  }

  void fill() override {
    block.front().clear();
    while (!ended_ && block.front().empty()) take_more();
  }

 private:
  void take_more() {
    const std::span<unsigned char> room(reinterpret_cast<unsigned char*>(samples_.data()), 2 * samples_.size());
    const std::size_t more = content_.read(room.subspan(odd_ ? 1 : 0));
    ended_ = more == 0;
    if (ended_) return check_whole();
    const std::size_t bytes = more + (odd_ ? 1 : 0);
    const auto samples = std::span(samples_).first(bytes / 2);
    const unsigned char last = room[bytes - 1];
    if (!samples.empty()) convert(samples);
    odd_ = bytes % 2 != 0;
    if (odd_) room[0] = last;
  }

  void convert(std::span<Kiv16s> samples) {
    const auto count = static_cast<int>(samples.size());
    if (big_endian_) {
      for (Kiv16s& sample : samples) sample = swapped(sample);
    }
    if (!order_is_known_) order_.add(samples);
    block.front().resize(samples.size());
    call<kivsConvert_16s32f>(samples, block.front(), count);
    total += count;
  }

  void check_whole() {
    if (odd_) fail_audio(file_, "truncated: an odd number of bytes for 16-bit samples");
    if (total == 0) fail_audio(file_, "holds no samples");
    if (order_is_known_ || !order_.looks_swapped()) return;
    const std::string looks = std::string("byte-swapped: the samples look ") + (big_endian_ ? "little" : "big") +
                              "-endian (--raw-endian says how they are)";
    if (!order_.had_8_bits()) fail_audio(file_, looks);
    remark = looks + ", but they may have had 8 bits: taken as they are";
  }

  std::filesystem::path file_;
  bool big_endian_;
  bool order_is_known_;
  ByteSource content_;
  std::vector<Kiv16s> samples_;
  bool odd_ = false;  // the first byte there is of the next sample
  ByteOrderCheck order_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<AudioSource> make_raw_source(const std::filesystem::path& file, ByteSource content,
                                             const RawFormat& raw) {
  return std::make_unique<RawSource>(file, std::move(content), raw);
}

}  // namespace kivsr::speech
