#include "kivsr/speech/io/audio_reader.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/audio_source.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

void fail_audio(const std::filesystem::path& file, const std::string& what) {
  throw Fault(input_name(file) + ": " + what);
}

namespace {

// Formats that libsndfile reads and that a pipe of headerless samples is hardly taken for.
bool has_known_head(ByteSource& source) {
  const auto head = source.front(4);
  const std::string_view name(reinterpret_cast<const char*>(head.data()), head.size());
  constexpr std::string_view kHeads[] = {"RIFF", "RIFX", "RF64", "fLaC", "OggS", "FORM", ".snd", "riff", "caff", "ID3"};
  return std::any_of(std::begin(kHeads), std::end(kHeads), [&](auto known) { return name.starts_with(known); });
}

std::unique_ptr<AudioSource> open_source(const std::filesystem::path& file, const RawFormat& raw) {
  ByteSource content(file);
  if (lower_extension(file) == ".raw") return make_raw_source(file, std::move(content), raw);
  if (const auto header = read_wav_header(content)) return make_wav_source(file, std::move(content), *header);
  const bool may_be_raw = raw.sample_rate > 0;
  const bool comes_once = content.is_pipe() || is_standard_stream(file);
  if (may_be_raw && comes_once && !has_known_head(content)) {
    return make_raw_source(file, std::move(content), raw);
  }
  const bool can_begin_again = may_be_raw && !comes_once;
  auto source = make_sound_source(file, std::move(content), !can_begin_again);
  return source ? std::move(source) : make_raw_source(file, ByteSource(file), raw);
}

// Pipes whose rate was asked for, until somebody reads them.
class WaitingPipes {
 public:
  static std::unique_ptr<AudioSource> take(const std::filesystem::path& file) {
    const std::lock_guard lock(mutex());
    const auto place = sources().find(file);
    if (place == sources().end()) return nullptr;
    auto source = std::move(place->second);
    sources().erase(place);
    return source;
  }
  static void keep(const std::filesystem::path& file, std::unique_ptr<AudioSource> source) {
    const std::lock_guard lock(mutex());
    sources().insert_or_assign(file, std::move(source));
  }

 private:
  static std::mutex& mutex() {
    static std::mutex of_all;
    return of_all;
  }
  static std::map<std::filesystem::path, std::unique_ptr<AudioSource>>& sources() {
    static std::map<std::filesystem::path, std::unique_ptr<AudioSource>> waiting;
    return waiting;
  }
};

}  // namespace

AudioReader::AudioReader(const std::filesystem::path& file, const RawFormat& raw) : source_(WaitingPipes::take(file)) {
  if (!source_) source_ = open_source(file, raw);
}

int AudioReader::rate_of(const std::filesystem::path& file, const RawFormat& raw) {
  AudioReader reader(file, raw);
  const int rate = reader.sample_rate();
  if (reader.source_->is_pipe) WaitingPipes::keep(file, std::move(reader.source_));
  return rate;
}

AudioReader::~AudioReader() = default;
AudioReader::AudioReader(AudioReader&&) noexcept = default;
AudioReader& AudioReader::operator=(AudioReader&&) noexcept = default;

int AudioReader::sample_rate() const { return source_->sample_rate; }
int AudioReader::channels() const { return static_cast<int>(source_->block.size()); }
int AudioReader::sample_format() const { return source_->sample_format; }
std::int64_t AudioReader::samples() const { return source_->total; }
std::string AudioReader::remark() const { return source_->remark; }
bool AudioReader::is_headerless() const { return source_->is_headerless; }

std::span<const std::vector<float>> AudioReader::read() {
  source_->fill();
  if (source_->block.front().empty()) return {};
  return source_->block;
}

namespace {

// None between equal rates.
std::optional<Resampler> resampler_of(const std::filesystem::path& file, int from_rate, int to_rate) {
  if (to_rate == 0 || to_rate == from_rate) return std::nullopt;
  try {
    return Resampler(from_rate, to_rate);
  } catch (const Fault& fault) {
    fail_audio(file, fault.what());
  }
}

}  // namespace

MonoReader::MonoReader(const std::filesystem::path& file, int sample_rate, const RawFormat& raw)
    : MonoReader(AudioReader(file, raw), file, sample_rate) {}

MonoReader::MonoReader(AudioReader reader, const std::filesystem::path& file, int sample_rate)
    : reader_(std::move(reader)), resampler_(resampler_of(file, reader_.sample_rate(), sample_rate)) {}

std::span<const float> MonoReader::mean_of(std::span<const std::vector<float>> channels) {
  if (channels.size() == 1) return channels.front();
  mean_ = channels.front();
  const int count = static_cast<int>(mean_.size());
  for (const std::vector<float>& channel : channels.subspan(1)) {
    call<kivsAdd_32f_I>(channel, mean_, count);
  }
  call<kivsMulC_32f_I>(1.0F / static_cast<float>(channels.size()), mean_, count);
  return mean_;
}

std::span<const float> MonoReader::read() {
  resampled_.clear();
  std::span<const float> samples;
  while (!ended_ && samples.empty()) {
    const auto channels = reader_.read();
    ended_ = channels.empty();
    if (!ended_) samples = mean_of(channels);
    if (!resampler_) continue;
    ended_ ? resampler_->finish(resampled_) : resampler_->push(samples, resampled_);
    samples = resampled_;
  }
  samples_ += static_cast<std::int64_t>(samples.size());
  return samples;
}

bool MonoReader::read(std::vector<float>& samples) {
  const auto more = read();
  samples.insert(samples.end(), more.begin(), more.end());
  return !more.empty();
}

}  // namespace kivsr::speech
