// Small models and utterances with random numbers.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech::test {

// Silence of one state and the words "aye" of two and "no" of three states; statics of width 3 and nothing else.
inline WordModel small_model(std::vector<int> components_of_state = {1, 2, 1, 1, 3, 1}) {
  WordModel model;
  model.recipe = Recipe::of_features(3);
  model.units = {{"<sil>", true, 0, 1}, {"aye", false, 1, 2}, {"no", false, 3, 3}};
  model.variance_floor = {0.01F, 0.02F, 0.03F};
  std::mt19937 generator(5);
  std::normal_distribution<float> normal;
  for (const int components : components_of_state) {
    MixtureState& state = model.states.emplace_back();
    state.stay = 0.3F + 0.1F * static_cast<float>(model.states.size() % 5);
    state.occupation = 100.0F;
    for (int component = 0; component < components; ++component) {
      state.weights.push_back(1.0F / static_cast<float>(components));
      for (int i = 0; i < 3; ++i) {
        state.means.push_back(2.0F * normal(generator));
        state.variances.push_back(0.5F + 0.5F * std::abs(normal(generator)));
      }
    }
  }
  return model;
}

inline FeatureMatrix random_rows(int height, int width, unsigned seed) {
  FeatureMatrix rows;
  rows.width = width;
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal(0.0F, 2.0F);
  for (int i = 0; i < height * width; ++i) rows.values.push_back(normal(generator));
  return rows;
}

}  // namespace kivsr::speech::test
