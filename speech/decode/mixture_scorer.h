// Scores states by their Gaussian mixtures: the Gaussians of a codebook once a frame, and only if a state asks for
// them; then for each state and stream the log-sum of log weight and log likelihood. The streams add up.
// Next: stream_gaussians.h for the three arithmetics, shortlist.h for the choice of the Gaussians that are scored,
// tied_weights.h for the sums over states that share a codebook.
#pragma once

#include <memory>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

enum class ScoreArithmetic { kSinglePrecision, kDoublePrecision, kSixteenBits };

struct ScorerOptions {
  ScoreArithmetic arithmetic = ScoreArithmetic::kSinglePrecision;
  int shortlist = 0;  // Gaussians of each codebook and stream that are scored for a frame; 0: all
  int top = 4;        // the likeliest of them, which alone are summed where states share a codebook; 0: all
  // How far a log likelihood may lie below the best of its stream among the codebooks that a frame asks for, where
  // states share a codebook; 0: any.
  float depth = 10.0F;
};

// The model has to outlive its scorer.
std::unique_ptr<Scorer> make_mixture_scorer(const AcousticModel& model, const ScorerOptions& options = {});

}  // namespace kivsr::speech
