#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <utility>

#include <sndfile.h>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/audio_source.h"

namespace kivsr::speech {

namespace {

class WavSource : public AudioSource {
 public:
  WavSource(const std::filesystem::path& file, ByteSource content, const WavHeader& header)
      : file_(file),
        content_(std::move(content)),
        samples_(header.samples),
        left_(header.data_bytes),
        frame_bytes_(static_cast<std::size_t>(header.channels) * static_cast<std::size_t>(bytes_of(header.samples))) {
    sample_rate = header.sample_rate;
    sample_format = format_of(header.samples);
    is_pipe = content_.is_pipe();
    block.resize(static_cast<std::size_t>(header.channels));
    bytes_.resize(std::max(frame_bytes_, kAudioBlock * sizeof(Kiv16s) / frame_bytes_ * frame_bytes_));
    if (!is_pipe && left_ && content_.size() - header.offset < *left_) {
      fail_truncated(*left_ - (content_.size() - header.offset));
    }
    content_.skip(header.offset);
  }

  void fill() override {
    const std::int64_t before = total;
    while (!ended_ && total == before) take_more();
    if (total > before) return;
    for (auto& channel : block) channel.clear();
  }

 private:
  static int format_of(WavSamples samples) {
    switch (samples) {
      case WavSamples::kUnsigned8: return SF_FORMAT_PCM_U8;
      case WavSamples::kSigned16: return SF_FORMAT_PCM_16;
      case WavSamples::kSigned24: return SF_FORMAT_PCM_24;
      case WavSamples::kSigned32: return SF_FORMAT_PCM_32;
      case WavSamples::kFloat: return SF_FORMAT_FLOAT;
      default: return SF_FORMAT_DOUBLE;
    }
  }
  [[noreturn]] void fail_truncated(std::int64_t missing) const {
    fail_audio(file_, "truncated: " + std::to_string(missing) + " bytes of sound are missing");
  }

  void take_more() {
    std::size_t room = bytes_.size() - kept_;
    if (left_) room = static_cast<std::size_t>(std::min<std::int64_t>(*left_, static_cast<std::int64_t>(room)));
    const std::size_t more = room == 0 ? 0 : content_.read(std::span(bytes_).subspan(kept_, room));
    ended_ = more == 0;
    if (ended_) return check_whole();
    if (left_) *left_ -= static_cast<std::int64_t>(more);
    const std::size_t frames = (kept_ + more) / frame_bytes_;
    if (frames > 0) decode(frames);
    kept_ += more - frames * frame_bytes_;
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(frames * frame_bytes_), kept_, bytes_.begin());
  }

  void decode(std::size_t frames) {
    std::vector<float>& values = block.size() == 1 ? block.front() : interleaved_;
    values.resize(frames * block.size());
    decode_wav(samples_, bytes_, values);
    if (samples_ == WavSamples::kFloat || samples_ == WavSamples::kDouble) require_numbers(values);
    for (std::size_t channel = 0; block.size() > 1 && channel < block.size(); ++channel) {
      block[channel].resize(frames);
      for (std::size_t i = 0; i < frames; ++i) block[channel][i] = values[i * block.size() + channel];
    }
    total += static_cast<std::int64_t>(frames);
  }

  void require_numbers(const std::vector<float>& values) const {
    const auto bad = std::find_if_not(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
    if (bad == values.end()) return;
    const auto frame = (bad - values.begin()) / static_cast<std::ptrdiff_t>(block.size());
    fail_audio(file_, "holds a sample that is not a number, at " + std::to_string(total + frame));
  }

  void check_whole() {
    if (left_.value_or(0) > 0) fail_truncated(*left_);
    if (total == 0) fail_audio(file_, "holds no samples");
    content_.drain();
  }

  std::filesystem::path file_;
  ByteSource content_;
  WavSamples samples_;
  std::optional<std::int64_t> left_;  // bytes; nothing: unknown
  std::size_t frame_bytes_;
  std::vector<unsigned char> bytes_;
  std::size_t kept_ = 0;  // of a frame whose rest has not come
  std::vector<float> interleaved_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<AudioSource> make_wav_source(const std::filesystem::path& file, ByteSource content,
                                             const WavHeader& header) {
  return std::make_unique<WavSource>(file, std::move(content), header);
}

}  // namespace kivsr::speech
