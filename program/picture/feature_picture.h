// What the front end makes of an audio file, as a picture: waveform, mel spectrogram, c0 and the other cepstra over
// time.
#pragma once

#include <filesystem>
#include <string>

#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/output_file.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Throws Fault for a name that does not end in .png.
void check_picture_name(const std::filesystem::path& file);

// Writes a PNG to the file and leaves the commit to the caller. audio has the sampling rate of the parameters and at
// least one frame.
void draw_features(OutputFile& file, const std::string& name, const Audio& audio, const FrontEndParameters& parameters);

}  // namespace kivsr::program
