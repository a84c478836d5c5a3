#include "kivsr/speech/train/utterance_graph.h"

#include <algorithm>
#include <limits>

namespace kivsr::speech {

int GraphBuilder::add_place(int state, double stay, int row) {
  graph_.states.push_back(state);
  if (row >= 0) graph_.rows.push_back(row);
  graph_.begin.push_back(0.0);
  graph_.stay.push_back(stay);
  graph_.end.push_back(0.0);
  return graph_.places() - 1;
}

void GraphBuilder::add_arc(int from, int to, double probability) {
  arcs_.push_back({from, {to, leave(from) * probability}});
}

void GraphBuilder::add_end(int place, double probability) {
  graph_.end[static_cast<std::size_t>(place)] += leave(place) * probability;
}

UtteranceGraph GraphBuilder::finish() {
  std::stable_sort(arcs_.begin(), arcs_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  graph_.first_arc.assign(graph_.states.size() + 1, 0);
  for (const auto& [from, arc] : arcs_) {
    ++graph_.first_arc[static_cast<std::size_t>(from) + 1];
    graph_.arcs.push_back(arc);
  }
  for (std::size_t place = 1; place < graph_.first_arc.size(); ++place) {
    graph_.first_arc[place] += graph_.first_arc[place - 1];
  }
  return std::move(graph_);
}

std::vector<int> utterance_units(const WordModel& model, std::span<const int> words) {
  if (model.plain_mixture) return {0};
  const int silence = model.silence();
  std::vector<int> units;
  const auto add_silence = [&] {
    if (silence >= 0) units.push_back(silence);
  };
  add_silence();
  for (const int word : words) {
    units.push_back(word);
    add_silence();
  }
  return units;
}

UtteranceGraph utterance_graph(const WordModel& model, std::span<const int> words) {
  GraphBuilder builder;
  const int silence = model.silence();
  const double half = silence >= 0 ? 0.5 : 1.0;
  int last = -1;      // place of the unit before
  int word_end = -1;  // place of the last state of the last word
  for (const int index : utterance_units(model, words)) {
    const WordUnit& unit = model.units[static_cast<std::size_t>(index)];
    for (int i = 0; i < unit.states; ++i) {
      const int state = unit.first_state + i;
      const int place =
          builder.add_place(state, static_cast<double>(model.states[static_cast<std::size_t>(state)].stay));
      if (i > 0) {
        builder.add_arc(place - 1, place, 1.0);
        continue;
      }
      if (last < 0 || (!unit.filler && word_end < 0)) builder.add_begin(place, half);
      if (last >= 0) builder.add_arc(last, place, unit.filler ? half : last == word_end ? half : 1.0);
      if (!unit.filler && word_end >= 0 && word_end != last) builder.add_arc(word_end, place, half);
    }
    last = last < 0 ? unit.states - 1 : last + unit.states;
    if (!unit.filler) word_end = last;
  }
  builder.add_end(last, 1.0);
  if (word_end >= 0 && word_end != last) builder.add_end(word_end, half);
  return builder.finish();
}

int shortest_path(const UtteranceGraph& graph) {
  constexpr int kNone = std::numeric_limits<int>::max();
  std::vector<int> frames(graph.states.size(), kNone);
  int shortest = kNone;
  for (int place = 0; place < graph.places(); ++place) {
    const auto at = static_cast<std::size_t>(place);
    if (graph.begin[at] > 0.0) frames[at] = 1;
    if (frames[at] == kNone) continue;
    if (graph.end[at] > 0.0) shortest = std::min(shortest, frames[at]);
    for (const UtteranceGraph::Arc& arc : graph.arcs_of(place)) {
      int& next = frames[static_cast<std::size_t>(arc.to)];
      next = std::min(next, frames[at] + 1);
    }
  }
  return shortest == kNone ? 0 : shortest;
}

}  // namespace kivsr::speech
