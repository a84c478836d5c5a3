// A recognised recording in the forms that other programs read.
#pragma once

#include <string>

#include "program/recognise_report.h"

namespace kivsr::program {

// One object on one line, with the words and their times.
std::string json_line(const RecognisedUtterance& utterance);
// NIST time-marked words: recording, channel, start, duration, word; without silence and noise.
std::string ctm_lines(const RecognisedUtterance& utterance);
// Subtitles: a cue ends at half a second of silence, and before it grows longer than 60 characters or six seconds.
std::string srt_text(const RecognisedUtterance& utterance);
// Praat: one tier of words, silence and noise being empty intervals.
std::string text_grid(const RecognisedUtterance& utterance);

}  // namespace kivsr::program
