// Adaptation of the models that the search reads (Sphinx layout): continuous, semi-continuous and phonetically tied
// ones, of one stream or several. Frames are given to states by the best path, and in a state to the Gaussians of its
// codebook by their shares.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/train/adaptation.h"
#include "kivsr/speech/train/training_list.h"
#include "kivsr/speech/train/utterance_blocks.h"

namespace kivsr::speech {

class AcousticAdaptation {
 public:
  // model: what is adapted, as it lies in its folder. It has to outlive this, as has the dictionary.
  AcousticAdaptation(const AcousticModel& model, const Dictionary& dictionary, const AdaptationSettings& settings);

  // One pass, aligned by what the passes before made; returns its sums. The words of an utterance are numbers of names.
  // Throws Fault where no utterance can be used. The same for every number of jobs.
  Statistics run(const TrainingUtterances& utterances, const std::vector<std::string>& names, int jobs,
                 const UtteranceListener& listener = {});
  // Of the last pass and all streams; 0 without a regression.
  int classes() const { return classes_; }
  const AcousticModel& model() const { return model_; }
  // All files of the model. The folder is made; it is another than that of the model.
  void write(const std::filesystem::path& folder) const;

 private:
  Statistics zero() const;
  void add_frame(std::span<const float> row, int state, Statistics& sums) const;
  double add_stream(std::size_t index, std::span<const float> row, int state, Statistics& sums) const;
  void update(const Statistics& sums);
  void update_gaussians(ModelStream& stream, std::size_t index, const Statistics& sums);
  void update_weights(ModelStream& stream, std::size_t index, const Statistics& sums) const;
  // Places in the sums: the Gaussians of each codebook, then the weights of each state.
  std::size_t place_of_codebook(std::size_t stream, int codebook) const;
  std::size_t place_of_weights(std::size_t stream, int state) const;
  bool adapts_weights() const { return settings_.map && settings_.weights; }

  const AcousticModel& given_;
  const Dictionary& dictionary_;
  AdaptationSettings settings_;
  AcousticModel model_;
  int classes_ = 0;
};

}  // namespace kivsr::speech
