#include "kivsr/speech/train/mean_regression.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

// The equations of one row of a transform: matrix * row = right side. The matrix is symmetric.
struct RowEquations {
  explicit RowEquations(std::size_t unknowns) : matrix(unknowns * unknowns), right(unknowns) {}

  void add(std::span<const double> regressors, double weight, double target) {
    const std::size_t count = right.size();
    for (std::size_t i = 0; i < count; ++i) {
      const double scaled = weight * regressors[i];
      double* const row = matrix.data() + i * count;
      right[i] += target * regressors[i];
      for (std::size_t k = 0; k < count; ++k) row[k] += scaled * regressors[k];
    }
  }

  // The shortest solution in unknowns of even scale.
  std::vector<double> solve() const;

  std::vector<double> matrix;
  std::vector<double> right;
};

std::vector<double> RowEquations::solve() const {
  constexpr double kLeastShare = 1e-7;  // of the greatest singular value
  const std::size_t count = right.size();
  const auto size = static_cast<int>(count);
  std::vector<double> scale(count);
  for (std::size_t i = 0; i < count; ++i) {
    const double diagonal = matrix[i * count + i];
    scale[i] = diagonal > 0.0 ? 1.0 / std::sqrt(diagonal) : 0.0;
  }
  std::vector<double> scaled(matrix);
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = 0; j < count; ++j) scaled[i * count + j] *= scale[i] * scale[j];
  }
  std::vector<double> left(count * count);
  std::vector<double> values(count);
  std::vector<double> vectors(count * count);
  call<kivsSVDSort_64f_D2>(scaled.data(), size, left.data(), size, values.data(), vectors.data(), size, size, size, 60);
  std::vector<double> solution(count);
  for (std::size_t k = 0; k < count && values[k] > kLeastShare * values[0]; ++k) {
    double product = 0.0;
    for (std::size_t i = 0; i < count; ++i) product += left[i * count + k] * scale[i] * right[i];
    for (std::size_t i = 0; i < count; ++i) solution[i] += vectors[i * count + k] * product / values[k];
  }
  for (std::size_t i = 0; i < count; ++i) solution[i] *= scale[i];
  return solution;
}

using Members = std::vector<std::size_t>;

double frames_of(const std::vector<HeardGaussian>& gaussians, const Members& members) {
  double frames = 0.0;
  for (const std::size_t member : members) frames += gaussians[member].frames;
  return frames;
}

// Means in units of their spread in each dimension.
class Distances {
 public:
  explicit Distances(const std::vector<HeardGaussian>& gaussians)
      : gaussians_(gaussians), weights_(gaussians.front().mean.size()) {
    Members all(gaussians.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    const std::vector<double> centre = centre_of(all);
    for (const HeardGaussian& gaussian : gaussians) {
      for (std::size_t i = 0; i < centre.size(); ++i) {
        const double offset = static_cast<double>(gaussian.mean[i]) - centre[i];
        weights_[i] += offset * offset;
      }
    }
    for (double& weight : weights_) weight = weight > 0.0 ? 1.0 / weight : 0.0;
  }

  std::vector<double> centre_of(const Members& members) const {
    std::vector<double> centre(weights_.size());
    for (const std::size_t member : members) {
      for (std::size_t i = 0; i < centre.size(); ++i) centre[i] += static_cast<double>(gaussians_[member].mean[i]);
    }
    for (double& value : centre) value /= static_cast<double>(members.size());
    return centre;
  }

  double between(std::size_t member, const std::vector<double>& centre) const {
    double sum = 0.0;
    for (std::size_t i = 0; i < centre.size(); ++i) {
      const double offset = static_cast<double>(gaussians_[member].mean[i]) - centre[i];
      sum += weights_[i] * offset * offset;
    }
    return sum;
  }

 private:
  const std::vector<HeardGaussian>& gaussians_;
  std::vector<double> weights_;
};

// Two means, from the member that is farthest from the centre and the one farthest from it.
std::pair<Members, Members> cut(const Distances& distances, const Members& members) {
  constexpr int kTurns = 10;
  const auto farthest_from = [&](const std::vector<double>& centre) {
    return *std::max_element(members.begin(), members.end(), [&](std::size_t a, std::size_t b) {
      return distances.between(a, centre) < distances.between(b, centre);
    });
  };
  std::vector<double> first = distances.centre_of({farthest_from(distances.centre_of(members))});
  std::vector<double> second = distances.centre_of({farthest_from(first)});
  std::pair<Members, Members> sides;
  for (int turn = 0; turn < kTurns; ++turn) {
    sides = {};
    for (const std::size_t member : members) {
      const bool nearer = distances.between(member, first) <= distances.between(member, second);
      (nearer ? sides.first : sides.second).push_back(member);
    }
    if (sides.first.empty() || sides.second.empty()) break;
    first = distances.centre_of(sides.first);
    second = distances.centre_of(sides.second);
  }
  return sides;
}

// 1 and the mean, or 1 and one value of it.
void set_regressors(const HeardGaussian& gaussian, MeanRegression::Form form, std::size_t row,
                    std::vector<double>& regressors) {
  regressors.assign(1, 1.0);
  if (form == MeanRegression::Form::kDiagonal) {
    regressors.push_back(static_cast<double>(gaussian.mean[row]));
  } else {
    regressors.insert(regressors.end(), gaussian.mean.begin(), gaussian.mean.end());
  }
}

// How far the means of a class move in each dimension: rows of the transform less the identity.
std::vector<std::vector<double>> transform_of(const std::vector<HeardGaussian>& gaussians, const Members& members,
                                              MeanRegression::Form form) {
  const std::size_t dimension = gaussians.front().mean.size();
  std::vector<RowEquations> rows(dimension, RowEquations(form == MeanRegression::Form::kDiagonal ? 2 : dimension + 1));
  std::vector<double> regressors;
  for (const std::size_t member : members) {
    const HeardGaussian& gaussian = gaussians[member];
    if (!(gaussian.frames > 0.0)) continue;
    for (std::size_t i = 0; i < dimension; ++i) {
      const double precision = 1.0 / static_cast<double>(gaussian.variance[i]);
      if (i == 0 || form == MeanRegression::Form::kDiagonal) set_regressors(gaussian, form, i, regressors);
      rows[i].add(regressors, gaussian.frames * precision, gaussian.first[i] * precision);
    }
  }
  std::vector<std::vector<double>> result;
  for (const RowEquations& equations : rows) result.push_back(equations.solve());
  return result;
}

void move(HeardGaussian& gaussian, const std::vector<std::vector<double>>& transform, MeanRegression::Form form) {
  std::vector<double> moved(gaussian.mean.begin(), gaussian.mean.end());
  std::vector<double> regressors;
  for (std::size_t i = 0; i < moved.size(); ++i) {
    set_regressors(gaussian, form, i, regressors);
    for (std::size_t k = 0; k < regressors.size(); ++k) moved[i] += transform[i][k] * regressors[k];
  }
  gaussian.set_mean(moved);
}

}  // namespace

HeardGaussian::HeardGaussian(std::span<float> mean_, std::span<float> variance_, double frames_,
                             std::span<const double> first_, std::span<const double> second_,
                             std::span<const float> sums_about)
    : mean(mean_),
      variance(variance_),
      frames(frames_),
      first(first_.begin(), first_.end()),
      second(second_.begin(), second_.end()) {
  for (std::size_t i = 0; i < mean.size(); ++i) {
    move_sums(i, static_cast<double>(mean[i]) - static_cast<double>(sums_about[i]));
  }
}

// sum g (x - m - d) = a - n d,  sum g (x - m - d)^2 = b - 2 d a + n d^2.
void HeardGaussian::move_sums(std::size_t i, double step) {
  second[i] = std::max(second[i] - 2.0 * step * first[i] + frames * step * step, 0.0);
  first[i] -= frames * step;
}

void HeardGaussian::set_mean(std::span<const double> values) {
  for (std::size_t i = 0; i < mean.size(); ++i) {
    const auto moved = static_cast<float>(values[i]);
    move_sums(i, static_cast<double>(moved) - static_cast<double>(mean[i]));
    mean[i] = moved;
  }
}

std::vector<int> regression_classes(const std::vector<HeardGaussian>& gaussians, const MeanRegression& settings) {
  std::vector<int> result(gaussians.size(), 0);
  if (gaussians.empty()) return result;
  const Distances distances(gaussians);
  std::vector<Members> classes(1, Members(gaussians.size()));
  for (std::size_t i = 0; i < gaussians.size(); ++i) classes[0][i] = i;
  std::vector<double> frames(1, frames_of(gaussians, classes[0]));  // that may be cut
  while (static_cast<int>(classes.size()) < settings.classes) {
    const auto most = static_cast<std::size_t>(std::max_element(frames.begin(), frames.end()) - frames.begin());
    if (!(frames[most] >= 2.0 * settings.least_frames)) break;
    auto [one, other] = cut(distances, classes[most]);
    const double frames_of_one = frames_of(gaussians, one);
    const double frames_of_other = frames_of(gaussians, other);
    if (!(std::min(frames_of_one, frames_of_other) >= settings.least_frames) || one.empty() || other.empty()) {
      frames[most] = -1.0;
      continue;
    }
    classes[most] = std::move(one);
    frames[most] = frames_of_one;
    classes.push_back(std::move(other));
    frames.push_back(frames_of_other);
  }
  for (std::size_t number = 0; number < classes.size(); ++number) {
    for (const std::size_t member : classes[number]) result[member] = static_cast<int>(number);
  }
  return result;
}

int move_means(std::vector<HeardGaussian>& gaussians, const MeanRegression& settings) {
  if (settings.form == MeanRegression::Form::kNone || gaussians.empty()) return 0;
  const std::vector<int> class_of = regression_classes(gaussians, settings);
  const int classes = *std::max_element(class_of.begin(), class_of.end()) + 1;
  for (int number = 0; number < classes; ++number) {
    Members members;
    for (std::size_t i = 0; i < class_of.size(); ++i) {
      if (class_of[i] == number) members.push_back(i);
    }
    const auto transform = transform_of(gaussians, members, settings.form);
    for (const std::size_t member : members) move(gaussians[member], transform, settings.form);
  }
  return classes;
}

}  // namespace kivsr::speech
