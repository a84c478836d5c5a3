#include "kivsr/speech/train/transform_estimation.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/train/discriminant_analysis.h"
#include "kivsr/speech/train/small_matrix.h"

namespace kivsr::speech {

namespace {

// Of the frames that a state of one Gaussian got; none if they are too few to say anything.
std::optional<ClassMoments> moments_of(const MixtureState& state, const StateStatistics& sums) {
  constexpr double kLeastFrames = 1.0;
  const double frames = sums.occupation.front();
  if (!(frames >= kLeastFrames)) return std::nullopt;
  const std::size_t size = sums.first.size();
  ClassMoments result{frames, std::vector<double>(size), std::vector<double>(size * size)};
  auto product = sums.products.begin();
  for (std::size_t i = 0; i < size; ++i) {
    const double offset = sums.first[i] / frames;
    result.mean[i] = static_cast<double>(state.means[i]) + offset;
    for (std::size_t k = i; k < size; ++k) {
      const double covariance = *product++ / frames - offset * sums.first[k] / frames;
      result.covariance[i * size + k] = covariance;
      result.covariance[k * size + i] = covariance;
    }
  }
  return result;
}

std::vector<double> times(std::span<const double> rows, std::span<const double> vector) {
  std::vector<double> result;
  for (std::size_t first = 0; first < rows.size(); first += vector.size()) {
    double sum = 0.0;
    for (std::size_t i = 0; i < vector.size(); ++i) sum += rows[first + i] * vector[i];
    result.push_back(sum);
  }
  return result;
}

// square [row][size] times rows [size][columns].
std::vector<double> chained(const std::vector<double>& square, const std::vector<double>& rows, std::size_t size) {
  const std::size_t columns = rows.size() / size;
  std::vector<double> result(rows.size());
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) {
      for (std::size_t j = 0; j < columns; ++j) result[i * columns + j] += square[i * size + k] * rows[k * columns + j];
    }
  }
  return result;
}

ClassMoments transformed(const ClassMoments& from, std::span<const double> rows) {
  return {from.frames, times(rows, from.mean), congruence(rows, from.covariance, from.mean.size())};
}

std::vector<double> find_rows(const std::vector<ClassMoments>& classes, const TransformWanted& wanted) {
  const std::size_t columns = classes.front().mean.size();
  std::vector<double> rows;
  if (wanted.lda > 0) {
    rows = discriminant_rows(scatter_of(classes), columns, static_cast<std::size_t>(wanted.lda));
    if (!wanted.mllt) return rows;
  }
  std::vector<ClassMoments> kept;
  for (const ClassMoments& one : classes) kept.push_back(rows.empty() ? one : transformed(one, rows));
  SemiTiedCovariance semi_tied(kept);
  semi_tied.find();
  return rows.empty() ? semi_tied.rows() : chained(semi_tied.rows(), rows, kept.front().mean.size());
}

// The mean variance of a state in each new column, and what the floor of one is.
struct NewColumns {
  std::vector<double> within;
  std::vector<float> floor;
};

NewColumns new_columns(const Scatter& scatter, std::span<const double> rows, std::size_t columns,
                       const TrainingSettings& settings) {
  NewColumns result;
  for (std::size_t first = 0; first < rows.size(); first += columns) {
    const auto row = rows.subspan(first, columns);
    result.within.push_back(quadratic_form(row, scatter.within));
    const double whole = result.within.back() + quadratic_form(row, scatter.between);
    result.floor.push_back(
        static_cast<float>(std::max(settings.variance_floor, settings.variance_floor_share * whole)));
  }
  return result;
}

// What is known of a state that was not heard is its old mean and variances.
ClassMoments moments_of_unheard(const MixtureState& state) {
  const std::size_t size = state.means.size();
  ClassMoments result{0.0, {state.means.begin(), state.means.end()}, std::vector<double>(size * size)};
  for (std::size_t i = 0; i < size; ++i) result.covariance[i * (size + 1)] = static_cast<double>(state.variances[i]);
  return result;
}

int set_state(MixtureState& state, const ClassMoments& moments, const NewColumns& columns, double prior) {
  int floored = 0;
  const std::size_t size = columns.floor.size();
  state.weights = {1.0F};
  state.occupation = static_cast<float>(moments.frames);
  state.means.assign(moments.mean.begin(), moments.mean.end());
  state.variances.clear();
  const double pull = moments.frames > 0.0 ? prior : 0.0;
  for (std::size_t i = 0; i < size; ++i) {
    const double own = moments.covariance[i * (size + 1)];
    const double frames = std::max(moments.frames, 1.0);
    const auto variance = static_cast<float>((frames * own + pull * columns.within[i]) / (frames + pull));
    if (!(variance > columns.floor[i])) ++floored;
    state.variances.push_back(std::max(variance, columns.floor[i]));
  }
  return floored;
}

}  // namespace

ReestimationReport estimate_transform(PhoneModel& model, const Statistics& statistics, const TransformWanted& wanted,
                                      const TrainingSettings& settings) {
  ReestimationReport report;
  std::vector<ClassMoments> classes;
  std::vector<ClassMoments> states;
  for (std::size_t i = 0; i < model.states.size(); ++i) {
    if (auto moments = moments_of(model.states[i], statistics.states[i])) {
      classes.push_back(*moments);
      states.push_back(std::move(*moments));
    } else {
      ++report.unseen_states;
      states.push_back(moments_of_unheard(model.states[i]));
    }
  }
  if (classes.empty()) throw Fault("the features cannot be transformed: no state was heard");
  const std::vector<double> found = find_rows(classes, wanted);
  model.recipe.feature_transform.assign(found.begin(), found.end());
  // as the features will have it
  const std::vector<double> rows(model.recipe.feature_transform.begin(), model.recipe.feature_transform.end());
  const NewColumns columns = new_columns(scatter_of(classes), rows, classes.front().mean.size(), settings);
  model.variance_floor = columns.floor;
  for (std::size_t i = 0; i < states.size(); ++i) {
    report.floored_variances +=
        set_state(model.states[i], transformed(states[i], rows), columns, settings.variance_prior);
  }
  return report;
}

}  // namespace kivsr::speech
