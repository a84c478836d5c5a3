#include "kivsr/speech/decode/viterbi_search.h"

#include <algorithm>

namespace kivsr::speech {

namespace {

constexpr std::size_t kWordEnds = 4096;  // that are kept without looking for those that no path leads back to

}  // namespace

ViterbiSearch::ViterbiSearch(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer,
                             const Beams& beams)
    : network_(network),
      model_(model),
      scorer_(scorer),
      beams_(beams),
      state_count_(model.definition.states_per_phone),
      states_(network.phones.size() * static_cast<std::size_t>(state_count_)),
      entering_(network.phones.size()),
      listed_(network.phones.size(), -1),
      wanted_(static_cast<std::size_t>(model.definition.independent_states), -1),
      state_scores_(static_cast<std::size_t>(model.definition.independent_states)),
      exit_of_node_(network.nodes.size(), -1) {
  reset();
}

void ViterbiSearch::reset() {
  std::fill(states_.begin(), states_.end(), Token());
  std::fill(entering_.begin(), entering_.end(), Token());
  std::fill(listed_.begin(), listed_.end(), -1);
  std::fill(wanted_.begin(), wanted_.end(), -1);
  for (const NodeExit& exit : exits_) exit_of_node_[static_cast<std::size_t>(exit.node)] = -1;
  exits_.clear();
  active_.clear();
  next_active_.clear();
  word_ends_.clear();
  most_word_ends_ = kWordEnds;
  settled_.clear();
  taken_ = 0;
  first_frame_ = 0;
  best_ = 0.0F;
  offset_ = 0.0;
  frame_ = 0;
  enter_node(0, {0.0F, -1}, kLogZero);
  active_.swap(next_active_);
}

// frame_ is the frame that the path will meet first.
void ViterbiSearch::enter(int phone, Token token) {
  const auto index = static_cast<std::size_t>(phone);
  if (token.score > entering_[index].score) entering_[index] = token;
  if (listed_[index] == frame_) return;
  listed_[index] = frame_;
  next_active_.push_back(phone);
}

void ViterbiSearch::enter_node(int node, Token token, float threshold) {
  for (const SearchEntry& entry : network_.nodes[static_cast<std::size_t>(node)].entries) {
    if (token.score + entry.weight > threshold) enter(entry.phone, {token.score + entry.weight, token.history});
  }
}

void ViterbiSearch::score_active_states(std::span<const float> frame) {
  wanted_states_.clear();
  for (const int active : active_) {
    const int phone = network_.phones[static_cast<std::size_t>(active)].phone;
    for (const int state : model_.definition.phones[static_cast<std::size_t>(phone)].states) {
      if (wanted_[static_cast<std::size_t>(state)] == frame_) continue;
      wanted_[static_cast<std::size_t>(state)] = frame_;
      wanted_states_.push_back(state);
    }
  }
  scorer_.score(frame, wanted_states_, state_scores_);
}

// Moves the paths of one phone over one frame; returns the best score. States are visited from the last to the first,
// so that each still sees the old scores of those before it.
float ViterbiSearch::advance(int phone) {
  const auto index = static_cast<std::size_t>(phone);
  const int model_phone = network_.phones[index].phone;
  const float* transitions = model_.transitions(model_phone);
  const std::vector<int>& model_states = model_.definition.phones[static_cast<std::size_t>(model_phone)].states;
  Token* states = states_of(phone);
  float best = kLogZero;
  for (int to = state_count_ - 1; to >= 0; --to) {
    Token token;
    if (to == 0) token = entering_[index];
    for (int from = 0; from <= to; ++from) {
      const float score = states[from].score + transitions[from * (state_count_ + 1) + to];
      if (score > token.score) token = {score, states[from].history};
    }
    token.score += state_scores_[static_cast<std::size_t>(model_states[static_cast<std::size_t>(to)])] - best_;
    if (!(token.score > kLogZero)) token = Token();
    states[to] = token;
    best = std::max(best, token.score);
  }
  entering_[index] = Token();
  return best;
}

// Passes the best way out of a phone on to the next phone of the word, or to the node at the word's end.
void ViterbiSearch::leave(int phone, float threshold) {
  const SearchPhone& place = network_.phones[static_cast<std::size_t>(phone)];
  const float* transitions = model_.transitions(place.phone);
  const Token* states = states_of(phone);
  Token token;
  for (int from = 0; from < state_count_; ++from) {
    const float score = states[from].score + transitions[from * (state_count_ + 1) + state_count_];
    if (score > token.score) token = {score, states[from].history};
  }
  if (!(token.score > threshold)) return;
  if (place.next >= 0) {
    enter(place.next, token);
    return;
  }
  int& known = exit_of_node_[static_cast<std::size_t>(place.target)];
  const NodeExit exit{place.target, token.score, token.history, place.label};
  if (known < 0) {
    known = static_cast<int>(exits_.size());
    exits_.push_back(exit);
  } else if (exit.score > exits_[static_cast<std::size_t>(known)].score) {
    exits_[static_cast<std::size_t>(known)] = exit;
  }
}

void ViterbiSearch::end_words(float threshold) {
  float best = kLogZero;
  for (const NodeExit& exit : exits_) best = std::max(best, exit.score);
  for (const NodeExit& exit : exits_) {
    if (exit.score < best - beams_.word) continue;
    word_ends_.push_back({exit.previous, exit.label, static_cast<int>(frame_ - 1)});
    enter_node(exit.node, {exit.score, static_cast<int>(word_ends_.size()) - 1}, threshold);
  }
}

void ViterbiSearch::push(std::span<const float> frame) {
  for (const NodeExit& exit : exits_) exit_of_node_[static_cast<std::size_t>(exit.node)] = -1;
  exits_.clear();
  score_active_states(frame);
  float best = kLogZero;
  for (const int phone : active_) best = std::max(best, advance(phone));
  offset_ += static_cast<double>(best_);
  best_ = best > kLogZero ? best : 0.0F;
  ++frame_;

  const float threshold = std::max(best_ - beams_.state, kLogZero);
  next_active_.clear();
  for (const int phone : active_) {
    Token* states = states_of(phone);
    const bool survives =
        std::any_of(states, states + state_count_, [&](const Token& token) { return token.score > threshold; });
    if (!survives) {
      std::fill_n(states, state_count_, Token());
      continue;
    }
    if (listed_[static_cast<std::size_t>(phone)] != frame_) {
      listed_[static_cast<std::size_t>(phone)] = frame_;
      next_active_.push_back(phone);
    }
    leave(phone, threshold);
  }
  end_words(threshold);
  active_.swap(next_active_);
  if (word_ends_.size() > most_word_ends_) settle();
}

// Everything that leads back to words: the paths inside phones, those that enter one with the next frame, and the words
// that ended in this frame.
template <class Visit>
void ViterbiSearch::visit_histories(Visit&& visit) {
  for (const int phone : active_) {
    Token* const states = states_of(phone);
    for (int state = 0; state < state_count_; ++state) {
      if (states[state].score > kLogZero) visit(states[state].history);
    }
    Token& entering = entering_[static_cast<std::size_t>(phone)];
    if (entering.score > kLogZero) visit(entering.history);
  }
  for (NodeExit& exit : exits_) visit(exit.previous);
}

void ViterbiSearch::forget_dead_ends() {
  std::vector<int> place(word_ends_.size(), -1);  // of those that are kept: where they move
  visit_histories([&](int history) {
    for (; history >= 0 && place[static_cast<std::size_t>(history)] < 0;
         history = word_ends_[static_cast<std::size_t>(history)].previous) {
      place[static_cast<std::size_t>(history)] = 0;
    }
  });
  int kept = 0;
  for (std::size_t i = 0; i < word_ends_.size(); ++i) {
    if (place[i] < 0) continue;
    WordEnd end = word_ends_[i];
    if (end.previous >= 0) end.previous = place[static_cast<std::size_t>(end.previous)];
    word_ends_[static_cast<std::size_t>(kept)] = end;
    place[i] = kept++;
  }
  word_ends_.resize(static_cast<std::size_t>(kept));
  visit_histories([&](int& history) {
    if (history >= 0) history = place[static_cast<std::size_t>(history)];
  });
}

// The words from the start on that lie on all paths: each is the only one behind the one before it, and no path has its
// last word earlier. They leave the tree of paths. Words stand behind those that they follow, so that the common ones
// are the first.
void ViterbiSearch::settle() {
  forget_dead_ends();
  struct Followed {
    int words = 0;
    bool by_path = false;
  };
  std::vector<Followed> followed(word_ends_.size() + 1);  // the start, then each word
  const auto of = [&](int history) -> Followed& { return followed[static_cast<std::size_t>(history + 1)]; };
  for (const WordEnd& end : word_ends_) ++of(end.previous).words;
  visit_histories([&](int history) { of(history).by_path = true; });
  std::size_t common = 0;
  while (followed[common].words == 1 && !followed[common].by_path) {
    const WordEnd& end = word_ends_[common++];
    settled_.push_back({end.label, first_frame_, end.frame});
    first_frame_ = end.frame + 1;
  }
  word_ends_.erase(word_ends_.begin(), word_ends_.begin() + static_cast<std::ptrdiff_t>(common));
  const auto move = [common](int& history) { history = std::max(history - static_cast<int>(common), -1); };
  for (WordEnd& end : word_ends_) move(end.previous);
  visit_histories(move);
  most_word_ends_ = std::max(kWordEnds, 2 * word_ends_.size());
}

std::vector<HypothesisWord> ViterbiSearch::take_settled() {
  settle();
  const auto first = settled_.begin() + static_cast<std::ptrdiff_t>(taken_);
  taken_ = settled_.size();
  return {first, settled_.end()};
}

std::vector<HypothesisWord> ViterbiSearch::trace(int history) const {
  std::vector<HypothesisWord> words;
  while (history >= 0) {
    const WordEnd& end = word_ends_[static_cast<std::size_t>(history)];
    const int first = end.previous < 0 ? first_frame_ : word_ends_[static_cast<std::size_t>(end.previous)].frame + 1;
    words.push_back({end.label, first, end.frame});
    history = end.previous;
  }
  words.insert(words.end(), settled_.rbegin(), settled_.rend());
  std::reverse(words.begin(), words.end());
  return words;
}

Hypothesis ViterbiSearch::finish() {
  Hypothesis result;
  float best = kLogZero;
  const NodeExit* best_exit = nullptr;
  for (const NodeExit& exit : exits_) {
    const float score = exit.score + network_.nodes[static_cast<std::size_t>(exit.node)].final_weight;
    if (!(score > best)) continue;
    best = score;
    best_exit = &exit;
  }
  if (best_exit != nullptr) {
    word_ends_.push_back({best_exit->previous, best_exit->label, static_cast<int>(frame_ - 1)});
    result.words = trace(static_cast<int>(word_ends_.size()) - 1);
    result.complete = true;
  } else {
    Token token;
    for (const int phone : active_) {
      for (int state = 0; state < state_count_; ++state) {
        if (states_of(phone)[state].score > token.score) token = states_of(phone)[state];
      }
    }
    best = token.score;
    result.words = trace(token.history);
  }
  result.score = static_cast<double>(best) + offset_;
  reset();
  return result;
}

}  // namespace kivsr::speech
