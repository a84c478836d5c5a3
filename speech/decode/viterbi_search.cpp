#include "kivsr/speech/decode/viterbi_search.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace kivsr::speech {

namespace {

constexpr int kKnownBits = 14;  // of the number of steps that are remembered
constexpr std::size_t kFetchedAhead = 8;

}  // namespace

Beams default_beams(const AcousticModel& model) {
  return model.whole_words ? Beams{.state = 200.0F, .phone = 200.0F, .word = 120.0F} : Beams();
}

ViterbiSearch::ViterbiSearch(const SearchNetwork& network, const AcousticModel& model, Scorer& scorer,
                             const Beams& beams)
    : network_(network),
      forest_(*network.forest),
      model_(model),
      scorer_(scorer),
      beams_(beams),
      state_count_(model.definition.states_per_phone),
      contexts_(forest_.fan_out.contexts()),
      phones_(network, state_count_),
      known_steps_(std::size_t{1} << kKnownBits),
      wanted_(static_cast<std::size_t>(model.definition.states), -1),
      state_scores_(static_cast<std::size_t>(model.definition.states)),
      start_state_(network.language->start()) {
  reset();
}

void ViterbiSearch::record_lattice(float beam) {
  recorder_.emplace(network_);
  lattice_beam_ = beam;
  reset();
}

void ViterbiSearch::reset() {
  phones_.reset();
  words_.reset();
  if (recorder_) recorder_->reset();
  sounds_.clear();
  active_.clear();
  next_active_.clear();
  left_phones_.clear();
  std::fill(wanted_.begin(), wanted_.end(), -1);
  wanted_states_.clear();
  endings_.clear();
  exits_.clear();
  exit_histories_.clear();
  best_ = 0.0F;
  offset_ = 0.0;
  frame_ = 0;
  best_phone_ = -1;
  // the start is like the end of a word after which anything may follow
  add_exit({0.0F, -1, start_state_, -1, forest_.fan_out.silent_context(), nullptr, 0.0F});
  enter_words(kLogZero);
  exits_.clear();
  exit_histories_.clear();
  active_.swap(next_active_);
}

void ViterbiSearch::set_hmm(ActivePhone& phone, int hmm) const {
  phone.transitions = model_.transitions(hmm);
  phone.model_states = model_.definition.states_of_hmm(hmm).data();
}

// Of the phones that hold a path in the frame frame_, and so of the states that have to be scored then.
void ViterbiSearch::list(int index) {
  ActivePhone& phone = phones_[index];
  if (phone.listed == frame_) return;
  phone.listed = frame_;
  next_active_.push_back(index);
  for (int i = 0; i < state_count_; ++i) {
    std::int64_t& wanted = wanted_[static_cast<std::size_t>(phone.model_states[i])];
    if (wanted == frame_) continue;
    wanted = frame_;
    wanted_states_.push_back(phone.model_states[i]);
  }
}

// frame_ is the frame that the path will meet first.
void ViterbiSearch::enter(int index, Token token) {
  if (token.score > phones_.entering(index).score) phones_.entering(index) = token;
  phones_[index].has_path = true;
  list(index);
}

// Moves the paths of one phone over one frame; returns the best score. States are visited from the last to the first,
// so that each still sees the old scores of those before it. kStates 0: any number of states.
template <int kStates>
float ViterbiSearch::advance(int index) {
  const int count = kStates > 0 ? kStates : state_count_;
  ActivePhone& phone = phones_[index];
  const float* const transitions = phone.transitions;
  const int* const model_states = phone.model_states;
  Token* states = phones_.tokens(index);
  Token& entering = phones_.entering(index);
  float best = kLogZero;
  for (int to = count - 1; to >= 0; --to) {
    Token token;
    if (to == 0) token = entering;
    for (int from = 0; from <= to; ++from) {
      const float score = states[from].score + transitions[from * (count + 1) + to];
      token.history = score > token.score ? states[from].history : token.history;
      token.score = score > token.score ? score : token.score;
    }
    token.score += state_scores_[static_cast<std::size_t>(model_states[to])] - best_;
    if (!(token.score > kLogZero)) token = Token();
    states[to] = token;
    best = std::max(best, token.score);
  }
  entering = Token();
  phone.best = best;
  return best;
}

template <int kStates>
float ViterbiSearch::advance_all() {
  float best = kLogZero;
  best_phone_ = -1;
  for (std::size_t i = 0; i < active_.size(); ++i) {
    if (i + kFetchedAhead < active_.size()) phones_.prefetch(active_[i + kFetchedAhead]);
    const int phone = active_[i];
    const float score = advance<kStates>(phone);
    if (!(score > best)) continue;
    best = score;
    best_phone_ = phone;
  }
  return best;
}

// Raised so far that only about beams_.phones phones stay above it.
float ViterbiSearch::narrowed_threshold(float threshold) const {
  if (beams_.phones == 0 || active_.size() <= static_cast<std::size_t>(beams_.phones)) return threshold;
  constexpr int kBins = 128;
  std::array<int, kBins> counts{};
  const float scale = kBins / (best_ - threshold);
  for (const int index : active_) {
    const float best = phones_[index].best;
    if (best > threshold) ++counts[static_cast<std::size_t>(std::min((best_ - best) * scale, kBins - 1.0F))];
  }
  int sum = 0;
  for (int bin = 0; bin < kBins; ++bin) {
    sum += counts[static_cast<std::size_t>(bin)];
    if (sum >= beams_.phones) return best_ - static_cast<float>(bin + 1) / scale;
  }
  return threshold;
}

// Of the best way out of a phone.
float ViterbiSearch::exit_score(int index, int& history) {
  const float* const transitions = phones_[index].transitions;
  const Token* states = phones_.tokens(index);
  float best = kLogZero;
  for (int from = 0; from < state_count_; ++from) {
    const float score = states[from].score + transitions[from * (state_count_ + 1) + state_count_];
    if (!(score > best)) continue;
    best = score;
    history = states[from].history;
  }
  return best;
}

void ViterbiSearch::leave_phones(float threshold) {
  for (std::size_t i = 0; i < active_.size(); ++i) {
    if (i + kFetchedAhead < active_.size()) phones_.prefetch(active_[i + kFetchedAhead]);
    const int index = active_[i];
    const ActivePhone& phone = phones_[index];
    if (phone.best > threshold) {
      list(index);
      leave(index, threshold);
    } else if (phone.listed == frame_) {  // a path enters it from the phone before
      std::fill_n(phones_.tokens(index), state_count_, Token());
    } else {
      phones_.leave(index);
      left_phones_.push_back(index);
    }
  }
}

// Passes the best way out of a phone on to the phones after it, or ends words.
void ViterbiSearch::leave(int index, float threshold) {
  Token token;
  token.score = exit_score(index, token.history);
  if (!(token.score > threshold)) return;
  if (phones_[index].variant != nullptr) {
    endings_.push_back({index, token});
  } else {
    enter_children(index, token, entry_threshold_);
  }
}

void ViterbiSearch::enter_children(int index, Token token, float threshold) {
  const int first_slot = phones_.child_slots(index);
  const int place = phones_[index].node;
  token.score -= phones_[index].look_ahead;
  if (place >= 0) {
    const TreeNode& node = forest_.nodes[static_cast<std::size_t>(place)];
    for (int child = node.first; child < node.first + node.count; ++child) {
      enter_child(index, child, first_slot, token, threshold);
    }
    return;
  }
  for (const int child : phones_.entries().members(phones_.entries().entry(-1 - place))) {
    enter_child(index, child, first_slot, token, threshold);
  }
}

// The token's score is without any look-ahead.
void ViterbiSearch::enter_child(int parent, int child, int first_slot, Token token, float threshold) {
  const TreeNode& node = forest_.nodes[static_cast<std::size_t>(child)];
  const int slot = first_slot + node.slot;
  const int known = phones_.at(slot);
  float look_ahead = known >= 0 ? phones_[known].look_ahead : node.look_ahead;
  if (!(token.score + look_ahead > threshold)) return;
  const int state = phones_[parent].state;
  const TreeKind kind = phones_[parent].kind;
  if (known < 0 && node.ends_word()) {
    look_ahead = word_look_ahead(child, state, kind);
    if (!(token.score + look_ahead > threshold)) return;
  }
  const int slots = forest_.slots_of(node);
  for (int i = 0; i < slots; ++i) {
    int phone = phones_.at(slot + i);
    if (phone < 0) {
      phone = phones_.create(slot + i, state, parent, kind);
      ActivePhone& made = phones_[phone];
      made.node = child;
      made.look_ahead = look_ahead;
      made.variant =
          node.ends_word() ? &forest_.fan_out.variants(node.fan_out())[static_cast<std::size_t>(i)] : nullptr;
      set_hmm(made, node.ends_word() ? made.variant->hmm : node.link);
    }
    enter(phone, {token.score + look_ahead, token.history});
  }
}

const SearchLanguage::Step& ViterbiSearch::word_step(int arc, int language_state) const {
  const std::uint32_t mixed =
      static_cast<std::uint32_t>(language_state) * 0x9E3779B1U ^ static_cast<std::uint32_t>(arc) * 0x85EBCA77U;
  KnownStep& known = known_steps_[mixed >> (32 - kKnownBits)];
  if (known.state != language_state || known.arc != arc) {
    known = {language_state, arc, network_.language->follow(language_state, arc)};
  }
  return known.step;
}

SearchLanguage::Step ViterbiSearch::follow(int arc, int state, TreeKind kind) const {
  const int language_state = phones_.state(state).state;
  if (kind == kWordTree) return word_step(arc, language_state);
  const SearchFiller& filler = network_.fillers[static_cast<std::size_t>(arc)];
  return {filler.weight, language_state, filler.label};
}

// The best weight of the words that end with a node, exactly.
float ViterbiSearch::word_look_ahead(int place, int state, TreeKind kind) const {
  const TreeNode& node = forest_.nodes[static_cast<std::size_t>(place)];
  float best = kLogZero;
  for (int arc = node.first; arc < node.first + node.count; ++arc) {
    best = std::max(best, follow(forest_.arcs[static_cast<std::size_t>(arc)], state, kind).weight);
  }
  return best;
}

// The words of the paths at their ends. The score of a path there holds the whole weight of its best word, but for
// words of one phone: paths that are too far behind the best one need no other look at the language.
void ViterbiSearch::end_words(float beam) {
  float best = kLogZero;
  for (const Ending& ending : endings_) {
    if (phones_[ending.phone].node >= 0) best = std::max(best, ending.token.score);
  }
  exits_.clear();
  for (const Ending& ending : endings_) {
    if (ending.token.score >= best - beam || phones_[ending.phone].node < 0) end_word(ending.phone, ending.token);
  }
}

ViterbiSearch::EndingWords ViterbiSearch::ending_words(const ActivePhone& phone) const {
  const auto arcs = [this](int first, int count) {
    return std::span(forest_.arcs).subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count));
  };
  if (phone.node >= 0) {
    const TreeNode& node = forest_.nodes[static_cast<std::size_t>(phone.node)];
    return {arcs(node.first, node.count), forest_.fan_out.base(node.fan_out())};
  }
  const TreeEntry& entry = phones_.entries().entry(-1 - phone.node);
  const LexiconTree& tree = forest_.trees[static_cast<std::size_t>(phones_.state(phone.state).trees[phone.kind])];
  const TreeTop& top = forest_.tops[static_cast<std::size_t>(tree.first_top + entry.top)];
  return {arcs(top.first_single, top.singles), top.phone};
}

void ViterbiSearch::end_word(int index, Token token) {
  const ActivePhone& phone = phones_[index];
  const EndingWords ending = ending_words(phone);
  for (const int arc : ending.arcs) {
    const SearchLanguage::Step step = follow(arc, phone.state, phone.kind);
    add_exit({token.score - phone.look_ahead + step.weight, token.history, step.next, step.label,
              forest_.fan_out.context_of(ending.base), phone.variant, step.weight});
  }
}

// With the states that it is in at once.
void ViterbiSearch::add_exit(const WordExit& exit) {
  exits_.push_back(exit);
  jumps_.clear();
  network_.language->jumps(exit.next, jumps_);
  for (const SearchLanguage::Jump& jump : jumps_) {
    WordExit further = exit;
    further.score += jump.weight;
    further.language += jump.weight;
    further.next = jump.next;
    exits_.push_back(further);
  }
}

// Makes an exit known to the phones that may follow it.
void ViterbiSearch::join(const WordExit& exit, int index) {
  const int state = phones_.activate_state(exit.next);
  const auto known = std::find_if(junctions_.begin(), junctions_.end(), [&](const Junction& junction) {
    return junction.state == state && junction.context == exit.context;
  });
  const auto place = static_cast<std::size_t>(known - junctions_.begin()) * static_cast<std::size_t>(contexts_);
  if (known == junctions_.end()) {
    junctions_.push_back({state, exit.context});
    best_exits_.resize(best_exits_.size() + static_cast<std::size_t>(contexts_), -1);
  }
  if (recorder_ && exit.label >= 0) recorder_->add(place / static_cast<std::size_t>(contexts_), recorded(exit));
  const auto offer = [&](int context) {
    int& best = best_exits_[place + static_cast<std::size_t>(context)];
    if (best < 0 || exit.score > exits_[static_cast<std::size_t>(best)].score) best = index;
  };
  if (exit.variant == nullptr) {
    for (int context = 0; context < contexts_; ++context) offer(context);
  } else {
    for (const int context : forest_.fan_out.rights(*exit.variant)) offer(context);
  }
}

// Lets the paths at the ends of words enter the words and fillers that may follow.
void ViterbiSearch::enter_words(float threshold) {
  float best = kLogZero;
  for (const WordExit& exit : exits_) best = std::max(best, exit.score);
  const float word_threshold = std::max(best - beams_.word, threshold);
  junctions_.clear();
  if (recorder_) recorder_->start_frame(static_cast<int>(frame_ - 1));
  best_exits_.clear();
  exit_histories_.assign(exits_.size(), -1);
  for (std::size_t index = 0; index < exits_.size(); ++index) {
    if (exits_[index].score >= word_threshold) join(exits_[index], static_cast<int>(index));
  }
  const auto width = static_cast<std::size_t>(contexts_);
  for (std::size_t junction = 0; junction < junctions_.size(); ++junction) {
    const int* exits = best_exits_.data() + junction * width;
    for (const TreeKind kind : {kWordTree, kFillerTree}) enter_tree(junctions_[junction], kind, exits, threshold);
  }
}

// best: the best exit for each context that the first phone may be.
void ViterbiSearch::enter_tree(const Junction& junction, TreeKind kind, const int* best, float threshold) {
  const int left = kind == kFillerTree ? forest_.fan_out.silent_context() : junction.context;
  const TreeEntries::List list =
      phones_.entries().after(phones_.state(junction.state).trees[static_cast<std::size_t>(kind)], left);
  int first_slot = -1;
  for (int i = 0; i < list.count; ++i) {
    const TreeEntry& entry = phones_.entries().entry(list.first + i);
    const int exit_index = best[entry.context];
    if (exit_index < 0) continue;
    const WordExit& exit = exits_[static_cast<std::size_t>(exit_index)];
    if (!(exit.score + entry.look_ahead > threshold)) continue;
    if (first_slot < 0) first_slot = phones_.entry_slots(junction.state, kind, left);
    int phone = phones_.at(first_slot + i);
    if (phone < 0) {
      phone = phones_.create(first_slot + i, junction.state, -1, kind);
      ActivePhone& made = phones_[phone];
      made.node = -1 - (list.first + i);
      set_hmm(made, entry.hmm);
      made.look_ahead = entry.look_ahead;
      made.variant = entry.variant;
    }
    int& history = exit_histories_[static_cast<std::size_t>(exit_index)];
    if (history < 0 && exit.label >= 0) {
      history = words_.add(exit.history, exit.label, static_cast<int>(frame_ - 1));
      if (recorder_) recorder_->set_history(history, static_cast<std::size_t>(&junction - junctions_.data()));
    }
    enter(phone, {exit.score + entry.look_ahead, history});
  }
}

// Where a lattice is recorded, the states of the phones alone are scored too.
void ViterbiSearch::score_states(std::span<const float> frame) {
  const int independent = model_.definition.independent_states;
  for (int state = 0; recorder_ && state < independent; ++state) {
    if (wanted_[static_cast<std::size_t>(state)] != frame_) wanted_states_.push_back(state);
  }
  scorer_.score(frame, wanted_states_, state_scores_);
  if (recorder_) sounds_.push_back(frame_sound());
  wanted_states_.clear();
}

FrameSound ViterbiSearch::frame_sound() const {
  const auto alone = std::span(state_scores_).first(static_cast<std::size_t>(model_.definition.independent_states));
  const float mean = std::accumulate(alone.begin(), alone.end(), 0.0F) / static_cast<float>(alone.size());
  float best = *std::max_element(alone.begin(), alone.end());
  const float spread = best - mean;
  for (const int state : wanted_states_) best = std::max(best, state_scores_[static_cast<std::size_t>(state)]);
  return {best, spread};
}

void ViterbiSearch::push(std::span<const float> frame) {
  score_states(frame);
  float best = kLogZero;
  switch (state_count_) {
    case 1: best = advance_all<1>(); break;
    case 3: best = advance_all<3>(); break;
    case 5: best = advance_all<5>(); break;
    default: best = advance_all<0>();
  }
  offset_ += static_cast<double>(best_);
  best_ = best > kLogZero ? best : 0.0F;
  ++frame_;

  const float threshold = narrowed_threshold(std::max(best_ - beams_.state, kLogZero));
  next_active_.clear();
  left_phones_.clear();
  endings_.clear();
  entry_threshold_ = std::max(threshold, best_ - beams_.phone);
  leave_phones(threshold);
  end_words(beams_.word);
  enter_words(entry_threshold_);
  phones_.release(left_phones_);
  phones_.release_empty_states();
  active_.swap(next_active_);
  if (words_.has_grown() && !recorder_) settle();  // the recorder knows words by their places
}

// Everything that leads back to words: the paths inside phones, those that enter one with the next frame, and the words
// that ended in this frame.
template <class Visit>
void ViterbiSearch::visit_histories(Visit&& visit) {
  for (const int phone : active_) {
    Token* const states = phones_.tokens(phone);
    for (int state = 0; state < state_count_; ++state) {
      if (states[state].score > kLogZero) visit(states[state].history);
    }
    Token& entering = phones_.entering(phone);
    if (entering.score > kLogZero) visit(entering.history);
  }
  for (Ending& ending : endings_) visit(ending.token.history);
}

void ViterbiSearch::settle() {
  words_.settle([this](auto&& visit) { visit_histories(visit); });
}

std::vector<HypothesisWord> ViterbiSearch::take_settled() {
  if (!recorder_) settle();
  return words_.take_settled();
}

RecordedEnd ViterbiSearch::recorded(const WordExit& exit) const {
  return {static_cast<double>(exit.score) + offset_, exit.history, exit.label, exit.language, exit.variant};
}

}  // namespace kivsr::speech
