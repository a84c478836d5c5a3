#include "kivsr/speech/decode/tied_weights.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kivsr::speech {

CodebookStates::CodebookStates(const AcousticModel& model) : starts(static_cast<std::size_t>(model.codebooks) + 1) {
  for (const int codebook : model.codebook_of_state) ++starts[static_cast<std::size_t>(codebook) + 1];
  for (std::size_t codebook = 1; codebook < starts.size(); ++codebook) starts[codebook] += starts[codebook - 1];
  states.resize(model.codebook_of_state.size());
  std::vector<std::size_t> next(starts);
  for (std::size_t state = 0; state < states.size(); ++state) {
    const auto codebook = static_cast<std::size_t>(model.codebook_of_state[state]);
    places.push_back(static_cast<int>(next[codebook] - starts[codebook]));
    states[next[codebook]++] = static_cast<int>(state);
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

namespace {

// What four terms add to the sum of a state, in the order in which one after the other would.
template <class Score>
Score add_four(Score sum, const std::array<const Score*, 4>& rows, const std::array<Score, 4>& likelihoods,
               std::size_t place) {
  return (((sum + rows[0][place] * likelihoods[0]) + rows[1][place] * likelihoods[1]) +
          rows[2][place] * likelihoods[2]) +
         rows[3][place] * likelihoods[3];
}

// sums[i] = sum over the terms for the state at place_of(i). Four rows at a time come faster out of memory than one
// after the other.
template <class Score, class Place>
void sum_terms(const Score* block, std::size_t count, std::span<const MixtureTerm<Score>> terms, Place&& place_of,
               std::span<Score> sums) {
  const auto row = [&](const MixtureTerm<Score>& term) {
    return block + static_cast<std::size_t>(term.gaussian) * count;
  };
  std::fill(sums.begin(), sums.end(), Score{0});
  for (; terms.size() >= 4; terms = terms.subspan(4)) {
    const std::array<const Score*, 4> rows{row(terms[0]), row(terms[1]), row(terms[2]), row(terms[3])};
    const std::array<Score, 4> likelihoods{terms[0].likelihood, terms[1].likelihood, terms[2].likelihood,
                                           terms[3].likelihood};
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = add_four(sums[i], rows, likelihoods, place_of(i));
  }
  for (const MixtureTerm<Score>& term : terms) {
    const Score* const weights = row(term);
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += weights[place_of(i)] * term.likelihood;
  }
}

}  // namespace

template <class Score>
void TiedWeights<Score>::sum(int codebook, std::span<const Term> terms, std::span<Score> sums) const {
  const std::size_t count = states_.count(codebook);
  sum_terms(
      block(codebook), count, terms, [](std::size_t i) { return i; }, sums.first(count));
}

template <class Score>
void TiedWeights<Score>::sum(int codebook, std::span<const Term> terms, std::span<const int> places,
                             std::span<Score> sums) const {
  sum_terms(
      block(codebook), states_.count(codebook), terms,
      [places](std::size_t i) { return static_cast<std::size_t>(places[i]); }, sums.first(places.size()));
}

template class TiedWeights<float>;
template class TiedWeights<double>;

}  // namespace kivsr::speech
