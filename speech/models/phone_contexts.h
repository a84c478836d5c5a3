// Gathers the phones in context of a model definition while it is read, and ties those that share states and matrix.
#pragma once

#include <map>
#include <vector>

#include "kivsr/speech/models/model_definition.h"

namespace kivsr::speech {

class PhoneContexts {
 public:
  static constexpr int kMostPhones = 128;  // the table of contexts grows with the cube of their number

  // The definition has its base phones already.
  explicit PhoneContexts(ModelDefinition& definition);

  struct Triphone {
    int base = 0;
    int left = 0;
    int right = 0;
    WordPosition position = WordPosition::kInternal;
    int transition_matrix = 0;
  };
  void add(const Triphone& triphone, const std::vector<int>& states);

 private:
  ModelDefinition& definition_;
  std::map<std::vector<int>, int> hmms_;  // by base, matrix and states
};

}  // namespace kivsr::speech
