// The last phone of a word sounds as the first phone of the next word makes it. As that is not known yet, the search
// follows it in every way that sounds different: its variants, each with the phones that it may be followed by.
#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "kivsr/speech/models/model_definition.h"

namespace kivsr::speech {

class FanOutTable {
 public:
  struct Variant {
    int hmm = 0;
    int first_right = 0;  // index into the right contexts
    int rights = 0;
  };

  explicit FanOutTable(const ModelDefinition& definition) : definition_(definition) {}

  // The set of variants of a phone at the end of a word, made when it is first asked for.
  int add(int left, int base, WordPosition position);
  // The same, -1 if it was never asked for.
  int find(int left, int base, WordPosition position) const;

  std::span<const Variant> variants(int set) const { return sets_[static_cast<std::size_t>(set)].variants; }
  int base(int set) const { return sets_[static_cast<std::size_t>(set)].base; }
  std::span<const int> rights(const Variant& variant) const {
    return {rights_.data() + variant.first_right, static_cast<std::size_t>(variant.rights)};
  }

  // Neighbours are told apart by their phone, all fillers being silence; in a model without contexts not at all.
  int contexts() const { return definition_.has_contexts() ? static_cast<int>(definition_.phones.size()) : 1; }
  int context_of(int phone) const {
    if (!definition_.has_contexts()) return 0;
    const bool filler = definition_.phones[static_cast<std::size_t>(phone)].filler;
    return filler && definition_.silence >= 0 ? definition_.silence : phone;
  }
  // The neighbour at the start and the end of an utterance.
  int silent_context() const {
    return definition_.has_contexts() && definition_.silence >= 0 ? definition_.silence : 0;
  }

 private:
  struct Set {
    int base = 0;
    std::vector<Variant> variants;
  };

  const ModelDefinition& definition_;
  std::map<std::tuple<int, int, WordPosition>, int> indices_;
  std::vector<Set> sets_;
  std::vector<int> rights_;
};

}  // namespace kivsr::speech
