// The Gaussians of a codebook that count in a frame: the few likeliest of many.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>

namespace kivsr::speech {

// A Gaussian with its likelihood, or the logarithm of it.
template <class Score>
struct MixtureTerm {
  int gaussian = 0;
  Score likelihood = 0;
};

// Fills terms with the largest likelihoods and their indices, the largest first, of equal ones the first; there are
// more likelihoods than terms. Likelihoods stand in interleaved groups, whose maxima cost little side by side; as many
// groups as there are terms hold one that is not below the last of the largest maxima, so that no other group need be
// looked at.
template <class Score>
void find_likeliest(std::span<const Score> likelihoods, std::span<MixtureTerm<Score>> terms) {
  constexpr std::size_t kGroups = 16;
  constexpr Score kLowest = std::numeric_limits<Score>::lowest();
  const auto above = [](Score value, Score other) { return value > other ? value : other; };
  const auto below = [](Score value, Score other) { return value > other ? other : value; };

  std::array<Score, kGroups> maxima;
  maxima.fill(kLowest);
  std::size_t first = 0;
  for (; first + kGroups <= likelihoods.size(); first += kGroups) {
    const auto row = likelihoods.subspan(first).template first<kGroups>();
    for (std::size_t group = 0; group < kGroups; ++group) maxima[group] = above(row[group], maxima[group]);
  }
  for (std::size_t i = first; i < likelihoods.size(); ++i) maxima[i - first] = above(likelihoods[i], maxima[i - first]);

  Score bound = kLowest;
  if (terms.size() <= kGroups) {
    std::array<Score, kGroups> largest;
    largest.fill(kLowest);
    for (Score value : maxima) {
      for (std::size_t place = 0; place < terms.size(); ++place) {
        const Score known = largest[place];
        largest[place] = above(value, known);
        value = below(value, known);
      }
    }
    bound = largest[terms.size() - 1];
  }

  std::fill(terms.begin(), terms.end(), MixtureTerm<Score>{0, kLowest});
  for (std::size_t group = 0; group < kGroups; ++group) {
    if (maxima[group] < bound) continue;
    for (std::size_t i = group; i < likelihoods.size(); i += kGroups) {
      const MixtureTerm<Score> term{static_cast<int>(i), likelihoods[i]};
      const auto comes_before = [&term](const MixtureTerm<Score>& other) {
        return term.likelihood > other.likelihood ||
               (term.likelihood == other.likelihood && term.gaussian < other.gaussian);
      };
      if (term.likelihood < bound || !comes_before(terms.back())) continue;
      std::size_t place = terms.size() - 1;
      for (; place > 0 && comes_before(terms[place - 1]); --place) terms[place] = terms[place - 1];
      terms[place] = term;
    }
  }
}

}  // namespace kivsr::speech
