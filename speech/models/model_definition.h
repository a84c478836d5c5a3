// The phones of an acoustic model ("mdef", binary or text): each base phone, each phone in the context of its two
// neighbours, and the states and transition matrix of each. What sounds alike is tied: phones in context share hidden
// Markov models, and models share states. Next: acoustic_model.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
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

// Where in its word a phone stands.
enum class WordPosition : std::uint8_t { kInternal, kBegin, kEnd, kSingle };

// A hidden Markov model of one phone in contexts that sound alike; its states are in ModelDefinition::hmm_states.
struct PhoneHmm {
  int base = 0;  // phone
  int transition_matrix = 0;
};

struct ModelDefinition {
  std::vector<PhoneDefinition> phones;
  int states_per_phone = 0;
  int independent_states = 0;  // of the context-independent phones; they come first
  int states = 0;              // of all phones
  int transition_matrices = 0;
  int silence = -1;  // the phone that stands for every filler as a neighbour, -1 if there is none

  std::vector<PhoneHmm> hmms;          // those of the base phones first, in their order
  std::vector<int> hmm_states;         // [hmm][states_per_phone]
  std::vector<std::int32_t> contexts;  // [position][base][left][right]: an hmm or -1; empty if there are none

  int phone_index(std::string_view name) const;  // -1 if there is none
  bool has_contexts() const { return !contexts.empty(); }
  std::span<const int> states_of_hmm(int hmm) const {
    const auto count = static_cast<std::size_t>(states_per_phone);
    return {hmm_states.data() + static_cast<std::size_t>(hmm) * count, count};
  }
  // The model of a phone between two others. What was never seen in training is taken from the same neighbours at
  // another place of the word, then from silence for neighbours in other words, last from the phone alone.
  int hmm_of(int base, int left, int right, WordPosition position) const;
};

// Of a definition that was put together by hand: hmms of the base phones alone.
void add_independent_hmms(ModelDefinition& definition);

ModelDefinition read_model_definition(const std::filesystem::path& file);
// Of text that is already in memory. name: of the file, for faults.
ModelDefinition parse_model_definition(const std::string& name, const std::string& text);
// As text; parsing it gives the same definition, models in context being numbered in the order of the text.
std::string model_definition_text(const ModelDefinition& definition);

}  // namespace kivsr::speech
