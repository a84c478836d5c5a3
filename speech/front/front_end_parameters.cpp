#include "kivsr/speech/front/front_end_parameters.h"

#include <cmath>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kMostFilters = 4096;
constexpr int kMostCepstra = 1024;

bool prime_factors_up_to_five(int length) {
  for (const int factor : {2, 3, 5}) {
    while (length % factor == 0) length /= factor;
  }
  return length == 1;
}

void require(bool holds, const std::string& message) {
  if (!holds) throw Fault("front end: " + message);
}

void validate_samples(const FrontEndParameters& parameters) {
  require(std::isfinite(parameters.input_scale) && parameters.input_scale > 0.0F,
          "the scale of the input must be above 0");
  require(std::isfinite(parameters.dither) && parameters.dither >= 0.0F, "the dither must not be negative");
  require(parameters.dither_seed >= 0, "the seed of the dither must not be negative");
  require(std::isfinite(parameters.pre_emphasis) && std::abs(parameters.pre_emphasis) <= 1.0F,
          "the pre-emphasis must lie between -1 and 1");
}

void validate_framing(const FrontEndParameters& parameters) {
  const int fft_length = parameters.fft_length;
  require(parameters.window_length >= 1 && parameters.window_length <= kLongestFrame,
          "the window must be at least one sample and at most 2^20");
  require(parameters.shift >= 1 && parameters.shift <= kLongestFrame,
          "the shift must be at least one sample and at most 2^20");
  require(fft_length >= 2 && fft_length <= kLongestFrame, "the FFT length must be 2 to 2^20");
  int next = fft_length;
  while (!prime_factors_up_to_five(next)) ++next;
  require(next == fft_length, "the FFT length must have no prime factors but 2, 3 and 5: not " +
                                  std::to_string(fft_length) + ", the next such length is " + std::to_string(next));
  require(fft_length >= parameters.window_length, "the FFT must be at least as long as the window");
  require(parameters.edges == Edges::kZeros || parameters.beyond_edges(),
          "only frames that are centred or at half a shift see beyond the edges");
  if (parameters.framing == Framing::kCovering || parameters.framing == Framing::kHalfShift) {
    require(parameters.pad_last_frame, "covering frames and those at half a shift keep the last one");
  } else if (parameters.framing == Framing::kCentred && !parameters.pad_last_frame) {
    require(parameters.shift <= parameters.window_length - parameters.samples_before_first(),
            "centred frames without the last one need a shift of at most half the window");
  }
}

void validate_filters(const FrontEndParameters& parameters) {
  require(std::isfinite(parameters.spectrum_scale) && parameters.spectrum_scale > 0.0F,
          "the scale of the spectrum must be above 0");
  require(parameters.filter_count >= 1 && parameters.filter_count <= parameters.fft_length / 2 &&
              parameters.filter_count <= kMostFilters,
          "the filters must be at least one and at most half the FFT length, or 4096");
  require(parameters.low_frequency >= 0.0F, "the lowest frequency must not be below 0 Hz");
  require(parameters.high_frequency > parameters.low_frequency, "the highest frequency must be above the lowest");
  require(parameters.high_frequency <= 0.5F * static_cast<float>(parameters.sample_rate),
          "the highest frequency must be at most half the sampling rate");
  require(parameters.mel_multiplier > 0.0F && parameters.mel_divisor > 0.0F,
          "the constants of the mel scale must be above 0");
  if (parameters.filters != Filters::kBins) return;
  require((parameters.fft_length & (parameters.fft_length - 1)) == 0 && parameters.low_frequency > 0.0F &&
              parameters.mel_scale == MelScale::kLogarithmic,
          "filters of whole FFT bins need an FFT of a power of two, a lowest frequency above 0 Hz and the logarithmic "
          "mel scale");
}

void validate_logarithm(const FrontEndParameters& parameters) {
  const auto not_negative = [](float value) { return value >= 0.0F && std::isfinite(value); };
  require(not_negative(parameters.log_floor), "the floor of the logarithm must not be negative");
  require(not_negative(parameters.log_offset), "the offset of the logarithm must not be negative");
  require(not_negative(parameters.energy_floor), "the floor of the energy must not be negative");
  require(not_negative(parameters.dynamic_range), "the dynamic range must not be negative");
  const bool bands = parameters.output == Output::kCepstra || parameters.output == Output::kLogMel;
  require(bands || parameters.logarithm == Logarithm::kNatural, "linear prediction takes no logarithm of filters");
  require(parameters.logarithm != Logarithm::kNone || parameters.output == Output::kLogMel, "cepstra need a logarithm");
  require(parameters.dynamic_range == 0.0F || (bands && parameters.logarithm != Logarithm::kNone),
          "a dynamic range is one of logarithms of filters");
  require(!parameters.energy || parameters.energy_of != EnergyOf::kSpectrum || parameters.output != Output::kLpcCepstra,
          "linear prediction has no spectrum whose energy to take");
}

}  // namespace

int FrontEndParameters::row_width() const {
  const int end = energy ? 1 : 0;
  if (output == Output::kLogMel) return filter_count + end;
  return cepstra_behind_zeroth() + (has_zeroth() ? 1 : 0) + end;
}

bool FrontEndParameters::has_zeroth() const {
  return (output == Output::kCepstra || output == Output::kPlp) && zeroth != ZerothCepstrum::kNone;
}

int FrontEndParameters::cepstra_behind_zeroth() const {
  if (output == Output::kLogMel) return 0;
  return output == Output::kLpcCepstra ? prediction_order : cepstrum_count - 1;
}

int FrontEndParameters::first_cepstrum_column() const {
  return (energy && energy_first ? 1 : 0) + (has_zeroth() && zeroth == ZerothCepstrum::kFirst ? 1 : 0);
}

int FrontEndParameters::zeroth_column() const {
  return first_cepstrum_column() + (zeroth == ZerothCepstrum::kFirst ? -1 : cepstra_behind_zeroth());
}

std::ptrdiff_t FrontEndParameters::samples_before_first() const {
  // The window stands in the middle of the transform, and that around the sample.
  if (framing == Framing::kCentred) return fft_length / 2 - (fft_length - window_length) / 2;
  return framing == Framing::kHalfShift ? window_length / 2 - shift / 2 : 0;
}

std::ptrdiff_t FrontEndParameters::frames_of(std::ptrdiff_t samples) const {
  if (samples == 0) return 0;
  if (framing == Framing::kHalfShift) return (samples + shift / 2) / shift;
  return samples / shift + (pad_last_frame ? 1 : 0);
}

void FrontEndParameters::validate() const {
  require(sample_rate > 0, "the sampling rate must be above 0 Hz");
  if (kind == FrontEndKind::kEtsiAfe) {
    require(sample_rate == 8000 || sample_rate == 16000, "etsi-afe works at 8000 and 16000 Hz");
    require(*this == etsi_afe_front_end(sample_rate), "etsi-afe is fixed by its standard: only the rate is to choose");
  }
  validate_samples(*this);
  validate_framing(*this);
  validate_filters(*this);
  validate_logarithm(*this);
  const bool of_filters = output == Output::kCepstra || output == Output::kPlp;
  require(cepstrum_count <= kMostCepstra && prediction_order <= kMostCepstra,
          "there are at most 1024 cepstra, and as many coefficients of prediction");
  require(cepstrum_count >= 1 && (!of_filters || cepstrum_count <= filter_count),
          "the cepstra must be at least one and at most the filters");
  require(output != Output::kPlp || cepstrum_count <= prediction_order + 1,
          "perceptual linear prediction has no more cepstra than its order, and c0");
  require(output != Output::kPlp || prediction_order <= filter_count,
          "the prediction order must be at most the filters");
  require(zeroth != ZerothCepstrum::kNone || cepstrum_count >= 2, "no cepstrum is left without the zeroth");
  require(lifter >= 0 && lifter <= 1'000'000, "the lifter must not be negative, nor above 10^6");
  require(lifter_form == LifterForm::kSine || output == Output::kCepstra,
          "linear prediction has the sine lifter of its cepstra only");
  require(prediction_order >= 1 && prediction_order <= window_length,
          "the prediction order must be at least one and at most the window");
}

FrontEndParameters aurora_front_end() {
  FrontEndParameters parameters;
  parameters.sample_rate = 8000;
  parameters.pre_emphasis = 0.9F;
  parameters.window_length = 200;
  parameters.shift = 80;
  parameters.fft_length = 256;
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kBins;
  parameters.filter_count = 23;
  parameters.low_frequency = 64.0F;
  parameters.high_frequency = 4000.0F;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 4.539993e-5F;  // e^-10
  parameters.transform = Transform::kPlain;
  parameters.zeroth = ZerothCepstrum::kLast;
  parameters.energy = true;
  return parameters;
}

FrontEndParameters etsi_afe_front_end(int sample_rate) {
  FrontEndParameters parameters = aurora_front_end();
  parameters.kind = FrontEndKind::kEtsiAfe;
  if (sample_rate == 16000) {
    parameters.sample_rate = sample_rate;
    parameters.window_length = 400;
    parameters.shift = 160;
    parameters.fft_length = 512;
    parameters.filter_count = 26;
    parameters.high_frequency = 8000.0F;
  }
  return parameters;
}

}  // namespace kivsr::speech
