// The options that say how audio without a header is read.
#ifndef KIVSR_TOOLS_KIVSR_RAW_OPTIONS_H
#define KIVSR_TOOLS_KIVSR_RAW_OPTIONS_H

#include "audio/audio_file.h"

namespace CLI {
class App;
}

namespace kivsr::tools {

// raw is written while the command line is read.
void add_raw_options(CLI::App& command, RawFormat& raw);

}  // namespace kivsr::tools

#endif
