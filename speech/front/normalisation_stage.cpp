#include "kivsr/speech/front/normalisation_stage.h"

#include <algorithm>
#include <utility>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr float kSmallestVariance = 1e-10F;  // and the factor of a column whose variance is not above it

class EnergyBelowKnownMaximum : public RowStage {
 public:
  explicit EnergyBelowKnownMaximum(const Recipe& recipe) : recipe_(recipe) {}

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    for (int t = 0; t < rows.height(); ++t) {
      append_rows(rows.row(t), result);
      call<kivsNormEnergy_RT_32f>(result.row(result.height() - 1).data() + recipe_.front_end.energy_column(), 1, 1,
                                  recipe_.silence_floor, *recipe_.energy_maximum, recipe_.energy_scale);
    }
  }
  bool finish(FeatureMatrix&) override { return false; }

 private:
  Recipe recipe_;
};

// With n(t) = min(t + 1, N): m += (x - m) / n, v += ((x - m before) (x - m) - v) / n. Over the first N frames m and v
// are mean and variance of all frames so far; from then on a frame counts less the older it is.
class RunningNormalisation : public RowStage {
 public:
  explicit RunningNormalisation(const Recipe& recipe)
      : frames_(recipe.normalisation_frames),
        with_variance_(recipe.normalisation == Normalisation::kRunningMeanVariance),
        width_(recipe.input_width()) {
    for (auto* vector : {&mean_, &variance_, &before_, &after_, &step_}) {
      vector->resize(static_cast<std::size_t>(width_));
    }
    start();
  }

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    for (int t = 0; t < rows.height(); ++t) {
      count_ = std::min(count_ + 1, frames_);
      follow(rows.row(t).data());
      append_rows(after_, result);
      if (!with_variance_) continue;
      call<kivsCopy_32f>(variance_, step_, width_);
      call<kivsRecSqrt_32f>(step_, width_, kSmallestVariance);
      call<kivsMul_32f>(after_, step_, result.row(result.height() - 1), width_);
    }
  }
  bool finish(FeatureMatrix&) override {
    start();
    return false;
  }

 private:
  void start() {
    count_ = 0;
    std::fill(mean_.begin(), mean_.end(), 0.0F);
    std::fill(variance_.begin(), variance_.end(), 0.0F);
  }

  // Moves mean and variance on; before_ and after_ are the frame without the old and without the new mean.
  void follow(const float* frame) {
    const float share = 1.0F / static_cast<float>(count_);
    call<kivsCopy_32f>(frame, before_, width_);
    call<kivsSub_32f_I>(mean_, before_, width_);
    call<kivsMulC_32f>(before_, share, step_, width_);
    call<kivsAdd_32f_I>(step_, mean_, width_);
    call<kivsCopy_32f>(frame, after_, width_);
    call<kivsSub_32f_I>(mean_, after_, width_);
    call<kivsMul_32f>(before_, after_, step_, width_);
    call<kivsSub_32f_I>(variance_, step_, width_);
    call<kivsMulC_32f_I>(share, step_, width_);
    call<kivsAdd_32f_I>(step_, variance_, width_);
  }

  int frames_;
  bool with_variance_;
  int width_;
  int count_ = 0;
  std::vector<float> mean_, variance_, before_, after_, step_;
};

}  // namespace

// The mean is taken twice, the second time of what the first left, so that neither it nor the variance suffers from the
// size of the values.
void normalise_utterance(FeatureMatrix& rows, bool variance) {
  const int height = rows.height();
  const int width = rows.width;
  float* const values = rows.values.data();
  std::vector<float> mean(static_cast<std::size_t>(width));
  std::vector<float> factor(mean.size(), 1.0F);
  for (int pass = 0; pass < 2; ++pass) {
    call<kivsMeanColumn_32f_D2>(values, height, width, mean, width);
    call<kivsSubRow_32f_D2>(mean, width, values, width, height);
  }
  if (!variance || height < 2) return;
  call<kivsMeanVarColumn_32f_D2>(values, height, width, mean, factor, width);
  call<kivsRecSqrt_32f>(factor, width, kSmallestVariance);
  call<kivsNormalizeColumn_32f_D2>(values, width, height, mean, factor, width);
}

std::unique_ptr<RowStage> make_energy_stage(const Recipe& recipe) {
  if (!recipe.normalise_energy) return nullptr;
  if (recipe.energy_maximum) return std::make_unique<EnergyBelowKnownMaximum>(recipe);
  const auto act = [recipe](FeatureMatrix& rows) {
    call<kivsNormEnergy_32f>(rows.values.data() + recipe.front_end.energy_column(), rows.width, rows.height(),
                             recipe.silence_floor, recipe.energy_scale);
  };
  return std::make_unique<WholeUtterance>(recipe.input_width(), act);
}

std::unique_ptr<RowStage> make_normalisation_stage(const Recipe& recipe) {
  const auto whole = [&](bool variance) {
    const int kept = recipe.normalise_cepstra_only ? recipe.front_end.energy_column() : -1;
    return std::make_unique<WholeUtterance>(recipe.input_width(), [variance, kept](FeatureMatrix& rows) {
      std::vector<float> column;
      for (int t = 0; kept >= 0 && t < rows.height(); ++t)
        column.push_back(rows.row(t)[static_cast<std::size_t>(kept)]);
      normalise_utterance(rows, variance);
      for (int t = 0; kept >= 0 && t < rows.height(); ++t) {
        rows.row(t)[static_cast<std::size_t>(kept)] = column[static_cast<std::size_t>(t)];
      }
    });
  };
  switch (recipe.normalisation) {
    case Normalisation::kNone: return nullptr;
    case Normalisation::kMean: return whole(false);
    case Normalisation::kMeanVariance: return whole(true);
    default: return std::make_unique<RunningNormalisation>(recipe);
  }
}

}  // namespace kivsr::speech
