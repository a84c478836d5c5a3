#include "kivsr/speech/front/normalisation_stage.h"

#include <algorithm>
#include <utility>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kSmallestVariance = 1e-10F;  // and the factor of a column whose variance is not above it

class EnergyBelowKnownMaximum : public RowStage {
 public:
  explicit EnergyBelowKnownMaximum(const Recipe& recipe) : recipe_(recipe) {}

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    for (int t = 0; t < rows.height(); ++t) {
      append_rows(rows.row(t), result);
      check(kivsNormEnergy_RT_32f(&result.values.back(), 1, 1, recipe_.silence_floor, *recipe_.energy_maximum,
                                  recipe_.energy_scale),
            "kivsNormEnergy_RT_32f");
    }
  }
  void finish(FeatureMatrix&) override {}

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
      check(kivsCopy_32f(variance_.data(), step_.data(), width_), "kivsCopy_32f");
      check(kivsRecSqrt_32f(step_.data(), width_, kSmallestVariance), "kivsRecSqrt_32f");
      check(kivsMul_32f(after_.data(), step_.data(), result.row(result.height() - 1).data(), width_), "kivsMul_32f");
    }
  }
  void finish(FeatureMatrix&) override { start(); }

 private:
  void start() {
    count_ = 0;
    std::fill(mean_.begin(), mean_.end(), 0.0F);
    std::fill(variance_.begin(), variance_.end(), 0.0F);
  }

  // Moves mean and variance on; before_ and after_ are the frame without the old and without the new mean.
  void follow(const float* frame) {
    const float share = 1.0F / static_cast<float>(count_);
    check(kivsCopy_32f(frame, before_.data(), width_), "kivsCopy_32f");
    check(kivsSub_32f_I(mean_.data(), before_.data(), width_), "kivsSub_32f_I");
    check(kivsMulC_32f(before_.data(), share, step_.data(), width_), "kivsMulC_32f");
    check(kivsAdd_32f_I(step_.data(), mean_.data(), width_), "kivsAdd_32f_I");
    check(kivsCopy_32f(frame, after_.data(), width_), "kivsCopy_32f");
    check(kivsSub_32f_I(mean_.data(), after_.data(), width_), "kivsSub_32f_I");
    check(kivsMul_32f(before_.data(), after_.data(), step_.data(), width_), "kivsMul_32f");
    check(kivsSub_32f_I(variance_.data(), step_.data(), width_), "kivsSub_32f_I");
    check(kivsMulC_32f_I(share, step_.data(), width_), "kivsMulC_32f_I");
    check(kivsAdd_32f_I(step_.data(), variance_.data(), width_), "kivsAdd_32f_I");
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
    check(kivsMeanColumn_32f_D2(values, height, width, mean.data(), width), "kivsMeanColumn_32f_D2");
    check(kivsSubRow_32f_D2(mean.data(), width, values, width, height), "kivsSubRow_32f_D2");
  }
  if (!variance || height < 2) return;
  check(kivsMeanVarColumn_32f_D2(values, height, width, mean.data(), factor.data(), width), "kivsMeanVarColumn_32f_D2");
  check(kivsRecSqrt_32f(factor.data(), width, kSmallestVariance), "kivsRecSqrt_32f");
  check(kivsNormalizeColumn_32f_D2(values, width, height, mean.data(), factor.data(), width),
        "kivsNormalizeColumn_32f_D2");
}

std::unique_ptr<RowStage> make_energy_stage(const Recipe& recipe) {
  if (!recipe.normalise_energy) return nullptr;
  if (recipe.energy_maximum) return std::make_unique<EnergyBelowKnownMaximum>(recipe);
  const auto act = [recipe](FeatureMatrix& rows) {
    check(kivsNormEnergy_32f(rows.values.data() + rows.width - 1, rows.width, rows.height(), recipe.silence_floor,
                             recipe.energy_scale),
          "kivsNormEnergy_32f");
  };
  return std::make_unique<WholeUtterance>(recipe.input_width(), act);
}

std::unique_ptr<RowStage> make_normalisation_stage(const Recipe& recipe) {
  const auto whole = [&](bool variance) {
    return std::make_unique<WholeUtterance>(recipe.input_width(),
                                            [variance](FeatureMatrix& rows) { normalise_utterance(rows, variance); });
  };
  switch (recipe.normalisation) {
    case Normalisation::kNone: return nullptr;
    case Normalisation::kMean: return whole(false);
    case Normalisation::kMeanVariance: return whole(true);
    default: return std::make_unique<RunningNormalisation>(recipe);
  }
}

}  // namespace kivsr::speech
