// Mean and variance that run along with a signal, row by row: the rows are the same bits however the signal is cut into
// blocks, and none waits for those behind it.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// With n(t) = min(t + 1, N): m += (x - m) / n, v += ((x - m before) (x - m) - v) / n. Over the first N rows m and v are
// mean and variance of all rows so far; from then on a row counts less the older it is.
class RunningNormaliser {
 public:
  // frames: N.
  RunningNormaliser(int width, int frames, bool with_variance);

  // Takes the mean out of a row, which it counts before, and divides by the standard deviation if asked for.
  void apply(std::span<float> row);
  bool has_begun() const { return count_ > 0; }
  // Begins again, with nothing or with a mean that counts for so many rows.
  void restart();
  void restart(std::span<const float> mean, int rows);

 private:
  void follow(const float* row);

  int frames_;
  bool with_variance_;
  int width_;
  int count_ = 0;
  std::vector<float> mean_, variance_, before_, after_, step_;
};

// The normalisation of a recipe by the whole utterance, done along with it instead:
//
//   RunningNormalisation normalisation(recipe, model.static_mean, frames);
//   FeatureChain chain(normalisation.rest());
//   chain.change_statics([&](FeatureMatrix& rows) { normalisation.apply(rows); });
//
// It goes on from one utterance to the next until it is restarted.
class RunningNormalisation {
 public:
  // start: the mean that it begins with, for kStartRows rows; empty: with nothing.
  RunningNormalisation(const Recipe& recipe, const std::vector<float>& start, int frames);

  static constexpr int kStartRows = 100;

  // The recipe without what is done here; the recipe itself, and nothing is done, if it does not normalise so.
  const Recipe& rest() const { return rest_; }
  bool has_begun() const { return !normaliser_ || normaliser_->has_begun(); }
  // Begins with the mean of these rows, which count for as many; apply counts them again.
  void begin(const FeatureMatrix& rows);
  void apply(FeatureMatrix& rows);
  void restart();

 private:
  Recipe rest_;
  std::vector<float> start_;
  int kept_column_ = -1;  // stays as it is
  std::optional<RunningNormaliser> normaliser_;
};

}  // namespace kivsr::speech
