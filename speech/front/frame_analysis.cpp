// The parameters and constants are those of the mel cepstra of S. B. Davis and P. Mermelstein, "Comparison of
// parametric representations for monosyllabic word recognition", 1980, in the forms that Sphinx, HTK and Kaldi made
// common.
#include "kivsr/speech/front/frame_analysis.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/noise/fft_work.h"

namespace kivsr::speech {

namespace {

// Energies of digital silence get the logarithm of the smallest normal number rather than minus infinity.
constexpr float kSmallestEnergy = 1.17549435e-38F;

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

std::vector<float> window_samples(Window window, int length) {
  std::vector<float> samples(size_of(length), 1.0F);
  if (window == Window::kRectangular || length == 1) return samples;
  const double base = window == Window::kHamming ? 0.54 : 0.5;
  for (int n = 0; n < length; ++n) {
    samples[size_of(n)] = static_cast<float>(base - (1.0 - base) * std::cos(2.0 * std::numbers::pi * n / (length - 1)));
  }
  return samples;
}

// Factors of c1, c2, ... : 1 + (L / 2) sin(pi k / L) for a lifter of length L, times scale.
std::vector<float> lifter_weights(int lifter, int count, double scale = 1.0) {
  std::vector<float> weights(size_of(count));
  for (int k = 1; k <= count; ++k) {
    const double weight = lifter == 0 ? 1.0 : 1.0 + 0.5 * lifter * std::sin(std::numbers::pi * k / lifter);
    weights[size_of(k) - 1] = static_cast<float>(scale * weight);
  }
  return weights;
}

}  // namespace

FrameAnalysis::FrameAnalysis(const FrontEndParameters& parameters)
    : parameters_(parameters), window_(window_samples(parameters.window, parameters.window_length)) {
  const int order = std::countr_zero(static_cast<unsigned>(parameters_.fft_length));
  fft_ = Fft32f::make<kivsFFTInitAlloc_R_32f>(order, kivFftScaleNone, 0);
  fft_work_ = fft_work(fft_);

  lifter_ = lifter_weights(parameters_.lifter, parameters_.prediction_order);
  predictor_.resize(size_of(parameters_.prediction_order));
  lpc_cepstra_.resize(size_of(parameters_.prediction_order));
  frame_.resize(size_of(parameters_.window_length));
  centred_.resize(size_of(parameters_.window_length));
  samples_.assign(size_of(parameters_.fft_length), 0.0F);
  if (parameters_.output == Output::kLpcCepstra) return;
  make_filters();
  make_transform();
  const int bins = parameters_.fft_length / 2 + 1;
  bins_.resize(size_of(bins));
  bands_.resize(size_of(parameters_.filter_count));
  energies_.resize(size_of(parameters_.filter_count));
  floor_.assign(size_of(parameters_.filter_count), std::max(parameters_.log_floor, kSmallestEnergy));
  transformed_.resize(size_of(parameters_.cepstrum_count) + 1);
}

int FrameAnalysis::spectrum_width() const {
  if (parameters_.output == Output::kLpcCepstra) return parameters_.prediction_order + 1;
  return parameters_.fft_length / 2 + 1;
}

void FrameAnalysis::make_filters() {
  int order = 0;
  if (parameters_.filters != Filters::kHertz) {
    const Kiv32s mode = parameters_.filters == Filters::kMel ? KIV_FBANK_MELWEIGHT : KIV_FBANK_BINWEIGHT;
    filters_ = FilterBank32f::make<kivsMelFBankInitAlloc_32f>(
        &order, parameters_.fft_length, parameters_.sample_rate, parameters_.low_frequency, parameters_.high_frequency,
        parameters_.filter_count, parameters_.mel_multiplier, parameters_.mel_divisor, mode);
  } else {
    filters_ = FilterBank32f::make<kivsEmptyFBankInitAlloc_32f>(&order, parameters_.fft_length,
                                                                parameters_.filter_count, KIV_FBANK_BINWEIGHT);
    make_hertz_filters();
  }
}

// Triangle i rises from edge i-1 to edge i and falls to edge i+1; the edges lie at equal distances in mel. The library
// wants whole bins as centres and takes the weights of the bins between them as they are given.
void FrameAnalysis::make_hertz_filters() {
  const int count = parameters_.filter_count;
  const double mel_multiplier = parameters_.mel_multiplier;
  const double mel_divisor = parameters_.mel_divisor;
  const double bin_width = static_cast<double>(parameters_.sample_rate) / parameters_.fft_length;
  const double low = mel_multiplier * std::log1p(parameters_.low_frequency / mel_divisor);
  const double high = mel_multiplier * std::log1p(parameters_.high_frequency / mel_divisor);
  std::vector<double> edges(size_of(count) + 2);
  std::vector<Kiv32s> centres(edges.size());
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const double mel = low + static_cast<double>(i) * (high - low) / (count + 1);
    edges[i] = mel_divisor * std::expm1(mel / mel_multiplier) / bin_width;
    if (parameters_.round_filters) edges[i] = std::floor(edges[i] + 0.5);
    centres[i] = std::clamp(static_cast<Kiv32s>(std::floor(edges[i])), 0, parameters_.fft_length / 2);
  }
  call<kivsFBankSetCenters_32f>(filters_, centres);

  std::vector<float> weights;
  for (std::size_t i = 1; i + 1 < edges.size(); ++i) {
    if (!(edges[i - 1] < edges[i] && edges[i] < edges[i + 1])) {
      throw Fault("front end: filter " + std::to_string(i) + " of " + std::to_string(count) +
                  " is empty: fewer filters, a longer FFT or edges that are not rounded are needed");
    }
    const double height = parameters_.unit_area ? 2.0 / ((edges[i + 1] - edges[i - 1]) * bin_width) : 1.0;
    weights.clear();
    for (Kiv32s bin = centres[i - 1]; bin <= centres[i + 1]; ++bin) {
      const double rise = (bin - edges[i - 1]) / (edges[i] - edges[i - 1]);
      const double fall = (edges[i + 1] - bin) / (edges[i + 1] - edges[i]);
      weights.push_back(static_cast<float>(height * std::max(0.0, std::min(rise, fall))));
    }
    call<kivsFBankSetCoeffs_32f>(filters_, i, weights);
  }
}

// The library weighs its unnormalised DCT with a caller's lifter and takes c0's weight from the last lifter value. One
// coefficient more than wanted is asked for, so that this value is free to be c0's alone.
void FrameAnalysis::make_transform() {
  const int count = parameters_.cepstrum_count;
  const double filters = parameters_.filter_count;
  double scale = 1.0;
  double zeroth = 1.0;
  if (parameters_.transform == Transform::kDct || parameters_.transform == Transform::kHtk) {
    zeroth = scale = std::sqrt(2.0 / filters);
  }
  if (parameters_.transform == Transform::kDct) zeroth = std::sqrt(1.0 / filters);
  if (parameters_.transform == Transform::kLegacy) zeroth = scale = 1.0 / filters;
  std::vector<float> weights = lifter_weights(parameters_.lifter, count, scale);
  weights.back() = static_cast<float>(zeroth);
  transform_ = DctLifter32f::make<kivsDCTLifterInitAlloc_MulC0_32f>(parameters_.filter_count, weights, count);
}

// Pre-emphasis, offset and window; zeros behind the window belong to the FFT and are never written.
void FrameAnalysis::window_frame(std::span<const float> samples) {
  const auto count = static_cast<int>(samples.size()) - 1;
  const int length = parameters_.window_length;
  std::copy(samples.begin(), samples.end() - 1, frame_.begin());
  if (parameters_.frame_emphasis) frame_[0] = samples[1];
  call<kivsMulC_32f_I>(-parameters_.pre_emphasis, frame_, count);
  call<kivsAdd_32f_I>(samples.data() + 1, frame_, count);
  std::fill(frame_.begin() + count, frame_.end(), 0.0F);
  const float* source = frame_.data();
  if (parameters_.remove_offset) {
    float sum = 0.0F;
    call<kivsSum_32f>(source, length, &sum, 0);
    call<kivsAddC_32f>(source, -sum / static_cast<float>(length), centred_, length);
    source = centred_.data();
  }
  call<kivsMul_32f>(source, window_, samples_, length);
}

float FrameAnalysis::log_energy(std::span<const float> frame) {
  float energy = 0.0F;
  call<kivsDotProd_32f>(frame, frame, frame.size(), &energy);
  energy = std::max(energy, kSmallestEnergy);
  call<kivsLn_32f_I>(&energy, 1);
  return energy;
}

void FrameAnalysis::make_spectrum(std::span<float> spectrum) {
  auto* const bins = reinterpret_cast<Kiv32f*>(bins_.data());
  call<kivsFFTFwd_RToCCS_32f>(samples_, bins, fft_, fft_work_);
  if (parameters_.spectrum == Spectrum::kMagnitude) {
    call<kivsMagnitude_32fc>(bins_, spectrum, bins_.size());
  } else {
    std::transform(bins_.begin(), bins_.end(), spectrum.begin(),
                   [](Kiv32fc bin) { return bin.re * bin.re + bin.im * bin.im; });
  }
}

void FrameAnalysis::make_log_mel(std::span<const float> spectrum) {
  call<kivsEvalFBank_32f>(spectrum, bands_, filters_);
  call<kivsAddC_32f>(bands_, parameters_.log_offset, energies_, parameters_.filter_count);
  call<kivsMaxEvery_32f_I>(floor_, energies_, parameters_.filter_count);
  call<kivsLn_32f_I>(energies_, parameters_.filter_count);
}

void FrameAnalysis::cepstra_of_energies(std::span<float> row) {
  if (parameters_.transform == Transform::kLegacy) energies_[0] *= 0.5F;
  call<kivsDCTLifter_32f>(energies_, transformed_, transform_);
  const auto others = transformed_.begin();
  const auto last_other = others + (parameters_.cepstrum_count - 1);
  auto place = row.begin();
  if (parameters_.zeroth == ZerothCepstrum::kFirst) *place++ = transformed_.back();
  place = std::copy(others, last_other, place);
  if (parameters_.zeroth == ZerothCepstrum::kLast) *place = transformed_.back();
}

// Of the synthesis filter 1 / A(z). A frame that prediction cannot do more for keeps the stages done so far and zeros
// for the others: digital silence has zeros only.
void FrameAnalysis::cepstra_of_prediction(std::span<const float> lags, std::span<float> row) {
  const int order = parameters_.prediction_order;
  std::fill(predictor_.begin(), predictor_.end(), 0.0F);
  float error = 0.0F;
  const KivStatus status = kivsDurbin_32f(lags.data(), predictor_.data(), order, &error);
  if (status < kivStatusOk && status != kivStatusNonPositiveError) throw Error(status, "kivsDurbin_32f");
  call<kivsLPToCepstrum_32f>(predictor_, lpc_cepstra_, order);
  call<kivsMul_32f>(lpc_cepstra_, lifter_, row, order);
}

float FrameAnalysis::spectrum_of(std::span<const float> samples, std::span<float> spectrum) {
  window_frame(samples);
  if (parameters_.output == Output::kLpcCepstra) {
    call<kivsAutoCorr_32f>(samples_, parameters_.window_length, spectrum, spectrum_width());
  } else {
    make_spectrum(spectrum);
  }
  return parameters_.energy ? log_energy(samples.subspan(1)) : 0.0F;
}

void FrameAnalysis::row_of(std::span<const float> spectrum, float log_energy, std::span<float> row) {
  if (parameters_.energy) {
    row.back() = log_energy;
    row = row.first(row.size() - 1);
  }
  if (parameters_.output == Output::kLpcCepstra) return cepstra_of_prediction(spectrum, row);
  make_log_mel(spectrum);
  if (parameters_.output == Output::kLogMel) {
    std::copy(energies_.begin(), energies_.end(), row.begin());
  } else {
    cepstra_of_energies(row);
  }
}

}  // namespace kivsr::speech
