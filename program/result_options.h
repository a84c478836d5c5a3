// Options of recognise about what is told besides the best words: how sure they are, other sentences, the lattice.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/viterbi_search.h"
#include "program/command.h"
#include "program/recognise_report.h"
#include "program/speech_names.h"
#include "program/word_times.h"

namespace kivsr::program {

struct ResultOptions {
  std::string lattice;  // file or folder, empty: none
  int nbest = 0;
  bool confidence = false;
  double minimum_confidence = 0.0;
  float beam = 100.0F;
  double scale = 0.1;

  bool with_confidence() const { return confidence || minimum_confidence > 0.0; }
  bool with_lattice() const { return with_confidence() || nbest > 0 || !lattice.empty(); }

  // Throws Fault for what the format cannot tell.
  void check(ReportFormat format, bool several) const;
  // Drops the words of the hypothesis that are not sure enough; what is known of the others, empty if it is not wanted.
  // phones: the words are phones, which are as sure as their posteriors.
  std::vector<WordCertainty> certainties(Hypothesis& hypothesis, const SearchNetwork& network, bool phones) const;
  // Other sentences, and the lattice into its file. Posteriors are known.
  void tell(const Hypothesis& hypothesis, const SearchNetwork& network, double frame_seconds,
            RecognisedUtterance& utterance) const;
};

void add_result_options(Command command, ResultOptions& options);

// The words that were said, without silence and noise. A quoted token of a grammar can be several.
std::vector<std::string> spoken_words(const std::vector<HypothesisWord>& words, const SearchNetwork& network);

}  // namespace kivsr::program
