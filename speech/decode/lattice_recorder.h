// Keeps the ends of words of a search, those that were beaten too, and makes a lattice of them: words that ended in one
// frame, led to the same state of the language and sound the same to the phone that follows meet in a node, from where
// the search went on with the best of them.
#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/decode/fan_out.h"
#include "kivsr/speech/decode/word_lattice.h"

namespace kivsr::speech {

// A path at the end of a word.
struct RecordedEnd {
  double score = 0.0;  // of the whole path
  int history = -1;    // words before it
  int label = 0;
  float language = 0.0F;  // part of the score that is not acoustic
  const FanOutTable::Variant* variant = nullptr;
};

class LatticeRecorder {
 public:
  explicit LatticeRecorder(const SearchNetwork& network) : network_(network) {}

  void reset();
  // The junctions of a frame are numbered from 0 where a frame is started.
  void start_frame(int frame);
  void add(std::size_t junction, const RecordedEnd& end);
  // The words of a history end in a junction of this frame.
  void set_history(int history, std::size_t junction);

  // finals: ends of sentences in the last frame. beam: log score behind the best path.
  WordLattice lattice(std::span<const RecordedEnd> finals, int frames, double beam);

 private:
  struct Junction {
    int frame = 0;
    std::vector<RecordedEnd> ends;
  };
  // Junction, and the phone that follows; from the start on -1.
  using Place = std::pair<int, int>;
  struct Node {
    int number = 0;           // in the order of their making
    double before = 0.0;      // best score from the start
    double after = -1.0e300;  // to the end
  };

  bool fits(const RecordedEnd& end, int right) const;
  double best_before(const Place& place) const;
  void add_arc(const RecordedEnd& end, int to, double after);
  WordLattice sorted(int frames);

  const SearchNetwork& network_;
  std::vector<Junction> junctions_;
  std::size_t first_junction_ = 0;  // of this frame
  int frame_ = -1;
  std::vector<int> junction_of_;  // [history]
  std::map<Place, Node> nodes_;   // while a lattice is made
  std::vector<LatticeArc> arcs_;  // the same
};

}  // namespace kivsr::speech
