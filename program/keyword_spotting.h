// kivsr spot --keyword: words found in recordings by an acoustic model, over a loop of phones.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/phone_loop.h"
#include "kivsr/speech/io/audio_file.h"
#include "program/command.h"
#include "program/recogniser_options.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct KeywordSpotting {
  // What spot has options for anyway.
  struct Place {
    std::vector<std::string> recordings;
    std::string output_file;
    std::string format;
    RawFormat raw;
  };
  void run(const Place& place) const;
  bool wanted() const { return !texts.empty() || !list_file.empty(); }

  std::vector<std::string> texts;
  std::string list_file;
  double threshold = 1e-5;  // for each phone
  AcousticOptions acoustic;

 private:
  std::vector<Keyword> keywords() const;
};

// "garden hose/1e-20", "hose /1e-20/", or the text alone, with the threshold for each of its phones. Throws Fault,
// which starts with place, for a threshold that is none.
Keyword parse_keyword(const std::string& text, double threshold, const std::string& place);

void add_keyword_options(Command command, KeywordSpotting& options);

}  // namespace kivsr::program
