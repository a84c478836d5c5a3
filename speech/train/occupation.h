// How the frames of an utterance spread over the places of its graph: by the forward-backward recursions (L. Rabiner, A
// tutorial on hidden Markov models, Proc. IEEE 77, 1989) or by the best path. Places that are far less likely than the
// best one of their frame are given up.
#pragma once

#include <memory>
#include <vector>

#include "kivsr/speech/train/utterance_graph.h"

namespace kivsr::speech {

enum class AlignmentMethod { kBaumWelch, kViterbi };

// Frames are asked for in their order.
class FrameScorer {
 public:
  virtual ~FrameScorer() = default;
  virtual void begin(int frame) = 0;
  // Log likelihood of the frame in a state of the model.
  virtual double log_likelihood(int state) = 0;
};

struct PlaceShare {
  int frame = 0;
  int place = 0;
  double share = 0.0;  // of the frame; those of a frame add up to 1
  double stay = 0.0;   // of the frame, and the next one is at the same place
};

struct Occupation {
  enum class Outcome {
    kDone,
    kImpossible,  // no path has a likelihood that can be told from zero
    kTooLong      // the likely places of all frames are too many for memory
  };
  Outcome outcome = Outcome::kImpossible;  // of others than kDone the rest is not set
  double log_likelihood = 0.0;             // of all paths, or of the best one
  std::vector<PlaceShare> shares;          // by frames: of all paths the last frame first, of the best one the first
};

// How much less likely than the best of its frame a place may be, and how small a share of the frame is passed on.
constexpr double kDefaultBeam = 1e-90;
constexpr double kLeastShare = 1e-12;

// Keeps its work areas from one utterance to the next.
class OccupationFinder {
 public:
  // beam 0: all places.
  explicit OccupationFinder(double beam = kDefaultBeam);
  ~OccupationFinder();
  OccupationFinder(const OccupationFinder&) = delete;
  OccupationFinder& operator=(const OccupationFinder&) = delete;

  // Where no path survives the beam, all are tried, in logarithms. The result stays until the next call.
  const Occupation& find(const UtteranceGraph& graph, int frames, FrameScorer& scorer, AlignmentMethod method);

 private:
  struct Work;
  double beam_;
  std::unique_ptr<Work> work_;
};

}  // namespace kivsr::speech
