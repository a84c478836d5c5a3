#include "program/picture/enhancement_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr double kPanelHeight = 230.0;
constexpr double kBetween = 50.0;  // panels
constexpr double kFirstPanel = 60.0;
constexpr double kDynamicRange = 70.0;  // dB shown below the loudest bin
constexpr double kFaint = 30.0;         // dB: what is below, silence and its noise, stays dark
constexpr int kFramesASecond = 50;
constexpr int kShiftsAFrame = 4;
constexpr float kMeanSquaredWindow = 0.375F;

// Spectra under a Hann window.
FrontEndParameters spectrogram(int sample_rate) {
  FrontEndParameters parameters;
  parameters.sample_rate = sample_rate;
  parameters.pre_emphasis = 0.0F;
  parameters.window = Window::kHann;
  parameters.window_length = parameters.fft_length =
      static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(sample_rate, 1600)) / kFramesASecond));
  parameters.shift = parameters.fft_length / kShiftsAFrame;
  parameters.output = Output::kLogMel;  // of no use, with few wide filters
  parameters.filter_count = parameters.cepstrum_count = 4;
  parameters.low_frequency = 0.05F * static_cast<float>(sample_rate);
  parameters.high_frequency = 0.45F * static_cast<float>(sample_rate);
  return parameters;
}

void to_decibels(FeatureMatrix& power) {
  const std::size_t count = power.values.size();
  const std::vector<float> smallest(count, 1e-4F);
  call<kivsMaxEvery_32f_I>(smallest, power.values, count);
  call<kivsLn_32f_I>(power.values, count);
  call<kivsMulC_32f_I>(10.0F / std::log(10.0F), power.values, count);
}

// The spectrograms of a page, from top to bottom.
class Panels {
 public:
  Panels(const PictureOptions& options, std::size_t count, Range time, int sample_rate, Range values)
      : page_(options, kWidth, static_cast<int>(kFirstPanel + static_cast<double>(count) * (kPanelHeight + kBetween))),
        panels_(stacked(places(count), page_.height(), time)),
        sample_rate_(sample_rate),
        values_(values) {}

  Page& page() { return page_; }
  // Row t of what was reduced stands for the time first + t * hop, in samples.
  void draw(const std::string& name, const ColumnReduction& reduction, double first, int hop) {
    Panel panel = panels_[drawn_];
    panel.y = {0.0, 0.0005 * sample_rate_};
    const FeatureMatrix decibels = reduction.columns();
    const double begin = (first - 0.5 * hop) / sample_rate_;
    const double column = static_cast<double>(reduction.rows_a_column()) * hop / sample_rate_;
    page_.image(panel, decibels, {begin, begin + decibels.height() * column}, panel.y, heat_map(), values_);
    page_.frame(panel, name, "Frequency, kHz");
    page_.time_axis(panel, ++drawn_ == panels_.size());
    page_.y_axis(panel, numbered(ticks(panel.y, 5)));
    page_.colour_bar(panel, heat_map(), values_, "dB");
  }

 private:
  static std::vector<PanelPlace> places(std::size_t count) {
    std::vector<PanelPlace> result(count, {kBetween, kPanelHeight});
    result.front().above = kFirstPanel;
    return result;
  }

  Page page_;
  std::vector<Panel> panels_;
  std::size_t drawn_ = 0;
  int sample_rate_;
  Range values_;
};

}  // namespace

EnhancementPicture::EnhancementPicture(int sample_rate)
    : parameters_(spectrogram(sample_rate)), before_front_end_(parameters_), after_front_end_(parameters_) {}

// Scaled as the power of NoiseTrack.
void EnhancementPicture::gather(FeatureMatrix& power, ColumnReduction& decibels) const {
  if (power.height() == 0) return;
  call<kivsMulC_32f_I>(1.0F / (kMeanSquaredWindow * static_cast<float>(parameters_.fft_length)), power.values,
                       power.values.size());
  to_decibels(power);
  decibels.add(power);
}

void EnhancementPicture::push_before(std::span<const float> samples) {
  samples_ += static_cast<std::int64_t>(samples.size());
  FeatureMatrix power;
  before_front_end_.push_spectra(samples, power);
  gather(power, before_);
}

void EnhancementPicture::push_after(std::span<const float> samples) {
  FeatureMatrix power;
  after_front_end_.push_spectra(samples, power);
  gather(power, after_);
}

void EnhancementPicture::take(NoiseTrack& noise) {
  if (noise.power.height() == 0) return;
  noise_hop_ = noise.hop;
  to_decibels(noise.power);
  noise_.add(noise.power);
  noise.power.values.clear();
}

void EnhancementPicture::finish() {
  FeatureMatrix power;
  before_front_end_.finish_spectra(power);
  gather(power, before_);
  power.values.clear();
  after_front_end_.finish_spectra(power);
  gather(power, after_);
}

void EnhancementPicture::draw(OutputFile& file, const PictureOptions& options, const std::string& title) const {
  const FeatureMatrix before = before_.columns();
  const double loudest = std::max<double>(kFaint, *std::max_element(before.values.begin(), before.values.end()));
  const int sample_rate = parameters_.sample_rate;
  const bool with_noise = noise_.rows() > 0;
  const Range time{0.0, static_cast<double>(samples_) / sample_rate};
  Panels panels(options, with_noise ? 3 : 2, time, sample_rate,
                options.range.value_or(Range{loudest - kDynamicRange, loudest}));
  panels.page().title(title);
  const double middle = 0.5 * kShiftsAFrame * parameters_.shift;
  panels.draw("Before", before_, middle, parameters_.shift);
  panels.draw("After", after_, middle, parameters_.shift);
  if (with_noise) panels.draw("Estimated noise", noise_, 0.0, noise_hop_);
  panels.page().write(file);
}

}  // namespace kivsr::program
