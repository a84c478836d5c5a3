// What vad prints: the segments of speech of each file.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/noise/speech_segments.h"
#include "program/speech_names.h"

namespace kivsr::program {

enum class SegmentFormat { kText, kCsv, kAudacity };

// The segments of one file. csv has a line of names before the first file; audacity is a label track.
std::string segment_lines(const std::string& file, const std::vector<SpeechSegment>& segments, double seconds,
                          SegmentFormat format);
std::string segment_header(SegmentFormat format);

}  // namespace kivsr::program
