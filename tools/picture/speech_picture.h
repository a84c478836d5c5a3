// What the voice activity detector makes of a signal, as a picture: waveform, energy and the segments of speech.
#ifndef KIVSR_TOOLS_PICTURE_SPEECH_PICTURE_H
#define KIVSR_TOOLS_PICTURE_SPEECH_PICTURE_H

#include <span>
#include <string>
#include <vector>

#include "audio/audio_file.h"
#include "speech/speech_segments.h"
#include "support/output_file.h"

namespace kivsr::tools {

// Writes a PNG to the file and leaves the commit to the caller. decibels and speech: one value a frame of 10 ms, at
// least one; speech as the detector decided, segments after the rules.
void draw_speech(OutputFile& file, const std::string& name, const Audio& audio, std::span<const float> decibels,
                 const std::vector<bool>& speech, const std::vector<SpeechSegment>& segments);

}  // namespace kivsr::tools

#endif
