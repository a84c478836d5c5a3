// What recognise does, and phones, which is the same with phones for words.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/io/audio_file.h"
#include "program/file_options.h"
#include "program/recognise_report.h"
#include "program/recogniser_options.h"
#include "program/result_options.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct RecogniseCommand {
  void run() const;

  AcousticOptions acoustic;
  std::string grammar_file;
  std::string rule;
  std::string words;
  std::string ngram_file;
  std::string reference_file;
  ReportFormat format = ReportFormat::kText;
  bool alignment = false;
  bool phones = false;
  bool phone_loop = false;  // phones instead of words
  bool skip_unknown = false;
  FileOptions files;
  RawFormat raw;
  SearchWeights weights{.insertion_penalty = -10.0F};
  Beams beams;
  ResultOptions results;

 private:
  struct Task {
    std::unique_ptr<AcousticModel> model;  // stays where it is, as the network refers to it
    SearchNetwork network;
  };
  struct Worker;
  void check_format(const std::vector<FileTask>& tasks) const;
  void recognise_all(const Task& given, const std::vector<FileTask>& tasks) const;
  Task task() const;
  Task word_model_task() const;
  Task phone_task() const;
  SearchNetwork network_of(WordNetwork words, const Dictionary& pronunciations, const AcousticModel& model) const;
  SearchNetwork ngram_network_of(const AcousticModel& model) const;
  RecognisedUtterance recognise(const std::string& file, Worker& worker) const;
  WordNetwork word_network() const;
  Dictionary dictionary(const AcousticModel& model, const WordNetwork& network) const;
};

}  // namespace kivsr::program
