// What the search asks of an acoustic model: log likelihoods of states for one frame after the other.
#ifndef KIVSR_TOOLS_DECODER_SCORER_H
#define KIVSR_TOOLS_DECODER_SCORER_H

#include <span>

namespace kivsr::tools {

class Scorer {
 public:
  virtual ~Scorer() = default;
  // Writes scores[state] for the states of the list and leaves the others alone.
  virtual void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) = 0;
};

}  // namespace kivsr::tools

#endif
