#include "kivsr/speech/decode/word_confidence.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace kivsr::speech {
namespace {

// By scripts/confidence --fit, from voices with the model en-us: n-grams and loops, and grammars that hear something
// else than they allow.
constexpr double kConstant = 4.142;
constexpr double kPosterior = 0.3841;  // of its log odds
constexpr double kFit = 4.295;
constexpr double kFitOfAll = 11.66;  // mean over the frames of all words
constexpr double kLanguage = 0.03876;
constexpr double kLength = 0.4857;  // of the logarithm of the frames

constexpr double kDoubt = 0.01;          // no posterior is nearer to 0 or 1
constexpr double kRarest = -60.0;        // log weight of a word
constexpr double kLeastSpread = 1.0e-3;  // of states that all sound the same

const std::string& name_of(const SearchNetwork& network, int label) {
  return network.labels[static_cast<std::size_t>(label)].word;
}

// Frames of an arc: from first up to end.
struct Span {
  int first;
  int end;
};

Span span_of(const WordLattice& lattice, const LatticeArc& arc) {
  return {lattice.frames[static_cast<std::size_t>(arc.from)], lattice.frames[static_cast<std::size_t>(arc.to)]};
}

double posterior_of(const WordLattice& lattice, const SearchNetwork& network, const HypothesisWord& word) {
  std::vector<double> changes(static_cast<std::size_t>(word.last_frame - word.first_frame) + 2);
  for (const LatticeArc& arc : lattice.arcs) {
    const Span span = span_of(lattice, arc);
    const int first = std::max(span.first, word.first_frame);
    const int last = std::min(span.end - 1, word.last_frame);
    if (first > last || name_of(network, arc.label) != name_of(network, word.label)) continue;
    changes[static_cast<std::size_t>(first - word.first_frame)] += arc.posterior;
    changes[static_cast<std::size_t>(last - word.first_frame) + 1] -= arc.posterior;
  }
  double sum = 0.0;
  double largest = 0.0;
  for (const double change : changes) {
    sum += change;
    largest = std::max(largest, sum);
  }
  return std::min(largest, 1.0);
}

// The likeliest arc of just that word; null: there is none.
const LatticeArc* arc_of(const WordLattice& lattice, const HypothesisWord& word) {
  const LatticeArc* best = nullptr;
  for (const LatticeArc& arc : lattice.arcs) {
    const Span span = span_of(lattice, arc);
    if (arc.label != word.label || span.first != word.first_frame || span.end != word.last_frame + 1) continue;
    if (best == nullptr || arc.posterior > best->posterior) best = &arc;
  }
  return best;
}

double mean_spread(const WordLattice& lattice) {
  double sum = 0.0;
  for (const FrameSound& sound : lattice.sounds) sum += static_cast<double>(sound.spread);
  return std::max(sum / static_cast<double>(std::max<std::size_t>(lattice.sounds.size(), 1)), kLeastSpread);
}

double likeliest(const WordLattice& lattice, const HypothesisWord& word) {
  double sum = 0.0;
  for (int frame = word.first_frame; frame <= word.last_frame; ++frame) {
    sum += static_cast<double>(lattice.sounds[static_cast<std::size_t>(frame)].best);
  }
  return sum;
}

double log_odds(double probability) { return std::log((probability + kDoubt) / (1.0 - probability + kDoubt)); }

double fit_of_all(std::span<const WordEvidence> words) {
  double sum = 0.0;
  int frames = 0;
  for (const WordEvidence& word : words) {
    if (word.filler) continue;
    sum += word.fit * word.frames;
    frames += word.frames;
  }
  return frames > 0 ? sum / frames : 0.0;
}

}  // namespace

std::vector<WordEvidence> word_evidence(const WordLattice& lattice, const SearchNetwork& network,
                                        std::span<const HypothesisWord> words) {
  const double spread = mean_spread(lattice);
  std::vector<WordEvidence> evidence;
  for (const HypothesisWord& word : words) {
    WordEvidence known;
    known.frames = word.last_frame - word.first_frame + 1;
    known.filler = network.labels[static_cast<std::size_t>(word.label)].filler;
    if (const LatticeArc* const arc = arc_of(lattice, word)) {
      known.posterior = posterior_of(lattice, network, word);
      known.fit = (arc->acoustic - likeliest(lattice, word)) / (known.frames * spread);
      known.language = arc->language;
    }
    evidence.push_back(known);
  }
  return evidence;
}

std::vector<double> word_confidences(std::span<const WordEvidence> words) {
  const double fit = fit_of_all(words);
  std::vector<double> confidences;
  for (const WordEvidence& word : words) {
    // a word that no sentence has, since none was complete, has no posterior
    if (word.filler || word.posterior == 0.0) {
      confidences.push_back(word.posterior);
      continue;
    }
    const double sum = kConstant + kPosterior * log_odds(word.posterior) + kFit * word.fit + kFitOfAll * fit +
                       kLanguage * std::max(word.language, kRarest) + kLength * std::log(word.frames);
    confidences.push_back(1.0 / (1.0 + std::exp(-sum)));
  }
  return confidences;
}

}  // namespace kivsr::speech
