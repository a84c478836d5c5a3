#include "kivsr/speech/decode/tied_weights.h"

#include <algorithm>
#include <cmath>

namespace kivsr::speech {

CodebookStates::CodebookStates(const AcousticModel& model) : starts(static_cast<std::size_t>(model.codebooks) + 1) {
  for (const int codebook : model.codebook_of_state) ++starts[static_cast<std::size_t>(codebook) + 1];
  for (std::size_t codebook = 1; codebook < starts.size(); ++codebook) starts[codebook] += starts[codebook - 1];
  states.resize(model.codebook_of_state.size());
  std::vector<std::size_t> next(starts);
  for (std::size_t state = 0; state < states.size(); ++state) {
    states[next[static_cast<std::size_t>(model.codebook_of_state[state])]++] = static_cast<int>(state);
  }
}

template <class Score>
TiedWeights<Score>::TiedWeights(const AcousticModel& model, const ModelStream& stream, const CodebookStates& states)
    : densities_(static_cast<std::size_t>(model.densities)), states_(states), weights_(stream.log_weights.size()) {
  float last_log = 0.0F;
  Score last = 1;  // most weights of a packed model repeat the one before
  for (int codebook = 0; codebook < model.codebooks; ++codebook) {
    const std::size_t first = states.starts[static_cast<std::size_t>(codebook)];
    const std::size_t count = states.count(codebook);
    Score* const block = weights_.data() + first * densities_;
    for (std::size_t i = 0; i < count; ++i) {
      const float* logs = stream.log_weights.data() + static_cast<std::size_t>(states.states[first + i]) * densities_;
      for (std::size_t gaussian = 0; gaussian < densities_; ++gaussian) {
        if (logs[gaussian] != last_log) last = std::exp(static_cast<Score>(last_log = logs[gaussian]));
        block[gaussian * count + i] = last;
      }
    }
  }
}

template <class Score>
void TiedWeights<Score>::sum(int codebook, std::span<const Term> terms, std::span<Score> sums) const {
  const std::size_t count = states_.count(codebook);
  const Score* const block = weights_.data() + states_.starts[static_cast<std::size_t>(codebook)] * densities_;
  const auto row = [&](const Term& term) { return block + static_cast<std::size_t>(term.gaussian) * count; };
  std::fill_n(sums.begin(), count, Score{0});
  // Four rows at a time come faster out of memory than one after the other; the order of the additions is the same.
  for (; terms.size() >= 4; terms = terms.subspan(4)) {
    const Score* const rows[] = {row(terms[0]), row(terms[1]), row(terms[2]), row(terms[3])};
    const Score likelihoods[] = {terms[0].likelihood, terms[1].likelihood, terms[2].likelihood, terms[3].likelihood};
    for (std::size_t i = 0; i < count; ++i) {
      sums[i] =
          (((sums[i] + rows[0][i] * likelihoods[0]) + rows[1][i] * likelihoods[1]) + rows[2][i] * likelihoods[2]) +
          rows[3][i] * likelihoods[3];
    }
  }
  for (const Term& term : terms) {
    const Score* const weights = row(term);
    for (std::size_t i = 0; i < count; ++i) sums[i] += weights[i] * term.likelihood;
  }
}

template class TiedWeights<float>;
template class TiedWeights<double>;

}  // namespace kivsr::speech
