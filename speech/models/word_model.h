// A model of whole words, as kivsr train makes it: each word a chain of states from left to right without skips, each
// state a mixture of diagonal Gaussians of its own. A plain mixture is a model of one unit of one state.
// Next: word_model_file.h; word_acoustic_model.h, the same as the search uses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

struct MixtureState {
  float stay = 0.5F;             // probability of the state after itself
  float occupation = 0.0F;       // frames that the last pass of training gave it
  std::vector<float> weights;    // probabilities of the components
  std::vector<float> means;      // [component][dimension]
  std::vector<float> variances;  // same shape

  int components() const { return static_cast<int>(weights.size()); }
};

struct WordUnit {
  std::string name;
  bool filler = false;  // silence: may stand between words and is no word itself
  int first_state = 0;
  int states = 0;
};

struct WordModel {
  Recipe recipe;  // of the features that it was trained from
  bool plain_mixture = false;
  std::vector<WordUnit> units;
  std::vector<MixtureState> states;
  std::vector<float> variance_floor;            // [dimension]
  std::map<std::string, std::string> training;  // record of the training, for going on with it

  int dimension() const { return recipe.width(); }
  // Index of a unit, -1 if there is none.
  int find_unit(std::string_view name) const;
  // The unit of silence, -1 if there is none.
  int silence() const;
};

}  // namespace kivsr::speech
