#include "program/picture/pitch_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "kivsr/speech/noise/fft_work.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 760;
constexpr double kWindowSeconds = 0.04;
constexpr double kTopFrequency = 1000.0;  // shown at least
constexpr double kDynamicRange = 60.0;    // dB shown below the loudest bin

}  // namespace

PitchPicture::PitchPicture(const PitchParameters& parameters) : parameters_(parameters) {
  const auto length = static_cast<std::size_t>(std::lround(kWindowSeconds * parameters.sample_rate)) / 2 * 2;
  for (std::size_t i = 0; i < length; ++i) {
    const double phase = 2.0 * 3.14159265358979323846 * (static_cast<double>(i) + 0.5) / static_cast<double>(length);
    window_.push_back(static_cast<float>(0.5 - 0.5 * std::cos(phase)));
  }
  const std::size_t padded = std::bit_ceil(2 * length);
  order_ = std::countr_zero(padded);
  fft_ = Fft32f::make<kivsFFTInitAlloc_R_32f>(order_, kivFftScaleNone, 0);
  fft_work_ = fft_work(fft_);
  frame_.assign(padded, 0.0F);
  spectrum_.resize(padded + 2);
  const double top = std::max(kTopFrequency, 1.5 * static_cast<double>(parameters.high_frequency));
  bins_ = static_cast<int>(top * static_cast<double>(padded) / parameters.sample_rate) + 1;
  pending_.assign(length / 2, 0.0F);  // the first frame stands at the first sample
}

void PitchPicture::push_samples(std::span<const float> samples) {
  envelope_.add(samples);
  pending_.insert(pending_.end(), samples.begin(), samples.end());
  take_spectra(window_.size());
}

void PitchPicture::push_frames(std::span<const PitchFrame> frames) {
  for (const PitchFrame& frame : frames) {
    frames_.add(std::vector{frame.frequency, frame.frequency > 0.0F ? 1.0F : 0.0F, frame.probability});
  }
}

void PitchPicture::finish() {
  const std::size_t half = window_.size() / 2;
  pending_.resize(pending_.size() + half, 0.0F);
  take_spectra(half + 1);
}

void PitchPicture::take_spectra(std::size_t at_least) {
  std::size_t begin = 0;
  std::vector<float> column(static_cast<std::size_t>(bins_));
  const auto shift = static_cast<std::size_t>(parameters_.shift);
  for (; begin + std::max(at_least, window_.size()) <= pending_.size(); begin += shift) {
    call<kivsMul_32f>(pending_.data() + begin, window_, frame_.data(), window_.size());
    call<kivsFFTFwd_RToCCS_32f>(frame_, spectrum_, fft_, fft_work_);
    for (std::size_t k = 0; k < column.size(); ++k) {
      const float power = spectrum_[2 * k] * spectrum_[2 * k] + spectrum_[2 * k + 1] * spectrum_[2 * k + 1];
      column[k] = 10.0F * std::log10(power + 1e-6F);
    }
    decibels_.add(column);
  }
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(std::min(begin, pending_.size())));
}

Range PitchPicture::interval(const ColumnReduction& columns) const {
  const double shift = static_cast<double>(parameters_.shift) / parameters_.sample_rate;
  const double frames = static_cast<double>(columns.columns().height()) * columns.rows_a_column();
  return {-0.5 * shift, (frames - 0.5) * shift};
}

void PitchPicture::draw_spectrogram(Page& page, Panel panel, const std::optional<Range>& range) const {
  const FeatureMatrix decibels = decibels_.columns();
  constexpr float kFaint = 60.0F;  // dB: what is below, silence and its noise, stays dark
  Range values = {0.0, kFaint};
  if (!decibels.values.empty()) {
    values.high = std::max(*std::max_element(decibels.values.begin(), decibels.values.end()), kFaint);
    values.low = values.high - kDynamicRange;
  }
  if (range) values = *range;
  const double bin = static_cast<double>(parameters_.sample_rate) / static_cast<double>(frame_.size());
  panel.y = {0.0, (bins_ - 1) * bin};
  if (decibels.height() > 0) {
    page.image(panel, decibels, interval(decibels_), {-0.5 * bin, (bins_ - 0.5) * bin}, heat_map(), values);
  }
  const FeatureMatrix frames = frames_.columns();
  const Range time = interval(frames_);
  std::vector<std::pair<double, double>> voiced;
  for (int t = 0; t <= frames.height(); ++t) {
    const float share = t < frames.height() ? frames.row(t)[1] : 0.0F;
    if (share > 0.0F) {
      const double place = time.low + (t + 0.5) * time.span() / frames.height();
      voiced.emplace_back(place, frames.row(t)[0] / share);
    } else if (!voiced.empty()) {
      page.light_curve(panel, voiced);
      voiced.clear();
    }
  }
  page.frame(panel, "Fundamental frequency over the spectrogram", "Hz");
  page.time_axis(panel, false);
  page.y_axis(panel, numbered(ticks(panel.y, 8)));
  page.colour_bar(panel, heat_map(), values, "dB");
}

void PitchPicture::draw_probability(Page& page, Panel panel) const {
  const FeatureMatrix frames = frames_.columns();
  const Range time = interval(frames_);
  std::vector<std::pair<double, double>> points;
  for (int t = 0; t < frames.height(); ++t) {
    points.emplace_back(time.low + (t + 0.5) * time.span() / frames.height(), frames.row(t)[2]);
  }
  panel.y = {0.0, 1.05};
  page.curve(panel, points);
  page.frame(panel, "Probability of voicing", "");
  page.time_axis(panel, true);
  page.y_axis(panel, numbered({0.0, 0.5, 1.0}));
}

void PitchPicture::draw(OutputFile& file, const PictureOptions& options, const std::string& name) const {
  Page page(options, kWidth, kHeight);
  page.title(name + formatted(":  %.2f s at %d Hz, fundamental frequency of %g to %g Hz", seconds(),
                              parameters_.sample_rate, parameters_.low_frequency, parameters_.high_frequency));
  const auto panels = stacked({{60.0, 150.0}, {30.0, 330.0}, {40.0, 90.0}}, page.height(), {0.0, seconds()});
  draw_waveform(page, panels[0], envelope_, parameters_.sample_rate);
  draw_spectrogram(page, panels[1], options.range);
  draw_probability(page, panels[2]);
  page.write(file);
}

}  // namespace kivsr::program
