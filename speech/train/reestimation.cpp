#include "kivsr/speech/train/reestimation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

// Frames below which a component or a state counts as never seen.
constexpr double kSeen = 1e-6;
// Of the probability to stay in a state, and of that to leave it.
constexpr double kLeastTransition = 0.01;

struct Gaussian {
  double occupation = 0.0;
  std::vector<double> mean;
  std::vector<double> variance;
};

class StateUpdate {
 public:
  StateUpdate(const MixtureState& state, const StateStatistics& sums, const std::vector<double>& floor)
      : floor_(floor), dimension_(static_cast<int>(floor.size())) {
    for (std::size_t component = 0; component < state.weights.size(); ++component) {
      const double occupation = sums.occupation[component];
      if (!(occupation > kSeen)) continue;
      const std::size_t row = component * floor.size();
      Gaussian gaussian;
      gaussian.occupation = occupation;
      gaussian.mean.assign(state.means.data() + row, state.means.data() + row + floor.size());
      gaussian.variance.resize(floor.size());
      call<kivsUpdateMean_64f>(sums.first.data() + row, gaussian.mean, dimension_, occupation);
      call<kivsUpdateVar_64f>(sums.first.data() + row, sums.second.data() + row, floor, gaussian.variance, dimension_,
                              occupation, occupation);
      gaussians_.push_back(std::move(gaussian));
    }
  }

  std::vector<Gaussian>& gaussians() { return gaussians_; }

  // Returns how many were merged.
  int merge_starved(double least_occupation) {
    int merged = 0;
    while (gaussians_.size() > 1) {
      const auto weakest =
          std::min_element(gaussians_.begin(), gaussians_.end(),
                           [](const Gaussian& a, const Gaussian& b) { return a.occupation < b.occupation; });
      if (weakest->occupation >= least_occupation) break;
      std::iter_swap(weakest, gaussians_.end() - 1);
      const Gaussian starved = std::move(gaussians_.back());
      gaussians_.pop_back();
      merge(nearest(starved), starved);
      ++merged;
    }
    return merged;
  }

  int count_floored() const {
    int floored = 0;
    for (const Gaussian& gaussian : gaussians_) {
      for (std::size_t i = 0; i < floor_.size(); ++i) floored += gaussian.variance[i] <= floor_[i] ? 1 : 0;
    }
    return floored;
  }

 private:
  double log_determinant(const Gaussian& gaussian) const {
    double sum = 0.0;
    call<kivsSumLn_64f>(gaussian.variance, dimension_, &sum);
    return sum;
  }

  Gaussian& nearest(const Gaussian& starved) {
    Gaussian* best = &gaussians_.front();
    double best_cost = std::numeric_limits<double>::infinity();
    for (Gaussian& candidate : gaussians_) {
      double cost = 0.0;
      call<kivsGaussianDist_64f>(candidate.mean, candidate.variance, starved.mean, starved.variance, dimension_, &cost,
                                 candidate.occupation, log_determinant(candidate), starved.occupation,
                                 log_determinant(starved));
      if (!(cost < best_cost)) continue;
      best_cost = cost;
      best = &candidate;
    }
    return *best;
  }

  void merge(Gaussian& into, const Gaussian& starved) const {
    double log_term = 0.0;
    call<kivsGaussianMerge_64f>(into.mean, into.variance, starved.mean, starved.variance, into.mean, into.variance,
                                dimension_, &log_term, into.occupation, starved.occupation);
    into.occupation += starved.occupation;
  }

  const std::vector<double>& floor_;
  int dimension_;
  std::vector<Gaussian> gaussians_;
};

// The weights of the mixture by occupation, raised to the floor and scaled to sum 1; returns how many were raised.
int set_weights(MixtureState& state, const std::vector<Gaussian>& gaussians, double floor) {
  std::vector<double> occupations;
  for (const Gaussian& gaussian : gaussians) occupations.push_back(gaussian.occupation);
  const double total = std::accumulate(occupations.begin(), occupations.end(), 0.0);
  const int count = static_cast<int>(occupations.size());
  std::vector<double> weights(occupations.size());
  double sum = 0.0;
  const KivStatus status = call<kivsUpdateWeight_64f>(occupations, weights, count, &sum, total, floor);
  const auto raised = status == kivStatusFloored ? std::count(weights.begin(), weights.end(), floor) : 0;
  call<kivsDivC_64f_I>(sum, weights, count);
  state.weights.assign(weights.begin(), weights.end());
  state.occupation = static_cast<float>(total);
  return static_cast<int>(raised);
}

void set_gaussians(MixtureState& state, const std::vector<Gaussian>& gaussians) {
  state.means.clear();
  state.variances.clear();
  for (const Gaussian& gaussian : gaussians) {
    state.means.insert(state.means.end(), gaussian.mean.begin(), gaussian.mean.end());
    state.variances.insert(state.variances.end(), gaussian.variance.begin(), gaussian.variance.end());
  }
}

// The mean over all components of states that take part, each as often as it has frames.
std::vector<double> pooled_variance(const std::vector<char>& pooled, std::vector<StateUpdate>& updates,
                                    const std::vector<double>& floor) {
  std::vector<double> pool(floor);
  double frames = 0.0;
  for (std::size_t state = 0; state < pooled.size(); ++state) {
    if (pooled[state] == 0) continue;
    for (const Gaussian& gaussian : updates[state].gaussians()) {
      call<kivsWeightedSum_64f>(pool, gaussian.variance, pool, pool.size(), frames, gaussian.occupation);
      frames += gaussian.occupation;
    }
  }
  return pool;
}

// The next mixture of a state that was seen.
void update_state(MixtureState& state, StateUpdate& update, const std::vector<double>& pool,
                  const TrainingSettings& settings, ReestimationReport& report) {
  const auto before = static_cast<int>(state.weights.size());
  update.merge_starved(settings.least_occupation);
  std::vector<Gaussian>& gaussians = update.gaussians();
  report.merged_components += before - static_cast<int>(gaussians.size());
  report.floored_variances += update.count_floored();
  if (!pool.empty()) {
    for (Gaussian& gaussian : gaussians) {
      call<kivsWeightedSum_64f>(gaussian.variance, pool, gaussian.variance, pool.size(), gaussian.occupation,
                                settings.variance_prior);
    }
  }
  report.floored_weights += set_weights(state, gaussians, settings.weight_floor);
  set_gaussians(state, gaussians);
}

}  // namespace

float probability_of_staying(double stays, double frames) {
  return static_cast<float>(std::clamp(stays / frames, kLeastTransition, 1.0 - kLeastTransition));
}

ReestimationReport reestimate_states(std::vector<MixtureState>& states, const std::vector<char>& pooled,
                                     const std::vector<float>& variance_floor, const Statistics& statistics,
                                     const TrainingSettings& settings) {
  const std::vector<double> floor(variance_floor.begin(), variance_floor.end());
  std::vector<StateUpdate> updates;
  for (std::size_t i = 0; i < states.size(); ++i) updates.emplace_back(states[i], statistics.states[i], floor);
  const std::vector<double> pool =
      settings.variance_prior > 0.0 ? pooled_variance(pooled, updates, floor) : std::vector<double>();
  ReestimationReport report;
  for (std::size_t i = 0; i < states.size(); ++i) {
    if (!updates[i].gaussians().empty()) {
      update_state(states[i], updates[i], pool, settings, report);
      continue;
    }
    ++report.unseen_states;
    states[i].occupation = 0.0F;
  }
  return report;
}

ReestimationReport reestimate(WordModel& model, const Statistics& statistics, const TrainingSettings& settings) {
  std::vector<char> pooled(model.states.size(), 0);
  for (const WordUnit& unit : model.units) {
    if (!unit.filler) std::fill_n(pooled.begin() + unit.first_state, unit.states, 1);
  }
  const ReestimationReport report = reestimate_states(model.states, pooled, model.variance_floor, statistics, settings);
  for (std::size_t i = 0; i < model.states.size(); ++i) {
    const StateStatistics& sums = statistics.states[i];
    if (model.states[i].occupation > 0.0F) model.states[i].stay = probability_of_staying(sums.stay, sums.total());
  }
  return report;
}

int split_components(std::vector<MixtureState>& states, int width, int count, double distance,
                     double least_occupation) {
  const auto dimension = static_cast<std::size_t>(width);
  int splits = 0;
  for (MixtureState& state : states) {
    while (state.components() < count) {
      const auto heaviest = std::max_element(state.weights.begin(), state.weights.end());
      if (static_cast<double>(*heaviest * state.occupation) < 2.0 * least_occupation) break;
      const auto row = static_cast<std::size_t>(heaviest - state.weights.begin()) * dimension;
      *heaviest *= 0.5F;
      state.weights.push_back(*heaviest);
      state.means.resize(state.means.size() + dimension);
      state.variances.resize(state.variances.size() + dimension);
      call<kivsGaussianSplit_32f>(
          state.means.data() + row, state.variances.data() + row, state.means.data() + state.means.size() - dimension,
          state.variances.data() + state.variances.size() - dimension, dimension, static_cast<float>(distance));
      ++splits;
    }
  }
  return splits;
}

}  // namespace kivsr::speech
