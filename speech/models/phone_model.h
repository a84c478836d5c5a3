// A model of phones as it is trained: tied states with a mixture each, and the phones in context that have them. It is
// kept whole in a file of its own, from which a training goes on, and written in the layout of Sphinx, which
// acoustic_model.h and other recognisers read. Next: acoustic_model.h.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/models/model_definition.h"
#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

struct PhoneModel {
  Recipe recipe;
  ModelDefinition definition;
  Dictionary fillers;                // words that stand for silence and noises, each one phone
  std::vector<MixtureState> states;  // MixtureState::stay is not used
  std::vector<float> stays;          // [transition matrix][state of the phone]
  std::vector<float> variance_floor;
  std::map<std::string, std::string> training;  // record of the training

  int dimension() const { return recipe.width(); }
  int rows() const { return definition.transition_matrices * definition.states_per_phone; }
};

// Names of the files in the folder of a model: the record of everything.
constexpr const char* kPhoneModelRecord = "training";

PhoneModel read_phone_model(const std::filesystem::path& record);
void write_phone_model(const std::filesystem::path& record, const PhoneModel& model);
std::uint32_t phone_model_checksum(const PhoneModel& model);

// mdef, means, variances, mixture_weights, transition_matrices, feat.params and noisedict. States of fewer Gaussians
// than others are filled up with copies of their first one that have no weight. Throws Fault for a recipe that
// feat.params cannot describe.
void write_sphinx_model(const std::filesystem::path& folder, const PhoneModel& model);

}  // namespace kivsr::speech
