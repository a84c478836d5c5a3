#include "kivsr/speech/models/word_acoustic_model.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

// Mixtures of fewer components than the largest are filled up with components of no weight.
void add_mixture(AcousticModel& model, const MixtureState& state) {
  ModelStream& stream = model.streams.front();
  const auto dimension = static_cast<std::size_t>(model.dimension);
  for (std::size_t component = 0; component < static_cast<std::size_t>(model.densities); ++component) {
    const bool real = component < state.weights.size();
    const float weight = real ? state.weights[component] : 0.0F;
    stream.log_weights.push_back(weight > 0.0F ? std::log(weight) : kLogZero);
    std::vector<float> variances(dimension, 1.0F);
    const std::vector<float> zero(dimension);
    const float* mean = zero.data();
    if (real) {
      mean = state.means.data() + component * dimension;
      std::copy_n(state.variances.data() + component * dimension, dimension, variances.data());
    }
    stream.means.insert(stream.means.end(), mean, mean + dimension);
    float normaliser = 0.0F;
    call<kivsUpdateGConst_DirectVar_32f>(variances, model.dimension, &normaliser);
    stream.normalisers.push_back(-0.5F * normaliser);
    for (const float variance : variances) stream.inverse_variances.push_back(1.0F / variance);
  }
}

}  // namespace

WordRecogniser word_recogniser(const WordModel& model, const std::filesystem::path& file) {
  if (model.plain_mixture) throw Fault(file.string() + ": is a plain mixture, not a model of words");
  WordRecogniser result;
  AcousticModel& acoustic = result.acoustic;
  acoustic.folder = file;
  acoustic.whole_words = true;
  acoustic.recipe = model.recipe;
  acoustic.dimension = model.dimension();
  acoustic.codebooks = static_cast<int>(model.states.size());
  for (const MixtureState& state : model.states) acoustic.densities = std::max(acoustic.densities, state.components());
  acoustic.streams.resize(1);
  acoustic.streams.front().length = acoustic.dimension;
  acoustic.codebook_of_state.resize(model.states.size());
  std::iota(acoustic.codebook_of_state.begin(), acoustic.codebook_of_state.end(), 0);

  ModelDefinition& definition = acoustic.definition;
  definition.states_per_phone = 1;
  definition.independent_states = definition.states = definition.transition_matrices = acoustic.codebooks;
  for (const WordUnit& unit : model.units) {
    Pronunciation pronunciation;
    for (int i = 0; i < unit.states; ++i) {
      const int state = unit.first_state + i;
      pronunciation.push_back(unit.name + "/" + std::to_string(i));
      definition.phones.push_back({pronunciation.back(), unit.filler, state, {state}});
    }
    (unit.filler ? acoustic.fillers : result.dictionary).add(unit.name, std::move(pronunciation));
    if (!unit.filler) result.words.push_back(unit.name);
  }
  add_independent_hmms(definition);
  for (const MixtureState& state : model.states) {
    add_mixture(acoustic, state);
    acoustic.log_transitions.push_back(state.stay > 0.0F ? std::log(state.stay) : kLogZero);
    acoustic.log_transitions.push_back(std::log1p(-state.stay));
  }
  return result;
}

}  // namespace kivsr::speech
