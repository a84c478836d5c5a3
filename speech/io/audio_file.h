// Whole audio files as the front end wants them: one channel, float samples in units of a 16-bit integer (-32768 to
// 32767).
#pragma once

#include <filesystem>
#include <vector>

#include "kivsr/speech/io/audio_reader.h"

namespace kivsr::speech {

struct Audio {
  std::vector<float> samples;
  int sample_rate = 0;
  int file_channels = 1;     // channels before mixing down
  int file_sample_rate = 0;  // rate before resampling

  double seconds() const { return sample_rate > 0 ? static_cast<double>(samples.size()) / sample_rate : 0.0; }
};

// The same with the channels apart.
struct AudioChannels {
  std::vector<std::vector<float>> channels;  // at least one, all of one length
  int sample_rate = 0;
  int sample_format = 0;  // SF_FORMAT_SUBMASK of libsndfile: how the file keeps its samples
};

// Reads any file that libsndfile can read, or a headerless one, and averages its channels.
// Throws Fault for a file that is missing, not audio, truncated, byte-swapped or empty.
Audio read_audio(const std::filesystem::path& file, const RawFormat& raw = {});

AudioChannels read_audio_channels(const std::filesystem::path& file, const RawFormat& raw = {});

// The same as read_audio, resampled to sample_rate where the file has another rate.
Audio read_audio_at(const std::filesystem::path& file, int sample_rate, const RawFormat& raw = {});

}  // namespace kivsr::speech
