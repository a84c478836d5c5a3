#include "kivsr/speech/decode/lattice_recorder.h"

#include <algorithm>

namespace kivsr::speech {

void LatticeRecorder::reset() {
  junctions_.clear();
  junction_of_.clear();
  start_frame(-1);
}

void LatticeRecorder::start_frame(int frame) {
  frame_ = frame;
  first_junction_ = junctions_.size();
}

void LatticeRecorder::add(std::size_t junction, const RecordedEnd& end) {
  if (junctions_.size() <= first_junction_ + junction) junctions_.resize(first_junction_ + junction + 1, {frame_, {}});
  junctions_[first_junction_ + junction].ends.push_back(end);
}

void LatticeRecorder::set_history(int history, std::size_t junction) {
  junction_of_.resize(static_cast<std::size_t>(history) + 1, -1);
  junction_of_[static_cast<std::size_t>(history)] = static_cast<int>(first_junction_ + junction);
}

bool LatticeRecorder::fits(const RecordedEnd& end, int right) const {
  const std::span<const int> rights = network_.forest->fan_out.rights(*end.variant);
  return std::binary_search(rights.begin(), rights.end(), right);
}

double LatticeRecorder::best_before(const Place& place) const {
  if (place.first < 0) return 0.0;
  double best = -1.0e300;
  for (const RecordedEnd& end : junctions_[static_cast<std::size_t>(place.first)].ends) {
    if (fits(end, place.second)) best = std::max(best, end.score);
  }
  return best;
}

// after: score from the end of the arc to the end of the utterance.
void LatticeRecorder::add_arc(const RecordedEnd& end, int to, double after) {
  Place from{-1, -1};
  if (end.history >= 0) {
    from = {junction_of_[static_cast<std::size_t>(end.history)],
            network_.forest->fan_out.context_of(network_.phones_of(end.label).front())};
  }
  const auto [known, added] = nodes_.try_emplace(from);
  Node& node = known->second;
  if (added) {
    node.number = static_cast<int>(nodes_.size()) - 1;
    node.before = best_before(from);
  }
  const double score = end.score - node.before;
  node.after = std::max(node.after, after + score);
  arcs_.push_back(
      {node.number, to, end.label, score - static_cast<double>(end.language), static_cast<double>(end.language), 0.0});
}

// Nodes in the order of time, the end last.
WordLattice LatticeRecorder::sorted(int frames) {
  WordLattice result;
  std::vector<int> numbers(nodes_.size() + 1, static_cast<int>(nodes_.size()));
  for (const auto& [place, node] : nodes_) {
    numbers[static_cast<std::size_t>(node.number)] = static_cast<int>(result.frames.size());
    result.frames.push_back(place.first < 0 ? 0 : junctions_[static_cast<std::size_t>(place.first)].frame + 1);
  }
  result.frames.push_back(frames);
  for (LatticeArc& arc : arcs_) {
    arc.from = numbers[static_cast<std::size_t>(arc.from)];
    arc.to = arc.to < 0 ? static_cast<int>(nodes_.size()) : numbers[static_cast<std::size_t>(arc.to)];
  }
  result.arcs = std::move(arcs_);
  return result;
}

WordLattice LatticeRecorder::lattice(std::span<const RecordedEnd> finals, int frames, double beam) {
  nodes_.clear();
  arcs_.clear();
  double best = -1.0e300;
  for (const RecordedEnd& end : finals) best = std::max(best, end.score);
  for (const RecordedEnd& end : finals) {
    if (end.score >= best - beam) add_arc(end, -1, 0.0);
  }
  if (arcs_.empty()) return {};
  // from the last place to the first: words lead from a place to one of a later frame
  for (auto place = nodes_.end(); place != nodes_.begin();) {
    --place;
    const auto [junction, right] = place->first;
    if (junction < 0) break;
    const Node node = place->second;
    for (const RecordedEnd& end : junctions_[static_cast<std::size_t>(junction)].ends) {
      if (fits(end, right) && end.score + node.after >= best - beam) add_arc(end, node.number, node.after);
    }
  }
  return sorted(frames);
}

}  // namespace kivsr::speech
