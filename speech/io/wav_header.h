// The head of a WAV file, up to its samples. The size that it states may be that of a program that wrote to a pipe and
// did not know it: 0, or nearly 2^31 or 2^32, then the samples go on to the end.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "kivsr/speech/io/byte_source.h"

namespace kivsr::speech {

enum class WavSamples { kUnsigned8, kSigned16, kSigned24, kSigned32, kFloat, kDouble };

int bytes_of(WavSamples samples);

struct WavHeader {
  WavSamples samples = WavSamples::kSigned16;
  int channels = 0;
  int sample_rate = 0;
  std::int64_t offset = 0;                 // of the samples
  std::optional<std::int64_t> data_bytes;  // nothing: to the end
};

// Looks at the front of the source and takes nothing. Nothing for what is no WAV file, or none of plain samples, or one
// whose head is longer than a megabyte.
std::optional<WavHeader> read_wav_header(ByteSource& source);

// The samples, in units of a 16-bit integer; as many as there is room for.
void decode_wav(WavSamples samples, std::span<const unsigned char> bytes, std::span<float> values);

}  // namespace kivsr::speech
