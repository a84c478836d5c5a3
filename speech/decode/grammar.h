// Grammars in the JSpeech Grammar Format (W3C note of June 2000): rules, rule references, alternatives with weights,
// optional parts, groups, repeats, quoted tokens, tags (ignored) and comments. Imports and rules that refer to
// themselves are refused, so that every grammar is a regular language. Next: word_network.h, the automaton made of it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kivsr::speech {

struct TextPosition {
  int line = 0;  // 0: not from a text
  int column = 0;
};

struct Expression {
  enum class Kind {
    kToken,
    kReference,     // text: name of the rule
    kSequence,      // of parts; empty: <NULL>, which is spoken by saying nothing
    kAlternatives,  // of parts; weights: one each, 1 where the text has none, or empty where it has none at all
    kOptional,      // parts[0], or nothing
    kRepeat,        // parts[0] any number of times, or not at all
    kRepeatOnce,    // parts[0] at least once
    kNever,         // <VOID>, which cannot be spoken
    kNgrams         // <NGRAMS>, any words that a language model allows
  };
  Kind kind = Kind::kSequence;
  std::string text;
  TextPosition position;
  std::vector<Expression> parts;
  std::vector<double> weights;
};

struct Rule {
  std::string name;
  bool is_public = false;
  TextPosition position;
  Expression expression;
};

struct Grammar {
  std::string source;  // where the text came from, for messages
  std::string name;
  std::vector<Rule> rules;

  const Rule* find(std::string_view rule) const;
};

// Throws Fault with "source:line:column: ..." for a text that is not a grammar, for a reference to a rule that is not
// there, and for a rule that refers to itself.
Grammar parse_grammar(std::string_view text, const std::string& source);
Grammar read_grammar(const std::filesystem::path& file);

// Throws Fault that starts with the place.
[[noreturn]] void grammar_fault(const std::string& source, TextPosition position, const std::string& message);

}  // namespace kivsr::speech
