// kivsr train: models of words, or a plain mixture, from lists of audio or feature files.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/start_model.h"
#include "kivsr/speech/train/trainer.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/mpi_team.h"
#include "program/numbers.h"
#include "program/progress.h"
#include "program/raw_options.h"
#include "program/recipe_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"
#include "program/train_phones.h"
#include "program/training_progress.h"

namespace kivsr::program {

namespace {

struct TrainCommand {
  explicit TrainCommand(Command command) : recipe(command, "sphinx-39") {}

  void run();

  RecipeOptions recipe;
  TrainingListFiles list;
  std::string model_file;
  bool plain_mixture = false;
  bool resume = false;
  std::string aligner_file;
  double frames_per_state = 0.0;
  int most_passes = -1;  // of this run; -1: all
  std::string part_text;
  std::string statistics_file;
  std::vector<std::string> sum_files;
  std::string cache_folder;
  RawFormat raw;
  int source_width = 13;  // of .mfc files
  int jobs = 1;
  std::string method = "baum-welch";
  std::string start = "codebook";
  TrainingSettings settings;
  Option states;
  PhoneOptions phones;
  // Says of each setting given on the command line whether it is the stored one.
  std::vector<std::function<void(const TrainingSettings&)>> comparisons;

 private:
  void run_pass_or_all();
  void run_phones();
  void read_model(const std::string& file);
  Recipe recipe_for(Source source, int width) const;
  void begin(const std::vector<TrainingItem>& items);
  void train(const std::vector<TrainingItem>& items);
  void write_part(const std::vector<TrainingItem>& items);
  void sum_parts();
  void load(const std::vector<TrainingItem>& items, const TrainingShare& share);
  void share_model();
  const RowCache* cache() const { return cache_ ? &*cache_ : nullptr; }
  Statistics add_up(bool warnings) const;
  void complete_pass(const Statistics& statistics);

  std::unique_ptr<TrainingTeam> team_;
  std::optional<RowCache> cache_;
  WordModel model_;
  int pass_ = 0;
  TrainingUtterances utterances_;
  std::optional<BadFiles> bad_;  // says at the end that files were left out
};

// "2/5" as the index 1 of 5.
std::pair<int, int> parse_part(const std::string& text) {
  int part = 0;
  int parts = 0;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%d/%d%c", &part, &parts, &rest) != 2 || part < 1 || parts < part || parts > 1000000) {
    throw Fault("--part " + text + ": is not like 2/5");
  }
  return {part - 1, parts};
}

void TrainCommand::read_model(const std::string& file) {
  model_ = read_word_model(file);
  const TrainingSettings stored = stored_settings(model_.training, model_file, pass_);
  for (const auto& compare : comparisons) compare(stored);
  if (recipe.given())
    require_same(model_.recipe, recipe_for(model_.recipe.source, model_.recipe.source_width), model_file);
  if (plain_mixture && !model_.plain_mixture) throw Fault(model_file + ": is a model of words, not a plain mixture");
  settings = stored;
}

void check_list(const std::vector<TrainingItem>& items, const TrainingSettings& settings, const std::string& model) {
  if (static_cast<double>(list_checksum(items)) != settings.list_checksum) {
    throw Fault(model + ": was begun with another list of files or other transcripts");
  }
}

// Of rows of features only what follows the front end.
Recipe TrainCommand::recipe_for(Source source, int width) const {
  Recipe whole = recipe.recipe();
  if (source == Source::kAudio) return whole;
  Recipe result = Recipe::of_features(width);
  result.normalisation = whole.normalisation;
  result.normalisation_frames = whole.normalisation_frames;
  result.dynamics = whole.dynamics;
  result.regression_window = whole.regression_window;
  result.feature_transform = whole.feature_transform;
  result.validate();
  return result;
}

void TrainCommand::begin(const std::vector<TrainingItem>& items) {
  settings.list_checksum = static_cast<double>(list_checksum(items));
  const auto is_audio = [](const TrainingItem& item) { return !is_feature_file(item.file); };
  const bool audio = std::any_of(items.begin(), items.end(), is_audio);
  const Recipe features = audio
                              ? recipe_for(Source::kAudio, 0)
                              : recipe_for(Source::kFeatures, FeatureReader(items.front().file, source_width).width());
  std::optional<Aligner> aligner;
  if (!aligner_file.empty()) aligner = Aligner{read_word_model(aligner_file), frames_per_state};
  model_ = model_shape(features, items, plain_mixture, settings, aligner ? &*aligner : nullptr);
  if (aligner) aligner->check_fits(model_);
  load(items, {});
  start_model(model_, utterances_, settings, aligner ? &*aligner : nullptr);
  store_settings(settings, 0, model_.training);
  const int words = static_cast<int>(model_.units.size()) - (model_.silence() >= 0 ? 1 : 0);
  std::printf("%s; %s, %s\n", amount_text(utterances_, model_.dimension()).c_str(),
              counted(words, model_.plain_mixture ? "mixture" : "word").c_str(),
              counted(static_cast<std::int64_t>(model_.states.size()), "state").c_str());
  write_word_model(model_file, model_);
}

void TrainCommand::load(const std::vector<TrainingItem>& items, const TrainingShare& share) {
  utterances_ = load_with_progress(items.size(), share, bad_, [&](const auto& begin, const auto& left_out) {
    return load_utterances(items, model_, {raw, cache(), jobs}, begin, share, left_out);
  });
}

void TrainCommand::share_model() {
  share_file(team_.get(), model_file, [this](const std::string& file) { read_model(file); });
}

Statistics TrainCommand::add_up(bool warnings) const {
  Progress progress("train", static_cast<int>(utterances_.all().size()));
  return collect(model_, utterances_, settings, listener_of(progress, warnings), jobs);
}

void TrainCommand::complete_pass(const Statistics& statistics) {
  const ReestimationReport report = finish_pass(model_, statistics, settings, pass_);
  ++pass_;
  write_word_model(model_file, model_);
  int components = 0;
  for (const MixtureState& state : model_.states) components += state.components();
  std::printf(
      "pass %d of %d: %.6f log likelihood a frame; %d components, floored %d variances and %d weights, merged %d\n",
      pass_, settings.passes(), statistics.log_likelihood / statistics.frames, components, report.floored_variances,
      report.floored_weights, report.merged_components);
  if (report.unseen_states > 0 || statistics.skipped > 0.0) {
    std::printf("  left out: %s; not reached: %s\n",
                counted(static_cast<std::int64_t>(statistics.skipped), "utterance").c_str(),
                counted(report.unseen_states, "state").c_str());
  }
  std::fflush(stdout);
}

void TrainCommand::train(const std::vector<TrainingItem>& items) {
  const bool goes_on = agreed(team_.get(), resume && is_word_model_file(model_file));
  if (leads(team_.get())) {
    if (goes_on) {
      read_model(model_file);
      check_list(items, settings, model_file);
    } else {
      begin(items);
    }
  }
  share_model();
  if ((goes_on || team_) && pass_ < settings.passes()) load(items, {0, 1, team_.get()});
  const int first = pass_;
  while (pass_ < settings.passes() && (most_passes < 0 || pass_ < first + most_passes)) {
    prepare_pass(model_, settings, pass_);
    const Statistics statistics = add_up(pass_ == first);
    if (leads(team_.get())) complete_pass(statistics);
    share_model();
  }
}

void TrainCommand::write_part(const std::vector<TrainingItem>& items) {
  const auto [part, parts] = parse_part(part_text);
  if (statistics_file.empty()) throw Fault("train: --part needs --statistics, the file for its sums");
  read_model(model_file);
  check_list(items, settings, model_file);
  if (pass_ >= settings.passes()) throw Fault(model_file + ": all its passes are done");
  prepare_pass(model_, settings, pass_);
  load(items, {part, parts});
  const Statistics statistics = add_up(true);
  statistics.write(statistics_file);
  std::printf("pass %d of %d, part %d of %d: %s, %.0f frames\n", pass_ + 1, settings.passes(), part + 1, parts,
              counted(static_cast<std::int64_t>(statistics.utterances), "utterance").c_str(), statistics.frames);
}

void TrainCommand::sum_parts() {
  read_model(model_file);
  if (pass_ >= settings.passes()) throw Fault(model_file + ": all its passes are done");
  prepare_pass(model_, settings, pass_);
  Statistics total(model_);
  for (const std::string& file : sum_files) total.add(Statistics::read(file, model_));
  complete_pass(total);
}

void TrainCommand::run_phones() {
  PhoneTrainingRun run;
  run.items = read_training_list(list, true);
  run.list = list.transcripts.empty() ? list.list.string() : list.transcripts.string();
  run.folder = model_file;
  run.recipe = recipe.recipe();
  run.source = {raw, cache(), jobs};
  run.resume = resume;
  run.most_passes = most_passes;
  run.jobs = jobs;
  run.sum_files = sum_files;
  run.share.team = team_.get();
  if (!part_text.empty()) {
    std::tie(run.share.part, run.share.parts) = parse_part(part_text);
    if (statistics_file.empty()) throw Fault("train: --part needs --statistics, the file for its sums");
    run.statistics_file = statistics_file;
  }
  run.compare = [this](const TrainingSettings& stored) {
    for (const auto& compare : comparisons) compare(stored);
  };
  phones.settings.common = settings;
  if (!states.is_given()) phones.settings.common.states = 3;
  train_phones(run, phones);
}

void TrainCommand::run() {
  settings.viterbi = method == "viterbi";
  settings.random_start = start == "random";
  settings.validate();
  team_ = join_mpi_team();
  if (team_ && (!part_text.empty() || !sum_files.empty())) {
    throw Fault("train: processes of mpirun share a list themselves, without --part and --sum");
  }
  if (!cache_folder.empty()) cache_.emplace(cache_folder, say_of_kept_rows);
  run_pass_or_all();
  team_.reset();
}

void TrainCommand::run_pass_or_all() {
  if (!sum_files.empty() && phones.dictionary.empty()) {
    if (!list.list.empty()) throw Fault("train: --sum needs no --list, except with --dict");
    return sum_parts();
  }
  if (list.list.empty()) throw Fault("train: --list is needed, the files to train from");
  if (!phones.dictionary.empty()) return run_phones();
  const std::vector<TrainingItem> items = read_training_list(list, !plain_mixture);
  if (part_text.empty()) {
    train(items);
  } else {
    write_part(items);
  }
  if (bad_) bad_->finish();
}

template <class Value>
void add_setting(Command command, const std::shared_ptr<TrainCommand>& options, const std::string& name,
                 Value TrainingSettings::*member, std::type_identity_t<Value> low, std::type_identity_t<Value> high,
                 const std::string& text) {
  const Option option = add_number(command, "--" + name, options->settings.*member, low, high, text);
  option.group("Training");
  options->comparisons.push_back([=, train = options.get()](const TrainingSettings& stored) {
    if (option.is_given() && train->settings.*member != stored.*member) {
      throw Fault(train->model_file + ": was begun with another --" + name);
    }
  });
}

void add_training_settings(Command command, const std::shared_ptr<TrainCommand>& options) {
  using S = TrainingSettings;
  const auto compare_switch = [&](Option option, const std::string& name, bool S::*member) {
    option.group("Training");
    options->comparisons.push_back([=, train = options.get()](const S& stored) {
      if (option.is_given() && train->settings.*member != stored.*member) {
        throw Fault(train->model_file + ": was begun with another --" + name);
      }
    });
  };
  add_setting(command, options, "states", &S::states, 1, 1000, "States of each word");
  add_setting(command, options, "silence-states", &S::silence_states, 0, 1000,
              "States of the silence between words; 0: none");
  add_setting(command, options, "components", &S::components, 1, 8192, "Most Gaussians of a state");
  add_setting(command, options, "start-components", &S::start_components, 1, 8192,
              "Gaussians of a state to start with");
  add_setting(command, options, "iterations", &S::iterations, 1, 10000, "Passes for each number of Gaussians");
  compare_switch(
      command.add_option("--method", options->method, "All paths or the best path").one_of({"baum-welch", "viterbi"}),
      "method", &S::viterbi);
  compare_switch(command.add_option("--start", options->start, "Means of a trained codebook, or random frames")
                     .one_of({"codebook", "random"}),
                 "start", &S::random_start);
  add_setting(command, options, "seed", &S::seed, 0, 2'000'000'000, "Of the random start");
  add_setting(command, options, "variance-floor", &S::variance_floor, 1e-12, 1e12, "Smallest variance");
  add_setting(command, options, "variance-floor-share", &S::variance_floor_share, 0, 1,
              "Smallest variance as a share of that of all frames");
  add_setting(command, options, "variance-prior", &S::variance_prior, 0, 1e9,
              "Frames that the mean variance of all words counts in each Gaussian");
  add_setting(command, options, "weight-floor", &S::weight_floor, 0, 1, "Smallest weight of a Gaussian");
  add_setting(command, options, "least-occupation", &S::least_occupation, 0, 1e9,
              "Frames of a Gaussian below which it is merged with another");
  add_setting(command, options, "split-distance", &S::split_distance, 1e-6, 10,
              "Standard deviations that the halves of a split Gaussian move");
}

}  // namespace

void add_train(Command program) {
  const Command command = program.add_subcommand("train", "Train a model of words, or a mixture, from files");
  const auto options = std::make_shared<TrainCommand>(command);
  command.add_option("--model", options->model_file, "The model to write; with --resume, --part and --sum to read too")
      .required();
  command.add_option("--list", options->list.list, "Files to train from, lines \"file word word ...\"");
  command.add_option("--transcripts", options->list.transcripts,
                     "Lines \"words (utterance-id)\"; the lines of the list are file names only");
  command.add_option("--folder", options->list.folder, "Of the files of the list (default: that of the list)");
  command.add_option("--extension", options->list.extension, "Added to the names of the list");
  command.add_option("--align-with", options->aligner_file,
                     "Start from where this model finds the words, not from an even spread");
  add_number(command, "--frames-per-state", options->frames_per_state, 0.1, 1000,
             "With --align-with: states of each word by its duration there, one for so many frames")
      .needs("--align-with");
  command.add_flag("--mixture", options->plain_mixture, "Train one mixture of all frames; nothing is said about words");
  command.add_flag("--resume", options->resume, "Go on with the model if it is there");
  add_number(command, "--passes", options->most_passes, 0, 1'000'000, "Stop after so many passes; 0: after the start");
  command.add_option("--part", options->part_text, "Only add up part i of n of the list for the next pass: i/n");
  command.add_option("--statistics", options->statistics_file, "File for the sums of --part").needs("--part");
  const Option sum = command.add_option("--sum", options->sum_files, "Files of all parts: finish the pass with them");
  for (const char* other : {"--align-with", "--passes", "--part"}) sum.excludes(other);
  for (const char* of_list : {"--transcripts", "--folder", "--extension"}) {
    command.option(of_list).needs("--list");
  }
  command.option("--part").excludes("--passes");
  add_number(command, "--jobs,-j", options->jobs, 1, 1024, "Utterances that are worked on at a time");
  add_number(command, "--mfc-width", options->source_width, 1, 10000, "Values of a frame in .mfc files");
  command.add_option("--cache", options->cache_folder,
                     "Folder that keeps the rows of features of each file for the next run");
  add_raw_options(command, options->raw);
  add_training_settings(command, options);
  options->states = command.option("--states");
  options->phones.add_to(command);
  for (const char* other :
       {"--mixture", "--align-with", "--silence-states", "--start", "--start-components", "--seed"}) {
    command.option("--dict").excludes(other);
  }
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
