// The phones that paths of a search are in: a phone is one place of a lexicon tree in one state of the language. Places
// are found without searching: a phone keeps the indices of its children side by side, a state of the language those of
// the first two phones of words. A phone that no path is in stays while a phone after it lives, so that there is never
// more than one of a place.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/slot_pool.h"
#include "kivsr/speech/decode/tree_entries.h"

namespace kivsr::speech {

// The last state of a path inside a phone and the words behind it.
struct Token {
  float score = kLogZero;
  int history = -1;
};

enum TreeKind : std::uint8_t { kWordTree, kFillerTree };

struct ActivePhone {
  const float* transitions = nullptr;  // of its hmm
  const int* model_states = nullptr;   // the same
  float look_ahead = 0.0F;             // part of the scores of its paths
  float best = kLogZero;               // of its paths
  int node = 0;                        // of the forest; of a first phone -1 less its tree entry
  int state = 0;                       // index of the active language state
  int parent = -1;                     // the phone before it, if that is a second phone of a word or a later one
  int slot = 0;                        // that holds the index of this phone
  int children = -1;                   // slots of the phones after it
  int living_children = 0;
  const FanOutTable::Variant* variant = nullptr;  // where a word ends
  std::int64_t listed = -1;                       // frame for which it was listed last
  TreeKind kind = kWordTree;
  bool has_path = false;
};

struct ActiveState {
  int state = 0;  // of the language
  std::array<int, 2> trees{};
  std::array<int, 2> seconds{};  // [kind]: slots, one for each top of the tree, with the slots of its second phones
  int firsts = -1;               // slots, one for each left context, with the slots of the tree's entries
  int filler_firsts = -1;        // the same for the fillers, after silence alone
  int living = 0;                // phones
};

class ActivePhones {
 public:
  ActivePhones(const SearchNetwork& network, int states_per_phone);

  void reset();
  TreeEntries& entries() { return entries_; }
  const TreeEntries& entries() const { return entries_; }

  ActivePhone& operator[](int phone) { return phones_[static_cast<std::size_t>(phone)]; }
  const ActivePhone& operator[](int phone) const { return phones_[static_cast<std::size_t>(phone)]; }
  Token* tokens(int phone) { return tokens_.data() + first_token(phone); }
  const Token* tokens(int phone) const { return tokens_.data() + first_token(phone); }
  Token& entering(int phone) { return entering_[static_cast<std::size_t>(phone)]; }
  // Phones lie where there was a place: those that will be asked for next can be fetched before.
  void prefetch(int phone) const {
#ifdef __GNUC__
    __builtin_prefetch(&phones_[static_cast<std::size_t>(phone)]);
    __builtin_prefetch(tokens(phone));
    __builtin_prefetch(&entering_[static_cast<std::size_t>(phone)]);
#endif
  }
  const ActiveState& state(int index) const { return states_[static_cast<std::size_t>(index)]; }

  // The active state of a state of the language, made if there is none.
  int activate_state(int language_state);
  // The slots of the ways into a tree after a left context.
  int entry_slots(int state, TreeKind kind, int left);
  // The slots of the phones after a phone.
  int child_slots(int phone);
  // The phone in a slot, -1 if there is none.
  int at(int slot) const { return slots_[slot]; }
  // Puts a phone without a path into an empty slot; its parent is the phone after which it comes, -1 at the start.
  int create(int slot, int state, int parent, TreeKind kind);

  // Takes the path out of a phone.
  void leave(int phone);
  // Drops phones without a path after which no phone lives, and states of the language without phones.
  void release(std::span<const int> phones);
  void release_empty_states();

 private:
  std::size_t first_token(int phone) const {
    return static_cast<std::size_t>(phone) * static_cast<std::size_t>(states_per_phone_);
  }
  int& second_slots(ActiveState& state, TreeKind kind, int top);
  void release_state(int index);

  const SearchNetwork& network_;
  int states_per_phone_;
  TreeEntries entries_;
  SlotPool slots_;
  std::vector<ActivePhone> phones_;
  std::vector<Token> tokens_;    // [phone][state]
  std::vector<Token> entering_;  // [phone]: the path that enters with the next frame
  std::vector<int> free_phones_;
  std::vector<ActiveState> states_;
  std::vector<int> free_states_;
  std::vector<int> new_states_;  // that may have no phones
  std::vector<int> active_of_;   // [state of the language], -1
};

}  // namespace kivsr::speech
