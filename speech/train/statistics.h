// The sums of one pass of training over utterances, from which re-estimation makes the next model. Sums over different
// utterances add up, so that a pass can be cut into parts that are computed apart and added from files.
// Next: reestimation.h.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/word_model.h"
#include "kivsr/speech/train/mixture_evaluator.h"
#include "kivsr/speech/train/state_chain.h"

namespace kivsr::speech {

struct StateStatistics {
  double stay = 0.0;               // frames after which the path stays in the state
  std::vector<double> occupation;  // [component]: frames
  std::vector<double> first;       // [component][dimension]: sum of share * (x - mean), the mean being the model's
  std::vector<double> second;      // [component][dimension]: sum of share * (x - mean)^2

  double total() const;
};

// [frame][place]: log likelihoods of the frames in the states of the chain. likelihoods gets those of each state.
std::vector<double> chain_emissions(const StateChain& chain, const MixtureEvaluator& evaluator,
                                    const FeatureMatrix& features, std::map<int, MixtureLikelihoods>& likelihoods);

class Statistics {
 public:
  // Zero, in the shape of the model.
  explicit Statistics(const WordModel& model);

  // What became of an utterance.
  enum class Outcome { kUsed, kTooShort, kTooLong, kNoWords, kImpossible };
  // Adds one utterance; nothing is added unless it was used. words: units of the model; a plain mixture needs none.
  Outcome add_utterance(const WordModel& model, const MixtureEvaluator& evaluator, const FeatureMatrix& features,
                        std::span<const int> words, AlignmentMethod method);
  // Adds rows to the components of a state. shares: [component][row].
  void add_rows(const WordModel& model, int state, const FeatureMatrix& rows, std::span<const double> shares);
  void add(const Statistics& other);

  void write(const std::filesystem::path& file) const;
  // Throws Fault unless the file belongs to this model.
  static Statistics read(const std::filesystem::path& file, const WordModel& model);

  double frames = 0.0;
  double utterances = 0.0;
  double skipped = 0.0;  // utterances that were not used
  double log_likelihood = 0.0;
  std::vector<StateStatistics> states;

 private:
  void add_component(const MixtureState& mixture, int component, std::size_t rows, StateStatistics& sums);
  void add_mixture(const WordModel& model, const MixtureEvaluator& evaluator, const FeatureMatrix& features);
  void add_state(const WordModel& model, int state, const FeatureMatrix& features, int first_frame,
                 MixtureLikelihoods& likelihoods, std::span<const double> shares);

  std::uint32_t model_checksum_;
  std::vector<double> differences_;  // work areas of add_rows: [row][dimension]
  std::vector<double> weights_;      // [row]
  std::vector<double> mean_;         // [dimension]
  std::vector<double> variance_;     // the same
};

}  // namespace kivsr::speech
