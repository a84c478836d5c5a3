// A recognised recording in the forms that other programs read.
#pragma once

#include <string>

#include "program/command.h"
#include "program/recognise_report.h"

namespace kivsr::program {

// One object on one line, with the words and their times.
std::string json_line(const RecognisedUtterance& utterance);
// One object on one line, of a stream: what is final, and the best guess about what is not yet.
std::string final_line(const RecognisedUtterance& utterance);
std::string partial_line(const std::string& words, double start, double heard);
// NIST time-marked words: recording, channel, start, duration, word; without silence and noise. For other levels phones
// or the states of phones instead, with silence and noise. A segment is named in a comment before it.
std::string ctm_lines(const RecognisedUtterance& utterance, TimeLevel level = TimeLevel::kWords);
// SubtitleWriter, of a whole recording.
std::string srt_text(const RecognisedUtterance& utterance);
// Praat: a tier of words, silence and noise being empty intervals, and tiers of phones and of states where they are
// told.
std::string text_grid(const RecognisedUtterance& utterance);
// --format with the forms of recognise.
void add_format_option(Command command, ReportFormat& format);
// The name of a file without folder and extension; of standard input stdin.
std::string recording_name(const std::string& file);
// Of a file in that form, with the dot.
std::string extension_of(ReportFormat format);
// "AH.0", the first state of the phone AH.
std::string state_name(const AlignedPhone& phone, const AlignedState& state);

}  // namespace kivsr::program
