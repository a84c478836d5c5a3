// Audio files block by block, in units of a 16-bit integer (-32768 to 32767). Memory does not grow with the length.
// Next: audio_file.h, whole files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/resampler.h"

namespace kivsr::speech {

struct AudioSource;

// How to read files without a header: 16-bit samples, one channel.
struct RawFormat {
  // 0: only names that end in .raw are headerless, at 16000 Hz. Above 0: their rate, and the rate of any file whose
  // format libsndfile does not recognise.
  int sample_rate = 0;
  bool big_endian = false;
  bool order_is_known = false;  // samples that look swapped are taken as they are; else only if they had 8 bits once
};

// Any file that libsndfile can read, or a headerless one. "-" is standard input; it and other pipes are read as they
// come, once, if they are WAV or headerless (of a rate that is given), other formats when all of them came. What is
// wrong with a file is a Fault that names it: missing, not audio, empty, truncated, byte-swapped, not a number; the
// last four may show at the end only.
class AudioReader {
 public:
  explicit AudioReader(const std::filesystem::path& file, const RawFormat& raw = {});
  ~AudioReader();
  AudioReader(AudioReader&&) noexcept;
  AudioReader& operator=(AudioReader&&) noexcept;

  // The rate of a file that is read afterwards. A pipe stays open for the next reader of that name.
  static int rate_of(const std::filesystem::path& file, const RawFormat& raw = {});

  int sample_rate() const;
  int channels() const;
  int sample_format() const;  // SF_FORMAT_SUBMASK of libsndfile: how the file keeps its samples

  bool is_headerless() const;  // read as the RawFormat says

  // The next samples, one span a channel, all of one length; empty behind the last. They stay until the next call.
  std::span<const std::vector<float>> read();
  std::int64_t samples() const;  // of each channel, so far
  // What looks odd about the file but may be right, once its end was read; empty: nothing.
  std::string remark() const;

 private:
  std::unique_ptr<AudioSource> source_;
};

// One channel at one rate, as the front end wants it: the mean of the file's channels, resampled.
class MonoReader {
 public:
  // sample_rate: 0 for that of the file.
  MonoReader(const std::filesystem::path& file, int sample_rate, const RawFormat& raw = {});
  // The same of a file that is open already, to look at its rate first.
  MonoReader(AudioReader reader, const std::filesystem::path& file, int sample_rate);

  // The next samples, none behind the last. They stay until the next call.
  std::span<const float> read();
  // The same appended; false behind the last.
  bool read(std::vector<float>& samples);
  const AudioReader& file() const { return reader_; }
  std::int64_t samples() const { return samples_; }  // so far

 private:
  std::span<const float> mean_of(std::span<const std::vector<float>> channels);

  AudioReader reader_;
  std::optional<Resampler> resampler_;
  std::vector<float> mean_;
  std::vector<float> resampled_;
  std::int64_t samples_ = 0;
  bool ended_ = false;
};

}  // namespace kivsr::speech
