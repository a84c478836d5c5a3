#include "kivsr/speech/train/mixture_evaluator.h"

#include <algorithm>
#include <cmath>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

MixtureEvaluator::MixtureEvaluator(std::span<const MixtureState> states, int dimension)
    : states_(states), dimension_(dimension) {
  for (const MixtureState& state : states) {
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
    terms.means.assign(state.means.begin(), state.means.end());
    terms.single_constants.assign(terms.constants.begin(), terms.constants.end());
  }
}

MixtureLikelihoods MixtureEvaluator::evaluate(int index, const FeatureMatrix& features, int first, int count) const {
  const MixtureState& state = states_[static_cast<std::size_t>(index)];
  const Terms& terms = terms_[static_cast<std::size_t>(index)];
  const auto frames = static_cast<std::size_t>(count);
  MixtureLikelihoods result;
  result.frames = count;
  result.components.resize(static_cast<std::size_t>(state.components()) * frames);
  for (std::size_t component = 0; component < terms.constants.size(); ++component) {
    double* const row = result.components.data() + component * frames;
    const std::size_t gaussian = component * static_cast<std::size_t>(dimension_);
    call<kivsLogGauss_32f64f_D2>(features.row(first), features.width, state.means.data() + gaussian,
                                 terms.inverse_variances.data() + gaussian, dimension_, row, count,
                                 terms.constants[component]);
    if (component == 0) {
      result.mixture.assign(row, row + frames);
    } else {
      call<kivsLogAdd_64f>(row, result.mixture, count, kivLogAddHintAc);
    }
  }
  return result;
}

double MixtureEvaluator::log_likelihood(int state, const FeatureMatrix& features) const {
  constexpr int kBlockFrames = 1000;
  double sum = 0.0;
  for (int first = 0; first < features.height(); first += kBlockFrames) {
    const int count = std::min(kBlockFrames, features.height() - first);
    for (const double frame : evaluate(state, features, first, count).mixture) sum += frame;
  }
  return sum;
}

double MixtureEvaluator::score(int index, const float* frame, float* components) const {
  const MixtureState& state = states_[static_cast<std::size_t>(index)];
  const Terms& terms = terms_[static_cast<std::size_t>(index)];
  const int count = state.components();
  std::copy(terms.single_constants.begin(), terms.single_constants.end(), components);
  call<kivsLogGaussMultiMix_32f_D2>(state.means, terms.inverse_variances, dimension_, frame, dimension_, components,
                                    count);
  if (count == 1) return static_cast<double>(*components);
  const float greatest = *std::max_element(components, components + count);
  double sum = 0.0;
  for (int i = 0; i < count; ++i) sum += std::exp(static_cast<double>(components[i] - greatest));
  return static_cast<double>(greatest) + std::log(sum);
}

void MixtureEvaluator::score_frames(int index, const float* frames, std::span<float> scores) const {
  const Terms& terms = terms_[static_cast<std::size_t>(index)];
  call<kivsLogGauss_32f_D2>(frames, dimension_, states_[static_cast<std::size_t>(index)].means, terms.inverse_variances,
                            dimension_, scores, scores.size(), terms.single_constants.front());
}

void MixtureLikelihoods::to_shares() {
  for (std::size_t row = 0; row < components.size(); row += mixture.size()) {
    call<kivsSub_64f_I>(mixture, components.data() + row, frames);
    for (std::size_t i = row; i < row + mixture.size(); ++i) components[i] = std::exp(components[i]);
  }
}

}  // namespace kivsr::speech
