// The options that say how audio without a header is read.
#pragma once

#include "kivsr/speech/io/audio_file.h"
#include "program/speech_names.h"

namespace CLI {
class App;
}

namespace kivsr::program {

// raw is written while the command line is read.
void add_raw_options(CLI::App& command, RawFormat& raw);

}  // namespace kivsr::program
