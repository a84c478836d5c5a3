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
constexpr int kBlockFrames = 1000;  // of a plain mixture, whose frames do not depend on each other
constexpr double kMostSum = 1e30;
constexpr double kLeastAdded = 1e-9;  // of a state or a component in a frame; what is less is not worth adding

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
    visit(std::span(state.products));
  }
  visit(std::span(self.row_frames));
  visit(std::span(self.row_stays));
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
  for (std::size_t i = 0, place = 0; i < dimension && !state.products.empty(); place += dimension - i, ++i) {
    for (std::size_t k = i; k < dimension; ++k) {
      const double most = std::sqrt(state.second[i]) * std::sqrt(state.second[k]);
      if (!(std::abs(state.products[place + k - i]) <= most * kSlack + kLeast)) {
        return "a sum of products is larger than its squares allow";
      }
    }
  }
  return state.stay >= 0.0 && state.stay <= state.total() * kSlack + kLeast ? nullptr
                                                                            : "a state is stayed in for longer than it "
                                                                              "is occupied";
}

// The upper triangle of share d d^T.
void add_products(const std::vector<double>& difference, double share, std::vector<double>& products) {
  auto place = products.begin();
  for (std::size_t i = 0; i < difference.size(); ++i) {
    const double scaled = share * difference[i];
    for (std::size_t k = i; k < difference.size(); ++k) *place++ += scaled * difference[k];
  }
}

}  // namespace

StateScorer::StateScorer(const MixtureEvaluator& evaluator)
    : evaluator_(evaluator), scores_(evaluator.states().size()) {
  int most = 1;
  for (const MixtureState& state : evaluator.states()) most = std::max(most, state.components());
  components_.resize(static_cast<std::size_t>(most));
}

void StateScorer::set(const FeatureMatrix& features) {
  features_ = &features;
  for (Scores& scores : scores_) scores.count = 0;
}

void StateScorer::score(int state, Scores& scores) {
  const float* const row = features_->row(frame_).data();
  scores.first = frame_;
  if (evaluator_.states()[static_cast<std::size_t>(state)].components() > 1) {
    scores.count = 1;
    scores.values[0] = evaluator_.score(state, row, components_.data());
    return;
  }
  std::array<float, kAhead> single;
  scores.count = std::min(static_cast<int>(kAhead), features_->height() - frame_);
  evaluator_.score_frames(state, row, std::span(single).first(static_cast<std::size_t>(scores.count)));
  std::copy(single.begin(), single.end(), scores.values.begin());
}

double StateScorer::log_likelihood(int state) {
  Scores& scores = scores_[static_cast<std::size_t>(state)];
  if (frame_ < scores.first || frame_ >= scores.first + scores.count) score(state, scores);
  return scores.values[static_cast<std::size_t>(frame_ - scores.first)];
}

TrainingWork::TrainingWork(const MixtureEvaluator& gaussians, double beam)
    : evaluator(gaussians),
      scorer(gaussians),
      finder(beam),
      row(static_cast<std::size_t>(gaussians.dimension())),
      difference(row.size()),
      origin(row.size()) {
  for (const MixtureState& state : gaussians.states()) {
    components.resize(std::max(components.size(), state.weights.size()));
  }
}

double StateStatistics::total() const { return std::accumulate(occupation.begin(), occupation.end(), 0.0); }

Statistics::Statistics(const WordModel& model)
    : Statistics(model.states, model.dimension(), 0, word_model_checksum(model)) {}

Statistics::Statistics(std::span<const MixtureState> shape, int dimension, int rows, std::uint32_t checksum)
    : row_frames(static_cast<std::size_t>(rows)),
      row_stays(row_frames.size()),
      model_checksum_(checksum),
      mean_(static_cast<std::size_t>(dimension)),
      variance_(mean_.size()) {
  for (const MixtureState& state : shape) {
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
  if (!(total > kLeastAdded)) return;
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
  std::vector<std::size_t> used;
  FeatureMatrix rows{features.width, {}};
  for (std::size_t t = 0; t < static_cast<std::size_t>(likelihoods.frames); ++t) {
    if (!(shares[t] > kLeastAdded)) continue;
    const auto row = features.row(first_frame + static_cast<int>(t));
    rows.values.insert(rows.values.end(), row.begin(), row.end());
    used.push_back(t);
  }
  std::vector<double> products;
  for (auto own = likelihoods.components.begin(); own != likelihoods.components.end(); own += likelihoods.frames) {
    for (const std::size_t t : used) products.push_back(own[static_cast<std::ptrdiff_t>(t)] * shares[t]);
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
  frames += features.height();
  utterances += 1.0;
}

// One frame, work.row: first += share (x - mean), second += share (x - mean)^2.
void Statistics::add_share(int state, const float* row, double share, TrainingWork& work) {
  StateStatistics& sums = states[static_cast<std::size_t>(state)];
  const std::size_t count = sums.occupation.size();
  const double likelihood = count == 1 ? 0.0 : work.evaluator.score(state, row, work.components.data());
  for (std::size_t component = 0; component < count; ++component) {
    const double own =
        count == 1 ? share : share * std::exp(static_cast<double>(work.components[component]) - likelihood);
    if (!(own > kLeastAdded)) continue;
    const std::size_t first = component * mean_.size();
    sums.occupation[component] += own;
    work.difference = work.row;
    call<kivsSub_64f_I>(work.evaluator.mean(state, component), work.difference, mean_.size());
    call<kivsMeanVarAcc_64f>(work.difference, work.origin, sums.first.data() + first, sums.second.data() + first,
                             mean_.size(), own);
    if (!sums.products.empty()) add_products(work.difference, own, sums.products);
  }
}

void Statistics::add_shares(const UtteranceGraph& graph, const FeatureMatrix& features, const Occupation& occupation,
                            TrainingWork& work) {
  int frame = -1;
  for (const PlaceShare& share : occupation.shares) {
    const auto place = static_cast<std::size_t>(share.place);
    if (graph.rows.empty()) {
      states[static_cast<std::size_t>(graph.states[place])].stay += share.stay;
    } else {
      row_frames[static_cast<std::size_t>(graph.rows[place])] += share.share;
      row_stays[static_cast<std::size_t>(graph.rows[place])] += share.stay;
    }
    if (!(share.share > kLeastAdded)) continue;
    const float* const row = features.row(share.frame).data();
    if (share.frame != frame) std::copy_n(row, mean_.size(), work.row.begin());
    frame = share.frame;
    add_share(graph.states[place], row, share.share, work);
  }
}

Statistics::Outcome Statistics::add_utterance(const UtteranceGraph& graph, const FeatureMatrix& features,
                                              AlignmentMethod method, TrainingWork& work) {
  if (graph.places() == 0) return Outcome::kNoWords;
  if (features.height() < shortest_path(graph)) return Outcome::kTooShort;
  work.scorer.set(features);
  const Occupation& occupation = work.finder.find(graph, features.height(), work.scorer, method);
  if (occupation.outcome == Occupation::Outcome::kTooLong) return Outcome::kTooLong;
  if (occupation.outcome != Occupation::Outcome::kDone) return Outcome::kImpossible;
  log_likelihood += occupation.log_likelihood;
  add_shares(graph, features, occupation, work);
  frames += features.height();
  utterances += 1.0;
  return Outcome::kUsed;
}

void Statistics::clear() {
  visit_sums(*this, [](std::span<double> sums) { std::fill(sums.begin(), sums.end(), 0.0); });
}

void Statistics::want_products() {
  const std::size_t dimension = mean_.size();
  for (StateStatistics& state : states) state.products.resize(dimension * (dimension + 1) / 2);
}

void Statistics::add(const Statistics& other) {
  std::vector<double> total = values();
  call<kivsAdd_64f_I>(other.values(), total, total.size());
  set(total);
}

std::vector<double> Statistics::values() const {
  std::size_t count = 0;
  visit_sums(*this, [&](std::span<const double> sums) { count += sums.size(); });
  std::vector<double> values;
  values.reserve(count);
  visit_sums(*this, [&](std::span<const double> sums) { values.insert(values.end(), sums.begin(), sums.end()); });
  return values;
}

void Statistics::set(std::span<const double> values) {
  visit_sums(*this, [&](std::span<double> sums) {
    std::copy_n(values.begin(), sums.size(), sums.begin());
    values = values.subspan(sums.size());
  });
}

void Statistics::write(const std::filesystem::path& file) const {
  RecordWriter writer(kKind);
  writer.line("model", std::to_string(model_checksum_));
  writer.end_header();
  visit_sums(*this, [&](std::span<const double> sums) { writer.put(sums); });
  writer.write(file);
}

Statistics Statistics::read(const std::filesystem::path& file, const WordModel& model) {
  return read(file, Statistics(model));
}

Statistics Statistics::read(const std::filesystem::path& file, const Statistics& zero) {
  RecordReader reader(file, kKind);
  Statistics result = zero;
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
  for (std::size_t row = 0; row < result.row_frames.size(); ++row) {
    if (!(result.row_stays[row] >= 0.0 && result.row_stays[row] <= result.row_frames[row] * (1.0 + 1e-6) + 1e-6)) {
      reader.fail("no run gives these sums: a state is stayed in for longer than it is occupied");
    }
  }
  if (result.frames < 0.0 || result.utterances < 0.0 || result.skipped < 0.0 ||
      occupied > result.frames * (1.0 + 1e-6)) {
    reader.fail("no run gives these sums: the states are occupied for more frames than there are");
  }
  return result;
}

}  // namespace kivsr::speech
