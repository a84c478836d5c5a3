#include "kivsr/speech/train/adaptation.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

void AdaptationSettings::validate() const {
  if (!(std::isfinite(relevance) && relevance > 0.0)) throw Fault("adaptation: the relevance is above 0 frames");
  if (map && !means && !variances && !weights) throw Fault("adaptation: there is nothing to adapt");
}

void map_adapt(HeardGaussian& gaussian, const AdaptationSettings& settings, std::span<const float> floor) {
  if (!(gaussian.frames > 0.0)) return;
  const double scale = 1.0 / (gaussian.frames + settings.relevance);
  for (std::size_t i = 0; i < gaussian.mean.size(); ++i) {
    const double step = settings.means ? gaussian.first[i] * scale : 0.0;
    gaussian.mean[i] = static_cast<float>(static_cast<double>(gaussian.mean[i]) + step);
    if (!settings.variances) continue;
    const double before = static_cast<double>(gaussian.variance[i]);
    const double variance = (gaussian.second[i] + settings.relevance * before) * scale - step * step;
    gaussian.variance[i] = std::max(static_cast<float>(variance), floor[i]);
  }
}

void map_adapt_weights(std::span<float> weights, std::span<const double> frames, double relevance) {
  const double total = std::accumulate(frames.begin(), frames.end(), 0.0);
  const double prior = relevance * static_cast<double>(weights.size());
  for (std::size_t i = 0; i < weights.size(); ++i) {
    weights[i] = static_cast<float>((frames[i] + prior * static_cast<double>(weights[i])) / (total + prior));
  }
}

int adapt_gaussians(std::vector<HeardGaussian>& gaussians, const AdaptationSettings& settings,
                    std::span<const float> floor) {
  const int classes = move_means(gaussians, settings.regression);
  for (HeardGaussian& gaussian : gaussians) {
    if (settings.map) map_adapt(gaussian, settings, floor);
  }
  return classes;
}

int adapt(WordModel& prior, const WordModel& heard, const Statistics& statistics, const AdaptationSettings& settings) {
  const auto dimension = static_cast<std::size_t>(prior.dimension());
  std::vector<HeardGaussian> gaussians;
  for (std::size_t state = 0; state < prior.states.size(); ++state) {
    MixtureState& mixture = prior.states[state];
    const StateStatistics& sums = statistics.states[state];
    for (std::size_t i = 0; i < mixture.weights.size(); ++i) {
      const std::size_t row = i * dimension;
      gaussians.emplace_back(
          std::span(mixture.means).subspan(row, dimension), std::span(mixture.variances).subspan(row, dimension),
          sums.occupation[i], std::span(sums.first).subspan(row, dimension),
          std::span(sums.second).subspan(row, dimension), std::span(heard.states[state].means).subspan(row, dimension));
    }
    if (settings.map && settings.weights) map_adapt_weights(mixture.weights, sums.occupation, settings.relevance);
  }
  return adapt_gaussians(gaussians, settings, prior.variance_floor);
}

}  // namespace kivsr::speech
