// Names and formats of audio that is written.
#pragma once

#include <string>

#include "program/command.h"

namespace kivsr::program {

// --format: empty, or the extension without its dot.
void add_audio_format(Command command, std::string& format);
// What a file becomes in a folder: its own extension where that can be written, else .wav; with the dot.
std::string audio_extension(const std::string& input, const std::string& format);
// The name that tells the format of what is written to `output`.
std::string audio_name(const std::string& output, const std::string& format);

}  // namespace kivsr::program
