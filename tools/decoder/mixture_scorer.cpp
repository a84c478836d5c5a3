#include "decoder/mixture_scorer.h"

#include <algorithm>

#include "kivsr.h"
#include "support/fault.h"

namespace kivsr::tools {

MixtureScorer::MixtureScorer(const AcousticModel& model)
    : model_(model),
      likelihoods_(static_cast<std::size_t>(model.codebooks) * model.streams.size() *
                   static_cast<std::size_t>(model.densities)),
      evaluated_(static_cast<std::size_t>(model.codebooks), 0U),
      weighted_(static_cast<std::size_t>(model.densities)) {}

float* MixtureScorer::likelihoods(int codebook, std::size_t stream) {
  const std::size_t row = static_cast<std::size_t>(codebook) * model_.streams.size() + stream;
  return likelihoods_.data() + row * static_cast<std::size_t>(model_.densities);
}

void MixtureScorer::evaluate_codebook(std::span<const float> frame, int codebook) {
  const std::size_t densities = static_cast<std::size_t>(model_.densities);
  const std::size_t first = static_cast<std::size_t>(codebook) * densities;
  for (std::size_t index = 0; index < model_.streams.size(); ++index) {
    const ModelStream& stream = model_.streams[index];
    const std::size_t offset = first * static_cast<std::size_t>(stream.length);
    float* scores = likelihoods(codebook, index);
    std::copy_n(stream.normalisers.data() + first, densities, scores);
    check(kivsLogGaussMultiMix_32f_D2(stream.means.data() + offset, stream.inverse_variances.data() + offset,
                                      stream.length, frame.data() + stream.offset, stream.length, scores,
                                      model_.densities),
          "kivsLogGaussMultiMix_32f_D2");
  }
}

void MixtureScorer::score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) {
  if (static_cast<int>(frame.size()) != model_.dimension)
    throw Fault("the features have another dimension than the model's Gaussians");
  if (++frame_ == 0) {
    std::fill(evaluated_.begin(), evaluated_.end(), 0U);
    frame_ = 1;
  }
  const std::size_t densities = static_cast<std::size_t>(model_.densities);
  for (const int state : states) {
    const int codebook = model_.codebook_of_state[static_cast<std::size_t>(state)];
    unsigned& evaluated = evaluated_[static_cast<std::size_t>(codebook)];
    if (evaluated != frame_) evaluate_codebook(frame, codebook);
    evaluated = frame_;
    float total = 0.0F;
    for (std::size_t index = 0; index < model_.streams.size(); ++index) {
      std::copy_n(model_.streams[index].log_weights.data() + static_cast<std::size_t>(state) * densities, densities,
                  weighted_.data());
      check(kivsAdd_32f_I(likelihoods(codebook, index), weighted_.data(), model_.densities), "kivsAdd_32f_I");
      float sum = 0.0F;
      check(kivsLogSum_32f(weighted_.data(), &sum, model_.densities), "kivsLogSum_32f");
      total += sum;
    }
    scores[static_cast<std::size_t>(state)] = total;
  }
}

}  // namespace kivsr::tools
