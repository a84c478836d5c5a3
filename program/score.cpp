// kivsr score: how well mixtures, such as those of speakers, fit recordings.
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/mixture_evaluator.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/numbers.h"
#include "program/picture/detection_picture.h"
#include "program/picture_options.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/score_report.h"
#include "program/subcommands.h"
#include "program/trials.h"

namespace kivsr::program {

namespace {

struct Mixture {
  explicit Mixture(const std::string& file) : model(read_word_model(file)), evaluator(model) {
    if (!model.plain_mixture) throw Fault(file + ": is a model of words, not a mixture");
  }
  const WordModel model;
  const MixtureEvaluator evaluator;
};

struct ScoreCommand {
  void run();

  FileOptions files;
  std::vector<std::string> model_files;
  std::string background_file;
  std::string trial_file;
  std::string folder;  // of the names in the trials
  std::optional<double> threshold;
  DetectionCost cost;
  ScoreFormat format = ScoreFormat::kText;
  PictureOptions picture;
  RawFormat raw;

 private:
  // A model that is tried on a recording.
  struct Candidate {
    std::string name;
    const Mixture* mixture = nullptr;
    std::optional<bool> target;
  };
  std::vector<FileTask> tasks_of_trials();
  std::vector<FileTask> tasks_of_arguments();
  const Mixture& mixture(const std::string& file);
  ScoredRecording score(const FileTask& task, FeatureChain& chain, FileTurn& turn) const;
  void finish(const TrialSummary& summary, std::string text) const;

  std::map<std::string, std::unique_ptr<Mixture>> mixtures_;
  const Recipe* recipe_ = nullptr;
  const Mixture* background_ = nullptr;
  std::map<std::string, std::vector<Candidate>> candidates_;  // of each recording
};

// All of them are of the same features, since those of a recording are computed once.
const Mixture& ScoreCommand::mixture(const std::string& file) {
  std::unique_ptr<Mixture>& place = mixtures_[file];
  if (!place) {
    place = std::make_unique<Mixture>(file);
    if (recipe_ == nullptr) recipe_ = &place->model.recipe;
    require_same(*recipe_, place->model.recipe, file);
  }
  return *place;
}

std::vector<FileTask> ScoreCommand::tasks_of_trials() {
  if (folder.empty()) folder = std::filesystem::path(trial_file).parent_path().string();
  std::vector<std::string> recordings;
  for (const Trial& trial : read_trials(trial_file, folder)) {
    std::vector<Candidate>& candidates = candidates_[trial.recording];
    if (candidates.empty()) recordings.push_back(trial.recording);
    candidates.push_back({trial.model, &mixture(trial.model), trial.target});
  }
  return program::tasks_of(recordings);
}

std::vector<FileTask> ScoreCommand::tasks_of_arguments() {
  std::vector<FileTask> tasks =
      file_tasks(files, Outputs::kShared, [](const std::string&) { return std::string(".txt"); });
  std::vector<Candidate> candidates;
  for (const std::string& file : model_files) candidates.push_back({file, &mixture(file), std::nullopt});
  for (const FileTask& task : tasks) candidates_[task.input] = candidates;
  return tasks;
}

ScoredRecording ScoreCommand::score(const FileTask& task, FeatureChain& chain, FileTurn& turn) const {
  const std::vector<Candidate>& candidates = candidates_.at(task.input);
  std::vector<double> sums(candidates.size());
  double background = 0.0;
  const UtteranceInfo info = stream_utterance(task.input, chain, raw, [&](const FeatureMatrix& rows) {
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += candidates[i].mixture->evaluator.log_likelihood(0, rows);
    if (background_ != nullptr) background += background_->evaluator.log_likelihood(0, rows);
  });
  turn.heard(info.seconds);
  const auto frames = static_cast<double>(info.frames);
  ScoredRecording result{task.input, static_cast<long long>(info.frames), std::nullopt, {}};
  if (background_ != nullptr) result.background = background / frames;
  for (std::size_t i = 0; i < sums.size(); ++i) {
    const double mean = sums[i] / frames;
    result.models.push_back({candidates[i].name, mean, mean - result.background.value_or(0.0), candidates[i].target});
  }
  return result;
}

void ScoreCommand::finish(const TrialSummary& summary, std::string text) const {
  text += summary_lines(summary, cost, format);
  std::optional<OutputFile> drawn;
  if (!picture.file.empty()) {
    if (!summary.has_both()) throw Fault("score: --picture needs trials of targets and of others");
    draw_detection_errors(drawn.emplace(picture.file), picture, std::filesystem::path(trial_file).filename().string(),
                          DetectionErrors(summary.trials));
  }
  write_report(files.output, text);
  if (drawn) drawn->commit();
}

void ScoreCommand::run() {
  if (trial_file.empty() == model_files.empty()) throw Fault("score: give either --model or --trials");
  if (!files.output_folder.empty()) throw Fault("score: the scores of all files are one report, give --output");
  if (!picture.file.empty()) {
    if (trial_file.empty()) throw Fault("score: --picture shows the errors of --trials");
    check_picture_name(picture.file);
  }
  if (!trial_file.empty() && !(files.files.empty() && files.list.empty())) {
    throw Fault("score: the trials name the recordings, give no others");
  }
  const std::vector<FileTask> tasks = trial_file.empty() ? tasks_of_arguments() : tasks_of_trials();
  if (!background_file.empty()) background_ = &mixture(background_file);
  say_unused_raw_options(raw, inputs_of(tasks));
  std::string text = score_header(format);
  TrialSummary summary;
  FileLoop loop("score", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    return [&, chain = std::make_shared<FeatureChain>(*recipe_)](const FileTask& task, FileTurn& turn) {
      const ScoredRecording recording = score(task, *chain, turn);
      turn.post([&, recording] {
        text += score_lines(recording, threshold, format);
        summary.add(recording);
      });
    };
  });
  finish(summary, std::move(text));
  loop.finish();
}

}  // namespace

void add_score(Command program) {
  const Command command =
      program.add_subcommand("score", "Tell how well mixtures, such as those of speakers, fit recordings");
  const auto options = std::make_shared<ScoreCommand>();
  add_file_options(command, options->files, Outputs::kShared,
                   "WAV, FLAC, ... or .raw (16-bit, one channel), or files of features",
                   "File to write (default: standard output)");
  command.add_option("--model", options->model_files, "A mixture that is tried on every recording; may be given again")
      .one_value_each();
  command.add_option("--background", options->background_file,
                     "Mixture of everybody: scores are how much better a model fits than this one");
  const Option trials = command.add_option("--trials", options->trial_file,
                                           "Lines \"model recording target|nontarget\": who is tried on what");
  command.add_option("--folder", options->folder, "Of the names in the trials (default: that of their file)")
      .needs(trials);
  add_number(command, "--threshold", options->threshold, -1e9, 1e9, "Say which scores reach this");
  add_number(command, "--target-prior", options->cost.target_prior, 1e-6, 0.999999,
             "Of the least cost: how probable a target is")
      .needs(trials);
  add_number(command, "--miss-cost", options->cost.miss, 1e-6, 1e6, "Of a target that is refused").needs(trials);
  add_number(command, "--false-alarm-cost", options->cost.false_alarm, 1e-6, 1e6, "Of another that is accepted")
      .needs(trials);
  add_choice(command, "--format", options->format,
             {{"text", ScoreFormat::kText}, {"tsv", ScoreFormat::kTsv}, {"json", ScoreFormat::kJson}},
             "text, tsv, or json: an object a line");
  add_picture_options(command, options->picture, "misses against false alarms of the trials", "both axes, percent,");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
