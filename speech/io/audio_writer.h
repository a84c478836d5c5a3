// Audio files as libsndfile writes them, in the format that the name's extension asks for.
#pragma once

#include <filesystem>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

// Throws Fault for a name that does not end in .wav or .flac.
void check_audio_name(const std::filesystem::path& file);

// Writes audio in the format of `name` into the file and leaves the commit to the caller. Samples are in units of a
// 16-bit integer; beyond the range of the sample format they are clipped. The sample format is that of the audio where
// the file format knows it, else the nearest that loses nothing (FLAC: 24 bits).
void write_audio(OutputFile& file, const std::filesystem::path& name, const AudioChannels& audio);

}  // namespace kivsr::speech
