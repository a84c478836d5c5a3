// What the front end makes of an audio file, as a picture: waveform, mel spectrogram, c0 and the other cepstra over
// time.
#ifndef KIVSR_TOOLS_PICTURE_FEATURE_PICTURE_H
#define KIVSR_TOOLS_PICTURE_FEATURE_PICTURE_H

#include <filesystem>
#include <string>

#include "audio/audio_file.h"
#include "features/front_end_parameters.h"
#include "support/output_file.h"

namespace kivsr::tools {

// Throws Fault for a name that does not end in .png.
void check_picture_name(const std::filesystem::path& file);

// Writes a PNG to the file and leaves the commit to the caller. audio has the sampling rate of the parameters and at
// least one frame.
void draw_features(OutputFile& file, const std::string& name, const Audio& audio, const FrontEndParameters& parameters);

}  // namespace kivsr::tools

#endif
