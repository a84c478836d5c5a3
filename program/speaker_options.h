// Normalisation of features by the mean, and variance, of their speaker: which statistics, whose, and where they go.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/speaker_normalisation.h"
#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

class SpeakerOptions {
 public:
  explicit SpeakerOptions(Command command);
  SpeakerOptions(const SpeakerOptions&) = delete;
  SpeakerOptions& operator=(const SpeakerOptions&) = delete;

  // Reads what the command line names. Throws Fault for what cannot be statistics or a table of speakers.
  void read();
  bool given() const { return !input_.empty() || !output_.empty(); }
  bool gathers() const { return !output_.empty(); }
  // What to do with the rows of an utterance (FeatureChain::change_statics): sums gets those that it is given, if they
  // are wanted. Throws Fault for an utterance without a speaker or a speaker without statistics.
  RowChange change_for(const std::string& utterance, std::shared_ptr<ColumnSums> sums) const;
  // For the utterances in their order, on one thread.
  void gather(const std::string& utterance, const ColumnSums& sums);
  void write() const;

 private:
  const std::string& speaker_of(const std::string& utterance) const;

  std::string input_;
  std::string output_;
  std::string table_;  // of speakers
  bool variance_ = false;
  std::map<std::string, std::string> speakers_;
  std::map<std::string, ColumnNormaliser> normalisers_;  // of "" for all
  std::map<std::string, ColumnSums> gathered_;
};

}  // namespace kivsr::program
