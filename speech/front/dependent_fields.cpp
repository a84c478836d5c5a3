#include "kivsr/speech/front/dependent_fields.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace kivsr::speech {

namespace {

using IsSet = std::function<bool(const std::string& field)>;

void fit_lengths(const FrontEndParameters& start, const IsSet& is_set, FrontEndParameters& front_end) {
  if (front_end.sample_rate != start.sample_rate && front_end.sample_rate > 0) {
    const double ratio = static_cast<double>(front_end.sample_rate) / start.sample_rate;
    // Too long a frame stays too long, whatever the rate.
    const auto scaled = [&](int length) {
      return static_cast<int>(std::min<double>(std::round(length * ratio), kLongestFrame + 1.0));
    };
    if (!is_set("window-length")) front_end.window_length = scaled(start.window_length);
    if (!is_set("shift")) front_end.shift = scaled(start.shift);
    if (!is_set("high-frequency")) {
      front_end.high_frequency = std::min(front_end.high_frequency, 0.5F * static_cast<float>(front_end.sample_rate));
    }
  }
  if (is_set("fft-length") && !is_set("window-length") && start.window_length == start.fft_length) {
    front_end.window_length = front_end.fft_length;
  }
  if (!is_set("fft-length") && front_end.window_length > front_end.fft_length &&
      front_end.window_length <= kLongestFrame) {
    front_end.fft_length = static_cast<int>(std::bit_ceil(static_cast<unsigned>(front_end.window_length)));
  }
}

void drop_what_has_no_columns(const IsSet& is_set, Recipe& recipe) {
  const bool energy = recipe.front_end.energy;
  const bool whole =
      recipe.normalisation == Normalisation::kMean || recipe.normalisation == Normalisation::kMeanVariance;
  const bool derived = recipe.dynamics != Dynamics::kNone;
  if (!energy && !is_set("normalise-energy")) recipe.normalise_energy = false;
  if (!(energy && whole) && !is_set("normalise-cepstra-only")) recipe.normalise_cepstra_only = false;
  if (!(energy && derived) && !is_set("drop-energy")) recipe.drop_energy = false;
  if (!derived && !is_set("derivatives")) recipe.derivatives = Recipe().derivatives;
}

}  // namespace

void fit_dependent_fields(const Recipe& start, const IsSet& is_set, Recipe& recipe) {
  fit_lengths(start.front_end, is_set, recipe.front_end);
  drop_what_has_no_columns(is_set, recipe);
  if (recipe.dynamics == Dynamics::kAurora && recipe.source == Source::kAudio) {
    recipe.front_end.zeroth = ZerothCepstrum::kLast;
    recipe.front_end.energy = true;
    recipe.front_end.energy_first = false;
  }
}

}  // namespace kivsr::speech
