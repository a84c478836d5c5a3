// Scores states by their Gaussian mixtures: the Gaussians of a codebook once a frame, and only if a state asks for
// them; then for each state and stream the log-sum of log weight and log likelihood. The streams add up.
// Next: stream_gaussians.h for the three arithmetics, shortlist.h for the choice of the Gaussians that are scored.
#ifndef KIVSR_TOOLS_DECODER_MIXTURE_SCORER_H
#define KIVSR_TOOLS_DECODER_MIXTURE_SCORER_H

#include <memory>

#include "decoder/scorer.h"
#include "models/acoustic_model.h"

namespace kivsr::tools {

enum class ScoreArithmetic { single_precision, double_precision, sixteen_bits };

struct ScorerOptions {
  ScoreArithmetic arithmetic = ScoreArithmetic::single_precision;
  int shortlist = 0;  // Gaussians of each codebook and stream that are scored for a frame; 0: all
};

// The model has to outlive its scorer.
std::unique_ptr<Scorer> make_mixture_scorer(const AcousticModel& model, const ScorerOptions& options = {});

}  // namespace kivsr::tools

#endif
