#include "kivsr/speech/train/statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/record_file.h"
#include "kivsr/speech/models/word_model_file.h"

namespace kivsr::speech {

namespace {

constexpr const char* kKind = "kivsr-statistics 1";
constexpr int kBlockFrames = 1000;               // of a plain mixture, whose frames do not depend on each other
constexpr std::int64_t kMostCells = 50'000'000;  // frames times places of one utterance
constexpr double kMostSum = 1e30;
constexpr double kLeastShare = 1e-12;  // of a component in a frame; what is less is not worth adding

// Calls visit with every sum, in the order of the file.
template <class Self, class Visit>
void visit_sums(Self& self, Visit visit) {
  visit(std::span(&self.frames, 1));
  visit(std::span(&self.utterances, 1));
  visit(std::span(&self.skipped, 1));
  visit(std::span(&self.log_likelihood, 1));
  for (auto& state : self.states) {
    visit(std::span(&state.stay, 1));
    visit(std::span(state.occupation));
    visit(std::span(state.first));
    visit(std::span(state.second));
  }
}

// What is wrong with sums that some file holds; no run over finite features gives such. Sums of rounded terms may be
// beyond their bounds by a little.
const char* fault_of(const StateStatistics& state, std::size_t dimension) {
  constexpr double kSlack = 1.0 + 1e-6;
  constexpr double kLeast = 1e-6;  // frames
  for (std::size_t i = 0; i < state.occupation.size(); ++i) {
    const double frames = state.occupation[i];
    if (!(frames >= 0.0)) return "a component is occupied for less than no frame";
    for (std::size_t k = i * dimension; k < (i + 1) * dimension; ++k) {
      if (!(state.second[k] >= 0.0)) return "a sum of squares is negative";
      if (std::abs(state.first[k]) > std::sqrt(frames) * std::sqrt(state.second[k]) * kSlack + kLeast) {
        return "a sum is larger than its squares allow";
      }
    }
  }
  return state.stay >= 0.0 && state.stay <= state.total() * kSlack + kLeast ? nullptr
                                                                            : "a state is stayed in for longer than it "
                                                                              "is occupied";
}

}  // namespace

std::vector<double> chain_emissions(const StateChain& chain, const MixtureEvaluator& evaluator,
                                    const FeatureMatrix& features, std::map<int, MixtureLikelihoods>& likelihoods) {
  const auto places = static_cast<std::size_t>(chain.places());
  const auto frames = static_cast<std::size_t>(features.height());
  std::vector<double> emissions(frames * places);
  for (std::size_t place = 0; place < places; ++place) {
    const int state = chain.states[place];
    if (!likelihoods.contains(state)) likelihoods[state] = evaluator.evaluate(state, features, 0, features.height());
    const std::vector<double>& column = likelihoods[state].mixture;
    for (std::size_t t = 0; t < frames; ++t) emissions[t * places + place] = column[t];
  }
  return emissions;
}

double StateStatistics::total() const { return std::accumulate(occupation.begin(), occupation.end(), 0.0); }

Statistics::Statistics(const WordModel& model)
    : model_checksum_(word_model_checksum(model)),
      mean_(static_cast<std::size_t>(model.dimension())),
      variance_(mean_.size()) {
  for (const MixtureState& state : model.states) {
    StateStatistics& sums = states.emplace_back();
    sums.occupation.resize(state.weights.size());
    sums.first.resize(state.means.size());
    sums.second.resize(state.means.size());
  }
}

// The rows lie in differences_, less the mean of the first component, the component's shares of them in weights_.
// With W the sum of the shares, M and V the mean and the variance of the rows by shares, and o = M - mean of the
// component: first += W o, second += W (V + o^2).
void Statistics::add_component(const MixtureState& mixture, int component, std::size_t rows, StateStatistics& sums) {
  const double total = std::accumulate(weights_.begin(), weights_.end(), 0.0);
  if (!(total > kLeastShare)) return;
  const std::size_t dimension = mean_.size();
  const std::size_t row = static_cast<std::size_t>(component) * dimension;
  call<kivsDivC_64f_I>(total, weights_, rows);
  call<kivsWeightedMeanVarColumn_64f_D2>(differences_, dimension, weights_, rows, mean_, variance_, dimension);
  sums.occupation[static_cast<std::size_t>(component)] += total;
  for (std::size_t i = 0; i < dimension; ++i) {
    const double origin = static_cast<double>(mixture.means[i]) - static_cast<double>(mixture.means[row + i]);
    const double offset = mean_[i] + origin;
    sums.first[row + i] += total * offset;
    sums.second[row + i] += total * (std::max(variance_[i], 0.0) + offset * offset);
  }
}

void Statistics::add_rows(const WordModel& model, int state, const FeatureMatrix& rows,
                          std::span<const double> shares) {
  const auto height = static_cast<std::size_t>(rows.height());
  if (height == 0) return;
  const MixtureState& mixture = model.states[static_cast<std::size_t>(state)];
  differences_.resize(rows.values.size());
  for (std::size_t t = 0; t < height; ++t) {
    const auto row = rows.row(static_cast<int>(t));
    double* const difference = differences_.data() + t * row.size();
    for (std::size_t i = 0; i < row.size(); ++i) {
      difference[i] = static_cast<double>(row[i]) - static_cast<double>(mixture.means[i]);
    }
  }
  for (int component = 0; component < mixture.components(); ++component) {
    const auto own = shares.subspan(static_cast<std::size_t>(component) * height, height);
    weights_.assign(own.begin(), own.end());
    add_component(mixture, component, height, states[static_cast<std::size_t>(state)]);
  }
}

// shares: of the state in each frame. Frames in which it has next to none are left out.
void Statistics::add_state(const WordModel& model, int state, const FeatureMatrix& features, int first_frame,
                           MixtureLikelihoods& likelihoods, std::span<const double> shares) {
  likelihoods.to_shares();
  std::vector<std::size_t> frames;
  FeatureMatrix rows{features.width, {}};
  for (std::size_t t = 0; t < static_cast<std::size_t>(likelihoods.frames); ++t) {
    if (!(shares[t] > kLeastShare)) continue;
    const auto row = features.row(first_frame + static_cast<int>(t));
    rows.values.insert(rows.values.end(), row.begin(), row.end());
    frames.push_back(t);
  }
  std::vector<double> products;
  for (auto own = likelihoods.components.begin(); own != likelihoods.components.end(); own += likelihoods.frames) {
    for (const std::size_t t : frames) products.push_back(own[static_cast<std::ptrdiff_t>(t)] * shares[t]);
  }
  add_rows(model, state, rows, products);
}

void Statistics::add_mixture(const WordModel& model, const MixtureEvaluator& evaluator, const FeatureMatrix& features) {
  const std::vector<double> whole(kBlockFrames, 1.0);
  for (int first = 0; first < features.height(); first += kBlockFrames) {
    const int count = std::min(kBlockFrames, features.height() - first);
    MixtureLikelihoods likelihoods = evaluator.evaluate(0, features, first, count);
    log_likelihood += std::accumulate(likelihoods.mixture.begin(), likelihoods.mixture.end(), 0.0);
    add_state(model, 0, features, first, likelihoods, whole);
  }
}

Statistics::Outcome Statistics::add_utterance(const WordModel& model, const MixtureEvaluator& evaluator,
                                              const FeatureMatrix& features, std::span<const int> words,
                                              AlignmentMethod method) {
  const int height = features.height();
  if (model.plain_mixture) {
    add_mixture(model, evaluator, features);
  } else {
    if (words.empty()) return Outcome::kNoWords;
    if (height < shortest_path(model, words)) return Outcome::kTooShort;
    const StateChain chain = utterance_chain(model, words);
    const auto places = static_cast<std::size_t>(chain.places());
    if (static_cast<std::int64_t>(height) * chain.places() > kMostCells) return Outcome::kTooLong;
    std::map<int, MixtureLikelihoods> likelihoods;
    const std::vector<double> emissions = chain_emissions(chain, evaluator, features, likelihoods);
    const Occupation occupation = occupy(chain, emissions, method);
    if (!occupation.possible) return Outcome::kImpossible;
    log_likelihood += occupation.log_likelihood;
    // a state that is passed several times has the sum of its places
    std::map<int, std::vector<double>> shares;
    for (std::size_t place = 0; place < places; ++place) {
      states[static_cast<std::size_t>(chain.states[place])].stay += occupation.stay_count[place];
      std::vector<double>& column = shares[chain.states[place]];
      column.resize(static_cast<std::size_t>(height));
      for (std::size_t t = 0; t < static_cast<std::size_t>(height); ++t) {
        column[t] += occupation.shares[t * places + place];
      }
    }
    for (const auto& [state, column] : shares) add_state(model, state, features, 0, likelihoods[state], column);
  }
  frames += height;
  utterances += 1.0;
  return Outcome::kUsed;
}

void Statistics::add(const Statistics& other) {
  std::vector<std::span<const double>> terms;
  visit_sums(other, [&](std::span<const double> sums) { terms.push_back(sums); });
  std::size_t next = 0;
  visit_sums(*this, [&](std::span<double> sums) { call<kivsAdd_64f_I>(terms[next++].data(), sums, sums.size()); });
}

void Statistics::write(const std::filesystem::path& file) const {
  RecordWriter writer(kKind);
  writer.line("model", std::to_string(model_checksum_));
  writer.end_header();
  visit_sums(*this, [&](std::span<const double> sums) { writer.put(sums); });
  writer.write(file);
}

Statistics Statistics::read(const std::filesystem::path& file, const WordModel& model) {
  RecordReader reader(file, kKind);
  Statistics result(model);
  if (reader.value("model") != std::to_string(result.model_checksum_)) {
    reader.fail("the sums are those of another model or of another pass");
  }
  bool plausible = true;
  visit_sums(result, [&](std::span<double> sums) {
    reader.get(sums, "sums");
    plausible = plausible && std::all_of(sums.begin(), sums.end(), [](double sum) { return std::abs(sum) < kMostSum; });
  });
  reader.finish();
  if (!plausible) reader.fail("no run gives these sums: one is infinite, no number or beyond 1e30");
  double occupied = 0.0;
  for (const StateStatistics& state : result.states) {
    if (const char* const fault = fault_of(state, result.mean_.size())) {
      reader.fail(std::string("no run gives these sums: ") + fault);
    }
    occupied += state.total();
  }
  if (result.frames < 0.0 || result.utterances < 0.0 || result.skipped < 0.0 ||
      occupied > result.frames * (1.0 + 1e-6)) {
    reader.fail("no run gives these sums: the states are occupied for more frames than there are");
  }
  return result;
}

}  // namespace kivsr::speech
