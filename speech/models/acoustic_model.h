// An acoustic model as the scorer and the search use it: Gaussians with inverse variances and normalisers, log mixture
// weights, log transition probabilities. Three ways of tying are told apart by the number of codebooks: one for all
// (semi-continuous), one a phone (phonetically tied), one a state (continuous).
// Next: decode/mixture_scorer.h, which scores a frame against it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/models/model_definition.h"

namespace kivsr::speech {

// Log probability of what cannot happen; far below any path, and still finite after many additions.
constexpr float kLogZero = -1.0e30F;

struct ModelFloors {
  float variance = 1.0e-4F;
  float mixture_weight = 1.0e-7F;
  float transition = 1.0e-4F;  // of transitions that were ever seen
};

// The part of a model that scores one slice of the feature vector.
struct ModelStream {
  int offset = 0;  // first feature of the slice
  int length = 0;
  std::vector<float> means;              // [codebook][Gaussian][length], packed
  std::vector<float> inverse_variances;  // same shape
  std::vector<float> normalisers;        // [codebook][Gaussian]: -(length ln(2 pi) + sum of ln variance) / 2
  std::vector<float> log_weights;        // [state][Gaussian]
};

struct AcousticModel {
  std::filesystem::path folder;
  bool whole_words = false;  // every state of a word is a phone of its own (word_acoustic_model.h)
  Recipe recipe;             // of the features that it was trained from
  // Mean of the recipe's statics over the speech that it was trained from; empty: not known.
  std::vector<float> static_mean;
  ModelDefinition definition;
  Dictionary fillers;  // noisedict: silence and noises
  int dimension = 0;   // of the feature vector
  int codebooks = 0;
  int densities = 0;  // Gaussians of each codebook and stream
  std::vector<ModelStream> streams;
  std::vector<int> codebook_of_state;
  std::vector<float> log_transitions;  // [matrix][source][destination]; the last destination is the exit
  const float* transitions(int hmm) const {
    const auto sources = static_cast<std::size_t>(definition.states_per_phone);
    const auto matrix = static_cast<std::size_t>(definition.hmms[static_cast<std::size_t>(hmm)].transition_matrix);
    return log_transitions.data() + matrix * sources * (sources + 1);
  }
};

// A path is taken as it is; a bare name is looked for among the models that Debian installs.
std::filesystem::path find_model_folder(const std::string& name);
// The dictionary that lies beside the model, else the one that Debian installs; empty if there is neither.
std::filesystem::path find_model_dictionary(const std::filesystem::path& folder);

AcousticModel read_acoustic_model(const std::filesystem::path& folder, const ModelFloors& floors = {});

}  // namespace kivsr::speech
