#include "kivsr/speech/decode/grammar.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "kivsr/speech/decode/grammar_lexer.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr int kDeepestNesting = 200;

// Recursive descent; alternatives are sequences of repeated items.
class GrammarParser {
 public:
  GrammarParser(std::string_view text, const std::string& source) : lexer_(text, source) { grammar_.source = source; }

  Grammar parse() {
    lexer_.read_header();
    advance();
    if (!lexeme_.is_word("grammar")) fail("expected the line \"grammar NAME;\"");
    advance();
    if (lexeme_.kind != Lexeme::Kind::kToken) fail("expected the name of the grammar");
    grammar_.name = lexeme_.text;
    advance();
    expect(';', "after the name of the grammar");
    while (lexeme_.kind != Lexeme::Kind::kEnd) parse_rule();
    if (grammar_.rules.empty()) fail("the grammar has no rules");
    return std::move(grammar_);
  }

 private:
  [[noreturn]] void fail(const std::string& message) const {
    grammar_fault(grammar_.source, lexeme_.position, message);
  }

  void advance() { lexeme_ = lexer_.next(); }

  std::string found() const {
    if (lexeme_.kind == Lexeme::Kind::kEnd) return "the end of the text";
    if (lexeme_.kind == Lexeme::Kind::kReference) return "<" + lexeme_.text + ">";
    if (lexeme_.kind == Lexeme::Kind::kWeight) return "the weight /" + lexeme_.text + "/";
    return "\"" + lexeme_.text + "\"";
  }

  void expect(char symbol, const std::string& where) {
    if (!lexeme_.is_symbol(symbol)) fail(std::string("expected ") + symbol + " " + where + ", found " + found());
    advance();
  }

  // "grammar.rule" is the same as "rule" in the grammar of that name.
  std::string local_name(const std::string& name) const {
    const std::string prefix = grammar_.name + ".";
    return name.starts_with(prefix) ? name.substr(prefix.size()) : name;
  }

  void parse_rule() {
    if (lexeme_.is_word("import")) fail("imports are not supported");
    Rule rule;
    if (lexeme_.is_word("public")) {
      rule.is_public = true;
      advance();
    }
    if (lexeme_.kind != Lexeme::Kind::kReference) fail("expected a rule \"<name> = ...;\", found " + found());
    rule.name = local_name(lexeme_.text);
    rule.position = lexeme_.position;
    if (rule.name == "NULL" || rule.name == "VOID" || rule.name == "NGRAMS") {
      fail("<" + rule.name + "> has a fixed meaning and cannot be defined");
    }
    if (!names_.insert(rule.name).second) fail("the rule <" + rule.name + "> is defined twice");
    advance();
    expect('=', "after <" + rule.name + ">");
    rule.expression = parse_alternatives(0);
    expect(';', "at the end of the rule <" + rule.name + ">");
    grammar_.rules.push_back(std::move(rule));
  }

  Expression parse_alternatives(int depth) {
    if (depth > kDeepestNesting) {
      fail("brackets are nested more than " + std::to_string(kDeepestNesting) + " deep");
    }
    Expression result;
    result.kind = Expression::Kind::kAlternatives;
    result.position = lexeme_.position;
    for (bool more = true; more;) {
      if (lexeme_.kind == Lexeme::Kind::kWeight) {
        result.weights.resize(result.parts.size(), 1.0);
        result.weights.push_back(lexeme_.number);
        advance();
      } else if (!result.weights.empty()) {
        result.weights.push_back(1.0);
      }
      result.parts.push_back(parse_sequence(depth));
      more = lexeme_.is_symbol('|');
      if (more) advance();
    }
    if (!result.weights.empty() && *std::max_element(result.weights.begin(), result.weights.end()) == 0.0) {
      grammar_fault(grammar_.source, result.position, "all weights are zero");
    }
    return result.parts.size() == 1 ? std::move(result.parts[0]) : result;
  }

  bool starts_item() const {
    return lexeme_.kind == Lexeme::Kind::kToken || lexeme_.kind == Lexeme::Kind::kReference || lexeme_.is_symbol('[') ||
           lexeme_.is_symbol('(');
  }

  Expression parse_sequence(int depth) {
    Expression result;
    result.position = lexeme_.position;
    if (!starts_item()) fail("expected a word, a rule, [ or (, found " + found());
    while (starts_item()) result.parts.push_back(parse_item(depth));
    if (lexeme_.kind == Lexeme::Kind::kWeight) fail("a weight stands only in front of an alternative");
    return result.parts.size() == 1 ? std::move(result.parts[0]) : result;
  }

  Expression parse_item(int depth) {
    Expression item = parse_atom(depth);
    if (lexeme_.is_symbol('*') || lexeme_.is_symbol('+')) {
      Expression repeat;
      repeat.kind = lexeme_.is_symbol('*') ? Expression::Kind::kRepeat : Expression::Kind::kRepeatOnce;
      repeat.position = item.position;
      repeat.parts.push_back(std::move(item));
      advance();
      return repeat;
    }
    return item;
  }

  Expression parse_atom(int depth) {
    Expression atom;
    atom.position = lexeme_.position;
    if (lexeme_.is_symbol('(')) {
      advance();
      atom = parse_alternatives(depth + 1);
      expect(')', "at the end of the group");
    } else if (lexeme_.is_symbol('[')) {
      advance();
      atom.kind = Expression::Kind::kOptional;
      atom.parts.push_back(parse_alternatives(depth + 1));
      expect(']', "at the end of the optional part");
    } else {
      if (lexeme_.kind == Lexeme::Kind::kToken) {
        atom.kind = Expression::Kind::kToken;
        atom.text = lexeme_.text;
      } else if (lexeme_.text == "VOID") {
        atom.kind = Expression::Kind::kNever;
      } else if (lexeme_.text == "NGRAMS") {
        atom.kind = Expression::Kind::kNgrams;
      } else if (lexeme_.text != "NULL") {
        atom.kind = Expression::Kind::kReference;
        atom.text = local_name(lexeme_.text);
      }
      advance();
    }
    return atom;
  }

  GrammarLexer lexer_;
  Lexeme lexeme_;
  Grammar grammar_;
  std::unordered_set<std::string> names_;  // of its rules
};

// Follows every reference once; a rule that is met again while it is open refers to itself. Chains of rules may be as
// long as the grammar, so the way back is a list and not the stack of the processor.
class ReferenceCheck {
 public:
  explicit ReferenceCheck(const Grammar& grammar) : grammar_(grammar), states_(grammar.rules.size(), State::kUnseen) {
    for (std::size_t index = 0; index < grammar.rules.size(); ++index) {
      indices_.emplace(grammar.rules[index].name, index);
    }
  }

  void run() {
    for (std::size_t index = 0; index < grammar_.rules.size(); ++index) {
      if (states_[index] == State::kUnseen) follow(index);
    }
  }

 private:
  enum class State { kUnseen, kOpen, kDone };
  struct Visit {
    std::size_t rule;
    std::vector<const Expression*> references;  // those not yet followed, the next one last
  };

  static void collect(const Expression& expression, std::vector<const Expression*>& references) {
    if (expression.kind == Expression::Kind::kReference) references.push_back(&expression);
    for (const Expression& part : expression.parts) collect(part, references);
  }

  Visit open(std::size_t index) {
    states_[index] = State::kOpen;
    Visit visit{index, {}};
    collect(grammar_.rules[index].expression, visit.references);
    std::reverse(visit.references.begin(), visit.references.end());
    return visit;
  }

  void follow(std::size_t first) {
    std::vector<Visit> way;
    way.push_back(open(first));
    while (!way.empty()) {
      Visit& last = way.back();
      if (last.references.empty()) {
        states_[last.rule] = State::kDone;
        way.pop_back();
        continue;
      }
      const Expression& reference = *last.references.back();
      last.references.pop_back();
      const std::size_t index = index_of(reference);
      if (states_[index] == State::kOpen) {
        grammar_fault(grammar_.source, reference.position,
                      "the rule <" + reference.text + "> refers to itself; use * or + to repeat");
      }
      if (states_[index] == State::kUnseen) way.push_back(open(index));
    }
  }

  std::size_t index_of(const Expression& reference) const {
    const auto found = indices_.find(reference.text);
    if (found == indices_.end()) {
      grammar_fault(grammar_.source, reference.position, "the rule <" + reference.text + "> is not defined");
    }
    return found->second;
  }

  const Grammar& grammar_;
  std::vector<State> states_;
  std::unordered_map<std::string_view, std::size_t> indices_;
};

}  // namespace

void grammar_fault(const std::string& source, TextPosition position, const std::string& message) {
  throw Fault(source + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": " + message);
}

const Rule* Grammar::find(std::string_view rule) const {
  const auto found =
      std::find_if(rules.begin(), rules.end(), [&](const Rule& candidate) { return candidate.name == rule; });
  return found == rules.end() ? nullptr : &*found;
}

Grammar parse_grammar(std::string_view text, const std::string& source) {
  Grammar grammar = GrammarParser(text, source).parse();
  ReferenceCheck(grammar).run();
  return grammar;
}

Grammar read_grammar(const std::filesystem::path& file) {
  const std::vector<std::uint8_t> bytes = read_whole_file(file);
  return parse_grammar(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), file.string());
}

}  // namespace kivsr::speech
