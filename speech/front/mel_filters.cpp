#include "kivsr/speech/front/mel_filters.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

// Slaney's Auditory Toolbox: 200/3 Hz a step below 1000 Hz, then 27 steps for each factor of 6.4.
constexpr double kLinearStep = 200.0 / 3.0;
constexpr double kLinearEnd = 1000.0;
const double kLogarithmicStep = std::log(6.4) / 27.0;

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

// Triangles over bins or over mel.
class Triangles {
 public:
  explicit Triangles(const FrontEndParameters& parameters);

  const std::vector<Kiv32s>& centres() const { return centres_; }
  // Of the bins between the centres of a filter's neighbours.
  std::vector<float> weights(int filter) const;

 private:
  double place(double bin) const;
  double height(int filter) const;

  const FrontEndParameters& parameters_;
  MelAxis axis_;
  double bin_width_;
  std::vector<double> bins_;    // of the edges
  std::vector<double> places_;  // of the edges, on the axis on which the sides are straight
  std::vector<Kiv32s> centres_;
};

Triangles::Triangles(const FrontEndParameters& parameters)
    : parameters_(parameters),
      axis_(parameters),
      bin_width_(static_cast<double>(parameters.sample_rate) / parameters.fft_length) {
  const int count = parameters.filter_count;
  for (int i = 0; i <= count + 1; ++i) {
    const double hertz = axis_.hertz(axis_.edge(i));
    double bin = hertz / bin_width_;
    if (parameters.filters == Filters::kWholeBins) {
      bin = std::floor((parameters.fft_length + 1) * hertz / parameters.sample_rate);
    } else if (parameters.filters == Filters::kHertz && parameters.round_filters) {
      bin = std::floor(bin + 0.5);
    }
    bins_.push_back(bin);
    places_.push_back(parameters.filters == Filters::kMel ? axis_.edge(i) : bin);
    centres_.push_back(std::clamp(static_cast<Kiv32s>(std::floor(bin)), 0, parameters.fft_length / 2));
  }
  for (std::size_t i = 1; parameters.filters == Filters::kHertz && i + 1 < bins_.size(); ++i) {
    if (bins_[i - 1] < bins_[i] && bins_[i] < bins_[i + 1]) continue;
    throw Fault("front end: filter " + std::to_string(i) + " of " + std::to_string(count) +
                " is empty: fewer filters, a longer FFT or edges that are not rounded are needed");
  }
}

double Triangles::place(double bin) const {
  return parameters_.filters == Filters::kMel ? axis_.mel(bin * bin_width_) : bin;
}

double Triangles::height(int filter) const {
  if (parameters_.filters != Filters::kHertz || !parameters_.unit_area) return 1.0;
  return 2.0 / ((bins_[size_of(filter) + 1] - bins_[size_of(filter) - 1]) * bin_width_);
}

std::vector<float> Triangles::weights(int filter) const {
  const double left = places_[size_of(filter) - 1];
  const double centre = places_[size_of(filter)];
  const double right = places_[size_of(filter) + 1];
  std::vector<float> weights;
  for (Kiv32s bin = centres_[size_of(filter) - 1]; bin <= centres_[size_of(filter) + 1]; ++bin) {
    const double here = place(bin);
    const double rise = centre > left ? (here - left) / (centre - left) : 1.0;
    const double fall = right > centre ? (right - here) / (right - centre) : 0.0;
    weights.push_back(static_cast<float>(height(filter) * std::max(0.0, std::min(rise, fall))));
  }
  return weights;
}

}  // namespace

MelAxis::MelAxis(const FrontEndParameters& parameters)
    : scale_(parameters.mel_scale), multiplier_(parameters.mel_multiplier), divisor_(parameters.mel_divisor) {
  low_ = mel(parameters.low_frequency);
  step_ = (mel(parameters.high_frequency) - low_) / (parameters.filter_count + 1);
}

double MelAxis::mel(double hertz) const {
  if (scale_ == MelScale::kLogarithmic) return multiplier_ * std::log1p(hertz / divisor_);
  if (hertz < kLinearEnd) return hertz / kLinearStep;
  return kLinearEnd / kLinearStep + std::log(hertz / kLinearEnd) / kLogarithmicStep;
}

double MelAxis::hertz(double mel) const {
  if (scale_ == MelScale::kLogarithmic) return divisor_ * std::expm1(mel / multiplier_);
  constexpr double kLinearEndMel = kLinearEnd / kLinearStep;
  if (mel < kLinearEndMel) return mel * kLinearStep;
  return kLinearEnd * std::exp((mel - kLinearEndMel) * kLogarithmicStep);
}

FilterBank32f mel_filters(const FrontEndParameters& parameters) {
  int order = 0;
  if (parameters.filters == Filters::kBins) {
    return FilterBank32f::make<kivsMelFBankInitAlloc_32f>(
        &order, parameters.fft_length, parameters.sample_rate, parameters.low_frequency, parameters.high_frequency,
        parameters.filter_count, parameters.mel_multiplier, parameters.mel_divisor, KIV_FBANK_BINWEIGHT);
  }
  // The library's bank of a transform of any length is that of the next power of two, of whose bins the filters see
  // those that there are.
  auto filters = FilterBank32f::make<kivsEmptyFBankInitAlloc_32f>(&order, parameters.fft_length,
                                                                  parameters.filter_count, KIV_FBANK_BINWEIGHT);
  const Triangles triangles(parameters);
  call<kivsFBankSetCenters_32f>(filters, triangles.centres());
  for (int filter = 1; filter <= parameters.filter_count; ++filter) {
    call<kivsFBankSetCoeffs_32f>(filters, filter, triangles.weights(filter));
  }
  return filters;
}

}  // namespace kivsr::speech
