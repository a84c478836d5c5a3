#include "program/result_options.h"

#include <cstddef>
#include <filesystem>
#include <utility>

#include "kivsr/speech/decode/word_confidence.h"
#include "kivsr/speech/decode/word_lattice.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"
#include "program/command.h"
#include "program/numbers.h"
#include "program/report_text.h"
#include "program/transcript_format.h"

namespace kivsr::program {

void ResultOptions::check(ReportFormat format, bool several) const {
  if (nbest > 0 && format != ReportFormat::kText && format != ReportFormat::kJson) {
    throw Fault("--nbest is for the formats text and json");
  }
  if (!lattice.empty() && several && !std::filesystem::is_directory(lattice)) {
    throw Fault("--lattice of several recordings is a folder, " + lattice + " is none");
  }
}

std::vector<WordCertainty> ResultOptions::certainties(Hypothesis& hypothesis, const SearchNetwork& network,
                                                      bool phones) const {
  find_posteriors(hypothesis.lattice, scale);
  if (!with_confidence()) return {};
  const std::vector<WordEvidence> evidence = word_evidence(hypothesis.lattice, network, hypothesis.words);
  const std::vector<double> confidences = word_confidences(evidence);
  std::vector<WordCertainty> kept;
  std::vector<HypothesisWord> words;
  for (std::size_t i = 0; i < evidence.size(); ++i) {
    const double confidence = phones ? evidence[i].posterior : confidences[i];
    if (confidence < minimum_confidence && !evidence[i].filler) continue;
    words.push_back(hypothesis.words[i]);
    kept.push_back({confidence, evidence[i]});
  }
  hypothesis.words = std::move(words);
  return kept;
}

void ResultOptions::tell(const Hypothesis& hypothesis, const SearchNetwork& network, double frame_seconds,
                         RecognisedUtterance& utterance) const {
  for (const Sentence& sentence : best_sentences(hypothesis.lattice, network, nbest)) {
    utterance.alternatives.push_back({spoken_words(sentence.words, network), sentence.score});
  }
  if (lattice.empty()) return;
  const std::string stem = utterance.segment.empty() ? recording_name(utterance.file) : utterance.segment;
  const std::filesystem::path place(lattice);
  const auto file = std::filesystem::is_directory(place) ? place / (stem + ".slf") : place;
  write_report(file.string(), lattice_text(hypothesis.lattice, network, stem, frame_seconds));
}

void add_result_options(Command command, ResultOptions& options) {
  command.add_flag("--confidence", options.confidence, "Tell how sure each word is, from 0 to 1");
  add_number(command, "--minimum-confidence", options.minimum_confidence, 0, 1,
             "Words that are less sure are left out");
  add_number(command, "--nbest", options.nbest, 0, 10000, "Best sentences that are told, which differ in their words");
  command.add_option("--lattice", options.lattice,
                     "File for the lattice of the words that could have been said (HTK SLF), or a folder for several");
  add_number(command, "--lattice-beam", options.beam, 0, 1e6, "Log score behind the best path of what it holds");
  add_number(command, "--confidence-scale", options.scale, 0, 10, "Of log scores that confidences are made of");
}

std::vector<std::string> spoken_words(const std::vector<HypothesisWord>& words, const SearchNetwork& network) {
  std::vector<std::string> result;
  for (const HypothesisWord& word : words) {
    const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
    if (label.filler) continue;
    for (std::string& word : words_of(label.word)) result.push_back(std::move(word));
  }
  return result;
}

}  // namespace kivsr::program
