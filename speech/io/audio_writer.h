// Audio files as libsndfile writes them, in the format that the name's extension asks for.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

// Throws Fault for a name that does not end in .wav, .flac or .raw (16 bits without a header, one channel). "-",
// standard output, is WAV.
void check_audio_name(const std::filesystem::path& file);

// Writes samples as they come in the format of `name` into the file and leaves the commit to the caller. Samples are in
// units of a 16-bit integer; beyond the range of the sample format they are clipped. The sample format is that of the
// audio where the file format knows it, else the nearest that loses nothing (of 32 bits and floats in FLAC: 24 bits);
// of a lossy codec 16 bits. What cannot be written is a Fault of the constructor. A pipe gets WAV and raw samples as
// they come, in the head of WAV a size of 2^32 - 1, which stands for one that is not known; FLAC at the end.
class AudioWriter {
 public:
  AudioWriter(OutputFile& file, const std::filesystem::path& name, int sample_rate, int channels, int sample_format);
  ~AudioWriter();

  // One vector a channel, all of one length.
  void append(std::span<const std::vector<float>> channels);
  // Completes the file.
  void finish();

 private:
  struct Sound;
  [[noreturn]] void fail(const char* reason) const;

  std::filesystem::path name_;
  OutputFile& file_;
  std::unique_ptr<Sound> sound_;
  float step_;  // the distance of neighbouring values; 0: left to libsndfile
  std::vector<float> block_;
};

// All of it.
void write_audio(OutputFile& file, const std::filesystem::path& name, const AudioChannels& audio);

}  // namespace kivsr::speech
