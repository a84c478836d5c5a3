// The options that say how audio without a header is read.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/io/audio_file.h"
#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

// raw is written while the command line is read.
void add_raw_options(Command command, RawFormat& raw);
// Says on standard error that the options were given and none of the files needs them.
void say_unused_raw_options(const RawFormat& raw, const std::vector<std::string>& files);

}  // namespace kivsr::program
