#include "kivsr/speech/decode/grammar_lexer.h"
#include "kivsr/speech/io/text_parts.h"

#include <cctype>
#include <charconv>
#include <cmath>

namespace kivsr::speech {
namespace {

constexpr std::string_view kSymbols = ";=|[]()*+";
constexpr std::string_view kEndsToken = ";=|[]()*+<>{}/\"";

bool is_space(char character) { return std::isspace(static_cast<unsigned char>(character)) != 0; }

// Every byte of a UTF-8 character but its first.
bool continues_character(char character) { return (static_cast<unsigned char>(character) & 0xC0U) == 0x80U; }

}  // namespace

char GrammarLexer::take() {
  const char character = text_[next_++];
  if (character == '\n') {
    ++position_.line;
    position_.column = 1;
  } else if (at_end() || !continues_character(text_[next_])) {
    ++position_.column;
  }
  return character;
}

void GrammarLexer::read_header() {
  if (looking_at("\xEF\xBB\xBF")) next_ += 3;
  if (!looking_at("#JSGF")) grammar_fault(source_, position_, "a grammar starts with #JSGF V1.0;");
  const TextPosition start = position_;
  while (!at_end() && !is_space(text_[next_]) && text_[next_] != ';') take();
  while (!at_end() && is_space(text_[next_]) && text_[next_] != '\n') take();
  if (!looking_at("V1") && !looking_at("v1")) {
    grammar_fault(source_, position_, "expected the version V1.0 of the grammar format");
  }
  while (!at_end() && text_[next_] != ';' && text_[next_] != '\n') take();
  if (at_end() || text_[next_] != ';') grammar_fault(source_, start, "the #JSGF line does not end with ;");
  take();
}

void GrammarLexer::skip_comment() {
  const TextPosition start = position_;
  if (looking_at("//")) {
    while (!at_end() && text_[next_] != '\n') take();
    return;
  }
  take();
  take();
  while (!at_end() && !looking_at("*/")) take();
  if (at_end()) grammar_fault(source_, start, "this comment does not end");
  take();
  take();
}

void GrammarLexer::skip_tag() {
  const TextPosition start = position_;
  for (take(); !at_end() && text_[next_] != '}'; take()) {
    if (text_[next_] == '\\' && next_ + 1 < text_.size()) take();
  }
  if (at_end()) grammar_fault(source_, start, "this tag does not end");
  take();
}

void GrammarLexer::skip_ignored() {
  while (!at_end()) {
    if (is_space(text_[next_])) {
      take();
    } else if (looking_at("//") || looking_at("/*")) {
      skip_comment();
    } else if (text_[next_] == '{') {
      skip_tag();
    } else {
      return;
    }
  }
}

std::string GrammarLexer::take_quoted() {
  const TextPosition start = position_;
  std::string result;
  take();
  while (!at_end() && text_[next_] != '"' && text_[next_] != '\n') {
    if (text_[next_] == '\\' && next_ + 1 < text_.size()) take();
    result += take();
  }
  if (at_end() || text_[next_] != '"') grammar_fault(source_, start, "this quoted token does not end on its line");
  take();
  result = trimmed(result);
  if (result.empty()) grammar_fault(source_, start, "this quoted token is empty");
  return result;
}

// The text after an opening character, which is taken too, up to the closing one on the same line.
std::string GrammarLexer::take_until(char end, const char* what) {
  const TextPosition start = position_;
  std::string result;
  take();
  while (!at_end() && text_[next_] != end && text_[next_] != '\n') result += take();
  if (at_end() || text_[next_] != end) {
    grammar_fault(source_, start, std::string("this ") + what + " does not end with " + end);
  }
  take();
  return std::string(trimmed(result));
}

Lexeme GrammarLexer::take_weight() {
  Lexeme lexeme;
  lexeme.kind = Lexeme::Kind::kWeight;
  lexeme.position = position_;
  lexeme.text = take_until('/', "weight");
  const char* last = lexeme.text.data() + lexeme.text.size();
  const auto [end, error] = std::from_chars(lexeme.text.data(), last, lexeme.number);
  if (error != std::errc() || end != last || !std::isfinite(lexeme.number) || lexeme.number < 0.0) {
    grammar_fault(source_, lexeme.position, "the weight \"" + lexeme.text + "\" is not a number of at least 0");
  }
  return lexeme;
}

Lexeme GrammarLexer::next() {
  skip_ignored();
  Lexeme lexeme;
  lexeme.position = position_;
  if (at_end()) return lexeme;
  const char first = text_[next_];
  if (kSymbols.find(first) != std::string_view::npos) {
    lexeme.kind = Lexeme::Kind::kSymbol;
    lexeme.text = std::string(1, take());
  } else if (first == '<') {
    lexeme.kind = Lexeme::Kind::kReference;
    lexeme.text = take_until('>', "rule name");
    if (lexeme.text.empty()) grammar_fault(source_, lexeme.position, "this rule name is empty");
  } else if (first == '/') {
    lexeme = take_weight();
  } else if (first == '"') {
    lexeme.kind = Lexeme::Kind::kToken;
    lexeme.quoted = true;
    lexeme.text = take_quoted();
  } else if (first == '>' || first == '}') {
    grammar_fault(source_, lexeme.position, std::string("unexpected ") + first);
  } else {
    lexeme.kind = Lexeme::Kind::kToken;
    while (!at_end() && !is_space(text_[next_]) && kEndsToken.find(text_[next_]) == std::string_view::npos) {
      lexeme.text += take();
    }
  }
  return lexeme;
}

}  // namespace kivsr::speech
