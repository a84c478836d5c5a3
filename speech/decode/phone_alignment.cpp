#include "kivsr/speech/decode/phone_alignment.h"

#include <algorithm>
#include <cstddef>

namespace kivsr::speech {

PhoneAligner::PhoneAligner(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer)
    : network_(network),
      model_(model),
      scorer_(scorer),
      state_count_(model.definition.states_per_phone),
      state_scores_(static_cast<std::size_t>(model.definition.states)) {}

int PhoneAligner::left_context(std::span<const HypothesisWord> words, std::size_t index) const {
  const FanOutTable& contexts = network_.forest->fan_out;
  if (index == 0) return contexts.silent_context();
  return contexts.context_of(network_.phones_of(words[index - 1].label).back());
}

int PhoneAligner::right_context(std::span<const HypothesisWord> words, std::size_t index) const {
  const FanOutTable& contexts = network_.forest->fan_out;
  if (index + 1 == words.size()) return contexts.silent_context();
  return contexts.context_of(network_.phones_of(words[index + 1].label).front());
}

void PhoneAligner::make_chain(std::span<const int> phones, int left, int right) {
  hmms_.clear();
  for (std::size_t i = 0; i < phones.size(); ++i) {
    const bool first = i == 0;
    const bool last = i + 1 == phones.size();
    const WordPosition position = first && last ? WordPosition::kSingle
                                  : first       ? WordPosition::kBegin
                                  : last        ? WordPosition::kEnd
                                                : WordPosition::kInternal;
    hmms_.push_back(
        model_.definition.hmm_of(phones[i], first ? left : phones[i - 1], last ? right : phones[i + 1], position));
  }
}

void PhoneAligner::want_states() {
  wanted_states_.clear();
  for (const int hmm : hmms_) {
    const std::span<const int> states = model_.definition.states_of_hmm(hmm);
    wanted_states_.insert(wanted_states_.end(), states.begin(), states.end());
  }
  std::sort(wanted_states_.begin(), wanted_states_.end());
  wanted_states_.erase(std::unique(wanted_states_.begin(), wanted_states_.end()), wanted_states_.end());
}

// Of the best way out of the phone at a place of the chain; from: the state that it leaves.
float PhoneAligner::best_entry(int place, int& from) const {
  const float* const transitions = model_.transitions(hmms_[static_cast<std::size_t>(place)]);
  float best = kLogZero;
  for (int state = 0; state < state_count_; ++state) {
    const int source = place * state_count_ + state;
    const float score =
        scores_[static_cast<std::size_t>(source)] + transitions[state * (state_count_ + 1) + state_count_];
    if (!(score > best)) continue;
    best = score;
    from = source;
  }
  return best;
}

// One frame through the whole chain; before the first one only the start is open.
void PhoneAligner::advance(std::span<const float> row, int frame) {
  scorer_.score(row, wanted_states_, state_scores_);
  for (int place = 0; place < static_cast<int>(hmms_.size()); ++place) {
    const int hmm = hmms_[static_cast<std::size_t>(place)];
    const float* const transitions = model_.transitions(hmm);
    const std::span<const int> states = model_.definition.states_of_hmm(hmm);
    for (int to = 0; to < state_count_; ++to) {
      int source = -1;
      float best = kLogZero;
      if (to == 0 && place > 0) best = best_entry(place - 1, source);
      if (to == 0 && place == 0 && frame == 0) best = 0.0F;
      for (int from = 0; from <= to; ++from) {
        const float score = scores_[static_cast<std::size_t>(place * state_count_ + from)] +
                            transitions[from * (state_count_ + 1) + to];
        if (!(score > best)) continue;
        best = score;
        source = place * state_count_ + from;
      }
      best += state_scores_[static_cast<std::size_t>(states[static_cast<std::size_t>(to)])];
      next_scores_[static_cast<std::size_t>(place * state_count_ + to)] = std::max(best, kLogZero);
      sources_.push_back(source);
    }
  }
  scores_.swap(next_scores_);
}

std::vector<PhoneSegment> PhoneAligner::trace(std::span<const int> phones, int first_frame, int frames) const {
  int at = -1;
  if (!(best_entry(static_cast<int>(hmms_.size()) - 1, at) > kLogZero / 2)) return {};
  const std::size_t width = scores_.size();
  std::vector<int> path(static_cast<std::size_t>(frames));
  for (std::size_t frame = path.size(); frame-- > 0;) {
    path[frame] = at;
    at = sources_[frame * width + static_cast<std::size_t>(at)];
  }
  std::vector<PhoneSegment> segments;
  for (std::size_t frame = 0; frame < path.size(); ++frame) {
    const auto place = static_cast<std::size_t>(path[frame] / state_count_);
    const int now = first_frame + static_cast<int>(frame);
    if (segments.size() <= place) segments.push_back({phones[place], hmms_[place], now, now, {}});
    PhoneSegment& segment = segments.back();
    segment.last_frame = now;
    const int state = path[frame] % state_count_;
    if (segment.states.empty() || segment.states.back().place != state) segment.states.push_back({state, now, now});
    segment.states.back().last_frame = now;
  }
  return segments;
}

std::vector<std::vector<PhoneSegment>> PhoneAligner::align(std::span<const HypothesisWord> words,
                                                           const FeatureMatrix& rows) {
  std::vector<std::vector<PhoneSegment>> result;
  for (std::size_t index = 0; index < words.size(); ++index) {
    const HypothesisWord& word = words[index];
    const std::span<const int> phones = network_.phones_of(word.label);
    make_chain(phones, left_context(words, index), right_context(words, index));
    want_states();
    scores_.assign(hmms_.size() * static_cast<std::size_t>(state_count_), kLogZero);
    next_scores_ = scores_;
    sources_.clear();
    for (int frame = word.first_frame; frame <= word.last_frame; ++frame) {
      advance(rows.row(frame), frame - word.first_frame);
    }
    result.push_back(trace(phones, word.first_frame, word.last_frame - word.first_frame + 1));
  }
  return result;
}

}  // namespace kivsr::speech
