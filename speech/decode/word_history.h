// The words on the paths of a search, as a tree that grows from the start: each word knows the one before it. Memory
// does not grow with the frames but with the words that were said: of all words only those are kept that a path still
// leads back to.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kivsr::speech {

struct HypothesisWord {
  int label = 0;  // of the search network
  int first_frame = 0;
  int last_frame = 0;
};

class WordHistory {
 public:
  WordHistory() { reset(); }
  void reset();

  // The word that ended in a frame, behind another; -1: behind the start. Returns its index.
  int add(int previous, int label, int frame);
  bool has_grown() const { return ends_.size() > most_ends_; }

  // From the first word of the utterance on.
  std::vector<HypothesisWord> trace(int last) const;

  // Forgets what no path leads back to, and settles the words at the start that all paths have in common. visit calls a
  // function with a reference to every index that a path holds, and is called several times.
  template <class Visit>
  void settle(Visit&& visit);
  // Those words that were settled since the last call.
  std::vector<HypothesisWord> take_settled();

 private:
  struct WordEnd {
    int previous;
    int label;
    int frame;
  };

  void mark(int last);
  void drop_unmarked();
  std::size_t common_words();

  std::vector<WordEnd> ends_;  // none is older than those before it
  std::size_t most_ends_ = 0;  // when there are more, it is time to settle
  std::vector<HypothesisWord> settled_;
  std::size_t taken_ = 0;        // of the settled ones
  int first_frame_ = 0;          // behind them
  std::vector<int> places_;      // while settling: where each word moves to, -1: it is forgotten
  std::vector<char> path_ends_;  // while settling: whether a path holds the word; the start is the first
};

template <class Visit>
void WordHistory::settle(Visit&& visit) {
  places_.assign(ends_.size(), -1);
  visit([this](int& last) { mark(last); });
  drop_unmarked();
  visit([this](int& last) { last = last < 0 ? -1 : places_[static_cast<std::size_t>(last)]; });
  path_ends_.assign(ends_.size() + 1, 0);
  visit([this](int& last) { path_ends_[static_cast<std::size_t>(last + 1)] = 1; });
  const int common = static_cast<int>(common_words());
  visit([common](int& last) { last = std::max(last - common, -1); });
}

}  // namespace kivsr::speech
