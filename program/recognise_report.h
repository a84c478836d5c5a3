// What recognise prints: a line a file and the totals for people, tab-separated values, or a form that other programs
// read (transcript_format.h).
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/word_errors.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct AlignedWord {
  std::string word;
  double start = 0.0;  // seconds
  double end = 0.0;
  bool filler = false;
};

struct RecognisedUtterance {
  std::string file;
  std::vector<std::string> words;
  double score = 0.0;
  bool complete = false;
  double audio_seconds = 0.0;
  double elapsed_seconds = 0.0;
  std::vector<std::string> reference;
  WordErrors errors;
  std::vector<AlignedWord> alignment;  // silence and noise included
};

enum class ReportFormat { kText, kTsv, kJson, kCtm, kSrt, kTextGrid };

class RecogniseReport {
 public:
  RecogniseReport(ReportFormat format, bool with_reference);
  void add(const RecognisedUtterance& utterance);
  void finish() const;

 private:
  void add_text(const RecognisedUtterance& utterance) const;
  void add_tsv(const RecognisedUtterance& utterance) const;

  ReportFormat format_;
  bool with_reference_;
  int utterances_ = 0;
  double audio_seconds_ = 0.0;
  double elapsed_seconds_ = 0.0;
  WordErrors errors_;
};

}  // namespace kivsr::program
