// The options about the picture of a command.
#pragma once

#include <string>

#include "program/command.h"
#include "program/picture/plot.h"
#include "program/speech_names.h"

namespace kivsr::program {

// --picture, --size and --range. help: what is drawn; range_help: the values that --range is about.
void add_picture_options(Command command, PictureOptions& options, const std::string& help,
                         const std::string& range_help);

}  // namespace kivsr::program
