// The state of an acoustic model that each frame of a recording belongs to where it is known what is said: the best
// path through the words, with silence and noise between them where they are heard.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

// Silence and noises are rare: 0.005 and 1e-8, as recognisers weigh them against words.
constexpr SearchWeights kAlignmentWeights{.language_weight = 0.0F, .silence_penalty = -34.0F, .noise_penalty = -120.0F};
constexpr Beams kAlignmentBeams{.state = 500.0F, .phone = 500.0F, .word = 500.0F};

// [frame], -1 where a word had no room for its phones; empty where no path reaches the end. Throws Fault, which starts
// with name, for words that the dictionary does not have.
std::vector<int> align_states(const FeatureMatrix& rows, const std::vector<std::string>& words,
                              const Dictionary& dictionary, const AcousticModel& model, Scorer& scorer,
                              const std::string& name);

}  // namespace kivsr::speech
