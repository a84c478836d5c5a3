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

constexpr std::size_t kColumns = FrameAnalysis::kMostFrames;

// Of matrices of kColumns columns: one of them, and all as rows one behind the other.
void column_of(std::span<const float> columns, std::size_t f, std::span<float> row) {
  for (std::size_t k = 0; k < row.size(); ++k) row[k] = columns[k * kColumns + f];
}
void to_rows(std::span<const float> columns, std::size_t frames, std::span<float> rows) {
  const std::size_t width = rows.size() / frames;
  for (std::size_t f = 0; f < frames; ++f) column_of(columns, f, rows.subspan(f * width, width));
}
void to_columns(std::span<const float> rows, std::size_t frames, std::span<float> columns) {
  const std::size_t width = rows.size() / frames;
  for (std::size_t f = 0; f < frames; ++f) {
    for (std::size_t k = 0; k < width; ++k) columns[k * kColumns + f] = rows[f * width + k];
  }
}

bool predicts(Output output) { return output == Output::kLpcCepstra || output == Output::kPlp; }

}  // namespace

FrameAnalysis::FrameAnalysis(const FrontEndParameters& parameters)
    : parameters_(parameters), window_(window_samples(parameters.window, parameters.window_length)) {
  samples_.resize(kColumns * size_of(parameters_.fft_length));
  spectra_.resize(kColumns * size_of(spectrum_width()));
  log_energies_.resize(kColumns);
  if (predicts(parameters_.output)) {
    const int order = parameters_.prediction_order;
    lifter_ = lifter_weights(parameters_, order);
    lags_.resize(size_of(order) + 1);
    predictor_.resize(size_of(order));
    lpc_cepstra_.resize(size_of(order));
  }
  if (parameters_.output == Output::kLpcCepstra) {
    row_.resize(size_of(parameters_.window_length));
    return;
  }
  dft_ = DftColumns32f::make<kivsDFTColumnsInitAlloc_R_32f>(parameters_.fft_length, kivFftScaleNone);
  int bytes = 0;
  call<kivsDFTColumnsGetBufSize_R_32f>(dft_, &bytes);
  dft_work_.resize(size_of(bytes));
  filters_ = mel_filters(parameters_);
  if (parameters_.output == Output::kCepstra) make_transform();
  if (parameters_.output == Output::kPlp) {
    perceptual_.emplace(parameters_);
    row_.resize(size_of(parameters_.filter_count));
  }
  const float least = parameters_.logarithm == Logarithm::kNone ? 0.0F : kSmallestEnergy;
  bands_.resize(kColumns * size_of(parameters_.filter_count));
  floor_.assign(bands_.size(), std::max(parameters_.log_floor, least));
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
  cepstra_.resize(kColumns * (size_of(count) + 1));
  row_.resize(size_of(count) + 1);
  transform_ = DctLifter32f::make<kivsDCTLifterInitAlloc_MulC0_32f>(parameters_.filter_count, weights, count);
}

int FrameAnalysis::cut_mode() const {
  int mode = 0;
  if (parameters_.remove_offset == OffsetRemoval::kBeforeEmphasis) mode |= KIV_FRAME_CENTRED;
  if (parameters_.remove_offset == OffsetRemoval::kAfterEmphasis) mode |= KIV_FRAME_CENTRED_BEHIND;
  if (parameters_.frame_emphasis) mode |= KIV_FRAME_OWN_START;
  if (parameters_.energy_of == EnergyOf::kWindowed) mode |= KIV_FRAME_WINDOWED_ENERGY;
  return mode;
}

void FrameAnalysis::cut_windows(std::span<const float> samples, int frames) {
  const int length = parameters_.window_length;
  const int count = std::min(static_cast<int>(samples.size()) - 1, length);
  const auto cut = [&](std::span<const float> from, int samples_of_each, std::span<float> energies) {
    call<kivsFrameColumns_32f>(from.data(), parameters_.shift, frames, samples_.data(), static_cast<int>(kColumns),
                               window_.data(), samples_of_each, parameters_.pre_emphasis, cut_mode(), energies.data());
  };
  cut(samples, count, log_energies_);
  if (count == length) return;
  if (parameters_.remove_offset == OffsetRemoval::kAfterEmphasis) {
    // The mean is that of the whole window, with zeros behind the pre-emphasis.
    std::vector<float> whole(samples.begin(), samples.end());
    while (whole.size() < size_of(length) + 1) whole.push_back(parameters_.pre_emphasis * whole.back());
    std::vector<float> energies(kColumns);
    cut(whole, length, energies);
    return;
  }
  const auto row = [&](int n) { return samples_.begin() + static_cast<std::ptrdiff_t>(kColumns * size_of(n)); };
  std::fill(row(count), row(length), 0.0F);
}

// Autocorrelation takes one frame after the other.
void FrameAnalysis::cut_lags() {
  for (std::size_t f = 0; f < frames(); ++f) {
    column_of(samples_, f, row_);
    call<kivsAutoCorr_32f>(row_, parameters_.window_length, lags_, spectrum_width());
    for (std::size_t k = 0; k < lags_.size(); ++k) spectra_[k * kColumns + f] = lags_[k];
  }
}

void FrameAnalysis::make_spectra() {
  if (parameters_.spectrum == Spectrum::kMagnitude) {
    call<kivsDFTColumnsMagnitude_R_32f>(samples_.data(), spectra_.data(), static_cast<int>(kColumns), dft_, dft_work_);
  } else {
    call<kivsDFTColumnsPower_R_32f>(samples_.data(), spectra_.data(), static_cast<int>(kColumns), dft_, dft_work_);
  }
  if (parameters_.spectrum_scale != 1.0F) {
    call<kivsMulC_32f_I>(parameters_.spectrum_scale, spectra_, spectra_.size());
  }
}

void FrameAnalysis::make_log_energies() {
  if (!parameters_.energy) {
    std::fill(log_energies_.begin(), log_energies_.end(), 0.0F);
    return;
  }
  if (parameters_.energy_of == EnergyOf::kSpectrum) {
    const bool squares = parameters_.spectrum == Spectrum::kMagnitude;
    std::fill(log_energies_.begin(), log_energies_.end(), 0.0F);
    for (std::size_t i = 0; i < spectra_.size(); ++i) {
      log_energies_[i % kColumns] += squares ? spectra_[i] * spectra_[i] : spectra_[i];
    }
  }
  for (float& energy : log_energies_) energy = std::max({energy, kSmallestEnergy, parameters_.energy_floor});
  call<kivsLn_32f_I>(log_energies_, log_energies_.size());
}

void FrameAnalysis::make_bands() {
  call<kivsEvalFBankColumns_32f>(spectra_.data(), bands_.data(), static_cast<int>(kColumns), filters_);
  if (parameters_.log_offset != 0.0F) call<kivsAddC_32f>(bands_, parameters_.log_offset, bands_, bands_.size());
  call<kivsMaxEvery_32f_I>(floor_, bands_, bands_.size());
}

void FrameAnalysis::make_logarithms() {
  make_bands();
  if (parameters_.logarithm == Logarithm::kNone) return;
  call<kivsLn_32f_I>(bands_, bands_.size());
  if (parameters_.logarithm == Logarithm::kNatural) return;
  call<kivsMulC_32f_I>(factor_of(parameters_.logarithm, parameters_.spectrum), bands_, bands_.size());
  if (parameters_.logarithm == Logarithm::kWhisper) call<kivsAddC_32f>(bands_, 1.0F, bands_, bands_.size());
}

void FrameAnalysis::place_cepstra(float zeroth, std::span<const float> others, std::span<float> row) const {
  auto place = row.begin();
  if (parameters_.zeroth == ZerothCepstrum::kFirst) *place++ = zeroth;
  place = std::copy(others.begin(), others.end(), place);
  if (parameters_.zeroth == ZerothCepstrum::kLast) *place = zeroth;
}

// Of the logarithms that are held.
void FrameAnalysis::cepstra_of_logarithms(std::span<float> rows) {
  if (parameters_.transform == Transform::kLegacy) call<kivsMulC_32f_I>(0.5F, bands_, kColumns);
  call<kivsDCTLifterColumns_32f>(bands_.data(), cepstra_.data(), static_cast<int>(kColumns), transform_);
  const std::size_t width = rows.size() / frames();
  for (std::size_t f = 0; f < frames(); ++f) {
    column_of(cepstra_, f, row_);
    place_cepstra(row_.back(), std::span(row_).first(size_of(parameters_.cepstrum_count) - 1),
                  place_energy(log_energies_[f], rows.subspan(f * width, width)));
  }
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

void FrameAnalysis::cut(std::span<const float> samples, int frames) {
  frames_ = frames;
  cut_windows(samples, frames);
  if (parameters_.output == Output::kLpcCepstra) {
    cut_lags();
  } else {
    make_spectra();
  }
  make_log_energies();
}

void FrameAnalysis::set_spectra(std::span<const float> spectra, std::span<const float> log_energies) {
  frames_ = static_cast<int>(log_energies.size());
  to_columns(spectra, frames(), spectra_);
  std::copy(log_energies.begin(), log_energies.end(), log_energies_.begin());
}

void FrameAnalysis::spectra(std::span<float> rows) const { to_rows(spectra_, frames(), rows); }

// The part of the row that is left.
std::span<float> FrameAnalysis::place_energy(float log_energy, std::span<float> row) const {
  if (!parameters_.energy) return row;
  row[size_of(parameters_.energy_column())] = log_energy;
  return row.subspan(parameters_.energy_first ? 1 : 0, row.size() - 1);
}

void FrameAnalysis::rows(std::span<float> rows) {
  const std::size_t width = rows.size() / frames();
  const auto row = [&](std::size_t f) { return rows.subspan(f * width, width); };
  if (parameters_.output == Output::kPlp) {
    make_bands();
    for (std::size_t f = 0; f < frames(); ++f) {
      column_of(bands_, f, row_);
      perceptual_->autocorrelate(row_, lags_);
      cepstra_of_prediction(lags_, place_energy(log_energies_[f], row(f)));
    }
  } else if (parameters_.output == Output::kLpcCepstra) {
    for (std::size_t f = 0; f < frames(); ++f) {
      column_of(spectra_, f, lags_);
      cepstra_of_prediction(lags_, place_energy(log_energies_[f], row(f)));
    }
  } else {
    make_logarithms();
    if (parameters_.output == Output::kCepstra) return cepstra_of_logarithms(rows);
    for (std::size_t f = 0; f < frames(); ++f) {
      const auto place = place_energy(log_energies_[f], row(f));
      column_of(bands_, f, place.first(size_of(parameters_.filter_count)));
    }
  }
}

void FrameAnalysis::logarithms(std::span<float> rows) {
  make_logarithms();
  to_rows(bands_, frames(), rows);
}

void FrameAnalysis::rows_of_logarithms(std::span<const float> logarithms, std::span<const float> log_energies,
                                       std::span<float> rows) {
  frames_ = static_cast<int>(log_energies.size());
  std::copy(log_energies.begin(), log_energies.end(), log_energies_.begin());
  if (parameters_.output == Output::kCepstra) {
    to_columns(logarithms, frames(), bands_);
    return cepstra_of_logarithms(rows);
  }
  const std::size_t width = rows.size() / frames();
  const std::size_t count = size_of(parameters_.filter_count);
  for (std::size_t f = 0; f < frames(); ++f) {
    const auto place = place_energy(log_energies[f], rows.subspan(f * width, width));
    const auto row = logarithms.subspan(f * count, count);
    std::copy(row.begin(), row.end(), place.begin());
  }
}

void limit_dynamic_range(const FrontEndParameters& parameters, std::span<float> logarithms) {
  if (logarithms.empty()) return;
  const float decibel = factor_of(Logarithm::kDecibel, parameters.spectrum);
  const float range = parameters.dynamic_range * factor_of(parameters.logarithm, parameters.spectrum) / decibel;
  const float least = *std::max_element(logarithms.begin(), logarithms.end()) - range;
  for (float& value : logarithms) value = std::max(value, least);
}

}  // namespace kivsr::speech
