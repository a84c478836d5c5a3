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
};

enum class ReportFormat { kText, kTsv, kJson, kCtm, kSrt, kTextGrid };

class RecogniseReport {
 public:
  using Write = std::function<void(std::string_view text)>;
  RecogniseReport(ReportFormat format, bool with_reference, bool with_confidence, Write write);
  void add(const RecognisedUtterance& utterance);
  void finish() const;

 private:
  std::string text_of(const RecognisedUtterance& utterance) const;
  std::string tsv_of(const RecognisedUtterance& utterance) const;

  ReportFormat format_;
  bool with_reference_;
  bool with_confidence_;
  Write write_;
  int utterances_ = 0;
  double audio_seconds_ = 0.0;
  double elapsed_seconds_ = 0.0;
  WordErrors errors_;
};

}  // namespace kivsr::program
