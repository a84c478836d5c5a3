// Splits the text of a grammar into lexemes and knows the place of each. Next: grammar.cpp, the parser.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "kivsr/speech/decode/grammar.h"

namespace kivsr::speech {

struct Lexeme {
  enum class Kind {
    kToken,      // a word, quoted or not
    kReference,  // text between < and >
    kWeight,     // number between two slashes
    kSymbol,     // one of ; = | [ ] ( ) * +
    kEnd
  };
  Kind kind = Kind::kEnd;
  std::string text;
  double number = 0.0;
  bool quoted = false;
  TextPosition position;

  bool is_symbol(char symbol) const { return kind == Kind::kSymbol && text[0] == symbol; }
  bool is_word(std::string_view word) const { return kind == Kind::kToken && !quoted && text == word; }
};

class GrammarLexer {
 public:
  GrammarLexer(std::string_view text, std::string source) : text_(text), source_(std::move(source)) {}

  // Reads "#JSGF V1.0 [encoding [locale]];", which must start the text.
  void read_header();
  Lexeme next();

 private:
  bool at_end() const { return next_ >= text_.size(); }
  bool looking_at(std::string_view what) const { return text_.substr(next_).starts_with(what); }
  char take();
  void skip_ignored();
  void skip_comment();
  void skip_tag();
  std::string take_quoted();
  std::string take_until(char end, const char* what);
  Lexeme take_weight();

  std::string_view text_;
  std::string source_;
  std::size_t next_ = 0;
  TextPosition position_{1, 1};
};

}  // namespace kivsr::speech
