// What the search asks of an acoustic model: log likelihoods of states for one frame after the other.
#pragma once

#include <span>

namespace kivsr::speech {

class Scorer {
 public:
  virtual ~Scorer() = default;
  // Writes scores[state] for the states of the list and leaves the others alone.
  virtual void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) = 0;
};

}  // namespace kivsr::speech
