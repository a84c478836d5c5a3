// Scores states by their Gaussian mixtures: the Gaussians of a codebook once a frame, and only if a state asks for
// them; then for each state and stream the log-sum of log weight and log likelihood. The streams add up.
#ifndef KIVSR_TOOLS_DECODER_MIXTURE_SCORER_H
#define KIVSR_TOOLS_DECODER_MIXTURE_SCORER_H

#include <cstddef>
#include <vector>

#include "decoder/scorer.h"
#include "models/acoustic_model.h"

namespace kivsr::tools {

class MixtureScorer : public Scorer {
 public:
  explicit MixtureScorer(const AcousticModel& model);
  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override;

 private:
  float* likelihoods(int codebook, std::size_t stream);
  void evaluate_codebook(std::span<const float> frame, int codebook);

  const AcousticModel& model_;
  std::vector<float> likelihoods_;   // [codebook][stream][Gaussian]
  std::vector<unsigned> evaluated_;  // frame in which each codebook was evaluated last
  std::vector<float> weighted_;      // work area
  unsigned frame_ = 0;
};

}  // namespace kivsr::tools

#endif
