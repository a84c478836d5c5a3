// What the voice activity detector makes of a signal, as a picture: waveform, energy and the segments of speech.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Writes a PNG to the file and leaves the commit to the caller. decibels and speech: one value a frame of 10 ms, at
// least one; speech as the detector decided, segments after the rules.
void draw_speech(OutputFile& file, const std::string& name, const Audio& audio, std::span<const float> decibels,
                 const std::vector<bool>& speech, const std::vector<SpeechSegment>& segments);

}  // namespace kivsr::program
