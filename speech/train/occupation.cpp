#include "kivsr/speech/train/occupation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace kivsr::speech {

namespace {

// Logarithms of the beams that follow one that leaves no path.
constexpr double kWide = -2000.0;
constexpr double kAll = -std::numeric_limits<double>::infinity();
constexpr std::size_t kMostCells = 100'000'000;
using Outcome = Occupation::Outcome;

// A probability that may be far below the least double, as its logarithm.
class LogNumber {
 public:
  LogNumber() = default;
  explicit LogNumber(double probability) : log_(std::log(probability)) {}
  static LogNumber from_log(double log) {
    LogNumber result;
    result.log_ = log;
    return result;
  }
  double log() const { return log_; }
  explicit operator double() const { return std::exp(log_); }

  LogNumber operator*(LogNumber other) const { return from_log(log_ + other.log_); }
  LogNumber operator/(LogNumber other) const { return from_log(log_ - other.log_); }
  LogNumber operator+(LogNumber other) const {
    const auto [less, more] = std::minmax(log_, other.log_);
    constexpr double kNegligible = 40.0;
    return from_log(!(less > more - kNegligible) ? more : more + std::log1p(std::exp(less - more)));
  }
  bool operator==(const LogNumber&) const = default;
  auto operator<=>(const LogNumber&) const = default;

 private:
  double log_ = -std::numeric_limits<double>::infinity();
};

double log_of(double number) { return std::log(number); }
double log_of(LogNumber number) { return number.log(); }
void set_log(double log, double& number) { number = std::exp(log); }
void set_log(double log, LogNumber& number) { number = LogNumber::from_log(log); }

// Sums over all paths, each frame relative to its greatest.
template <class Real>
class AllPaths {
 public:
  Outcome run(const UtteranceGraph& graph, int frames, FrameScorer& scorer, double log_beam, Occupation& result) {
    begin(graph);
    Real beam;
    set_log(log_beam, beam);
    for (int frame = 0; frame < frames; ++frame) {
      scorer.begin(frame);
      if (frame > 0) push(graph);
      if (!take_frame(graph, frame, scorer, beam)) return Outcome::kImpossible;
      if (cell_places_.size() > kMostCells) return Outcome::kTooLong;
    }
    result.shares.clear();
    for (int frame = frames - 1; frame >= 0; --frame) {
      if (!pull(graph, frame, frame == frames - 1, result)) return Outcome::kImpossible;
    }
    return Outcome::kDone;
  }

 private:
  // A state in the frame it was last scored for.
  struct StateScore {
    int frame = -1;
    double score = 0.0;
    Real emission{};  // relative to the greatest score
  };
  struct Backward {
    std::size_t cell;
    Real all;
    Real stay;
  };

  void begin(const UtteranceGraph& graph) {
    values_.assign(graph.states.size(), Real());
    touched_.resize(graph.states.size());
    touched_count_ = 0;
    scores_.assign(static_cast<std::size_t>(*std::max_element(graph.states.begin(), graph.states.end())) + 1, {});
    cell_places_.clear();
    forwards_.clear();
    emissions_.clear();
    first_cell_.clear();
    log_likelihood_ = 0.0;
    for (int place = 0; place < graph.places(); ++place) {
      add(place, static_cast<Real>(graph.begin[static_cast<std::size_t>(place)]));
    }
  }

  void add(int place, Real value) {
    Real& sum = values_[static_cast<std::size_t>(place)];
    if (!(value > Real())) return;
    if (sum == Real()) touched_[touched_count_++] = place;
    sum = sum + value;
  }

  std::span<const int> touched() const { return std::span(touched_).first(touched_count_); }

  // From the places of the frame before to those that follow them.
  void push(const UtteranceGraph& graph) {
    for (std::size_t i = first_cell_.back(); i < cell_places_.size(); ++i) {
      const int place = cell_places_[i];
      const Real forward = forwards_[i];
      add(place, forward * static_cast<Real>(graph.stay[static_cast<std::size_t>(place)]));
      for (const UtteranceGraph::Arc& arc : graph.arcs_of(place)) {
        add(arc.to, forward * static_cast<Real>(arc.probability));
      }
    }
  }

  // Emissions of the states of the touched places; returns the greatest score.
  double score_states(const UtteranceGraph& graph, int frame, FrameScorer& scorer) {
    double best = -std::numeric_limits<double>::infinity();
    scored_.clear();
    for (const int place : touched()) {
      const int state = graph.states[static_cast<std::size_t>(place)];
      StateScore& own = scores_[static_cast<std::size_t>(state)];
      if (own.frame == frame) continue;
      own.frame = frame;
      own.score = scorer.log_likelihood(state);
      best = std::max(best, own.score);
      scored_.push_back(&own);
    }
    for (StateScore* const own : scored_) set_log(own->score - best, own->emission);
    return best;
  }

  // Forward variables of the frame, without those below the beam.
  bool take_frame(const UtteranceGraph& graph, int frame, FrameScorer& scorer, Real beam) {
    first_cell_.push_back(cell_places_.size());
    const double best = score_states(graph, frame, scorer);
    const auto emission_of = [&](int place) {
      return scores_[static_cast<std::size_t>(graph.states[static_cast<std::size_t>(place)])].emission;
    };
    Real greatest{};
    for (const int place : touched()) {
      Real& value = values_[static_cast<std::size_t>(place)];
      value = value * emission_of(place);
      greatest = std::max(greatest, value);
    }
    if (!(greatest > Real())) return false;
    for (const int place : touched()) {
      Real& value = values_[static_cast<std::size_t>(place)];
      const Real forward = value / greatest;
      value = Real();
      if (!(forward > beam)) continue;
      cell_places_.push_back(place);
      forwards_.push_back(forward);
      emissions_.push_back(emission_of(place));
    }
    touched_count_ = 0;
    log_likelihood_ += best + log_of(greatest);
    return true;
  }

  // Shares of a frame from its forward variables and values_, which holds emission and backward variable of the frame
  // after it and gets those of this one.
  bool pull(const UtteranceGraph& graph, int frame, bool last, Occupation& result) {
    const std::size_t first = first_cell_[static_cast<std::size_t>(frame)];
    const std::size_t end = last ? cell_places_.size() : first_cell_[static_cast<std::size_t>(frame) + 1];
    backward_.clear();
    Real total{};
    for (std::size_t i = first; i < end; ++i) {
      const auto place = static_cast<std::size_t>(cell_places_[i]);
      const Real stay = last ? Real() : static_cast<Real>(graph.stay[place]) * values_[place];
      Real all = last ? static_cast<Real>(graph.end[place]) : stay;
      if (!last) {
        for (const UtteranceGraph::Arc& arc : graph.arcs_of(cell_places_[i])) {
          all = all + static_cast<Real>(arc.probability) * values_[static_cast<std::size_t>(arc.to)];
        }
      }
      if (!(all > Real())) continue;
      backward_.push_back({i, all, stay});
      total = total + forwards_[i] * all;
    }
    if (!(total > Real())) return false;
    if (last) result.log_likelihood = log_likelihood_ + log_of(total);
    for (const int place : touched()) values_[static_cast<std::size_t>(place)] = Real();
    touched_count_ = 0;
    for (const auto& [cell, all, stay] : backward_) {
      const Real share = forwards_[cell] * all / total;
      if (!(share > static_cast<Real>(kLeastShare))) continue;
      const int place = cell_places_[cell];
      result.shares.push_back(
          {frame, place, static_cast<double>(share), static_cast<double>(forwards_[cell] * stay / total)});
      add(place, emissions_[cell] * (all / total));
    }
    return true;
  }

  std::vector<Real> values_;  // [place]; zero but for those touched
  std::vector<int> touched_;
  std::size_t touched_count_ = 0;
  std::vector<StateScore> scores_;   // [state]
  std::vector<StateScore*> scored_;  // in this frame
  std::vector<int> cell_places_;     // of all frames: the places above the beam
  std::vector<Real> forwards_;       // of each of them
  std::vector<Real> emissions_;
  std::vector<std::size_t> first_cell_;  // of each frame
  std::vector<Backward> backward_;
  double log_likelihood_ = 0.0;
};

// The best path, in logarithms.
class BestPath {
 public:
  Outcome run(const UtteranceGraph& graph, int frames, FrameScorer& scorer, double log_beam, Occupation& result) {
    begin(graph);
    for (int frame = 0; frame < frames; ++frame) {
      scorer.begin(frame);
      if (frame > 0) push(graph);
      if (!take_frame(graph, scorer, log_beam)) return Outcome::kImpossible;
      if (cells_.size() > kMostCells) return Outcome::kTooLong;
    }
    return trace(graph, frames, result);
  }

 private:
  static constexpr double kNever = -std::numeric_limits<double>::infinity();
  struct Cell {
    int place;
    int from;  // cell of the frame before
    double score;
  };
  struct Way {
    double score = kNever;
    int from = -1;
  };

  void begin(const UtteranceGraph& graph) {
    ways_.assign(graph.states.size(), {});
    touched_.clear();
    cells_.clear();
    first_cell_.clear();
    stay_.clear();
    arcs_.clear();
    for (const double stay : graph.stay) stay_.push_back(std::log(stay));
    for (const UtteranceGraph::Arc& arc : graph.arcs) arcs_.push_back(std::log(arc.probability));
    for (std::size_t place = 0; place < graph.begin.size(); ++place) {
      try_way(static_cast<int>(place), std::log(graph.begin[place]), -1);
    }
  }

  void try_way(int place, double score, int from) {
    Way& way = ways_[static_cast<std::size_t>(place)];
    if (!(score > way.score)) return;
    if (way.score == kNever) touched_.push_back(place);
    way = {score, from};
  }

  void push(const UtteranceGraph& graph) {
    for (std::size_t i = first_cell_.back(); i < cells_.size(); ++i) {
      const Cell cell = cells_[i];
      const auto at = static_cast<std::size_t>(cell.place);
      try_way(cell.place, cell.score + stay_[at], static_cast<int>(i));
      for (std::size_t arc = graph.first_arc[at]; arc < graph.first_arc[at + 1]; ++arc) {
        try_way(graph.arcs[arc].to, cell.score + arcs_[arc], static_cast<int>(i));
      }
    }
  }

  bool take_frame(const UtteranceGraph& graph, FrameScorer& scorer, double log_beam) {
    const std::size_t first = cells_.size();
    first_cell_.push_back(first);
    double best = kNever;
    for (const int place : touched_) {
      Way& way = ways_[static_cast<std::size_t>(place)];
      const double score = way.score + scorer.log_likelihood(graph.states[static_cast<std::size_t>(place)]);
      cells_.push_back({place, way.from, score});
      best = std::max(best, score);
      way = {};
    }
    touched_.clear();
    if (!(best > kNever)) return false;
    const auto begin = cells_.begin() + static_cast<std::ptrdiff_t>(first);
    const auto far = [&](const Cell& cell) { return !(cell.score >= best + log_beam); };
    cells_.erase(std::remove_if(begin, cells_.end(), far), cells_.end());
    return true;
  }

  Outcome trace(const UtteranceGraph& graph, int frames, Occupation& result) {
    double best = kNever;
    int cell = -1;
    for (std::size_t i = first_cell_.back(); i < cells_.size(); ++i) {
      const double score = cells_[i].score + std::log(graph.end[static_cast<std::size_t>(cells_[i].place)]);
      if (!(score > best)) continue;
      best = score;
      cell = static_cast<int>(i);
    }
    if (cell < 0) return Outcome::kImpossible;
    result.log_likelihood = best;
    result.shares.resize(static_cast<std::size_t>(frames));
    int after = -1;  // the place of the next frame
    for (int frame = frames - 1; frame >= 0; --frame) {
      const Cell& at = cells_[static_cast<std::size_t>(cell)];
      result.shares[static_cast<std::size_t>(frame)] = {frame, at.place, 1.0, at.place == after ? 1.0 : 0.0};
      after = at.place;
      cell = at.from;
    }
    return Outcome::kDone;
  }

  std::vector<Way> ways_;  // [place]
  std::vector<int> touched_;
  std::vector<Cell> cells_;
  std::vector<std::size_t> first_cell_;
  std::vector<double> stay_;  // logarithms of the graph's
  std::vector<double> arcs_;
};

}  // namespace

struct OccupationFinder::Work {
  AllPaths<double> all;
  AllPaths<LogNumber> all_wide;
  BestPath best;
  Occupation result;
};

OccupationFinder::OccupationFinder(double beam) : beam_(beam), work_(std::make_unique<Work>()) {}
OccupationFinder::~OccupationFinder() = default;

const Occupation& OccupationFinder::find(const UtteranceGraph& graph, int frames, FrameScorer& scorer,
                                         AlignmentMethod method) {
  Occupation& result = work_->result;
  const double narrow = std::log(beam_);
  if (method == AlignmentMethod::kViterbi) {
    result.outcome = work_->best.run(graph, frames, scorer, narrow, result);
    if (result.outcome == Outcome::kImpossible) result.outcome = work_->best.run(graph, frames, scorer, kAll, result);
    return result;
  }
  result.outcome = work_->all.run(graph, frames, scorer, narrow, result);
  for (const double log_beam : {kWide, kAll}) {
    if (result.outcome != Outcome::kImpossible) break;
    result.outcome = work_->all_wide.run(graph, frames, scorer, log_beam, result);
  }
  return result;
}

}  // namespace kivsr::speech
