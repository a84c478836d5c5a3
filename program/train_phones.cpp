#include "program/train_phones.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/io/fault.h"
#include "program/command.h"
#include "program/mpi_team.h"
#include "program/numbers.h"
#include "program/report_text.h"
#include "program/training_progress.h"

namespace kivsr::program {

namespace {

class PhoneTraining {
 public:
  PhoneTraining(const PhoneTrainingRun& run, const PhoneOptions& options)
      : run_(run),
        options_(options),
        settings_(options.settings),
        record_(std::filesystem::path(run.folder) / kPhoneModelRecord),
        dictionary_(Dictionary::read(options.dictionary)) {}

  void run() {
    if (!run_.sum_files.empty()) return sum_parts();
    if (!run_.statistics_file.empty()) return write_part();
    train();
  }

 private:
  void train() {
    const bool goes_on = agreed(team(), run_.resume && std::filesystem::exists(record_));
    if (!goes_on) {
      begin();
    } else if (leads(team())) {
      read(record_);
    }
    if (goes_on) share_record();
    const PhoneLexicon lexicon(dictionary_, model_.fillers, model_.definition);
    if (!goes_on || (pass_ < settings_.passes() && run_.most_passes != 0)) load(lexicon);
    if (!goes_on) start();
    PhoneTrainingData data = data_with(lexicon);
    if (team() != nullptr) data.said = said(lexicon);
    const int first = pass_;
    while (pass_ < settings_.passes() && (run_.most_passes < 0 || pass_ < first + run_.most_passes)) {
      complete_pass(data, pass_ == first);
    }
    if (pass_ == settings_.passes() && leads(team())) write_sphinx_model(run_.folder, model_);
    agreed(team(), true);  // nobody ends before the model is written
    if (bad_) bad_->finish();
  }

  TrainingTeam* team() const { return run_.share.team; }

  void share_record() {
    share_file(team(), record_.string(), [this](const std::string& file) { read(file); });
  }

  void read_for_parts() {
    read(record_);
    if (pass_ >= settings_.passes()) throw Fault(run_.folder + ": all its passes are done");
    prepare_phone_pass(model_, settings_, pass_);
  }

  void write_part() {
    read_for_parts();
    const PhoneLexicon lexicon(dictionary_, model_.fillers, model_.definition);
    load(lexicon);
    PhoneTrainingData data = data_with(lexicon);
    data.said = said(lexicon);
    Progress progress("train", static_cast<int>(utterances_.all().size()));
    const TrainingListener listener = listener_of(progress, true);
    const Statistics statistics =
        collect_phone_pass(model_, data, settings_, pass_, run_.jobs, by_number(listener, utterances_));
    progress.clear();
    statistics.write(run_.statistics_file);
    std::printf("pass %d of %d, part %d of %d: %s, %.0f frames\n", pass_ + 1, settings_.passes(), run_.share.part + 1,
                run_.share.parts, counted(static_cast<std::int64_t>(statistics.utterances), "utterance").c_str(),
                statistics.frames);
    if (bad_) bad_->finish();
  }

  void sum_parts() {
    read_for_parts();
    const PhoneLexicon lexicon(dictionary_, model_.fillers, model_.definition);
    PhoneTrainingData data = data_with(lexicon);
    data.said = said(lexicon);
    const Statistics zero = zero_of_phone_pass(model_, data, settings_, pass_);
    Statistics total = zero;
    for (const std::string& file : run_.sum_files) total.add(Statistics::read(file, zero));
    say(finish_phone_pass(model_, data, settings_, pass_, total));
    if (pass_ == settings_.passes()) write_sphinx_model(run_.folder, model_);
  }

  PhoneTrainingData data_with(const PhoneLexicon& lexicon) const {
    PhoneTrainingData data{lexicon, utterances_, {}, {}};
    if (!options_.questions.empty()) data.sets = read_phone_sets(options_.questions, model_.definition);
    return data;
  }

  // Of every item whose words are all known: the parts agree about it without reading each other's files.
  std::vector<std::vector<int>> said(const PhoneLexicon& lexicon) const {
    std::vector<std::vector<int>> result;
    for (const TrainingItem& item : run_.items) {
      std::vector<int> words;
      for (const std::string& word : item.words) words.push_back(lexicon.find(word));
      const bool known = std::find(words.begin(), words.end(), -1) == words.end();
      if (known && !words.empty()) result.push_back(std::move(words));
    }
    return result;
  }

  void begin() {
    settings_.validate();
    settings_.common.list_checksum = static_cast<double>(list_checksum(run_.items));
    const Dictionary fillers = options_.fillers.empty() ? silence_only() : Dictionary::read(options_.fillers);
    model_ = phone_model_shape(run_.recipe, dictionary_, fillers, run_.items, settings_.common.states);
    feat_params_text(run_.recipe);  // throws for a recipe that the model cannot hold
    if (settings_.transform.lda > run_.recipe.width()) {
      throw Fault("--lda " + std::to_string(settings_.transform.lda) + ": a row has only " +
                  std::to_string(run_.recipe.width()) + " values");
    }
    if (settings_.transform.any() && !run_.recipe.feature_transform.empty()) {
      throw Fault("the recipe has a transform of its features already");
    }
  }

  void read(const std::filesystem::path& record) {
    model_ = read_phone_model(record);
    const PhoneTrainingSettings stored = stored_phone_settings(model_.training, record_.string(), pass_);
    run_.compare(stored.common);
    for (const auto& compare : options_.comparisons) compare(stored, run_.folder);
    Recipe asked = run_.recipe;
    if (stored.has_transformed(pass_)) asked.feature_transform = model_.recipe.feature_transform;
    require_same(model_.recipe, asked, run_.folder);
    if (static_cast<double>(list_checksum(run_.items)) != stored.common.list_checksum) {
      throw Fault(run_.folder + ": was begun with another list of files or other transcripts");
    }
    settings_ = stored;
  }

  void load(const PhoneLexicon& lexicon) {
    const WordNumbers numbers = [&](const TrainingItem& item) {
      std::vector<int> words;
      for (const std::string& word : item.words) {
        words.push_back(lexicon.find(word));
        if (words.back() < 0) {
          throw Fault(run_.list + ":" + std::to_string(item.line) + ": the word \"" + word + "\" is not in " +
                      options_.dictionary);
        }
      }
      return words;
    };
    utterances_ = load_with_progress(run_.items.size(), run_.share, bad_, [&](const auto& begin, const auto& left_out) {
      return load_utterances(run_.items, model_.recipe, numbers, run_.source, begin, run_.share, left_out);
    });
  }

  void start() {
    flat_start(model_, utterances_, settings_.common);
    store_settings(settings_, 0, model_.training);
    if (leads(team())) write_start();
    share_record();
  }

  void write_start() {
    if (team() != nullptr) std::printf("%d processes, the first: ", team()->size());
    std::printf("%s; %s, %s\n", amount_text(utterances_, model_.dimension()).c_str(),
                counted(static_cast<std::int64_t>(model_.definition.phones.size()), "phone").c_str(),
                counted(model_.definition.states, "state").c_str());
    std::filesystem::create_directories(run_.folder);
    write_phone_model(record_, model_);
  }

  void complete_pass(const PhoneTrainingData& data, bool warnings) {
    Progress progress("train", static_cast<int>(utterances_.all().size()));
    const TrainingListener listener = listener_of(progress, warnings);
    prepare_phone_pass(model_, settings_, pass_);
    const Statistics statistics =
        collect_phone_pass(model_, data, settings_, pass_, run_.jobs, by_number(listener, utterances_));
    progress.clear();
    const bool estimates = settings_.estimates(pass_);
    if (leads(team())) say(finish_phone_pass(model_, data, settings_, pass_, statistics));
    share_record();
    if (estimates) utterances_.transform(model_.recipe.feature_transform);
  }

  // The pass is done.
  void say(const PhonePassReport& report) {
    ++pass_;
    write_phone_model(record_, model_);
    int components = 0;
    for (const MixtureState& state : model_.states) components += state.components();
    const ReestimationReport& floors = report.reestimation;
    std::printf(
        "pass %d of %d: %.6f log likelihood a frame; %d states, %d components, floored %d variances and %d "
        "weights, merged %d\n",
        pass_, settings_.passes(), report.log_likelihood, model_.definition.states, components,
        floors.floored_variances, floors.floored_weights, floors.merged_components);
    if (report.skipped > 0.0)
      std::printf("  left out: %s\n", counted(static_cast<std::int64_t>(report.skipped), "utterance").c_str());
    std::fflush(stdout);
  }

  const PhoneTrainingRun& run_;
  const PhoneOptions& options_;
  PhoneTrainingSettings settings_;
  std::filesystem::path record_;
  Dictionary dictionary_;
  PhoneModel model_;
  int pass_ = 0;
  TrainingUtterances utterances_;
  std::optional<BadFiles> bad_;  // says at the end that files were left out
};

}  // namespace

void PhoneOptions::add_to(Command command) {
  const auto add = [&](Option option) { options.push_back(option.group("Phones")); };
  command.add_option("--dict", dictionary, "Train phones, from the pronunciations in this file: \"word phone ...\"")
      .group("Phones");
  add(command.add_option("--fillers", fillers,
                         "Words that stand for silence and noises, and the phone of each "
                         "(default: <s>, </s> and <sil>, the phone SIL)"));
  add(command.add_option("--questions", questions,
                         "Sets of phones for the trees, \"name phone ...\" (default: made from the data)"));
  const auto compare = [&](Option option, const std::string& name, auto value_of) {
    add(option);
    comparisons.push_back(
        [this, option, name, value_of](const PhoneTrainingSettings& stored, const std::string& model) {
          if (option.is_given() && value_of(settings) != value_of(stored)) {
            throw Fault(model + ": was begun with another --" + name);
          }
        });
  };
  const auto add_setting = [&](const std::string& name, auto PhoneTrainingSettings::*member, auto low, auto high,
                               const std::string& text) {
    compare(add_number(command, "--" + name, settings.*member, low, high, text), name,
            [member](const PhoneTrainingSettings& of) { return of.*member; });
  };
  using S = PhoneTrainingSettings;
  add_setting("flat-passes", &S::flat_passes, 1, 10000, "Passes of phones alone after the flat start");
  add_setting("tied-states", &S::tied_states, 0, 1'000'000,
              "Most states of phones in context, tied by trees; 0: phones alone");
  add_setting("least-leaf", &S::least_leaf, 1.0, 1e9, "Frames of a tied state, at least");
  compare(add_number(command, "--lda", settings.transform.lda, 0, 1000,
                     "Values of a row that linear discriminant analysis keeps; 0: no analysis"),
          "lda", [](const S& of) { return of.transform.lda; });
  compare(command.add_flag("--mllt", settings.transform.mllt,
                           "Transform the features so that diagonal covariances fit the states (semi-tied covariance)"),
          "mllt", [](const S& of) { return of.transform.mllt; });
  for (const Option option : options) option.needs("--dict");
}

std::string amount_text(const TrainingUtterances& utterances, int dimension) {
  return counted(static_cast<std::int64_t>(utterances.all().size()), "file") + ", " +
         counted(utterances.frames(), "frame") + " of " + counted(dimension, "value");
}

void train_phones(const PhoneTrainingRun& run, const PhoneOptions& options) { PhoneTraining(run, options).run(); }

}  // namespace kivsr::program
