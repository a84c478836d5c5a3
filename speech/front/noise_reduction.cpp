#include "kivsr/speech/front/noise_reduction.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/noise/mcra_noise.h"
#include "kivsr/speech/noise/suppression_gain.h"

namespace kivsr::speech {

namespace {

constexpr float kSmallestPower = 1e-3F;
constexpr double kPartSeconds = 30.0;

// When kAuto reduces noise. The quiet moments of a band, averaged over 50 ms, differ by little where the noise is
// steady, by more where it is itself speech or where there is none. Power above such moments, a mean over the bands:
// noise that is fainter than this disturbs no model.
constexpr float kQuietReach = 0.02F;       // s on either side
constexpr double kSteadySpread = 3.0;      // dB, median of the bands
constexpr double kHeavyNoiseRatio = 25.0;  // dB

double decibels(double ratio) { return 10.0 * std::log10(ratio); }

FeatureMatrix zeros(int height, int width) {
  FeatureMatrix rows;
  rows.width = width;
  rows.values.assign(static_cast<std::size_t>(height) * static_cast<std::size_t>(width), 0.0F);
  return rows;
}

void add(std::span<const float> source, std::span<float> sum) { call<kivsAdd_32f_I>(source, sum, sum.size()); }

void scale(float factor, std::span<float> values) { call<kivsMulC_32f_I>(factor, values, values.size()); }

// Adds MCRA's estimate for each row to noise. The rows are visited from first on in steps of 1 or -1.
void add_estimate(McraNoise& mcra, const FeatureMatrix& power, int first_frames, int first, int step,
                  FeatureMatrix& noise) {
  const int height = power.height();
  const int count = std::min(first_frames, height);
  std::vector<float> mean(static_cast<std::size_t>(power.width), 0.0F);
  for (int i = 0; i < count; ++i) add(power.row(first + step * i), mean);
  scale(1.0F / static_cast<float>(count), mean);
  mcra.begin(mean);
  for (int i = 0; i < height; ++i) add(mcra.update(power.row(first + step * i)), noise.row(first + step * i));
}

// Each value becomes the mean of itself and those beside it.
void average_neighbours(std::span<float> values, std::span<float> work) {
  const int count = static_cast<int>(values.size());
  if (count < 2) return;
  std::copy(values.begin(), values.end(), work.begin());
  add(work.first(work.size() - 1), values.subspan(1));
  add(work.subspan(1), values.first(values.size() - 1));
  if (count > 2) scale(1.0F / 3.0F, values.subspan(1, values.size() - 2));
  values.front() *= 0.5F;
  values.back() *= 0.5F;
}

// The bands in which noise is reduced: the filters of the front end as triangles on its scale.
FilterBank32f noise_bands(const FrontEndParameters& parameters) {
  int order = 0;
  try {
    return FilterBank32f::make<kivsMelFBankInitAlloc_32f>(
        &order, parameters.fft_length, parameters.sample_rate, parameters.low_frequency, parameters.high_frequency,
        parameters.filter_count, parameters.mel_multiplier, parameters.mel_divisor, KIV_FBANK_BINWEIGHT);
  } catch (const Error& error) {
    if (error.status() == kivStatusNoMemory) throw;
    throw Fault("noise is reduced in mel bands: " + std::to_string(parameters.filter_count) + " do not fit " +
                std::to_string(parameters.fft_length / 2 + 1) + " bins");
  }
}

}  // namespace

bool can_reduce_noise(Recipe recipe) {
  if (recipe.source != Source::kAudio) return false;
  if (recipe.noise_reduction.method == NoiseMethod::kNone) recipe.noise_reduction.method = NoiseMethod::kAuto;
  try {
    recipe.validate();
    NoiseReduction(recipe.front_end, recipe.noise_reduction);
  } catch (const Fault&) {
    return false;
  }
  return true;
}

NoiseReduction::NoiseReduction(const FrontEndParameters& parameters, const NoiseReductionParameters& settings)
    : parameters_(parameters), settings_(settings) {
  McraNoise(parameters.sample_rate, parameters.fft_length, parameters.shift);  // for its faults
  filters_ = noise_bands(parameters);

  // The weights of a bin in the bands, as the bank itself gives them for a spectrum of that bin alone. Bins below the
  // bank go with its first band, those above it with its last.
  const auto bands = static_cast<std::size_t>(parameters.filter_count);
  const auto bins = static_cast<std::size_t>(parameters.fft_length / 2 + 1);
  spread_.assign(bands * bins, 0.0F);
  std::vector<float> single(bins, 0.0F);
  std::vector<float> weights(bands);
  std::size_t next = 0;  // band of bins that no filter takes
  for (std::size_t bin = 0; bin < bins; ++bin) {
    single[bin] = 1.0F;
    call<kivsEvalFBank_32f>(single, weights, filters_);
    single[bin] = 0.0F;
    float sum = 0.0F;
    call<kivsSum_32f>(weights, bands, &sum, 0);
    if (sum > 0.0F) {
      next = bands - 1;
    } else {
      weights[next] = sum = 1.0F;
    }
    for (std::size_t band = 0; band < bands; ++band) spread_[band * bins + bin] = weights[band] / sum;
  }
}

FeatureMatrix NoiseReduction::bands_of(const FeatureMatrix& power) const {
  FeatureMatrix bands = zeros(power.height(), parameters_.filter_count);
  for (int t = 0; t < power.height(); ++t) {
    call<kivsEvalFBank_32f>(power.row(t), bands.row(t), filters_);
  }
  return bands;
}

// The mean of two estimates: one follows the utterance forwards, the other backwards, so that each makes up for what
// the other does not know yet after its start and after a change.
FeatureMatrix NoiseReduction::noise_of(const FeatureMatrix& power) const {
  const int height = power.height();
  const int first = std::max(1, static_cast<int>(std::lround(settings_.first_seconds / parameters_.frame_seconds())));
  McraNoise mcra(parameters_.sample_rate, parameters_.fft_length, parameters_.shift);
  FeatureMatrix noise = zeros(height, power.width);
  add_estimate(mcra, power, first, 0, 1, noise);
  add_estimate(mcra, power, first, height - 1, -1, noise);
  scale(0.5F, noise.values);
  return noise;
}

FeatureMatrix NoiseReduction::smoothed(const FeatureMatrix& bands, float seconds) const {
  const int reach = static_cast<int>(std::lround(seconds / parameters_.frame_seconds()));
  const int height = bands.height();
  FeatureMatrix means = zeros(height, bands.width);
  for (int t = 0; t < height; ++t) {
    const int first = std::max(0, t - reach);
    const int last = std::min(height - 1, t + reach);
    for (int i = first; i <= last; ++i) add(bands.row(i), means.row(t));
    scale(1.0F / static_cast<float>(last - first + 1), means.row(t));
  }
  return means;
}

bool NoiseReduction::noise_is_steady(const FeatureMatrix& bands) const {
  const FeatureMatrix powers = smoothed(bands, kQuietReach);
  const auto height = static_cast<std::size_t>(powers.height());
  const auto width = static_cast<std::size_t>(powers.width);
  std::vector<float> sorted(height);
  std::vector<double> spreads(width);
  double ratios = 0.0;
  for (std::size_t band = 0; band < width; ++band) {
    double sum = 0.0;
    for (std::size_t t = 0; t < height; ++t) {
      sorted[t] = std::max(kSmallestPower, powers.values[t * width + band]);  // without those that are no numbers
      sum += double{sorted[t]};
    }
    std::sort(sorted.begin(), sorted.end());
    const auto quantile = [&](std::size_t percent) { return double{sorted[(height - 1) * percent / 100]}; };
    spreads[band] = decibels(quantile(20) / quantile(5));
    ratios += decibels(sum / static_cast<double>(height) / quantile(10));
  }
  const auto median = spreads.begin() + static_cast<std::ptrdiff_t>(width / 2);
  std::nth_element(spreads.begin(), median, spreads.end());
  return *median <= kSteadySpread && ratios / static_cast<double>(width) <= kHeavyNoiseRatio;
}

void NoiseReduction::reduce(FeatureMatrix& power) const {
  if (power.height() == 0) return;
  const FeatureMatrix bands = bands_of(power);
  if (settings_.method == NoiseMethod::kAuto && !noise_is_steady(bands)) return;
  FeatureMatrix noise = smoothed(bands_of(noise_of(power)), settings_.smoothing_seconds);
  const int count = bands.width;
  const GainRule rule = settings_.method == NoiseMethod::kMcraEmns ? GainRule::kEmns : GainRule::kWiener;
  SuppressionGain suppression(count, {.rule = rule, .memory = settings_.memory, .floor = settings_.floor});
  std::vector<float> gains(static_cast<std::size_t>(count));
  std::vector<float> neighbours(gains.size());
  std::vector<float> divisor(gains.size());
  std::vector<float> factors(static_cast<std::size_t>(power.width));
  for (int t = 0; t < power.height(); ++t) {
    float* const residual = noise.row(t).data();
    suppression.run(bands.row(t), noise.row(t), gains);
    average_neighbours(gains, neighbours);
    // Of the power of a band stays gain^2 + residual * noise / power.
    call<kivsMul_32f>(gains, gains, gains, count);
    call<kivsSet_32f>(kSmallestPower, divisor, count);
    call<kivsMaxEvery_32f_I>(bands.row(t), divisor, count);
    call<kivsDiv_32f_I>(divisor, residual, count);
    call<kivsMulC_32f_I>(settings_.residual, residual, count);
    call<kivsAdd_32f_I>(residual, gains, count);
    call<kivsVecMatMul_32f_D2>(gains, spread_, power.width, count, factors, power.width);
    call<kivsMul_32f>(factors, power.row(t), power.row(t), power.width);
  }
}

void NoiseReduction::run(FeatureMatrix& spectra) const {
  if (parameters_.spectrum == Spectrum::kPower) return reduce(spectra);
  for (float& magnitude : spectra.values) magnitude *= magnitude;
  reduce(spectra);
  for (float& power : spectra.values) power = std::sqrt(power);
}

int NoiseReduction::part_height() const {
  return std::max(1, static_cast<int>(std::lround(kPartSeconds / parameters_.frame_seconds())));
}

}  // namespace kivsr::speech
