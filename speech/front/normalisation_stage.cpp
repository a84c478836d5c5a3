#include "kivsr/speech/front/normalisation_stage.h"

#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/running_normaliser.h"

namespace kivsr::speech {

namespace {

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

class RunningStage : public RowStage {
 public:
  explicit RunningStage(const Recipe& recipe)
      : normaliser_(recipe.input_width(), recipe.normalisation_frames,
                    recipe.normalisation == Normalisation::kRunningMeanVariance) {}

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    for (int t = 0; t < rows.height(); ++t) {
      append_rows(rows.row(t), result);
      normaliser_.apply(result.row(result.height() - 1));
    }
  }
  bool finish(FeatureMatrix&) override {
    normaliser_.restart();
    return false;
  }

 private:
  RunningNormaliser normaliser_;
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
    default: return std::make_unique<RunningStage>(recipe);
  }
}

}  // namespace kivsr::speech
