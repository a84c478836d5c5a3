#include "kivsr/speech/decode/word_network.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numeric>
#include <string_view>
#include <unordered_map>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

// Rules are written out at each reference, so that rules of rules can grow without measure, and with rules that cannot
// be spoken even without an arc.
constexpr std::size_t kMostArcs = 1'000'000;
constexpr std::size_t kMostParts = 8 * kMostArcs;
const float kLogHalf = static_cast<float>(std::log(0.5));

// Lays an expression between two nodes that exist already, so that alternatives share both ends. What is still to lay
// waits in a list: references can be as deep as the grammar is long.
class NetworkBuilder {
 public:
  explicit NetworkBuilder(const Grammar& grammar) : grammar_(grammar) {
    network_.source = grammar.source;
    network_.start = add_node();
    network_.final = add_node();
    for (const Rule& rule : grammar.rules) rules_.emplace(rule.name, &rule.expression);
  }

  WordNetwork build(const std::vector<const Rule*>& rules) {
    const float weight = static_cast<float>(-std::log(static_cast<double>(rules.size())));
    for (const Rule* rule : rules) {
      waiting_.push_back({&rule->expression, network_.start, network_.final, weight});
      while (!waiting_.empty()) {
        const Part part = waiting_.back();
        waiting_.pop_back();
        if (++parts_ > kMostParts) fail_as_too_large(part.expression->position);
        const auto laid = static_cast<std::ptrdiff_t>(waiting_.size());
        lay(part);
        std::reverse(waiting_.begin() + laid, waiting_.end());  // the first of its parts comes next
      }
    }
    return std::move(network_);
  }

 private:
  struct Part {
    const Expression* expression;
    int from;
    int to;
    float weight;
  };

  [[noreturn]] void fail_as_too_large(TextPosition position) const {
    grammar_fault(grammar_.source, position, "the grammar is too large when its rules are written out");
  }

  int add_node() { return network_.nodes++; }

  void add_arc(int from, int to, int word, float weight, TextPosition position) {
    if (network_.arcs.size() >= kMostArcs) fail_as_too_large(position);
    network_.arcs.push_back({from, to, word, weight, position});
  }

  int word_index(const std::string& word) {
    const auto [place, added] = indices_.try_emplace(word, static_cast<int>(network_.words.size()));
    if (added) network_.words.push_back(word);
    return place->second;
  }

  // A node after from that is reached without a word.
  int branch(int from, float weight, TextPosition position) {
    const int node = add_node();
    add_arc(from, node, -1, weight, position);
    return node;
  }

  void lay(const Part& part) {
    const auto [expression, from, to, weight] = part;
    const TextPosition position = expression->position;
    switch (expression->kind) {
      case Expression::Kind::kNever: break;
      case Expression::Kind::kNgrams: add_arc(from, to, kNgramSlot, weight, position); break;
      case Expression::Kind::kToken: add_arc(from, to, word_index(expression->text), weight, position); break;
      case Expression::Kind::kReference: waiting_.push_back({rules_.at(expression->text), from, to, weight}); break;
      case Expression::Kind::kSequence: lay_sequence(part); break;
      case Expression::Kind::kAlternatives: lay_alternatives(part); break;
      case Expression::Kind::kOptional:
        add_arc(from, to, -1, weight + kLogHalf, position);
        waiting_.push_back({&expression->parts[0], from, to, weight + kLogHalf});
        break;
      case Expression::Kind::kRepeat:
      case Expression::Kind::kRepeatOnce: lay_repeat(part); break;
    }
  }

  // from -> before -> part -> after, and from after either back or on; or past all of it
  void lay_repeat(const Part& part) {
    const TextPosition position = part.expression->position;
    const bool skippable = part.expression->kind == Expression::Kind::kRepeat;
    const int before = branch(part.from, skippable ? part.weight + kLogHalf : part.weight, position);
    const int after = add_node();
    waiting_.push_back({&part.expression->parts[0], before, after, 0.0F});
    add_arc(after, before, -1, kLogHalf, position);
    add_arc(after, part.to, -1, kLogHalf, position);
    if (skippable) add_arc(part.from, part.to, -1, part.weight + kLogHalf, position);
  }

  void lay_sequence(const Part& part) {
    const std::vector<Expression>& parts = part.expression->parts;
    if (parts.empty()) add_arc(part.from, part.to, -1, part.weight, part.expression->position);
    int from = part.from;
    for (std::size_t index = 0; index < parts.size(); ++index) {
      const bool last = index + 1 == parts.size();
      const int next = last ? part.to : add_node();
      waiting_.push_back({&parts[index], from, next, index == 0 ? part.weight : 0.0F});
      from = next;
    }
  }

  void lay_alternatives(const Part& part) {
    const Expression& expression = *part.expression;
    const double count = static_cast<double>(expression.parts.size());
    const double sum =
        expression.weights.empty() ? count : std::accumulate(expression.weights.begin(), expression.weights.end(), 0.0);
    for (std::size_t index = 0; index < expression.parts.size(); ++index) {
      const double share = (expression.weights.empty() ? 1.0 : expression.weights[index]) / sum;
      if (share > 0.0) {
        waiting_.push_back(
            {&expression.parts[index], part.from, part.to, part.weight + static_cast<float>(std::log(share))});
      }
    }
  }

  const Grammar& grammar_;
  std::unordered_map<std::string_view, const Expression*> rules_;
  std::vector<Part> waiting_;
  std::size_t parts_ = 0;  // that were laid
  WordNetwork network_;
  std::map<std::string, int> indices_;
};

}  // namespace

bool WordNetwork::has_slots() const {
  return std::any_of(arcs.begin(), arcs.end(), [](const WordArc& arc) { return arc.word == kNgramSlot; });
}

WordNetwork grammar_network(const Grammar& grammar, const std::string& rule) {
  std::vector<const Rule*> rules;
  if (!rule.empty()) {
    const Rule* found = grammar.find(rule);
    if (found == nullptr) throw Fault(grammar.source + ": has no rule <" + rule + ">");
    rules.push_back(found);
  } else {
    for (const Rule& candidate : grammar.rules) {
      if (candidate.is_public) rules.push_back(&candidate);
    }
    if (rules.empty()) throw Fault(grammar.source + ": has no public rule");
  }
  return NetworkBuilder(grammar).build(rules);
}

WordNetwork word_loop(const std::vector<std::string>& words, const std::string& source) {
  if (words.empty()) throw Fault(source + ": holds no words");
  WordNetwork network;
  network.source = source;
  network.nodes = 2;
  network.start = 0;
  network.final = 1;
  const std::set<std::string> unique(words.begin(), words.end());
  network.words.assign(unique.begin(), unique.end());
  const float weight = static_cast<float>(-std::log(static_cast<double>(unique.size())));
  for (int word = 0; word < static_cast<int>(network.words.size()); ++word) {
    network.arcs.push_back({0, 1, word, weight, {}});
  }
  network.arcs.push_back({1, 0, -1, 0.0F, {}});
  return network;
}

WordNetwork word_sequence(const std::vector<std::string>& words, const std::string& source) {
  WordNetwork network;
  network.source = source;
  network.nodes = static_cast<int>(words.size()) + 1;
  network.final = network.nodes - 1;
  std::map<std::string, int> indices;
  for (int place = 0; place < network.final; ++place) {
    const std::string& word = words[static_cast<std::size_t>(place)];
    const auto [known, added] = indices.try_emplace(word, static_cast<int>(network.words.size()));
    if (added) network.words.push_back(word);
    network.arcs.push_back({place, place + 1, known->second, 0.0F, {}});
  }
  return network;
}

}  // namespace kivsr::speech
