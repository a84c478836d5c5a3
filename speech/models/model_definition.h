// The phones of an acoustic model and the states and transition matrix of each ("mdef", binary or text).
// Only the context-independent phones are kept.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

struct PhoneDefinition {
  std::string name;
  bool filler = false;  // silence or noise
  int transition_matrix = 0;
  std::vector<int> states;  // emitting states from left to right, all below independent_states
};

struct ModelDefinition {
  std::vector<PhoneDefinition> phones;
  int states_per_phone = 0;
  int independent_states = 0;  // of the context-independent phones; they come first
  int states = 0;              // of all phones
  int transition_matrices = 0;

  int phone_index(std::string_view name) const;  // -1 if there is none
};

ModelDefinition read_model_definition(const std::filesystem::path& file);

}  // namespace kivsr::speech
