// Misses against false alarms at every threshold, on axes on which normally distributed scores give a straight line.
#pragma once

#include <string>

#include "kivsr/speech/decode/detection_errors.h"
#include "kivsr/speech/io/output_file.h"
#include "program/picture/plot.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Writes the picture to the file and leaves the commit to the caller. The range is that of both axes, in percent.
void draw_detection_errors(OutputFile& file, const PictureOptions& options, const std::string& name,
                           const DetectionErrors& errors);

}  // namespace kivsr::program
