// Mixture weights of one stream as probabilities, for models in which many states share a codebook: the few Gaussians
// that count in a frame are summed for all states of the codebook at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/decode/likeliest_terms.h"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

// The states that share each codebook, side by side.
struct CodebookStates {
  std::vector<int> states;          // of the model, those of the first codebook first
  std::vector<std::size_t> starts;  // [codebook]: its first, and one more
  std::vector<int> places;          // [state]: which one of its codebook it is
  explicit CodebookStates(const AcousticModel& model);

  std::size_t count(int codebook) const {
    return starts[static_cast<std::size_t>(codebook) + 1] - starts[static_cast<std::size_t>(codebook)];
  }
};

template <class Score>
class TiedWeights {
 public:
  TiedWeights(const AcousticModel& model, const ModelStream& stream, const CodebookStates& states);

  using Term = MixtureTerm<Score>;  // of a codebook
  // sums[i] = sum over the terms of weight times likelihood, for each state of the codebook.
  void sum(int codebook, std::span<const Term> terms, std::span<Score> sums) const;
  // The same for the states at some places alone.
  void sum(int codebook, std::span<const Term> terms, std::span<const int> places, std::span<Score> sums) const;

 private:
  const Score* block(int codebook) const {
    return weights_.data() + states_.starts[static_cast<std::size_t>(codebook)] * densities_;
  }

  std::size_t densities_;
  const CodebookStates& states_;
  std::vector<Score> weights_;  // [codebook][Gaussian][state of the codebook]
};

}  // namespace kivsr::speech
