// What noise suppression did, as a picture: spectrograms before and after it, and of the noise that it estimated.
#ifndef KIVSR_TOOLS_PICTURE_ENHANCEMENT_PICTURE_H
#define KIVSR_TOOLS_PICTURE_ENHANCEMENT_PICTURE_H

#include <span>
#include <string>

#include "enhance/enhancer.h"
#include "support/output_file.h"

namespace kivsr::tools {

// Writes a PNG to the file and leaves the commit to the caller. before and after: one channel, of the same length.
// A track without rows leaves its panel out.
void draw_enhancement(OutputFile& file, const std::string& title, std::span<const float> before,
                      std::span<const float> after, int sample_rate, const NoiseTrack& noise);

}  // namespace kivsr::tools

#endif
