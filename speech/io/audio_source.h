// Where AudioReader gets its samples: one source for each way to keep them in a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/wav_header.h"

namespace kivsr::speech {

struct RawFormat;

constexpr std::size_t kAudioBlock = 16384;  // samples of all channels that are read at a time: they stay in the cache

struct AudioSource {
  virtual ~AudioSource() = default;
  // Replaces the block by the next samples, none behind the last.
  virtual void fill() = 0;

  int sample_rate = 0;
  int sample_format = 0;  // SF_FORMAT_SUBMASK of libsndfile
  std::int64_t total = 0;
  std::vector<std::vector<float>> block;  // one a channel
  std::string remark;
  bool is_pipe = false;
  bool is_headerless = false;
};

[[noreturn]] void fail_audio(const std::filesystem::path& file, const std::string& what);

// 16-bit samples of one channel and nothing else.
std::unique_ptr<AudioSource> make_raw_source(const std::filesystem::path& file, ByteSource content,
                                             const RawFormat& raw);
// Plain samples behind a head: the most frequent case by far, and the one that comes through pipes.
std::unique_ptr<AudioSource> make_wav_source(const std::filesystem::path& file, ByteSource content,
                                             const WavHeader& header);
// Whatever libsndfile reads. Null for a format that it does not know, if that is no fault.
std::unique_ptr<AudioSource> make_sound_source(const std::filesystem::path& file, ByteSource content,
                                               bool unknown_is_fault);

}  // namespace kivsr::speech
