#include "kivsr/speech/train/phone_trainer.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/models/phone_contexts.h"
#include "kivsr/speech/train/frame_moments.h"
#include "kivsr/speech/train/state_trees.h"

namespace kivsr::speech {

namespace {

constexpr const char* kSilencePhone = "SIL";

// Sums of a pass with the graphs that graph_of makes of words.
using GraphOfWords = std::function<UtteranceGraph(std::span<const int> words)>;

Statistics zero_of(const PhoneModel& model, bool products) {
  Statistics zero{model.states, model.dimension(), model.rows(), phone_model_checksum(model)};
  if (products) zero.want_products();
  return zero;
}

Statistics collect_phones(const PhoneModel& model, const Statistics& zero, const TrainingUtterances& utterances,
                          const GraphOfWords& graph_of, bool best_path, int jobs, const UtteranceListener& listener) {
  const MixtureEvaluator evaluator(model.states, model.dimension());
  const auto method = best_path ? AlignmentMethod::kViterbi : AlignmentMethod::kBaumWelch;
  const auto make_adder = [&]() -> UtteranceAdder {
    return [&, work = std::make_shared<TrainingWork>(evaluator, kDefaultBeam)](std::size_t index, Statistics& sums) {
      const TrainingUtterance& utterance = utterances.all()[index];
      if (utterance.words.empty()) return Statistics::Outcome::kNoWords;
      return sums.add_utterance(graph_of(utterance.words), utterances.rows(utterance), method, *work);
    };
  };
  return add_up(zero, utterances, jobs, make_adder, listener);
}

void require_usable(const Statistics& statistics) {
  if (!(statistics.frames > 0.0)) throw Fault("none of the utterances can be used");
  if (!std::isfinite(statistics.log_likelihood)) throw Fault("the log likelihood of the pass is not finite");
}

std::vector<char> states_of_speech(const PhoneModel& model) {
  std::vector<char> speech(model.states.size(), 1);
  for (const PhoneDefinition& phone : model.definition.phones) {
    for (const int state : phone.states) speech[static_cast<std::size_t>(state)] = phone.filler ? 0 : 1;
  }
  return speech;
}

void update_transitions(PhoneModel& model, const Statistics& statistics) {
  constexpr double kSeen = 1e-6;
  for (std::size_t row = 0; row < model.stays.size(); ++row) {
    if (!(statistics.row_frames[row] > kSeen)) continue;
    model.stays[row] = probability_of_staying(statistics.row_stays[row], statistics.row_frames[row]);
  }
}

ReestimationReport update(PhoneModel& model, const Statistics& statistics, const TrainingSettings& settings) {
  update_transitions(model, statistics);
  return reestimate_states(model.states, states_of_speech(model), model.variance_floor, statistics, settings);
}

// The model with states of its own for each phone in context that is in the utterances; they sound as those of the
// phone alone.
struct UntiedModel {
  PhoneModel model;
  std::vector<PhoneInContext> contexts;  // one after the other behind the phones alone
};

std::set<PhoneInContext> contexts_of(const PhoneModel& model, const PhoneTrainingData& data) {
  std::set<PhoneInContext> seen;
  std::set<std::vector<int>> known;  // the same words are often said
  const HmmOfPhone note = [&](const PhoneInContext& phone) {
    if (!model.definition.phones[static_cast<std::size_t>(phone.base)].filler) seen.insert(phone);
    return phone.base;
  };
  const auto add = [&](const std::vector<int>& words) {
    if (known.insert(words).second) phone_graph(model, data.lexicon, words, true, note);
  };
  for (const TrainingUtterance& utterance : data.utterances.all()) add(utterance.words);
  for (const std::vector<int>& words : data.said) add(words);
  return seen;
}

UntiedModel untie(const PhoneModel& model, const PhoneTrainingData& data) {
  const std::set<PhoneInContext> seen = contexts_of(model, data);
  UntiedModel result{model, {seen.begin(), seen.end()}};
  ModelDefinition& definition = result.model.definition;
  PhoneContexts contexts(definition);
  for (const PhoneInContext& phone : result.contexts) {
    const PhoneDefinition& base = definition.phones[static_cast<std::size_t>(phone.base)];
    std::vector<int> states;
    for (const int state : base.states) {
      states.push_back(definition.states++);
      result.model.states.push_back(model.states[static_cast<std::size_t>(state)]);
    }
    contexts.add({phone.base, phone.left, phone.right, phone.position, base.transition_matrix}, states);
  }
  return result;
}

// What the pass says about a state of one Gaussian.
GaussianPool pool_of(const MixtureState& state, const StateStatistics& sums, const std::vector<float>& floor) {
  const double frames = sums.occupation.front();
  if (!(frames > 1e-3)) return GaussianPool(floor.size());
  std::vector<double> mean(state.means.begin(), state.means.end());
  std::vector<double> variance(floor.size());
  const std::vector<double> least(floor.begin(), floor.end());
  call<kivsUpdateMean_64f>(sums.first, mean, floor.size(), frames);
  call<kivsUpdateVar_64f>(sums.first, sums.second, least, variance, floor.size(), frames, frames);
  return {mean, variance, frames};
}

MixtureState state_of(const GaussianPool& pool, const std::vector<float>& floor) {
  MixtureState state;
  state.weights = {1.0F};
  state.occupation = static_cast<float>(pool.frames());
  for (std::size_t i = 0; i < floor.size(); ++i) {
    state.means.push_back(static_cast<float>(pool.mean(i)));
    state.variances.push_back(std::max(static_cast<float>(pool.variance(i)), floor[i]));
  }
  return state;
}

// Tied states behind those of the phones alone, for every phone in context that words can have.
void tie(PhoneModel& model, const PhoneLexicon& lexicon, const StateTrees& trees) {
  ModelDefinition& definition = model.definition;
  const int first = definition.independent_states;
  model.states.resize(static_cast<std::size_t>(first + trees.leaves()));
  definition.states = first + trees.leaves();
  PhoneContexts contexts(definition);
  for (const PhoneInContext& phone : all_contexts(lexicon, definition)) {
    const PhoneDefinition& base = definition.phones[static_cast<std::size_t>(phone.base)];
    std::vector<int> states;
    for (int place = 0; place < definition.states_per_phone; ++place) {
      const int leaf = trees.leaf(phone, place);
      states.push_back(first + leaf);
      model.states[static_cast<std::size_t>(first + leaf)] =
          trees.pool(leaf).frames() > 0.0
              ? state_of(trees.pool(leaf), model.variance_floor)
              : model.states[static_cast<std::size_t>(base.states[static_cast<std::size_t>(place)])];
    }
    contexts.add({phone.base, phone.left, phone.right, phone.position, base.transition_matrix}, states);
  }
  // A leaf that no word leads to.
  for (int leaf = 0; leaf < trees.leaves(); ++leaf) {
    MixtureState& state = model.states[static_cast<std::size_t>(first + leaf)];
    if (state.weights.empty()) state = state_of(trees.pool(leaf), model.variance_floor);
  }
  definition = parse_model_definition("mdef", model_definition_text(definition));
}

ReestimationReport tie_states(PhoneModel& model, const PhoneTrainingData& data, const PhoneTrainingSettings& settings,
                              Statistics statistics) {
  const UntiedModel untied = untie(model, data);
  std::vector<ContextSums> sums;
  auto next = static_cast<std::size_t>(model.definition.independent_states);
  for (const PhoneInContext& phone : untied.contexts) {
    ContextSums& context = sums.emplace_back(ContextSums{phone, {}});
    for (int place = 0; place < model.definition.states_per_phone; ++place, ++next) {
      context.states.push_back(pool_of(untied.model.states[next], statistics.states[next], model.variance_floor));
    }
  }
  const std::vector<PhoneSet> sets = data.sets.empty() ? make_phone_sets(model) : data.sets;
  const StateTrees trees(sums, make_questions(sets), model.definition, settings.tied_states, settings.least_leaf);
  // the fillers; what was heard of the other phones has gone to those in context
  statistics.states.resize(model.states.size());
  const std::vector<MixtureState> before = model.states;
  ReestimationReport report = update(model, statistics, settings.common);
  const std::vector<char> speech = states_of_speech(model);
  for (std::size_t state = 0; state < before.size(); ++state) {
    if (speech[state] != 0) model.states[state] = before[state];
  }
  report.unseen_states = 0;
  tie(model, data.lexicon, trees);
  return report;
}

}  // namespace

int PhoneTrainingSettings::components_of_pass(int pass) const {
  const int tied = tied_states > 0 ? 1 + common.iterations : 0;
  const int alone = flat_passes + transform_passes();
  int count = 1;
  for (int first = alone + tied; pass >= first && count < common.components; first += common.iterations) {
    count = std::min(2 * count, common.components);
  }
  return count;
}

int PhoneTrainingSettings::passes() const {
  int stages = 0;
  for (int count = 1; count < common.components; count *= 2) ++stages;
  return flat_passes + transform_passes() + (tied_states > 0 ? 1 + common.iterations : 0) + stages * common.iterations;
}

void PhoneTrainingSettings::validate() const {
  common.validate();
  if (common.start_components != 1) throw Fault("training: phones start with one Gaussian");
  if (transform.lda < 0) throw Fault("training: an analysis keeps at least one value");
  if (common.states > 16) throw Fault("training: a phone has 1 to 16 states");
}

void store_settings(const PhoneTrainingSettings& settings, int pass, std::map<std::string, std::string>& record) {
  store_settings(settings.common, std::min(pass, settings.common.passes()), record);
  record["phone-pass"] = std::to_string(pass);
  record["flat-passes"] = std::to_string(settings.flat_passes);
  record["lda"] = std::to_string(settings.transform.lda);
  record["mllt"] = std::to_string(settings.transform.mllt ? 1 : 0);
  record["tied-states"] = std::to_string(settings.tied_states);
  record["least-leaf"] = exact_text(settings.least_leaf);
}

PhoneTrainingSettings stored_phone_settings(const std::map<std::string, std::string>& record, const std::string& model,
                                            int& pass) {
  PhoneTrainingSettings settings;
  int common_pass = 0;
  settings.common = stored_settings(record, model, common_pass);
  const auto read = [&](const char* name, auto& value) {
    const auto found = record.find(name);
    if (found == record.end() || !read_number(found->second, value) || value < 0) {
      throw Fault(model + ": the record of its training lacks the value " + name);
    }
  };
  read("phone-pass", pass);
  read("flat-passes", settings.flat_passes);
  read("tied-states", settings.tied_states);
  read("least-leaf", settings.least_leaf);
  // what a record lacks that is older than they are
  if (record.contains("lda")) read("lda", settings.transform.lda);
  if (record.contains("mllt")) {
    int mllt = 0;
    read("mllt", mllt);
    settings.transform.mllt = mllt != 0;
  }
  if (settings.flat_passes > 10000 || pass > settings.passes()) {
    throw Fault(model + ": the record of its training has too many passes");
  }
  return settings;
}

Dictionary silence_only() {
  Dictionary fillers;
  for (const char* word : {"<s>", "</s>", "<sil>"}) fillers.add(word, {kSilencePhone});
  return fillers;
}

PhoneModel phone_model_shape(const Recipe& recipe, const Dictionary& dictionary, const Dictionary& fillers,
                             const std::vector<TrainingItem>& items, int states_per_phone) {
  std::set<std::string> noises;
  for (const auto& [word, pronunciations] : fillers.words()) {
    for (const Pronunciation& phones : pronunciations) {
      if (phones.size() != 1) throw Fault("the filler \"" + word + "\" has more than one phone");
      noises.insert(phones.front());
    }
  }
  if (!noises.contains(kSilencePhone)) throw Fault("no filler stands for silence, the phone SIL");
  std::set<std::string> phones;
  for (const TrainingItem& item : items) {
    for (const std::string& word : item.words) {
      const std::vector<Pronunciation>* const known = dictionary.find(word);
      if (known == nullptr) continue;
      for (const Pronunciation& pronunciation : *known) phones.insert(pronunciation.begin(), pronunciation.end());
    }
  }
  for (const std::string& noise : noises) phones.erase(noise);
  if (phones.empty()) throw Fault("the dictionary has none of the words that are said");

  PhoneModel model;
  model.recipe = recipe;
  model.fillers = fillers;
  ModelDefinition& definition = model.definition;
  const auto add = [&](const std::string& name, bool filler) {
    PhoneDefinition phone{name, filler, definition.transition_matrices++, {}};
    for (int state = 0; state < states_per_phone; ++state) phone.states.push_back(definition.states++);
    definition.phones.push_back(std::move(phone));
  };
  phones.insert(noises.begin(), noises.end());
  for (const std::string& phone : phones) add(phone, noises.contains(phone));
  if (definition.phones.size() > PhoneContexts::kMostPhones) throw Fault("a model has at most 128 phones");
  definition.independent_states = definition.states;
  definition.states_per_phone = states_per_phone;
  definition = parse_model_definition("mdef", model_definition_text(definition));
  return model;
}

void flat_start(PhoneModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings) {
  constexpr float kStay = 0.6F;
  const FrameMoments moments = moments_of(utterances, static_cast<std::size_t>(model.dimension()));
  if (utterances.team() != nullptr && utterances.team()->rank() != 0) return;
  if (moments.frames() < 2.0) throw Fault("there is no frame to train from");
  MixtureState state;
  state.weights = {1.0F};
  model.variance_floor.clear();
  for (std::size_t i = 0; i < moments.width(); ++i) {
    const double variance = moments.variance(i);
    model.variance_floor.push_back(
        static_cast<float>(std::max(settings.variance_floor, settings.variance_floor_share * variance)));
    state.means.push_back(static_cast<float>(moments.mean(i)));
    state.variances.push_back(std::max(static_cast<float>(variance), model.variance_floor.back()));
  }
  model.states.assign(static_cast<std::size_t>(model.definition.states), state);
  model.stays.assign(static_cast<std::size_t>(model.rows()), kStay);
}

void prepare_phone_pass(PhoneModel& model, const PhoneTrainingSettings& settings, int pass) {
  const int components = settings.components_of_pass(pass);
  if (pass == 0 || settings.estimates(pass) || settings.ties(pass) ||
      components <= settings.components_of_pass(pass - 1))
    return;
  split_components(model.states, model.dimension(), components, settings.common.split_distance,
                   settings.common.least_occupation);
}

Statistics collect_phone_pass(const PhoneModel& model, const PhoneTrainingData& data,
                              const PhoneTrainingSettings& settings, int pass, int jobs,
                              const UtteranceListener& listener) {
  const auto collect_of = [&](const PhoneModel& of) {
    const GraphOfWords graph_of = [&](std::span<const int> words) { return phone_graph(of, data.lexicon, words); };
    return collect_phones(of, zero_of(of, settings.estimates(pass)), data.utterances, graph_of, settings.common.viterbi,
                          jobs, listener);
  };
  return settings.ties(pass) ? collect_of(untie(model, data).model) : collect_of(model);
}

Statistics zero_of_phone_pass(const PhoneModel& model, const PhoneTrainingData& data,
                              const PhoneTrainingSettings& settings, int pass) {
  return zero_of(settings.ties(pass) ? untie(model, data).model : model, settings.estimates(pass));
}

PhonePassReport finish_phone_pass(PhoneModel& model, const PhoneTrainingData& data,
                                  const PhoneTrainingSettings& settings, int pass, const Statistics& statistics) {
  require_usable(statistics);
  PhonePassReport report;
  if (settings.estimates(pass)) {
    update_transitions(model, statistics);
    report.reestimation = estimate_transform(model, statistics, settings.transform, settings.common);
  } else {
    report.reestimation = settings.ties(pass) ? tie_states(model, data, settings, statistics)
                                              : update(model, statistics, settings.common);
  }
  report.log_likelihood = statistics.log_likelihood / statistics.frames;
  report.utterances = statistics.utterances;
  report.skipped = statistics.skipped;
  store_settings(settings, pass + 1, model.training);
  return report;
}

PhonePassReport run_phone_pass(PhoneModel& model, const PhoneTrainingData& data, const PhoneTrainingSettings& settings,
                               int pass, int jobs, const UtteranceListener& listener) {
  prepare_phone_pass(model, settings, pass);
  const Statistics statistics = collect_phone_pass(model, data, settings, pass, jobs, listener);
  return finish_phone_pass(model, data, settings, pass, statistics);
}

}  // namespace kivsr::speech
