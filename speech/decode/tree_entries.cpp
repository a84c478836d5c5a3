#include "kivsr/speech/decode/tree_entries.h"

#include <algorithm>
#include <limits>

namespace kivsr::speech {

TreeEntries::List TreeEntries::make(int tree, int left) {
  const LexiconTree& place = forest_.trees[static_cast<std::size_t>(tree)];
  const auto first = static_cast<int>(entries_.size());
  for (int index = 0; index < place.tops; ++index) {
    const TreeTop& top = forest_.tops[static_cast<std::size_t>(place.first_top + index)];
    add_longer_words(top, index, left);
    add_singles(top, index, left);
  }
  return {first, static_cast<int>(entries_.size()) - first};
}

void TreeEntries::add_longer_words(const TreeTop& top, int index, int left) {
  std::map<int, std::vector<int>> nodes_of_hmm;
  for (int node = top.first; node < top.first + top.count; ++node) {
    const int right = forest_.phone_of(forest_.nodes[static_cast<std::size_t>(node)]);
    nodes_of_hmm[forest_.definition.hmm_of(top.phone, left, right, WordPosition::kBegin)].push_back(node);
  }
  for (const auto& [hmm, nodes] : nodes_of_hmm) {
    TreeEntry entry{.hmm = hmm,
                    .context = forest_.fan_out.context_of(top.phone),
                    .top = index,
                    .look_ahead = std::numeric_limits<float>::lowest(),
                    .first_member = static_cast<int>(members_.size()),
                    .members = static_cast<int>(nodes.size())};
    for (const int node : nodes) {
      entry.look_ahead = std::max(entry.look_ahead, forest_.nodes[static_cast<std::size_t>(node)].look_ahead);
    }
    members_.insert(members_.end(), nodes.begin(), nodes.end());
    entries_.push_back(entry);
  }
}

void TreeEntries::add_singles(const TreeTop& top, int index, int left) {
  if (top.singles == 0) return;
  const int set = forest_.fan_out.find(left, top.phone, WordPosition::kSingle);
  for (const FanOutTable::Variant& variant : forest_.fan_out.variants(set)) {
    entries_.push_back({.hmm = variant.hmm,
                        .context = forest_.fan_out.context_of(top.phone),
                        .top = index,
                        .look_ahead = top.single_look_ahead,
                        .variant = &variant});
  }
}

}  // namespace kivsr::speech
