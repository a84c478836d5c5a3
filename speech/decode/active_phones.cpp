#include "kivsr/speech/decode/active_phones.h"

#include <algorithm>

namespace kivsr::speech {

ActivePhones::ActivePhones(const SearchNetwork& network, int states_per_phone)
    : network_(network),
      states_per_phone_(states_per_phone),
      entries_(*network.forest),
      active_of_(static_cast<std::size_t>(network.language->states()), -1) {}

void ActivePhones::reset() {
  for (const ActiveState& state : states_) active_of_[static_cast<std::size_t>(state.state)] = -1;
  slots_.clear();
  phones_.clear();
  tokens_.clear();
  entering_.clear();
  free_phones_.clear();
  states_.clear();
  free_states_.clear();
  new_states_.clear();
}

int ActivePhones::activate_state(int language_state) {
  int& known = active_of_[static_cast<std::size_t>(language_state)];
  if (known >= 0) return known;
  if (free_states_.empty()) {
    known = static_cast<int>(states_.size());
    states_.emplace_back();
  } else {
    known = free_states_.back();
    free_states_.pop_back();
  }
  ActiveState& state = states_[static_cast<std::size_t>(known)];
  state = {language_state, {network_.language->tree(language_state), network_.filler_tree}, {}, -1, -1, 0};
  for (const TreeKind kind : {kWordTree, kFillerTree}) {
    state.seconds[kind] = slots_.allocate(network_.forest->trees[static_cast<std::size_t>(state.trees[kind])].tops);
  }
  state.firsts = slots_.allocate(network_.forest->fan_out.contexts());
  new_states_.push_back(known);
  return known;
}

int ActivePhones::entry_slots(int index, TreeKind kind, int left) {
  ActiveState& state = states_[static_cast<std::size_t>(index)];
  const int known = kind == kFillerTree ? state.filler_firsts : slots_[state.firsts + left];
  if (known >= 0) return known;
  const int made = slots_.allocate(entries_.after(state.trees[kind], left).count);
  (kind == kFillerTree ? state.filler_firsts : slots_[state.firsts + left]) = made;
  return made;
}

// Slots of the second phones belong to the state, as they may follow several first phones.
int ActivePhones::child_slots(int index) {
  ActivePhone& phone = phones_[static_cast<std::size_t>(index)];
  if (phone.node >= 0) {
    if (phone.children < 0) {
      phone.children = slots_.allocate(network_.forest->nodes[static_cast<std::size_t>(phone.node)].child_slots);
    }
    return phone.children;
  }
  const ActiveState& state = states_[static_cast<std::size_t>(phone.state)];
  const int top = entries_.entry(-1 - phone.node).top;
  const int place = state.seconds[phone.kind] + top;
  if (slots_[place] < 0) {
    const LexiconTree& tree = network_.forest->trees[static_cast<std::size_t>(state.trees[phone.kind])];
    const int made = slots_.allocate(network_.forest->tops[static_cast<std::size_t>(tree.first_top + top)].child_slots);
    slots_[place] = made;
  }
  return slots_[place];
}

int ActivePhones::create(int slot, int state, int parent, TreeKind kind) {
  int index = 0;
  if (free_phones_.empty()) {
    index = static_cast<int>(phones_.size());
    phones_.emplace_back();
    entering_.emplace_back();
    tokens_.resize(tokens_.size() + static_cast<std::size_t>(states_per_phone_));
  } else {
    index = free_phones_.back();
    free_phones_.pop_back();
  }
  ActivePhone& phone = phones_[static_cast<std::size_t>(index)];
  phone = ActivePhone();
  phone.state = state;
  phone.kind = kind;
  phone.slot = slot;
  if (parent >= 0 && phones_[static_cast<std::size_t>(parent)].node >= 0) {
    phone.parent = parent;
    ++phones_[static_cast<std::size_t>(parent)].living_children;
  }
  slots_[slot] = index;
  ++states_[static_cast<std::size_t>(state)].living;
  return index;
}

void ActivePhones::leave(int index) {
  std::fill_n(tokens(index), states_per_phone_, Token());
  entering(index) = Token();
  phones_[static_cast<std::size_t>(index)].has_path = false;
}

void ActivePhones::release(std::span<const int> phones) {
  for (int index : phones) {
    while (index >= 0) {
      ActivePhone& phone = phones_[static_cast<std::size_t>(index)];
      if (phone.has_path || phone.living_children > 0 || phone.slot < 0) break;
      slots_[phone.slot] = -1;
      phone.slot = -1;
      if (phone.children >= 0) slots_.release(phone.children);
      free_phones_.push_back(index);
      ActiveState& state = states_[static_cast<std::size_t>(phone.state)];
      if (--state.living == 0) new_states_.push_back(phone.state);
      index = phone.parent;
      if (index >= 0) --phones_[static_cast<std::size_t>(index)].living_children;
    }
  }
}

void ActivePhones::release_empty_states() {
  for (const int index : new_states_) {
    const ActiveState& state = states_[static_cast<std::size_t>(index)];
    if (state.living == 0 && active_of_[static_cast<std::size_t>(state.state)] == index) release_state(index);
  }
  new_states_.clear();
}

void ActivePhones::release_state(int index) {
  ActiveState& state = states_[static_cast<std::size_t>(index)];
  const auto release_all = [this](int first, int count) {
    for (int slot = first; slot < first + count; ++slot) {
      if (slots_[slot] >= 0) slots_.release(slots_[slot]);
    }
    slots_.release(first);
  };
  for (const TreeKind kind : {kWordTree, kFillerTree}) {
    release_all(state.seconds[kind], network_.forest->trees[static_cast<std::size_t>(state.trees[kind])].tops);
  }
  release_all(state.firsts, network_.forest->fan_out.contexts());
  if (state.filler_firsts >= 0) slots_.release(state.filler_firsts);
  active_of_[static_cast<std::size_t>(state.state)] = -1;
  free_states_.push_back(index);
}

}  // namespace kivsr::speech
