#include "kivsr/speech/models/phone_contexts.h"

#include <algorithm>
#include <utility>

namespace kivsr::speech {
namespace {

constexpr WordPosition kPositions[] = {WordPosition::kInternal, WordPosition::kBegin, WordPosition::kEnd,
                                       WordPosition::kSingle};

std::size_t place_of(const ModelDefinition& definition, int base, int left, int right, WordPosition position) {
  const std::size_t phones = definition.phones.size();
  std::size_t place = static_cast<std::size_t>(position);
  for (const int phone : {base, left, right}) place = place * phones + static_cast<std::size_t>(phone);
  return place;
}

// The model of these neighbours in this position, else in any other.
int find_context(const ModelDefinition& definition, int base, int left, int right, WordPosition position) {
  int hmm = definition.contexts[place_of(definition, base, left, right, position)];
  for (const WordPosition other : kPositions) {
    if (hmm < 0) hmm = definition.contexts[place_of(definition, base, left, right, other)];
  }
  return hmm;
}

}  // namespace

void add_independent_hmms(ModelDefinition& definition) {
  for (int phone = 0; phone < static_cast<int>(definition.phones.size()); ++phone) {
    const PhoneDefinition& known = definition.phones[static_cast<std::size_t>(phone)];
    definition.hmms.push_back({phone, known.transition_matrix});
    definition.hmm_states.insert(definition.hmm_states.end(), known.states.begin(), known.states.end());
  }
}

int ModelDefinition::phone_index(std::string_view name) const {
  const auto found =
      std::find_if(phones.begin(), phones.end(), [&](const PhoneDefinition& phone) { return phone.name == name; });
  return found == phones.end() ? -1 : static_cast<int>(found - phones.begin());
}

int ModelDefinition::hmm_of(int base, int left, int right, WordPosition position) const {
  const auto filler = [this](int phone) { return phones[static_cast<std::size_t>(phone)].filler; };
  if (!has_contexts() || filler(base)) return base;
  if (silence >= 0) {
    if (filler(left)) left = silence;
    if (filler(right)) right = silence;
  }
  const int hmm = find_context(*this, base, left, right, position);
  if (hmm >= 0 || silence < 0) return hmm < 0 ? base : hmm;
  if (position == WordPosition::kBegin || position == WordPosition::kSingle) left = silence;
  if (position == WordPosition::kEnd || position == WordPosition::kSingle) right = silence;
  const int silent = find_context(*this, base, left, right, position);
  return silent < 0 ? base : silent;
}

PhoneContexts::PhoneContexts(ModelDefinition& definition) : definition_(definition) {
  const std::size_t phones = definition.phones.size();
  definition.contexts.assign(std::size(kPositions) * phones * phones * phones, -1);
}

void PhoneContexts::add(const Triphone& triphone, const std::vector<int>& states) {
  const auto next = static_cast<int>(definition_.hmms.size());
  std::vector<int> key{triphone.base, triphone.transition_matrix};
  key.insert(key.end(), states.begin(), states.end());
  const auto [known, added] = hmms_.try_emplace(std::move(key), next);
  if (added) {
    definition_.hmms.push_back({triphone.base, triphone.transition_matrix});
    definition_.hmm_states.insert(definition_.hmm_states.end(), states.begin(), states.end());
  }
  definition_.contexts[place_of(definition_, triphone.base, triphone.left, triphone.right, triphone.position)] =
      known->second;
}

}  // namespace kivsr::speech
