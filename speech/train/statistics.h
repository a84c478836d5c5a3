// The sums of one pass of training over utterances, from which re-estimation makes the next model. Sums over different
// utterances add up, so that a pass can be cut into parts that are computed apart and added from files.
// Next: reestimation.h.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/models/word_model.h"
#include "kivsr/speech/train/mixture_evaluator.h"
#include "kivsr/speech/train/occupation.h"

namespace kivsr::speech {

struct StateStatistics {
  double stay = 0.0;               // frames after which the path stays in the state
  std::vector<double> occupation;  // [component]: frames
  std::vector<double> first;       // [component][dimension]: sum of share * (x - mean), the mean being the model's
  std::vector<double> second;      // [component][dimension]: sum of share * (x - mean)^2
  // Of a state of one Gaussian where they are wanted: sum of share * (x - mean)(x - mean)^T, the upper triangle row by
  // row.
  std::vector<double> products;

  double total() const;
};

// Scores the frames of one utterance after the other; each state once a frame. A state of one Gaussian that is likely
// in a frame is so in the next ones too: it is scored for several of them at a time.
class StateScorer : public FrameScorer {
 public:
  explicit StateScorer(const MixtureEvaluator& evaluator);
  void set(const FeatureMatrix& features);
  void begin(int frame) override { frame_ = frame; }
  double log_likelihood(int state) override;

 private:
  static constexpr std::size_t kAhead = 4;
  struct Scores {
    int first = -1;  // frame of this utterance
    int count = 0;
    std::array<double, kAhead> values{};
  };

  void score(int state, Scores& scores);

  const MixtureEvaluator& evaluator_;
  const FeatureMatrix* features_ = nullptr;
  int frame_ = 0;
  std::vector<Scores> scores_;  // [state]
  std::vector<float> components_;
};

// What a thread needs to add one utterance after the other.
struct TrainingWork {
  TrainingWork(const MixtureEvaluator& gaussians, double beam);

  const MixtureEvaluator& evaluator;
  StateScorer scorer;
  OccupationFinder finder;
  std::vector<float> components;
  std::vector<double> row;         // a frame in double precision
  std::vector<double> difference;  // from a mean
  std::vector<double> origin;      // zeros
};

class Statistics {
 public:
  // Zero, in the shape of the model.
  explicit Statistics(const WordModel& model);
  // rows: of the transitions, where states do not have their own. checksum: of the model.
  Statistics(std::span<const MixtureState> shape, int dimension, int rows, std::uint32_t checksum);

  // What became of an utterance.
  enum class Outcome { kUsed, kTooShort, kTooLong, kNoWords, kImpossible };
  // Adds one utterance; nothing is added unless it was used. An empty graph: nothing is said.
  Outcome add_utterance(const UtteranceGraph& graph, const FeatureMatrix& features, AlignmentMethod method,
                        TrainingWork& work);
  // All rows belong to the only state of a plain mixture.
  void add_mixture(const WordModel& model, const MixtureEvaluator& evaluator, const FeatureMatrix& features);
  // Adds rows to the components of a state. shares: [component][row].
  void add_rows(const WordModel& model, int state, const FeatureMatrix& rows, std::span<const double> shares);
  void add(const Statistics& other);
  void clear();
  // Makes room for the products of all states, each of which has one Gaussian.
  void want_products();
  // All sums, one behind the other; and back.
  std::vector<double> values() const;
  void set(std::span<const double> values);

  void write(const std::filesystem::path& file) const;
  // Throws Fault unless the file belongs to this model.
  static Statistics read(const std::filesystem::path& file, const WordModel& model);
  // The same for sums of the shape of zero.
  static Statistics read(const std::filesystem::path& file, const Statistics& zero);

  double frames = 0.0;
  double utterances = 0.0;
  double skipped = 0.0;  // utterances that were not used
  double log_likelihood = 0.0;
  std::vector<StateStatistics> states;
  std::vector<double> row_frames;  // [row of transitions]: frames there
  std::vector<double> row_stays;   // and those after which the path stays

 private:
  void add_shares(const UtteranceGraph& graph, const FeatureMatrix& features, const Occupation& occupation,
                  TrainingWork& work);
  void add_share(int state, const float* row, double share, TrainingWork& work);
  void add_component(const MixtureState& mixture, int component, std::size_t rows, StateStatistics& sums);
  void add_state(const WordModel& model, int state, const FeatureMatrix& features, int first_frame,
                 MixtureLikelihoods& likelihoods, std::span<const double> shares);

  std::uint32_t model_checksum_;
  std::vector<double> differences_;  // work areas of add_rows: [row][dimension]
  std::vector<double> weights_;      // [row]
  std::vector<double> mean_;         // [dimension]
  std::vector<double> variance_;     // the same
};

}  // namespace kivsr::speech
