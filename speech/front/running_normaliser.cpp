#include "kivsr/speech/front/running_normaliser.h"

#include <algorithm>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/normalisation_stage.h"

namespace kivsr::speech {

RunningNormaliser::RunningNormaliser(int width, int frames, bool with_variance)
    : frames_(frames), with_variance_(with_variance), width_(width) {
  for (auto* vector : {&mean_, &variance_, &before_, &after_, &step_}) vector->resize(static_cast<std::size_t>(width_));
}

void RunningNormaliser::restart() {
  count_ = 0;
  std::fill(mean_.begin(), mean_.end(), 0.0F);
  std::fill(variance_.begin(), variance_.end(), 0.0F);
}

void RunningNormaliser::restart(std::span<const float> mean, int rows) {
  restart();
  count_ = std::min(rows, frames_);
  std::copy(mean.begin(), mean.end(), mean_.begin());
}

// Moves mean and variance on; before_ and after_ are the row without the old and without the new mean.
void RunningNormaliser::follow(const float* row) {
  const float share = 1.0F / static_cast<float>(count_);
  call<kivsCopy_32f>(row, before_, width_);
  call<kivsSub_32f_I>(mean_, before_, width_);
  call<kivsMulC_32f>(before_, share, step_, width_);
  call<kivsAdd_32f_I>(step_, mean_, width_);
  call<kivsCopy_32f>(row, after_, width_);
  call<kivsSub_32f_I>(mean_, after_, width_);
  call<kivsMul_32f>(before_, after_, step_, width_);
  call<kivsSub_32f_I>(variance_, step_, width_);
  call<kivsMulC_32f_I>(share, step_, width_);
  call<kivsAdd_32f_I>(step_, variance_, width_);
}

void RunningNormaliser::apply(std::span<float> row) {
  count_ = std::min(count_ + 1, frames_);
  follow(row.data());
  std::copy(after_.begin(), after_.end(), row.begin());
  if (!with_variance_) return;
  call<kivsCopy_32f>(variance_, step_, width_);
  call<kivsRecSqrt_32f>(step_, width_, kSmallestVariance);
  call<kivsMul_32f>(after_, step_, row.data(), width_);
}

RunningNormalisation::RunningNormalisation(const Recipe& recipe, const std::vector<float>& start, int frames)
    : rest_(recipe), start_(start) {
  const bool with_variance = recipe.normalisation == Normalisation::kMeanVariance;
  if (recipe.normalisation != Normalisation::kMean && !with_variance) return;
  if (recipe.normalise_cepstra_only) kept_column_ = recipe.front_end.energy_column();
  rest_.normalisation = Normalisation::kNone;
  rest_.normalise_cepstra_only = false;
  normaliser_.emplace(recipe.input_width(), frames, with_variance);
  if (start_.size() != static_cast<std::size_t>(recipe.input_width())) start_.clear();
  restart();
}

void RunningNormalisation::restart() {
  if (!normaliser_) return;
  if (start_.empty()) return normaliser_->restart();
  normaliser_->restart(start_, kStartRows);
}

void RunningNormalisation::begin(const FeatureMatrix& rows) {
  if (!normaliser_ || rows.height() == 0) return;
  std::vector<float> mean(static_cast<std::size_t>(rows.width));
  call<kivsMeanColumn_32f_D2>(rows.values.data(), rows.height(), rows.width, mean, rows.width);
  normaliser_->restart(mean, rows.height());
}

void RunningNormalisation::apply(FeatureMatrix& rows) {
  for (int t = 0; normaliser_ && t < rows.height(); ++t) {
    const std::span<float> row = rows.row(t);
    const float kept = kept_column_ < 0 ? 0.0F : row[static_cast<std::size_t>(kept_column_)];
    normaliser_->apply(row);
    if (kept_column_ >= 0) row[static_cast<std::size_t>(kept_column_)] = kept;
  }
}

}  // namespace kivsr::speech
