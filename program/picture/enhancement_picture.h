// What noise suppression did, as a picture: spectrograms before and after it, and of the noise that it estimated.
#pragma once

#include <span>
#include <string>

#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Writes a PNG to the file and leaves the commit to the caller. before and after: one channel, of the same length.
// A track without rows leaves its panel out.
void draw_enhancement(OutputFile& file, const std::string& title, std::span<const float> before,
                      std::span<const float> after, int sample_rate, const NoiseTrack& noise);

}  // namespace kivsr::program
