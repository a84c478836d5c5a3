#include "kivsr/speech/front/perceptual_prediction.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/mel_filters.h"

namespace kivsr::speech {

namespace {

constexpr float kCompression = 0.33333F;

// Of the ear at that frequency, relative to that of high ones.
double equal_loudness(double hertz) {
  const double square = hertz * hertz;
  const double rise = square / (square + 1.6e5);
  return rise * rise * (square + 1.44e6) / (square + 9.61e6);
}

}  // namespace

PerceptualPrediction::PerceptualPrediction(const FrontEndParameters& parameters)
    : spectrum_(static_cast<std::size_t>(parameters.filter_count) + 2) {
  const MelAxis axis(parameters);
  for (int i = 1; i <= parameters.filter_count; ++i) {
    loudness_.push_back(static_cast<float>(equal_loudness(axis.hertz(axis.edge(i)))));
  }
  const int intervals = parameters.filter_count + 1;
  for (int band = 0; band <= intervals; ++band) {
    const double scale = (band == 0 || band == intervals ? 0.5 : 1.0) / intervals;
    for (int lag = 0; lag <= parameters.prediction_order; ++lag) {
      cosines_.push_back(static_cast<float>(scale * std::cos(std::numbers::pi * lag * band / intervals)));
    }
  }
}

void PerceptualPrediction::autocorrelate(std::span<float> energies, std::span<float> lags) {
  const auto count = energies.size();
  call<kivsMul_32f>(loudness_, energies, energies, count);
  for (std::size_t band = 0; band < count; ++band) spectrum_[band + 1] = std::pow(energies[band], kCompression);
  spectrum_.front() = spectrum_[1];
  spectrum_.back() = spectrum_[count];
  call<kivsVecMatMul_32f_D2>(spectrum_, cosines_, lags.size(), spectrum_.size(), lags, lags.size());
}

}  // namespace kivsr::speech
