// kivsr adapt: a model that is there, for a speaker or a room of which there are minutes.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/acoustic_adaptation.h"
#include "kivsr/speech/train/adaptation.h"
#include "kivsr/speech/train/trainer.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/recogniser_options.h"
#include "program/subcommands.h"
#include "program/training_progress.h"

namespace kivsr::program {

namespace {

enum class AdaptationMethod { kMap, kRegression, kDiagonalRegression, kRegressionThenMap };

struct AdaptCommand {
  void run();

  AcousticOptions acoustic;  // what is adapted
  std::string model_file;
  TrainingListFiles list;
  std::vector<std::string> recordings;
  AdaptationMethod method = AdaptationMethod::kMap;
  std::vector<std::string> updates = {"means"};
  AdaptationSettings settings;
  int iterations = 1;
  int jobs = 1;
  RawFormat raw;

 private:
  void set_method();
  std::vector<TrainingItem> items(bool with_words) const;
  void adapt_words();
  void adapt_phones();
  TrainingUtterances load(const std::vector<TrainingItem>& listed, const UtteranceLoader& load_all);
  void say(int iteration, const Statistics& statistics, int classes) const;

  std::optional<BadFiles> bad_;  // says at the end that files were left out
};

void AdaptCommand::set_method() {
  using Form = MeanRegression::Form;
  settings.regression.form = method == AdaptationMethod::kMap                  ? Form::kNone
                             : method == AdaptationMethod::kDiagonalRegression ? Form::kDiagonal
                                                                               : Form::kFull;
  settings.map = method == AdaptationMethod::kMap || method == AdaptationMethod::kRegressionThenMap;
  const auto updated = [&](const char* what) {
    return std::find(updates.begin(), updates.end(), what) != updates.end();
  };
  settings.means = updated("means");
  settings.variances = updated("variances");
  settings.weights = updated("weights");
  settings.validate();
}

std::vector<TrainingItem> AdaptCommand::items(bool with_words) const {
  if (list.list.empty() == recordings.empty()) throw Fault("adapt: give either --list or recordings");
  if (!list.list.empty()) return read_training_list(list, with_words);
  if (with_words) throw Fault("adapt: a model of words or phones needs --list, with what is said in each recording");
  std::vector<TrainingItem> result;
  for (const std::string& recording : recordings) result.push_back({recording, {}, 0});
  return result;
}

TrainingUtterances AdaptCommand::load(const std::vector<TrainingItem>& listed, const UtteranceLoader& load_all) {
  return load_with_progress(listed.size(), {}, bad_, load_all);
}

void AdaptCommand::say(int iteration, const Statistics& statistics, int classes) const {
  std::printf("pass %d of %d: %.0f files, %.0f frames, %.6f log likelihood a frame", iteration + 1, iterations,
              statistics.utterances, statistics.frames, statistics.log_likelihood / statistics.frames);
  if (classes > 0) std::printf("; %d classes of Gaussians", classes);
  std::printf("\n");
  std::fflush(stdout);
}

void AdaptCommand::adapt_words() {
  const WordModel prior = read_word_model(acoustic.model_name);
  const std::vector<TrainingItem> listed = items(!prior.plain_mixture);
  const TrainingUtterances utterances = load(listed, [&](const auto& begin, const auto& left_out) {
    return load_utterances(listed, prior, {raw, nullptr, jobs}, begin, {}, left_out);
  });
  WordModel heard = prior;
  for (int iteration = 0; iteration < iterations; ++iteration) {
    Progress progress("adapt", static_cast<int>(utterances.all().size()));
    const Statistics statistics = collect(heard, utterances, {}, listener_of(progress, iteration == 0), jobs);
    progress.clear();
    if (!(statistics.frames > 0.0)) throw Fault("none of the utterances can be used");
    WordModel adapted = prior;
    const int classes = adapt(adapted, heard, statistics, settings);
    heard = std::move(adapted);
    say(iteration, statistics, classes);
  }
  write_word_model(model_file, heard);
}

void AdaptCommand::adapt_phones() {
  const AcousticModel model = acoustic.read_model();
  const Dictionary dictionary = Dictionary::read(acoustic.dictionary_path(model));
  const std::vector<TrainingItem> listed = items(true);
  std::vector<std::string> names;
  std::map<std::string, int> numbers;
  const WordNumbers number = [&](const TrainingItem& item) {
    std::vector<int> words;
    for (const std::string& word : item.words) {
      const auto [place, is_new] = numbers.try_emplace(word, static_cast<int>(names.size()));
      std::string reason;
      if (is_new) names.push_back(word);
      if (is_new && pronunciations(word, dictionary, model, reason).empty()) place->second = -1;
      if (place->second < 0) throw Fault(item.file.string() + ": the word \"" + word + "\" cannot be pronounced");
      words.push_back(place->second);
    }
    return words;
  };
  const TrainingUtterances utterances = load(listed, [&](const auto& begin, const auto& left_out) {
    return load_utterances(listed, model.recipe, number, {raw, nullptr, jobs}, begin, {}, left_out);
  });
  AcousticAdaptation adaptation(model, dictionary, settings);
  for (int iteration = 0; iteration < iterations; ++iteration) {
    Progress progress("adapt", static_cast<int>(utterances.all().size()));
    const TrainingListener listener = listener_of(progress, iteration == 0);
    const Statistics statistics = adaptation.run(utterances, names, jobs, by_number(listener, utterances));
    progress.clear();
    say(iteration, statistics, adaptation.classes());
  }
  adaptation.write(model_file);
}

void AdaptCommand::run() {
  set_method();
  if (std::filesystem::is_regular_file(acoustic.model_name)) {
    if (!acoustic.dictionary_file.empty()) throw Fault("adapt: --dict is for a model of phones");
    adapt_words();
  } else {
    adapt_phones();
  }
  if (bad_) bad_->finish();
}

}  // namespace

void add_adapt(Command program) {
  const Command command =
      program.add_subcommand("adapt", "Adapt a model to a speaker or a channel, from seconds or minutes of speech");
  const auto options = std::make_shared<AdaptCommand>();
  command.add_option("recordings", options->recordings, "Of a mixture: audio or feature files to adapt it to");
  command
      .add_option("--from", options->acoustic.model_name,
                  "What is adapted: a mixture, a model of words, the folder of an acoustic model, or the name of one "
                  "that Debian installs")
      .required();
  command.add_option("--model", options->model_file, "The model to write: a file, or a folder").required();
  command.add_option("--dict", options->acoustic.dictionary_file,
                     "Pronunciation dictionary (default: the one beside the model)");
  const Option list =
      command.add_option("--list", options->list.list, "Files to adapt to, lines \"file word word ...\"");
  command
      .add_option("--transcripts", options->list.transcripts,
                  "Lines \"words (utterance-id)\"; the lines of the list are file names only")
      .needs(list);
  command.add_option("--folder", options->list.folder, "Of the files of the list (default: that of the list)")
      .needs(list);
  command.add_option("--extension", options->list.extension, "Added to the names of the list").needs(list);
  add_choice(command, "--method", options->method,
             {{"map", AdaptationMethod::kMap},
              {"mllr", AdaptationMethod::kRegression},
              {"mllr-diagonal", AdaptationMethod::kDiagonalRegression},
              {"mllr-map", AdaptationMethod::kRegressionThenMap}},
             "Each Gaussian by what was heard of it (map), all by linear regression (mllr), or one behind the other");
  add_number(command, "--relevance", options->settings.relevance, 0.001, 1e9,
             "Of map: frames that the model before counts in each Gaussian");
  command.add_option("--update", options->updates, "What map adapts: means, variances, weights")
      .delimiter(',')
      .one_of({"means", "variances", "weights"});
  add_number(command, "--classes", options->settings.regression.classes, 1, 10000,
             "Of mllr: most classes of Gaussians with a transform each");
  add_number(command, "--least-class", options->settings.regression.least_frames, 1, 1e9,
             "Frames of such a class, at least");
  add_number(command, "--iterations", options->iterations, 1, 1000, "Passes over the speech");
  add_number(command, "--jobs,-j", options->jobs, 1, 1024, "Utterances that are worked on at a time");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
