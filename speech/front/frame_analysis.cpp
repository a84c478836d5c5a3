// The parameters and constants are those of the mel cepstra of S. B. Davis and P. Mermelstein, "Comparison of
// parametric representations for monosyllabic word recognition", 1980, in the forms that the toolkits made common
// (docs/guide/conventions.md).
#include "kivsr/speech/front/frame_analysis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/mel_filters.h"

namespace kivsr::speech {

namespace {

// Energies of digital silence get the logarithm of the smallest normal number rather than minus infinity.
constexpr float kSmallestEnergy = 1.17549435e-38F;

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

double window_sample(Window window, double phase) {
  switch (window) {
    case Window::kRectangular: return 1.0;
    case Window::kHamming:
    case Window::kHammingPeriodic: return 0.54 - 0.46 * std::cos(phase);
    case Window::kPovey: return std::pow(0.5 - 0.5 * std::cos(phase), 0.85);
    case Window::kBlackman:
    case Window::kBlackmanPeriodic: return 0.42 - 0.5 * std::cos(phase) + 0.08 * std::cos(2.0 * phase);
    default: return 0.5 - 0.5 * std::cos(phase);
  }
}

std::vector<float> window_samples(Window window, int length) {
  const bool periodic =
      window == Window::kHammingPeriodic || window == Window::kHannPeriodic || window == Window::kBlackmanPeriodic;
  const int period = periodic ? length : length - 1;
  std::vector<float> samples(size_of(length), 1.0F);
  for (int n = 0; n < length && period > 0; ++n) {
    samples[size_of(n)] = static_cast<float>(window_sample(window, 2.0 * std::numbers::pi * n / period));
  }
  return samples;
}

// The factor of ck.
double lifter_weight(const FrontEndParameters& parameters, int k) {
  const int lifter = parameters.lifter;
  if (parameters.lifter_form == LifterForm::kSineFromZeroth) ++k;
  return lifter == 0 ? 1.0 : 1.0 + 0.5 * lifter * std::sin(std::numbers::pi * k / lifter);
}

// Factors of c1, c2, ...
std::vector<float> lifter_weights(const FrontEndParameters& parameters, int count, double scale = 1.0) {
  std::vector<float> weights;
  for (int k = 1; k <= count; ++k) weights.push_back(static_cast<float>(scale * lifter_weight(parameters, k)));
  return weights;
}

// Of a natural logarithm of the energy of a filter.
float factor_of(Logarithm logarithm, Spectrum spectrum) {
  switch (logarithm) {
    case Logarithm::kDecimal: return std::numbers::log10e_v<float>;
    case Logarithm::kDecibel: return (spectrum == Spectrum::kPower ? 10.0F : 20.0F) * std::numbers::log10e_v<float>;
    case Logarithm::kWhisper: return 0.25F * std::numbers::log10e_v<float>;
    default: return 1.0F;
  }
}

bool predicts(Output output) { return output == Output::kLpcCepstra || output == Output::kPlp; }

}  // namespace

FrameAnalysis::FrameAnalysis(const FrontEndParameters& parameters)
    : parameters_(parameters), window_(window_samples(parameters.window, parameters.window_length)) {
  raw_.resize(size_of(parameters_.window_length) + 1);
  frame_.resize(size_of(parameters_.window_length));
  centred_.resize(size_of(parameters_.window_length));
  samples_.assign(size_of(parameters_.fft_length), 0.0F);
  if (predicts(parameters_.output)) {
    const int order = parameters_.prediction_order;
    lifter_ = lifter_weights(parameters_, order);
    lags_.resize(size_of(order) + 1);
    predictor_.resize(size_of(order));
    lpc_cepstra_.resize(size_of(order));
  }
  if (parameters_.output == Output::kLpcCepstra) return;
  dft_ = Dft32f::make<kivsDFTInitAlloc_R_32f>(parameters_.fft_length, kivFftScaleNone, 0);
  int bytes = 0;
  call<kivsDFTGetBufSize_R_32f>(dft_, &bytes);
  dft_work_.resize(size_of(std::max(bytes, 1)));  // no null pointer, which would be allocated
  filters_ = mel_filters(parameters_);
  if (parameters_.output == Output::kCepstra) make_transform();
  if (parameters_.output == Output::kPlp) perceptual_.emplace(parameters_);
  bins_.resize(size_of(spectrum_width()));
  energies_.resize(size_of(parameters_.filter_count));
  const float least = parameters_.logarithm == Logarithm::kNone ? 0.0F : kSmallestEnergy;
  floor_.assign(size_of(parameters_.filter_count), std::max(parameters_.log_floor, least));
}

int FrameAnalysis::spectrum_width() const {
  if (parameters_.output == Output::kLpcCepstra) return parameters_.prediction_order + 1;
  return parameters_.fft_length / 2 + 1;
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
  std::vector<float> weights = lifter_weights(parameters_, count, scale);
  weights.back() = static_cast<float>(zeroth * lifter_weight(parameters_, 0));
  transformed_.resize(size_of(count) + 1);
  transform_ = DctLifter32f::make<kivsDCTLifterInitAlloc_MulC0_32f>(parameters_.filter_count, weights, count);
}

std::span<const float> FrameAnalysis::without_offset(std::span<const float> samples) {
  float sum = 0.0F;
  call<kivsSum_32f>(samples.data() + 1, samples.size() - 1, &sum, 0);
  call<kivsAddC_32f>(samples, -sum / static_cast<float>(samples.size() - 1), raw_, samples.size());
  return std::span(raw_).first(samples.size());
}

// Pre-emphasis, offset and window; zeros behind the window belong to the DFT and are never written.
void FrameAnalysis::window_frame(std::span<const float> samples) {
  const auto count = static_cast<int>(samples.size()) - 1;
  const int length = parameters_.window_length;
  call<kivsMulC_32f>(samples.data(), -parameters_.pre_emphasis, frame_, count);
  if (parameters_.frame_emphasis) frame_[0] = -parameters_.pre_emphasis * samples[1];
  call<kivsAdd_32f_I>(samples.data() + 1, frame_, count);
  std::fill(frame_.begin() + count, frame_.end(), 0.0F);
  const float* source = frame_.data();
  if (parameters_.remove_offset == OffsetRemoval::kAfterEmphasis) {
    float sum = 0.0F;
    call<kivsSum_32f>(source, length, &sum, 0);
    call<kivsAddC_32f>(source, -sum / static_cast<float>(length), centred_, length);
    source = centred_.data();
  }
  call<kivsMul_32f>(source, window_, samples_, length);
}

float FrameAnalysis::log_energy(std::span<const float> frame, std::span<const float> spectrum) {
  float energy = 0.0F;
  if (parameters_.energy_of == EnergyOf::kFrame) {
    call<kivsDotProd_32f>(frame, frame, frame.size(), &energy);
  } else if (parameters_.energy_of == EnergyOf::kWindowed) {
    call<kivsDotProd_32f>(samples_, samples_, parameters_.window_length, &energy);
  } else if (parameters_.spectrum == Spectrum::kPower) {
    call<kivsSum_32f>(spectrum, spectrum.size(), &energy, 0);
  } else {
    call<kivsDotProd_32f>(spectrum, spectrum, spectrum.size(), &energy);
  }
  energy = std::max({energy, kSmallestEnergy, parameters_.energy_floor});
  call<kivsLn_32f_I>(&energy, 1);
  return energy;
}

void FrameAnalysis::make_spectrum(std::span<float> spectrum) {
  auto* const bins = reinterpret_cast<Kiv32f*>(bins_.data());
  call<kivsDFTFwd_RToCCS_32f>(samples_, bins, dft_, dft_work_);
  if (parameters_.spectrum == Spectrum::kMagnitude) {
    call<kivsMagnitude_32fc>(bins_, spectrum, bins_.size());
  } else {
    std::transform(bins_.begin(), bins_.end(), spectrum.begin(),
                   [](Kiv32fc bin) { return bin.re * bin.re + bin.im * bin.im; });
  }
  if (parameters_.spectrum_scale != 1.0F) {
    call<kivsMulC_32f_I>(parameters_.spectrum_scale, spectrum, spectrum.size());
  }
}

void FrameAnalysis::make_bands(std::span<const float> spectrum, std::span<float> bands) {
  call<kivsEvalFBank_32f>(spectrum, bands, filters_);
  if (parameters_.log_offset != 0.0F) call<kivsAddC_32f>(bands, parameters_.log_offset, bands, bands.size());
  call<kivsMaxEvery_32f_I>(floor_, bands, bands.size());
}

void FrameAnalysis::make_logarithms(std::span<float> bands) const {
  if (parameters_.logarithm == Logarithm::kNone) return;
  call<kivsLn_32f_I>(bands, bands.size());
  if (parameters_.logarithm == Logarithm::kNatural) return;
  call<kivsMulC_32f_I>(factor_of(parameters_.logarithm, parameters_.spectrum), bands, bands.size());
  if (parameters_.logarithm == Logarithm::kWhisper) call<kivsAddC_32f>(bands, 1.0F, bands, bands.size());
}

void FrameAnalysis::place_cepstra(float zeroth, std::span<const float> others, std::span<float> row) const {
  auto place = row.begin();
  if (parameters_.zeroth == ZerothCepstrum::kFirst) *place++ = zeroth;
  place = std::copy(others.begin(), others.end(), place);
  if (parameters_.zeroth == ZerothCepstrum::kLast) *place = zeroth;
}

void FrameAnalysis::cepstra_of_energies(std::span<float> row) {
  if (parameters_.transform == Transform::kLegacy) energies_[0] *= 0.5F;
  call<kivsDCTLifter_32f>(energies_, transformed_, transform_);
  place_cepstra(transformed_.back(), std::span(transformed_).first(size_of(parameters_.cepstrum_count) - 1), row);
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
  call<kivsMul_32f>(lpc_cepstra_, lifter_, lpc_cepstra_, order);
  const auto others = std::span<const float>(lpc_cepstra_).first(size_of(parameters_.cepstra_behind_zeroth()));
  if (!parameters_.has_zeroth()) {
    std::copy(others.begin(), others.end(), row.begin());
    return;
  }
  float zeroth = std::max(error, kSmallestEnergy);
  call<kivsLn_32f_I>(&zeroth, 1);
  place_cepstra(zeroth, others, row);
}

float FrameAnalysis::spectrum_of(std::span<const float> samples, std::span<float> spectrum) {
  if (parameters_.remove_offset == OffsetRemoval::kBeforeEmphasis) samples = without_offset(samples);
  window_frame(samples);
  if (parameters_.output == Output::kLpcCepstra) {
    call<kivsAutoCorr_32f>(samples_, parameters_.window_length, spectrum, spectrum_width());
  } else {
    make_spectrum(spectrum);
  }
  return parameters_.energy ? log_energy(samples.subspan(1), spectrum) : 0.0F;
}

// The part of the row that is left.
std::span<float> FrameAnalysis::place_energy(float log_energy, std::span<float> row) const {
  if (!parameters_.energy) return row;
  row[size_of(parameters_.energy_column())] = log_energy;
  return row.subspan(parameters_.energy_first ? 1 : 0, row.size() - 1);
}

void FrameAnalysis::row_of(std::span<const float> spectrum, float log_energy, std::span<float> row) {
  if (!predicts(parameters_.output)) {
    logarithms_of(spectrum, energies_);
    return row_of_logarithms(energies_, log_energy, row);
  }
  row = place_energy(log_energy, row);
  if (parameters_.output == Output::kLpcCepstra) return cepstra_of_prediction(spectrum, row);
  make_bands(spectrum, energies_);
  perceptual_->autocorrelate(energies_, lags_);
  cepstra_of_prediction(lags_, row);
}

void FrameAnalysis::logarithms_of(std::span<const float> spectrum, std::span<float> logarithms) {
  make_bands(spectrum, logarithms);
  make_logarithms(logarithms);
}

void FrameAnalysis::row_of_logarithms(std::span<const float> logarithms, float log_energy, std::span<float> row) {
  row = place_energy(log_energy, row);
  if (parameters_.output == Output::kLogMel) {
    std::copy(logarithms.begin(), logarithms.end(), row.begin());
    return;
  }
  if (logarithms.data() != energies_.data()) std::copy(logarithms.begin(), logarithms.end(), energies_.begin());
  cepstra_of_energies(row);
}

void limit_dynamic_range(const FrontEndParameters& parameters, std::span<float> logarithms) {
  if (logarithms.empty()) return;
  const float decibel = factor_of(Logarithm::kDecibel, parameters.spectrum);
  const float range = parameters.dynamic_range * factor_of(parameters.logarithm, parameters.spectrum) / decibel;
  const float least = *std::max_element(logarithms.begin(), logarithms.end()) - range;
  for (float& value : logarithms) value = std::max(value, least);
}

}  // namespace kivsr::speech
