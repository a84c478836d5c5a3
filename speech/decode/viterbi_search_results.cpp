// What a search tells: the best path while it goes on, and the hypothesis at the end.
#include <algorithm>
#include <limits>
#include <utility>

#include "kivsr/speech/decode/viterbi_search.h"

namespace kivsr::speech {

// Whether nothing, which is silence, may follow.
bool ViterbiSearch::ends_silently(const WordExit& exit) const {
  const std::span<const int> rights = forest_.fan_out.rights(*exit.variant);
  return std::find(rights.begin(), rights.end(), forest_.fan_out.silent_context()) != rights.end();
}

float ViterbiSearch::final_weight(const WordExit& exit, bool sentence_ends) const {
  return sentence_ends ? network_.language->final_weight(exit.next) : 0.0F;
}

WordLattice ViterbiSearch::finished_lattice(bool sentence_ends) {
  std::vector<RecordedEnd> finals;
  for (const WordExit& exit : exits_) {
    const float weight = final_weight(exit, sentence_ends);
    if (!ends_silently(exit) || !(exit.score + weight > kLogZero / 2)) continue;
    finals.push_back(recorded(exit));
    finals.back().score += static_cast<double>(weight);
    finals.back().language += weight;
  }
  WordLattice lattice = recorder_->lattice(finals, static_cast<int>(frame_), static_cast<double>(lattice_beam_));
  if (!lattice.empty()) lattice.sounds = std::move(sounds_);
  return lattice;
}

// -1: none of them can follow.
int ViterbiSearch::likeliest_ending(const ActivePhone& phone) const {
  float best = kLogZero;
  int label = -1;
  for (const int arc : ending_words(phone).arcs) {
    const SearchLanguage::Step step = follow(arc, phone.state, phone.kind);
    if (!(step.weight > best)) continue;
    best = step.weight;
    label = step.label;
  }
  return label;
}

BestPath ViterbiSearch::best_path() const {
  BestPath result;
  if (best_phone_ < 0) return result;
  const ActivePhone& phone = phones_[best_phone_];
  const Token* const states = phones_.tokens(best_phone_);
  const auto by_score = [](const Token& a, const Token& b) { return a.score < b.score; };
  result.words = words_.trace(std::max_element(states, states + state_count_, by_score)->history);
  const auto frames = static_cast<int>(frame_);
  const auto is_filler = [&](const HypothesisWord& word) {
    return network_.labels[static_cast<std::size_t>(word.label)].filler;
  };
  if (phone.kind == kWordTree) {
    const int first = result.words.empty() ? 0 : result.words.back().last_frame + 1;
    if (const int label = phone.variant == nullptr ? -1 : likeliest_ending(phone); label >= 0) {
      result.words.push_back({label, first, frames - 1});
    }
    return result;
  }
  while (!result.words.empty() && is_filler(result.words.back())) result.words.pop_back();
  result.silent_frames = frames - (result.words.empty() ? 0 : result.words.back().last_frame + 1);
  result.may_end = network_.language->final_weight(phones_.state(phone.state).state) > kLogZero / 2;
  return result;
}

Hypothesis ViterbiSearch::finish_in(bool sentence_ends) {
  Hypothesis result;
  // The phones that the paths have left stay readable until the next frame.
  end_words(std::numeric_limits<float>::infinity());
  float best = kLogZero;
  const WordExit* best_exit = nullptr;
  for (const WordExit& exit : exits_) {
    if (!ends_silently(exit)) continue;
    const float score = exit.score + final_weight(exit, sentence_ends);
    if (!(score > best)) continue;
    best = score;
    best_exit = &exit;
  }
  start_state_ = best_exit == nullptr || sentence_ends ? network_.language->start() : best_exit->next;
  if (best_exit != nullptr) {
    result.words = words_.trace(words_.add(best_exit->history, best_exit->label, static_cast<int>(frame_ - 1)));
    result.complete = true;
  } else {
    Token token;
    for (const int phone : active_) {
      for (int state = 0; state < state_count_; ++state) {
        if (phones_.tokens(phone)[state].score > token.score) token = phones_.tokens(phone)[state];
      }
    }
    best = token.score;
    result.words = words_.trace(token.history);
  }
  result.score = static_cast<double>(best) + offset_;
  if (recorder_) result.lattice = finished_lattice(sentence_ends);
  reset();
  return result;
}

Hypothesis ViterbiSearch::finish() { return finish_in(true); }

Hypothesis ViterbiSearch::pause() { return finish_in(!network_.language->goes_on()); }

void ViterbiSearch::restart() {
  start_state_ = network_.language->start();
  reset();
}

}  // namespace kivsr::speech
