#include "kivsr/speech/decode/lexicon_tree.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <tuple>

namespace kivsr::speech {
namespace {

constexpr float kNoWord = std::numeric_limits<float>::lowest();

// Words that have their first `depth` phones in common, as a range of the sorted words.
struct Shared {
  int node = 0;  // that the phones lead to, -1: a top
  int top = 0;
  std::size_t first = 0;
  std::size_t last = 0;
  std::size_t depth = 0;
};

class TreeBuilder {
 public:
  TreeBuilder(LexiconForest& forest, std::vector<LanguageWord> words) : forest_(forest), words_(std::move(words)) {
    for (LanguageWord& word : words_) translate(word);
    std::sort(words_.begin(), words_.end(), [](const LanguageWord& a, const LanguageWord& b) {
      return std::tie(a.phones, a.arc) < std::tie(b.phones, b.arc);
    });
  }

  int build() {
    const LexiconTree tree{static_cast<int>(forest_.tops.size()), 0};
    for (std::size_t first = 0; first < words_.size();) {
      const std::size_t last = end_of_phone(first, words_.size(), 0);
      add_top(first, last);
      first = last;
    }
    forest_.trees.push_back(tree);
    forest_.trees.back().tops = static_cast<int>(forest_.tops.size()) - tree.first_top;
    const std::size_t first_node = forest_.nodes.size();
    for (; !open_.empty(); open_.pop_front()) add_children(open_.front());
    look_ahead(first_node);
    return static_cast<int>(forest_.trees.size()) - 1;
  }

 private:
  // The phones after the first become links, so that words share what sounds alike and has the same neighbours.
  void translate(LanguageWord& word) {
    const std::vector<int> phones = word.phones;
    for (std::size_t i = 1; i + 1 < phones.size(); ++i) {
      word.phones[i] = forest_.definition.hmm_of(phones[i], phones[i - 1], phones[i + 1], WordPosition::kInternal);
    }
    if (phones.size() > 1) {
      word.phones.back() = -1 - forest_.fan_out.add(phones[phones.size() - 2], phones.back(), WordPosition::kEnd);
    }
  }

  // The words from first on that have the same phone at a depth.
  std::size_t end_of_phone(std::size_t first, std::size_t last, std::size_t depth) const {
    const auto same = [&](const LanguageWord& word) { return word.phones[depth] == words_[first].phones[depth]; };
    return static_cast<std::size_t>(std::find_if_not(words_.begin() + static_cast<std::ptrdiff_t>(first) + 1,
                                                     words_.begin() + static_cast<std::ptrdiff_t>(last), same) -
                                    words_.begin());
  }

  // Words that end after `depth` phones come first as they are the shortest.
  std::size_t end_of_words(std::size_t first, std::size_t last, std::size_t depth) const {
    while (first < last && words_[first].phones.size() == depth) ++first;
    return first;
  }

  void add_top(std::size_t first, std::size_t last) {
    TreeTop top;
    top.phone = words_[first].phones[0];
    const std::size_t longer = end_of_words(first, last, 1);
    top.first_single = add_arcs(first, longer, top.single_look_ahead);
    top.singles = static_cast<int>(longer - first);
    for (int left = 0; left < forest_.fan_out.contexts() && top.singles > 0; ++left) {
      forest_.fan_out.add(left, top.phone, WordPosition::kSingle);
    }
    open_.push_back({-1, static_cast<int>(forest_.tops.size()), longer, last, 1});
    forest_.tops.push_back(top);
  }

  int add_arcs(std::size_t first, std::size_t last, float& best) {
    const int place = static_cast<int>(forest_.arcs.size());
    best = kNoWord;
    for (; first < last; ++first) {
      forest_.arcs.push_back(words_[first].arc);
      best = std::max(best, words_[first].look_ahead);
    }
    return place;
  }

  void add_children(const Shared& shared) {
    const int first_child = static_cast<int>(forest_.nodes.size());
    int slots = 0;
    for (std::size_t first = shared.first; first < shared.last;) {
      const std::size_t last = end_of_phone(first, shared.last, shared.depth);
      TreeNode node;
      node.link = words_[first].phones[shared.depth];
      node.slot = slots;
      if (node.ends_word()) {
        node.first = add_arcs(first, last, node.look_ahead);
        node.count = static_cast<int>(last - first);
      } else {
        open_.push_back({static_cast<int>(forest_.nodes.size()), 0, first, last, shared.depth + 1});
      }
      slots += forest_.slots_of(node);
      forest_.nodes.push_back(node);
      first = last;
    }
    const int count = static_cast<int>(forest_.nodes.size()) - first_child;
    if (shared.node < 0) {
      TreeTop& top = forest_.tops[static_cast<std::size_t>(shared.top)];
      std::tie(top.first, top.count, top.child_slots) = std::tuple(first_child, count, slots);
    } else {
      TreeNode& node = forest_.nodes[static_cast<std::size_t>(shared.node)];
      std::tie(node.first, node.count, node.child_slots) = std::tuple(first_child, count, slots);
    }
  }

  // Children stand behind their parents.
  void look_ahead(std::size_t first_node) {
    for (std::size_t index = forest_.nodes.size(); index-- > first_node;) {
      TreeNode& node = forest_.nodes[index];
      if (node.ends_word()) continue;
      node.look_ahead = kNoWord;
      for (int child = node.first; child < node.first + node.count; ++child) {
        node.look_ahead = std::max(node.look_ahead, forest_.nodes[static_cast<std::size_t>(child)].look_ahead);
      }
    }
  }

  LexiconForest& forest_;
  std::vector<LanguageWord> words_;  // phones[0] a phone, the others links
  std::deque<Shared> open_;
};

}  // namespace

int LexiconForest::add_tree(std::vector<LanguageWord> words) { return TreeBuilder(*this, std::move(words)).build(); }

}  // namespace kivsr::speech
