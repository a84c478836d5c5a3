#include "kivsr/speech/train/start_model.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <set>
#include <string>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/column_statistics.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/train/reestimation.h"
#include "kivsr/speech/train/statistics.h"

namespace kivsr::speech {

namespace {

// Neighbouring frames of an utterance.
struct FrameRun {
  std::size_t utterance;
  int first;
  int count;
};

// The frames of each state, and after how many of them the path stays.
struct Segmentation {
  explicit Segmentation(std::size_t states) : runs(states), stay(states) {}

  // Spreads frames first .. first + count of an utterance over states in their order.
  void spread(std::size_t utterance, int first, int count, const std::vector<int>& states) {
    auto previous = states.size();
    for (int i = 0; i < count; ++i) {
      const auto place =
          static_cast<std::size_t>(static_cast<std::int64_t>(i) * static_cast<std::int64_t>(states.size()) / count);
      const auto state = static_cast<std::size_t>(states[place]);
      if (place == previous) {
        ++runs[state].back().count;
        stay[state] += 1.0;
      } else {
        runs[state].push_back({utterance, first + i, 1});
      }
      previous = place;
    }
  }

  std::vector<std::vector<FrameRun>> runs;
  std::vector<double> stay;
};

std::vector<int> states_of(const WordUnit& unit) {
  std::vector<int> states(static_cast<std::size_t>(unit.states));
  std::iota(states.begin(), states.end(), unit.first_state);
  return states;
}

Segmentation spread_evenly(const WordModel& model, const std::vector<TrainingUtterance>& utterances) {
  Segmentation result(model.states.size());
  for (std::size_t u = 0; u < utterances.size(); ++u) {
    if (!model.plain_mixture && utterances[u].words.empty()) continue;
    std::vector<int> states;
    for (const int unit : utterance_units(model, utterances[u].words)) {
      const std::vector<int> more = states_of(model.units[static_cast<std::size_t>(unit)]);
      states.insert(states.end(), more.begin(), more.end());
    }
    const int height = utterances[u].frames;
    if (height >= static_cast<int>(states.size())) result.spread(u, 0, height, states);
  }
  return result;
}

// Spreads the frames of each unit on the best path through the aligner over its states in the model.
void spread_path(const WordModel& model, const WordModel& aligner, const std::vector<int>& units,
                 const Occupation& path, std::size_t utterance, int height, Segmentation& result) {
  int t = 0;
  int end = 0;  // the place behind the unit
  for (const int unit : units) {
    const WordUnit& aligned = aligner.units[static_cast<std::size_t>(unit)];
    end += aligned.states;
    const int first = t;
    while (t < height && path.shares[static_cast<std::size_t>(t)].place < end) ++t;
    const int target = model.find_unit(aligned.name);
    if (target >= 0) {
      result.spread(utterance, first, t - first, states_of(model.units[static_cast<std::size_t>(target)]));
    }
  }
}

// The frames of each word on the best path of the aligner, spread over the states of the word.
Segmentation align(const WordModel& model, const WordModel& aligner, const TrainingUtterances& utterances) {
  Segmentation result(model.states.size());
  const MixtureEvaluator evaluator(aligner);
  TrainingWork work(evaluator, kDefaultBeam);
  for (std::size_t u = 0; u < utterances.all().size(); ++u) {
    const TrainingUtterance& utterance = utterances.all()[u];
    std::vector<int> words;
    for (const int word : utterance.words) {
      words.push_back(aligner.find_unit(model.units[static_cast<std::size_t>(word)].name));
    }
    if (words.empty()) continue;
    const UtteranceGraph graph = utterance_graph(aligner, words);
    if (utterance.frames < shortest_path(graph)) continue;
    const FeatureMatrix rows = utterances.rows(utterance);
    work.scorer.set(rows);
    const Occupation& path = work.finder.find(graph, utterance.frames, work.scorer, AlignmentMethod::kViterbi);
    if (path.outcome == Occupation::Outcome::kDone) {
      spread_path(model, aligner, utterance_units(aligner, words), path, u, utterance.frames, result);
    }
  }
  return result;
}

// Variances of all frames.
std::vector<float> total_variance(const TrainingUtterances& utterances) {
  const auto frames = static_cast<double>(utterances.frames());
  if (frames == 0.0) throw Fault("there is no frame to train from");
  ColumnStatistics sums;
  for (const TrainingUtterance& utterance : utterances.all()) sums.add(utterances.rows(utterance));
  const ColumnMoments moments = sums.moments();
  std::vector<float> variance(moments.mean.size(), 0.0F);
  for (std::size_t i = 0; i < variance.size() && frames > 1.0; ++i) {
    variance[i] = static_cast<float>(std::max(0.0, moments.variance(i) * (frames - 1.0) / frames));
  }
  return variance;
}

// A book of so many codewords of the rows, or of fewer where there are fewer different ones.
Codebook32f make_codebook(const std::vector<float>& rows, int width, int height, const std::vector<float>& weights,
                          int count, const TrainingSettings& settings, std::mt19937& generator) {
  KivsCdbkState_32f* book = nullptr;
  if (settings.random_start) {
    std::vector<int> order(static_cast<std::size_t>(height));
    std::iota(order.begin(), order.end(), 0);
    std::vector<float> chosen;
    for (int i = 0; i < count; ++i) {
      const auto left = static_cast<std::uint32_t>(height - i);
      std::swap(order[static_cast<std::size_t>(i)], order[static_cast<std::size_t>(i) + generator() % left]);
      const float* const row =
          rows.data() + static_cast<std::size_t>(order[static_cast<std::size_t>(i)]) * static_cast<std::size_t>(width);
      chosen.insert(chosen.end(), row, row + width);
    }
    return Codebook32f::make<kivsCdbkInitAlloc_WgtL2_32f>(chosen, weights, width, width, count, count,
                                                          kivCdbkFullSearch);
  }
  for (;; count = (count + 1) / 2) {
    const KivStatus status = kivsCdbkInitAlloc_WgtL2_32f(&book, rows.data(), weights.data(), width, width, height,
                                                         count, kivCdbkSplitLargest);
    if (status == kivStatusBadArgument && count > 1) continue;  // frames that cannot be told apart
    if (status < kivStatusOk) throw Error(status, "kivsCdbkInitAlloc_WgtL2_32f");
    return Codebook32f(book);
  }
}

}  // namespace

void Aligner::check_fits(const WordModel& other) const {
  if (model.plain_mixture) throw Fault("the model to align with is a plain mixture");
  require_same(model.recipe, other.recipe, "the model to align with");
  for (const WordUnit& unit : other.units) {
    if (!unit.filler && model.find_unit(unit.name) < 0) {
      throw Fault("the model to align with does not have the word \"" + unit.name + "\"");
    }
  }
}

std::optional<int> Aligner::states(const std::string& word) const {
  constexpr double kLeastStates = 3.0;
  constexpr double kMostStates = 1000.0;
  const int unit = model.find_unit(word);
  if (unit < 0 || !(frames_per_state > 0.0)) return std::nullopt;
  double frames = 0.0;  // a state is left after 1 / (1 - stay) frames on average
  for (int i = 0; i < model.units[static_cast<std::size_t>(unit)].states; ++i) {
    const int state = model.units[static_cast<std::size_t>(unit)].first_state + i;
    frames += 1.0 / (1.0 - static_cast<double>(model.states[static_cast<std::size_t>(state)].stay));
  }
  return static_cast<int>(std::lround(std::clamp(frames / frames_per_state, kLeastStates, kMostStates)));
}

WordModel model_shape(const Recipe& recipe, const std::vector<TrainingItem>& items, bool plain_mixture,
                      const TrainingSettings& settings, const Aligner* aligner) {
  WordModel model;
  model.recipe = recipe;
  model.plain_mixture = plain_mixture;
  const auto add = [&](const std::string& name, bool filler, int states) {
    model.units.push_back({name, filler, static_cast<int>(model.states.size()), states});
    model.states.resize(model.states.size() + static_cast<std::size_t>(states));
  };
  if (plain_mixture) {
    add("<mixture>", false, 1);
    return model;
  }
  if (settings.silence_states > 0) add("<sil>", true, settings.silence_states);
  std::set<std::string> words;
  for (const TrainingItem& item : items) words.insert(item.words.begin(), item.words.end());
  if (words.empty()) throw Fault("no word is said in the whole list");
  for (const std::string& word : words) {
    const std::optional<int> states = aligner == nullptr ? std::nullopt : aligner->states(word);
    add(word, false, states.value_or(settings.states));
  }
  return model;
}

namespace {

FeatureMatrix rows_of(const std::vector<FrameRun>& runs, const TrainingUtterances& utterances) {
  FeatureMatrix rows;
  for (const FrameRun& run : runs) {
    utterances.append_rows_of(utterances.all()[run.utterance], run.first, run.count, rows);
  }
  return rows;
}

// Means of a codebook of the state's rows, the variance floor, equal weights. Returns the codeword of each row.
std::vector<Kiv32s> start_state(const FeatureMatrix& rows, const std::vector<float>& weights,
                                const TrainingSettings& settings, std::mt19937& generator,
                                const std::vector<float>& variance, MixtureState& state) {
  const int height = rows.height();
  const double enough = height / std::max(settings.least_occupation, 1.0);
  const int wanted = std::max(1, std::min(settings.start_components, static_cast<int>(enough)));
  const Codebook32f book = make_codebook(rows.values, rows.width, height, weights, wanted, settings, generator);
  int count = 0;
  call<kivsGetCdbkSize_32f>(book, &count);
  state.weights.assign(static_cast<std::size_t>(count), 1.0F / static_cast<float>(count));
  state.means.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(rows.width));
  call<kivsGetCodebook_32f>(book, state.means, rows.width);
  for (int component = 0; component < count; ++component) {
    state.variances.insert(state.variances.end(), variance.begin(), variance.end());
  }
  std::vector<Kiv32s> codewords(static_cast<std::size_t>(height));
  call<kivsVQ_32f>(rows.values, rows.width, codewords, height, book);
  return codewords;
}

// Each row counts whole in the component of its codeword.
void add_quantised(const WordModel& model, int state, const FeatureMatrix& rows, const std::vector<Kiv32s>& codewords,
                   Statistics& statistics) {
  constexpr std::size_t kBlockRows = 1000;
  const auto components = static_cast<std::size_t>(model.states[static_cast<std::size_t>(state)].components());
  const auto width = static_cast<std::ptrdiff_t>(rows.width);
  for (std::size_t first = 0; first < codewords.size(); first += kBlockRows) {
    const std::size_t count = std::min(kBlockRows, codewords.size() - first);
    std::vector<double> shares(components * count);
    for (std::size_t t = 0; t < count; ++t) {
      shares[static_cast<std::size_t>(codewords[first + t]) * count + t] = 1.0;
    }
    const auto begin = rows.values.begin() + static_cast<std::ptrdiff_t>(first) * width;
    const FeatureMatrix block{rows.width, {begin, begin + static_cast<std::ptrdiff_t>(count) * width}};
    statistics.add_rows(model, state, block, shares);
  }
}

// The floor of the variances, and the weights of the columns in the distance of the codebooks.
std::vector<float> set_floor(WordModel& model, const std::vector<float>& variance, const TrainingSettings& settings) {
  std::vector<float> weights;
  model.variance_floor.clear();
  for (const float value : variance) {
    model.variance_floor.push_back(static_cast<float>(
        std::max(settings.variance_floor, settings.variance_floor_share * static_cast<double>(value))));
    weights.push_back(1.0F / std::max(value, 1e-12F));
  }
  return weights;
}

}  // namespace

void start_model(WordModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings,
                 const Aligner* aligner) {
  const std::vector<float> weights = set_floor(model, total_variance(utterances), settings);
  const Segmentation segmentation =
      aligner == nullptr ? spread_evenly(model, utterances.all()) : align(model, aligner->model, utterances);
  for (const WordUnit& unit : model.units) {
    if (segmentation.runs[static_cast<std::size_t>(unit.first_state)].empty()) {
      throw Fault("no utterance with \"" + unit.name + "\" has as many frames as states");
    }
  }

  std::mt19937 generator(static_cast<std::uint32_t>(settings.seed));
  std::vector<std::vector<Kiv32s>> codewords;
  for (std::size_t s = 0; s < model.states.size(); ++s) {
    codewords.push_back(start_state(rows_of(segmentation.runs[s], utterances), weights, settings, generator,
                                    model.variance_floor, model.states[s]));
  }
  Statistics statistics(model);
  for (std::size_t s = 0; s < model.states.size(); ++s) {
    statistics.states[s].stay = segmentation.stay[s];
    add_quantised(model, static_cast<int>(s), rows_of(segmentation.runs[s], utterances), codewords[s], statistics);
  }
  reestimate(model, statistics, settings);
}

}  // namespace kivsr::speech
