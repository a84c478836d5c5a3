#include "program/picture/feature_picture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/mel_filters.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 900;
// dB of the energies of samples in 16-bit units. Samples that hover between neighbouring values have about 10 to 35.
constexpr double kDynamicRange = 80.0;  // shown below the loudest one
constexpr double kSilence = 25.0;       // black
constexpr double kFaint = 80.0;         // of very soft speech the loudest one: less is not stretched to full brightness
constexpr double kFaintOfPowers = 55.0;  // the same where the colours stand for powers

Range extremes(std::span<const float> values) {
  float low = 0.0F;
  float high = 0.0F;
  call<kivsMinMax_32f>(values, values.size(), &low, &high);
  return {low, high};
}

// Frequencies that people know, at the places of the filters whose centres they are: filter i is centred at i.
Labels frequency_labels(const FrontEndParameters& parameters) {
  const MelAxis axis(parameters);
  const double step = axis.edge(1) - axis.edge(0);
  Labels labels;
  for (const double frequency : {125.0, 250.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0, 16000.0}) {
    const double place = (axis.mel(frequency) - axis.edge(0)) / step;
    if (place >= 0.5 && place <= parameters.filter_count + 0.5) labels.emplace_back(place, formatted("%g", frequency));
  }
  return labels;
}

// The spectrogram shows the sound in decibels, whatever the rows are made of.
FrontEndParameters of_energies(FrontEndParameters parameters) {
  parameters.kind = FrontEndKind::kGeneral;
  parameters.output = Output::kLogMel;
  parameters.logarithm = Logarithm::kDecibel;
  parameters.dynamic_range = 0.0F;
  parameters.lifter_form = LifterForm::kSine;
  parameters.energy = false;
  return parameters;
}

// Columns of any size side by side: each less its mean, in units of its standard deviation.
FeatureMatrix standardised(FeatureMatrix rows) {
  std::vector<double> sum(static_cast<std::size_t>(rows.width), 0.0);
  std::vector<double> squares(sum.size(), 0.0);
  const double height = rows.height();
  for (int t = 0; t < rows.height(); ++t) {
    for (std::size_t k = 0; k < sum.size(); ++k) sum[k] += static_cast<double>(rows.row(t)[k]) / height;
  }
  for (int t = 0; t < rows.height(); ++t) {
    for (std::size_t k = 0; k < sum.size(); ++k) squares[k] += std::pow(rows.row(t)[k] - sum[k], 2) / height;
  }
  for (int t = 0; t < rows.height(); ++t) {
    for (std::size_t k = 0; k < sum.size(); ++k) {
      const double deviation = std::max(std::sqrt(squares[k]), 1e-6 * std::abs(sum[k]) + 1e-30);
      rows.row(t)[k] = static_cast<float>((rows.row(t)[k] - sum[k]) / deviation);
    }
  }
  return rows;
}

// What such decibels become. Filters of equal area have one of 1, where those of height 1 have about a hundred.
double own_decibels(const FrontEndParameters& parameters, double decibels) {
  const bool equal_areas = parameters.filters == Filters::kHertz && parameters.unit_area;
  const double factor = parameters.spectrum == Spectrum::kPower ? 10.0 : 20.0;
  return decibels - (equal_areas ? 20.0 : 0.0) + 20.0 * std::log10(static_cast<double>(parameters.input_scale)) +
         factor * std::log10(static_cast<double>(parameters.spectrum_scale));
}

// A value of the bands.
double band_value(const FrontEndParameters& parameters, double decibels) {
  const double decades = own_decibels(parameters, decibels) / (parameters.spectrum == Spectrum::kPower ? 10.0 : 20.0);
  switch (parameters.logarithm) {
    case Logarithm::kNatural: return decades * std::numbers::ln10;
    case Logarithm::kDecimal: return decades;
    case Logarithm::kDecibel: return own_decibels(parameters, decibels);
    case Logarithm::kWhisper: return 0.25 * decades + 1.0;
    default: return std::pow(10.0, decades);
  }
}

// The values that the colours stand for: the loudest as bright as can be unless it is below the range of faint sound,
// and no more than the depth below it.
Range shown(std::span<const float> values, Range faint, double depth) {
  Range range = extremes(values);
  range.high = std::max(range.high, faint.high);
  range.low = std::max({range.low, range.high - depth, faint.low});
  return range;
}

const char* unit_of(Logarithm logarithm) {
  switch (logarithm) {
    case Logarithm::kNatural: return "ln";
    case Logarithm::kDecimal: return "log10";
    case Logarithm::kDecibel: return "dB";
    default: return "value";
  }
}

}  // namespace

FeaturePicture::FeaturePicture(const Recipe& recipe) : recipe_(recipe), mel_(of_energies(recipe.front_end)) {}

void FeaturePicture::push(std::span<const float> samples) {
  envelope_.add(samples);
  if (spectral()) return;  // the rows are the spectrogram
  FeatureMatrix rows;
  mel_.push(samples, rows);
  energies_.add(rows);
}

void FeaturePicture::finish() {
  if (spectral()) return;
  FeatureMatrix rows;
  mel_.finish(rows);
  energies_.add(rows);
}

// Whether the rows are nothing but the energies of filters.
bool FeaturePicture::spectral() const {
  const FrontEndParameters& front_end = recipe_.front_end;
  return front_end.kind == FrontEndKind::kGeneral && front_end.output == Output::kLogMel &&
         recipe_.normalisation == Normalisation::kNone && recipe_.width() == front_end.filter_count;
}

// A frame stands at its middle: from the left edge of the first column to the right edge of the last one.
Range FeaturePicture::interval(const ColumnReduction& columns) const {
  const FrontEndParameters& front_end = recipe_.front_end;
  const auto before = static_cast<double>(front_end.samples_before_first());
  const double low = (0.5 * (front_end.window_length - front_end.shift) - before) / front_end.sample_rate;
  const double frames = static_cast<double>(columns.columns().height()) * columns.rows_a_column();
  return {low, low + frames * recipe_.frame_seconds()};
}

void FeaturePicture::draw_spectrogram(Page& page, Panel panel) const {
  const FeatureMatrix decibels = energies_.columns();
  const FrontEndParameters& front_end = recipe_.front_end;
  const Range faint = {own_decibels(front_end, kSilence), own_decibels(front_end, kFaint)};
  const Range values = shown(decibels.values, faint, kDynamicRange);
  panel.y = {0.5, recipe_.front_end.filter_count + 0.5};
  page.image(panel, decibels, interval(energies_), panel.y, heat_map(), values);
  page.frame(panel, "Mel spectrogram", "Frequency, Hz");
  page.time_axis(panel, false);
  page.y_axis(panel, frequency_labels(recipe_.front_end));
  page.colour_bar(panel, heat_map(), values, "dB");
}

void FeaturePicture::draw_bands(Page& page, Panel panel, const std::optional<Range>& range) const {
  const FeatureMatrix bands = rows_.columns();
  const FrontEndParameters& front_end = recipe_.front_end;
  const bool powers = front_end.logarithm == Logarithm::kNone;
  const Range faint = {band_value(front_end, kSilence), band_value(front_end, powers ? kFaintOfPowers : kFaint)};
  const double depth = powers ? std::numeric_limits<double>::infinity()
                              : band_value(front_end, kDynamicRange) - band_value(front_end, 0.0);
  const Range values = range ? *range : shown(bands.values, faint, depth);
  panel.y = {0.5, recipe_.front_end.filter_count + 0.5};
  page.image(panel, bands, interval(rows_), panel.y, heat_map(), values);
  page.frame(panel, "Features, " + std::to_string(bands.width) + " bands", "Frequency, Hz");
  page.time_axis(panel, true);
  page.y_axis(panel, frequency_labels(recipe_.front_end));
  page.colour_bar(panel, heat_map(), values, unit_of(recipe_.front_end.logarithm));
}

void FeaturePicture::draw_columns(Page& page, Panel panel, const std::optional<Range>& range) const {
  const Range deviations = range.value_or(Range{-3.0, 3.0});
  constexpr int kMostLabels = 18;
  const FeatureMatrix columns = standardised(rows_.columns());
  panel.y = {0.5, columns.width + 0.5};
  page.image(panel, columns, interval(rows_), panel.y, signed_map(), deviations);
  page.frame(panel, "Features, each by its mean and deviation", "Column");
  page.time_axis(panel, true);
  const std::vector<std::string> names = recipe_.column_names();
  const int step = (columns.width + kMostLabels - 1) / kMostLabels;
  Labels labels;
  for (int k = 0; k < columns.width; k += step) labels.emplace_back(k + 1, names[static_cast<std::size_t>(k)]);
  page.y_axis(panel, labels);
  page.colour_bar(panel, signed_map(), deviations, "deviations");
}

// Of rows without sound the time of the rows.
double FeaturePicture::seconds() const {
  if (envelope_.samples() == 0) return static_cast<double>(rows_.rows()) * recipe_.frame_seconds();
  return static_cast<double>(envelope_.samples()) / recipe_.front_end.sample_rate;
}

void FeaturePicture::draw(OutputFile& file, const PictureOptions& options, const std::string& name) const {
  const bool with_sound = envelope_.samples() > 0;
  Page page(options, kWidth, with_sound ? kHeight : kHeight / 2);
  const FrontEndParameters& front_end = recipe_.front_end;
  const Range time = {0.0, seconds()};
  if (!with_sound) {
    page.title(name + formatted(":  %lld rows of %d values", static_cast<long long>(rows_.rows()), recipe_.width()));
    draw_columns(page, stacked({{60.0, 1.0}}, page.height(), time)[0], options.range);
    return page.write(file);
  }
  page.title(name + formatted(":  %.2f s at %d Hz, frames of %.3g ms every %.3g ms, rows of %d values", seconds(),
                              front_end.sample_rate, 1000.0 * front_end.window_length / front_end.sample_rate,
                              1000.0 * recipe_.frame_seconds(), recipe_.width()));
  if (spectral()) {
    const auto panels = stacked({{60.0, 150.0}, {30.0, 610.0}}, page.height(), time);
    draw_waveform(page, panels[0], envelope_, front_end.sample_rate);
    draw_bands(page, panels[1], options.range);
  } else {
    const auto panels = stacked({{60.0, 150.0}, {30.0, 260.0}, {30.0, 320.0}}, page.height(), time);
    draw_waveform(page, panels[0], envelope_, front_end.sample_rate);
    draw_spectrogram(page, panels[1]);
    draw_columns(page, panels[2], options.range);
  }
  page.write(file);
}

}  // namespace kivsr::program
