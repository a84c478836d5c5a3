#include "kivsr/speech/train/mixture_evaluator.h"

#include <cmath>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

MixtureEvaluator::MixtureEvaluator(const WordModel& model) : model_(model) {
  const int dimension = model.dimension();
  for (const MixtureState& state : model.states) {
    Terms& terms = terms_.emplace_back();
    std::vector<double> normalisers;
    for (int component = 0; component < state.components(); ++component) {
      const float* const variances =
          state.variances.data() + static_cast<std::size_t>(component) * static_cast<std::size_t>(dimension);
      const std::vector<double> exact(variances, variances + dimension);
      call<kivsUpdateGConst_DirectVar_64f>(exact, dimension, &normalisers.emplace_back());
      for (const double variance : exact) terms.inverse_variances.push_back(static_cast<float>(1.0 / variance));
      const double weight = static_cast<double>(state.weights[static_cast<std::size_t>(component)]);
      terms.constants.push_back(weight > 0.0 ? std::log(weight) : static_cast<double>(kLogZero));
    }
    call<kivsOutProbPreCalc_64f_I>(terms.constants, normalisers, state.components());
  }
}

MixtureLikelihoods MixtureEvaluator::evaluate(int index, const FeatureMatrix& features, int first, int count) const {
  const MixtureState& state = model_.states[static_cast<std::size_t>(index)];
  const Terms& terms = terms_[static_cast<std::size_t>(index)];
  const int dimension = model_.dimension();
  const auto frames = static_cast<std::size_t>(count);
  MixtureLikelihoods result;
  result.frames = count;
  result.components.resize(static_cast<std::size_t>(state.components()) * frames);
  for (std::size_t component = 0; component < terms.constants.size(); ++component) {
    double* const row = result.components.data() + component * frames;
    const std::size_t gaussian = component * static_cast<std::size_t>(dimension);
    call<kivsLogGauss_32f64f_D2>(features.row(first), features.width, state.means.data() + gaussian,
                                 terms.inverse_variances.data() + gaussian, dimension, row, count,
                                 terms.constants[component]);
    if (component == 0) {
      result.mixture.assign(row, row + frames);
    } else {
      call<kivsLogAdd_64f>(row, result.mixture, count, kivLogAddHintAc);
    }
  }
  return result;
}

void MixtureLikelihoods::to_shares() {
  for (std::size_t row = 0; row < components.size(); row += mixture.size()) {
    call<kivsSub_64f_I>(mixture, components.data() + row, frames);
    for (std::size_t i = row; i < row + mixture.size(); ++i) components[i] = std::exp(components[i]);
  }
}

}  // namespace kivsr::speech
