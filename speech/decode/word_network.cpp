#include "kivsr/speech/decode/word_network.h"

#include <cmath>
#include <map>
#include <numeric>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

// Rules are written out at each reference, so that rules of rules can grow without measure.
constexpr std::size_t kMostArcs = 2'000'000;

// Lays an expression between two nodes that exist already, so that alternatives share both ends.
class NetworkBuilder {
 public:
  explicit NetworkBuilder(const Grammar& grammar) : grammar_(grammar) {
    network_.source = grammar.source;
    network_.start = add_node();
    network_.final = add_node();
  }

  WordNetwork build(const std::vector<const Rule*>& rules) {
    const float weight = static_cast<float>(-std::log(static_cast<double>(rules.size())));
    for (const Rule* rule : rules) lay(rule->expression, network_.start, network_.final, weight);
    return std::move(network_);
  }

 private:
  int add_node() { return network_.nodes++; }

  void add_arc(int from, int to, int word, float weight, TextPosition position) {
    if (network_.arcs.size() >= kMostArcs) {
      grammar_fault(grammar_.source, position, "the grammar is too large when its rules are written out");
    }
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

  void lay(const Expression& expression, int from, int to, float weight) {
    static const float half = static_cast<float>(std::log(0.5));
    const TextPosition position = expression.position;
    switch (expression.kind) {
      case Expression::Kind::kNever: break;
      case Expression::Kind::kToken: add_arc(from, to, word_index(expression.text), weight, position); break;
      case Expression::Kind::kReference: lay(grammar_.find(expression.text)->expression, from, to, weight); break;
      case Expression::Kind::kSequence: lay_sequence(expression, from, to, weight); break;
      case Expression::Kind::kAlternatives: lay_alternatives(expression, from, to, weight); break;
      case Expression::Kind::kOptional:
        add_arc(from, to, -1, weight + half, position);
        lay(expression.parts[0], from, to, weight + half);
        break;
      case Expression::Kind::kRepeat:
      case Expression::Kind::kRepeatOnce: {
        // from -> before -> part -> after, and from after either back or on; or past all of it
        const bool skippable = expression.kind == Expression::Kind::kRepeat;
        const int before = branch(from, skippable ? weight + half : weight, position);
        const int after = add_node();
        lay(expression.parts[0], before, after, 0.0F);
        add_arc(after, before, -1, half, position);
        add_arc(after, to, -1, half, position);
        if (skippable) add_arc(from, to, -1, weight + half, position);
        break;
      }
    }
  }

  void lay_sequence(const Expression& expression, int from, int to, float weight) {
    if (expression.parts.empty()) add_arc(from, to, -1, weight, expression.position);
    for (std::size_t index = 0; index < expression.parts.size(); ++index) {
      const bool last = index + 1 == expression.parts.size();
      const int next = last ? to : add_node();
      lay(expression.parts[index], from, next, index == 0 ? weight : 0.0F);
      from = next;
    }
  }

  void lay_alternatives(const Expression& expression, int from, int to, float weight) {
    const double count = static_cast<double>(expression.parts.size());
    const double sum =
        expression.weights.empty() ? count : std::accumulate(expression.weights.begin(), expression.weights.end(), 0.0);
    for (std::size_t index = 0; index < expression.parts.size(); ++index) {
      const double share = (expression.weights.empty() ? 1.0 : expression.weights[index]) / sum;
      if (share > 0.0) lay(expression.parts[index], from, to, weight + static_cast<float>(std::log(share)));
    }
  }

  const Grammar& grammar_;
  WordNetwork network_;
  std::map<std::string, int> indices_;
};

}  // namespace

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

}  // namespace kivsr::speech
