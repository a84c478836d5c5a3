// A finite automaton over words with log weights: what may be said. Made of a grammar or of a list of words that may
// follow each other in any order. Next: search_network.h, the automaton over phones.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "kivsr/speech/decode/grammar.h"

namespace kivsr::speech {

constexpr int kNoWord = -1;
constexpr int kNgramSlot = -2;

struct WordArc {
  int from = 0;
  int to = 0;
  int word = kNoWord;       // index into words; kNoWord: passes without one; kNgramSlot: one or more of an n-gram model
  float log_weight = 0.0F;  // at most 0
  TextPosition position;    // in the grammar
};

struct WordNetwork {
  std::string source;  // for messages
  int nodes = 0;
  int start = 0;
  int final = 0;
  std::vector<std::string> words;
  std::vector<WordArc> arcs;

  bool has_slots() const;
  std::set<std::string, std::less<>> vocabulary() const { return {words.begin(), words.end()}; }
};

// The sentences of one rule, or of all public rules if none is named. Weights of alternatives are scaled to sum 1 and
// are equal where none is given; an optional part and each turn of a repeat are taken or left with the probability 1/2.
WordNetwork grammar_network(const Grammar& grammar, const std::string& rule = {});

// One or more of the words, each as likely as the others. Throws Fault for an empty list.
WordNetwork word_loop(const std::vector<std::string>& words, const std::string& source);

// These words one after another.
WordNetwork word_sequence(const std::vector<std::string>& words, const std::string& source);

}  // namespace kivsr::speech
