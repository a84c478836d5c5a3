// The ways into a lexicon tree after a given phone: first phones of words as that phone makes them sound, those that
// sound alike together. Made when the search first comes that way, kept for the next time.
#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/decode/lexicon_tree.h"

namespace kivsr::speech {

struct TreeEntry {
  int hmm = 0;
  int context = 0;  // of the first phone, for the word before
  int top = 0;      // in its tree
  float look_ahead = 0.0F;
  // first phone of longer words: the nodes that may follow, index into members
  int first_member = 0;
  int members = 0;
  // a word of one phone: the variant, null otherwise
  const FanOutTable::Variant* variant = nullptr;
};

class TreeEntries {
 public:
  explicit TreeEntries(const LexiconForest& forest)
      : forest_(forest), lists_(forest.trees.size() * static_cast<std::size_t>(forest.fan_out.contexts())) {}

  struct List {
    int first = -1;  // of the entries
    int count = 0;
  };
  const List& after(int tree, int left) {
    List& list = lists_[static_cast<std::size_t>(tree) * static_cast<std::size_t>(forest_.fan_out.contexts()) +
                        static_cast<std::size_t>(left)];
    if (list.first < 0) list = make(tree, left);
    return list;
  }
  const TreeEntry& entry(int index) const { return entries_[static_cast<std::size_t>(index)]; }
  std::span<const int> members(const TreeEntry& entry) const {
    return {members_.data() + entry.first_member, static_cast<std::size_t>(entry.members)};
  }

 private:
  List make(int tree, int left);
  void add_longer_words(const TreeTop& top, int index, int left);
  void add_singles(const TreeTop& top, int index, int left);

  const LexiconForest& forest_;
  std::vector<List> lists_;  // [tree][left context]
  std::vector<TreeEntry> entries_;
  std::vector<int> members_;
};

}  // namespace kivsr::speech
