// What recognise writes: a line a file and the totals for people, tab-separated values, or a form that other programs
// read (transcript_format.h).
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/decode/word_errors.h"
#include "program/speech_names.h"
#include "program/word_times.h"

namespace kivsr::program {

struct RecognisedUtterance {
  std::string file;
  std::vector<std::string> words;
  double score = 0.0;
  bool complete = false;
  double audio_seconds = 0.0;
  double elapsed_seconds = 0.0;
  std::vector<std::string> reference;
  WordErrors errors;
  std::vector<AlignedWord> alignment;   // silence and noise included
  TimeLevel level = TimeLevel::kWords;  // the deepest that is told
  struct Alternative {
    std::vector<std::string> words;
    double score = 0.0;
  };
  std::vector<Alternative> alternatives;  // the best sentences, this one first
  std::string segment = {};               // its name, if it is one of several of the file
  double start = 0.0;                     // of a segment, s: where its words start and end
  double end = 0.0;
  double heard = 0.0;  // s of the stream, when it was known

  // The segment, or the file.
  const std::string& name() const { return segment.empty() ? file : segment; }
};

enum class ReportFormat { kText, kTsv, kJson, kCtm, kSrt, kTextGrid };

// What results are of.
enum class ReportStyle {
  kFiles,
  kSegments,  // of files
  kLive       // of one stream: the text is words alone, JSON tells what is final and what is not
};

struct ReportContents {
  ReportStyle style = ReportStyle::kFiles;
  bool reference = false;
  bool confidence = false;
};

// Subtitles of one recording: a cue ends at half a second of silence, and before it grows longer than 60 characters or
// six seconds.
class SubtitleWriter {
 public:
  // The cues that these words, which follow those before, end.
  std::string add(const std::vector<AlignedWord>& words);
  std::string finish();

 private:
  std::string end_cue();

  std::string words_;
  double start_ = 0.0;
  double end_ = 0.0;
  int number_ = 0;
};

// Praat's TextGrid of one recording from its segments: a tier with their names, one of words, silence and noise being
// empty intervals, and tiers of phones and of states where they are told.
class TextGridWriter {
 public:
  void add(const RecognisedUtterance& segment);
  std::string finish(double seconds);

 private:
  std::vector<AlignedWord> segments_;
  std::vector<AlignedWord> words_;
  TimeLevel level_ = TimeLevel::kWords;
};

class RecogniseReport {
 public:
  using Write = std::function<void(std::string_view text)>;
  RecogniseReport(ReportFormat format, const ReportContents& contents, Write write);
  void add(const RecognisedUtterance& utterance);
  // Behind the segments of a file: its length, how long it took, its errors.
  void end_file(const RecognisedUtterance& file);
  void finish() const;
  const ReportContents& contents() const { return contents_; }

 private:
  std::string text_of(const RecognisedUtterance& utterance) const;
  std::string tsv_of(const RecognisedUtterance& utterance) const;
  std::string form_of(const RecognisedUtterance& utterance);
  void count(const RecognisedUtterance& file);

  ReportFormat format_;
  ReportContents contents_;
  Write write_;
  SubtitleWriter subtitles_;  // of segments
  TextGridWriter grid_;
  int utterances_ = 0;
  double audio_seconds_ = 0.0;
  double elapsed_seconds_ = 0.0;
  WordErrors errors_;
};

}  // namespace kivsr::program
