// An utterance as a graph of places, each of which stands for a state of the model: what is said in it, with every way
// to say it. Next: occupation.h, how frames spread over the places.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

// Places lie in an order in which every arc leads from an earlier to a later one. All weights are probabilities.
struct UtteranceGraph {
  struct Arc {
    int to = 0;
    double probability = 0.0;
  };
  std::vector<int> states;  // of the model, at each place
  std::vector<int> rows;    // of the transition sums, at each place; empty: each state has its own
  std::vector<double> begin;
  std::vector<double> stay;
  std::vector<double> end;
  std::vector<std::size_t> first_arc;  // of each place; one more at the end
  std::vector<Arc> arcs;

  int places() const { return static_cast<int>(states.size()); }
  std::span<const Arc> arcs_of(int place) const {
    const auto at = static_cast<std::size_t>(place);
    return std::span(arcs).subspan(first_arc[at], first_arc[at + 1] - first_arc[at]);
  }
};

// Puts a graph together: places in their order, arcs in any.
class GraphBuilder {
 public:
  // Returns the place. row: of the transition sums, -1 if each state has its own.
  int add_place(int state, double stay, int row = -1);
  // The probability is multiplied by that of leaving the place.
  void add_arc(int from, int to, double probability);
  void add_begin(int place, double probability) { graph_.begin[static_cast<std::size_t>(place)] += probability; }
  void add_end(int place, double probability);
  UtteranceGraph finish();

 private:
  double leave(int place) const { return 1.0 - graph_.stay[static_cast<std::size_t>(place)]; }

  UtteranceGraph graph_;
  std::vector<std::pair<int, UtteranceGraph::Arc>> arcs_;  // with the places that they leave
};

// Silence and words of an utterance in their order, as units of the model.
std::vector<int> utterance_units(const WordModel& model, std::span<const int> words);

// Silence before, between and behind the words is taken or left with the probability 1/2.
UtteranceGraph utterance_graph(const WordModel& model, std::span<const int> words);

// The fewest frames that lead from a beginning to an end; 0 if there is no way.
int shortest_path(const UtteranceGraph& graph);

}  // namespace kivsr::speech
