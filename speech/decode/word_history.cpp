#include "kivsr/speech/decode/word_history.h"

namespace kivsr::speech {
namespace {

constexpr std::size_t kWordEnds = 4096;  // that are kept without looking for those that no path leads back to

}  // namespace

void WordHistory::reset() {
  ends_.clear();
  most_ends_ = kWordEnds;
  settled_.clear();
  taken_ = 0;
  first_frame_ = 0;
}

int WordHistory::add(int previous, int label, int frame) {
  ends_.push_back({previous, label, frame});
  return static_cast<int>(ends_.size()) - 1;
}

std::vector<HypothesisWord> WordHistory::trace(int last) const {
  std::vector<HypothesisWord> words;
  while (last >= 0) {
    const WordEnd& end = ends_[static_cast<std::size_t>(last)];
    const int first = end.previous < 0 ? first_frame_ : ends_[static_cast<std::size_t>(end.previous)].frame + 1;
    words.push_back({end.label, first, end.frame});
    last = end.previous;
  }
  words.insert(words.end(), settled_.rbegin(), settled_.rend());
  std::reverse(words.begin(), words.end());
  return words;
}

void WordHistory::mark(int last) {
  for (; last >= 0 && places_[static_cast<std::size_t>(last)] < 0;
       last = ends_[static_cast<std::size_t>(last)].previous) {
    places_[static_cast<std::size_t>(last)] = 0;
  }
}

void WordHistory::drop_unmarked() {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < ends_.size(); ++i) {
    if (places_[i] < 0) continue;
    WordEnd end = ends_[i];
    if (end.previous >= 0) end.previous = places_[static_cast<std::size_t>(end.previous)];
    ends_[kept] = end;
    places_[i] = static_cast<int>(kept++);
  }
  ends_.resize(kept);
}

// The words from the start on that lie on all paths: each is the only one behind the one before it, and no path has its
// last word earlier. They leave the tree. Words stand behind those that they follow, so that the common ones are the
// first.
std::size_t WordHistory::common_words() {
  std::vector<int> followers(ends_.size() + 1);  // of the start, then of each word
  for (const WordEnd& end : ends_) ++followers[static_cast<std::size_t>(end.previous + 1)];
  std::size_t common = 0;
  while (followers[common] == 1 && path_ends_[common] == 0) {
    const WordEnd& end = ends_[common++];
    settled_.push_back({end.label, first_frame_, end.frame});
    first_frame_ = end.frame + 1;
  }
  ends_.erase(ends_.begin(), ends_.begin() + static_cast<std::ptrdiff_t>(common));
  for (WordEnd& end : ends_) end.previous = std::max(end.previous - static_cast<int>(common), -1);
  most_ends_ = std::max(kWordEnds, 2 * ends_.size());
  return common;
}

std::vector<HypothesisWord> WordHistory::take_settled() {
  const auto first = settled_.begin() + static_cast<std::ptrdiff_t>(taken_);
  taken_ = settled_.size();
  return {first, settled_.end()};
}

}  // namespace kivsr::speech
