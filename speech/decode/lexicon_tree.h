// Lexicon trees: words that begin with the same phones share them, so that the search enters few phones where many
// words may begin. Phones inside a word are known with their neighbours. The first phone is left open, as the word
// before decides how it sounds (tree_entries.h); the last one stands for all its variants (fan_out.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kivsr/speech/decode/fan_out.h"
#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/models/model_definition.h"

namespace kivsr::speech {

// From the second phone of a word on. The instances that the search makes of the children of a node lie side by side:
// one for each child, or for each variant where a word ends.
struct TreeNode {
  int link = 0;             // hmm of the phone; where a word ends: -1 less the set of variants
  int first = 0;            // first child, index into nodes; where a word ends: first word, index into arcs
  int count = 0;            // of children or words
  int slot = 0;             // first of its instances among those of its parent
  int child_slots = 0;      // instances of all its children
  float look_ahead = 0.0F;  // best weight of the words that can still be reached

  bool ends_word() const { return link < 0; }
  int fan_out() const { return -1 - link; }
};

// The words of a tree that begin with one phone.
struct TreeTop {
  int phone = 0;
  int first = 0;  // first node of the second phones
  int count = 0;
  int child_slots = 0;
  int first_single = 0;  // the words that are this phone alone, index into arcs
  int singles = 0;
  float single_look_ahead = 0.0F;
};

struct LexiconTree {
  int first_top = 0;
  int tops = 0;
};

struct LexiconForest {
  explicit LexiconForest(const ModelDefinition& model) : definition(model), fan_out(model) {}

  // Returns its index.
  int add_tree(std::vector<LanguageWord> words);

  const ModelDefinition& definition;
  FanOutTable fan_out;
  std::vector<LexiconTree> trees;
  std::vector<TreeTop> tops;
  std::vector<TreeNode> nodes;
  std::vector<int> arcs;  // names of words for the language

  int slots_of(const TreeNode& node) const {
    return node.ends_word() ? static_cast<int>(fan_out.variants(node.fan_out()).size()) : 1;
  }
  int phone_of(const TreeNode& node) const {
    return node.ends_word() ? fan_out.base(node.fan_out()) : definition.hmms[static_cast<std::size_t>(node.link)].base;
  }
};

}  // namespace kivsr::speech
