#include "kivsr/speech/decode/word_lattice.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <queue>
#include <set>
#include <string_view>
#include <utility>

namespace kivsr::speech {
namespace {

constexpr double kNever = -std::numeric_limits<double>::infinity();

double log_sum(double a, double b) {
  if (a < b) std::swap(a, b);
  return b == kNever ? a : a + std::log1p(std::exp(b - a));
}

// Arcs by the node that they lead to, or that they come from.
std::vector<std::vector<int>> arcs_by(const WordLattice& lattice, int LatticeArc::*node) {
  std::vector<std::vector<int>> arcs(lattice.frames.size());
  for (std::size_t arc = 0; arc < lattice.arcs.size(); ++arc) {
    arcs[static_cast<std::size_t>(lattice.arcs[arc].*node)].push_back(static_cast<int>(arc));
  }
  return arcs;
}

// The best sentences from the end to the start: what is known behind a node, and the best that can stand before it.
// Of all ways from a node that tell the same words only the best is followed.
class SentenceFinder {
 public:
  SentenceFinder(const WordLattice& lattice, const SearchNetwork& network)
      : lattice_(lattice),
        network_(network),
        entering_(arcs_by(lattice, &LatticeArc::to)),
        before_(lattice.frames.size(), kNever) {
    before_.front() = 0.0;
    for (std::size_t node = 1; node < before_.size(); ++node) {
      for (const int index : entering_[node]) {
        const LatticeArc& arc = lattice.arcs[static_cast<std::size_t>(index)];
        before_[node] = std::max(before_[node], before_[static_cast<std::size_t>(arc.from)] + arc.score());
      }
    }
  }

  std::vector<Sentence> find(int count) {
    std::vector<Sentence> sentences;
    open(-1, -1, static_cast<int>(lattice_.frames.size()) - 1, 0.0, -1);
    while (!waiting_.empty() && static_cast<int>(sentences.size()) < count) {
      const int way = waiting_.top().second;
      waiting_.pop();
      const Way known = ways_[static_cast<std::size_t>(way)];
      if (!visited_.insert({known.node, known.words}).second) continue;
      if (known.node == 0) {
        sentences.push_back(sentence(way));
        continue;
      }
      for (const int index : entering_[static_cast<std::size_t>(known.node)]) {
        const LatticeArc& arc = lattice_.arcs[static_cast<std::size_t>(index)];
        open(way, index, arc.from, known.score + arc.score(), words_with(arc.label, known.words));
      }
    }
    return sentences;
  }

 private:
  // From a node to the end.
  struct Way {
    int next;  // the way without its first arc, -1: none
    int arc;
    int node;
    double score;
    int words;  // number of the sequence of words, without silence and noise
  };

  void open(int next, int arc, int node, double score, int words) {
    if (before_[static_cast<std::size_t>(node)] == kNever) return;
    waiting_.emplace(score + before_[static_cast<std::size_t>(node)], static_cast<int>(ways_.size()));
    ways_.push_back({next, arc, node, score, words});
  }

  int words_with(int label, int words) {
    const SearchLabel& known = network_.labels[static_cast<std::size_t>(label)];
    if (known.filler) return words;
    return sequences_.try_emplace({known.word, words}, static_cast<int>(sequences_.size())).first->second;
  }

  Sentence sentence(int way) const {
    Sentence result;
    result.score = ways_[static_cast<std::size_t>(way)].score;
    for (; ways_[static_cast<std::size_t>(way)].arc >= 0; way = ways_[static_cast<std::size_t>(way)].next) {
      const LatticeArc& arc = lattice_.arcs[static_cast<std::size_t>(ways_[static_cast<std::size_t>(way)].arc)];
      result.words.push_back({arc.label, lattice_.frames[static_cast<std::size_t>(arc.from)],
                              lattice_.frames[static_cast<std::size_t>(arc.to)] - 1});
    }
    return result;
  }

  const WordLattice& lattice_;
  const SearchNetwork& network_;
  std::vector<std::vector<int>> entering_;  // arcs into each node
  std::vector<double> before_;              // best score from the start to each node
  std::vector<Way> ways_;
  std::priority_queue<std::pair<double, int>> waiting_;  // by the score of the whole sentence
  std::set<std::pair<int, int>> visited_;                // nodes with the words behind them
  std::map<std::pair<std::string_view, int>, int> sequences_;
};

std::string escaped(const std::string& word) {
  std::string text;
  for (const char letter : word) {
    if (letter == ' ' || letter == '\\' || letter == '"' || letter == '\'') text += '\\';
    text += letter;
  }
  return text;
}

std::string printed(double value, int places) {
  std::array<char, 400> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, places).ptr;
  return {text.data(), end};
}

}  // namespace

void find_posteriors(WordLattice& lattice, double scale) {
  if (lattice.empty()) return;
  std::vector<double> before(lattice.frames.size(), kNever);
  std::vector<double> after(lattice.frames.size(), kNever);
  before.front() = 0.0;
  after.back() = 0.0;
  const auto leaving = arcs_by(lattice, &LatticeArc::from);
  for (std::size_t node = 0; node < before.size(); ++node) {
    for (const int index : leaving[node]) {
      const LatticeArc& arc = lattice.arcs[static_cast<std::size_t>(index)];
      double& sum = before[static_cast<std::size_t>(arc.to)];
      sum = log_sum(sum, before[node] + scale * arc.score());
    }
  }
  for (std::size_t node = after.size(); node-- > 0;) {
    for (const int index : leaving[node]) {
      const LatticeArc& arc = lattice.arcs[static_cast<std::size_t>(index)];
      after[node] = log_sum(after[node], after[static_cast<std::size_t>(arc.to)] + scale * arc.score());
    }
  }
  for (LatticeArc& arc : lattice.arcs) {
    arc.posterior = std::exp(before[static_cast<std::size_t>(arc.from)] + scale * arc.score() +
                             after[static_cast<std::size_t>(arc.to)] - after.front());
  }
}

std::vector<Sentence> best_sentences(const WordLattice& lattice, const SearchNetwork& network, int count) {
  if (lattice.empty()) return {};
  return SentenceFinder(lattice, network).find(count);
}

std::string lattice_text(const WordLattice& lattice, const SearchNetwork& network, const std::string& utterance,
                         double frame_seconds) {
  std::string text = "VERSION=1.0\nUTTERANCE=" + escaped(utterance) + "\nbase=2.718281828\nlmscale=1\nacscale=1\n";
  text += "N=" + std::to_string(lattice.frames.size()) + " L=" + std::to_string(lattice.arcs.size()) + "\n";
  for (std::size_t node = 0; node < lattice.frames.size(); ++node) {
    text += "I=" + std::to_string(node) + " t=" + printed(lattice.frames[node] * frame_seconds, 3) + "\n";
  }
  for (std::size_t index = 0; index < lattice.arcs.size(); ++index) {
    const LatticeArc& arc = lattice.arcs[index];
    text += "J=" + std::to_string(index) + " S=" + std::to_string(arc.from) + " E=" + std::to_string(arc.to) +
            " W=" + escaped(network.labels[static_cast<std::size_t>(arc.label)].word) +
            " a=" + printed(arc.acoustic, 3) + " l=" + printed(arc.language, 3) + " p=" + printed(arc.posterior, 5) +
            "\n";
  }
  return text;
}

}  // namespace kivsr::speech
