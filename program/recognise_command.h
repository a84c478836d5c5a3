// What recognise does, and phones, which is the same with phones for words.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/streaming_recogniser.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/models/ngram_mixture.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/recognise_report.h"
#include "program/recogniser_options.h"
#include "program/result_options.h"
#include "program/speech_names.h"

namespace kivsr::program {

enum class MeanOver {
  kAsRecipe,   // of whole files as the recipe says, of segments running
  kUtterance,  // of the file or the segment
  kRunning
};

struct RecogniseCommand {
  void run();

  AcousticOptions acoustic;
  std::string grammar_file;
  std::string rule;
  std::string words;
  std::string ngram_file;
  std::string mixed_ngram_file;  // whose probabilities are added
  std::string class_file;        // of words of the n-gram model
  double ngram_share = 0.5;      // of the first
  std::string reference_file;
  ReportFormat format = ReportFormat::kText;
  bool alignment = false;
  bool phones = false;
  bool phone_loop = false;  // phones instead of words
  bool skip_unknown = false;
  FileOptions files;
  RawFormat raw;
  GivenWeights weights;
  ModelBeams beams;
  ResultOptions results;
  bool segment = false;  // one result a segment of speech
  bool live = false;     // the same of one stream, at once
  bool partial = false;  // and the best guess as it changes
  MeanOver mean = MeanOver::kAsRecipe;
  StreamingRules streaming;

 private:
  struct Task {
    std::unique_ptr<AcousticModel> model;  // stays where it is, as the network refers to it
    SearchNetwork network;
  };
  struct Worker;
  class SegmentWorker;
  // What a result is made of besides the hypothesis.
  struct Origin {
    std::string file;
    std::string segment;  // empty: the whole file
    const SearchNetwork& network;
    const AcousticModel& model;
    Scorer& scorer;
    const FeatureMatrix& rows;  // if the phones are told
    double frame_seconds;
  };
  RecognisedUtterance utterance_of(Hypothesis hypothesis, const Origin& origin) const;
  ReportStyle style() const;
  StreamingRules streaming_rules() const;
  void check_stream(const std::vector<FileTask>& tasks) const;
  void check_format(const std::vector<FileTask>& tasks) const;
  bool tells_times() const;
  void recognise_all(const Task& given, const std::vector<FileTask>& tasks) const;
  void recognise_each(const Task& given, FileLoop& loop, RecogniseReport& report, const References* references) const;
  void recognise_segments(const Task& given, FileLoop& loop, RecogniseReport& report,
                          const References* references) const;
  Task task() const;
  Task word_model_task() const;
  Task phone_task() const;
  SearchNetwork network_of(WordNetwork words, const Dictionary& pronunciations, const AcousticModel& model) const;
  NgramMixture ngram_model() const;
  SearchNetwork ngram_network_of(const AcousticModel& model) const;
  RecognisedUtterance recognise(const std::string& file, Worker& worker) const;
  WordNetwork word_network() const;
  Dictionary dictionary(const AcousticModel& model, const WordNetwork& network) const;
};

}  // namespace kivsr::program
