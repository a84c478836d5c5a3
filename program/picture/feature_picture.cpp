#include "program/picture/feature_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 900;
constexpr double kDynamicRange = 80.0;  // dB shown below the loudest energy

Range padded(Range range) {
  const double margin = range.span() > 0.0 ? 0.05 * range.span() : 1.0;
  return {range.low - margin, range.high + margin};
}

Range extremes(std::span<const float> values) {
  float low = 0.0F;
  float high = 0.0F;
  call<kivsMinMax_32f>(values, values.size(), &low, &high);
  return {low, high};
}

// Frequencies that people know, at the places of the filters whose centres they are: filter i is centred at i.
Labels frequency_labels(const FrontEndParameters& parameters) {
  const auto mel = [&](double frequency) { return std::log1p(frequency / parameters.mel_divisor); };
  const double low = mel(parameters.low_frequency);
  const double span = mel(parameters.high_frequency) - low;
  Labels labels;
  for (const double frequency : {125.0, 250.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0, 16000.0}) {
    const double place = (mel(frequency) - low) / span * (parameters.filter_count + 1);
    if (place >= 0.5 && place <= parameters.filter_count + 0.5) labels.emplace_back(place, formatted("%g", frequency));
  }
  return labels;
}

// The picture shows the sound, also where the rows come of the advanced front end.
FrontEndParameters of_energies(FrontEndParameters parameters) {
  parameters.kind = FrontEndKind::kGeneral;
  parameters.output = Output::kLogMel;
  parameters.energy = false;
  return parameters;
}

FrontEndParameters of_cepstra(FrontEndParameters parameters) {
  parameters.kind = FrontEndKind::kGeneral;
  parameters.output = Output::kCepstra;
  parameters.energy = false;
  parameters.zeroth = ZerothCepstrum::kFirst;
  return parameters;
}

// The strongest hundredth of the values saturates, so that a single one does not bleach the rest.
float saturation(const FeatureMatrix& values) {
  std::vector<float> sizes = values.values;
  for (float& size : sizes) size = std::abs(size);
  float peak = 0.0F;
  call<kivsNthMaxElement_32f>(sizes, sizes.size(), sizes.size() / 100, &peak);
  return std::max(peak, 1e-6F);
}

}  // namespace

void check_picture_name(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension != ".png") throw Fault(file.string() + ": a picture's name ends in .png");
}

FeaturePicture::FeaturePicture(const FrontEndParameters& parameters)
    : parameters_(parameters), mel_(of_energies(parameters)), cepstral_(of_cepstra(parameters)) {}

void FeaturePicture::push(std::span<const float> samples) {
  FeatureMatrix rows;
  envelope_.add(samples);
  mel_.push(samples, rows);
  energies_.add(rows);
  rows.values.clear();
  cepstral_.push(samples, rows);
  cepstra_.add(rows);
}

void FeaturePicture::finish() {
  FeatureMatrix rows;
  mel_.finish(rows);
  energies_.add(rows);
  rows.values.clear();
  cepstral_.finish(rows);
  cepstra_.add(rows);
}

// A frame stands at its middle: from the left edge of the first column to the right edge of the last one.
Range FeaturePicture::interval(const ColumnReduction& columns) const {
  const double low = 0.5 * (parameters_.window_length - parameters_.shift) / parameters_.sample_rate;
  const double frames = static_cast<double>(columns.columns().height()) * columns.rows_a_column();
  return {low, low + frames * parameters_.frame_seconds()};
}

void FeaturePicture::draw_spectrogram(Page& page, Panel panel) const {
  FeatureMatrix decibels = energies_.columns();
  const float per_neper = (parameters_.spectrum == Spectrum::kPower ? 10.0F : 20.0F) / std::log(10.0F);
  call<kivsMulC_32f_I>(per_neper, decibels.values, decibels.values.size());
  Range values = extremes(decibels.values);
  values.low = std::max(values.low, values.high - kDynamicRange);
  if (values.span() < 1.0) values.low = values.high - 1.0;
  panel.y = {0.5, parameters_.filter_count + 0.5};
  page.image(panel, decibels, interval(energies_), panel.y, heat_map(), values);
  page.frame(panel, "Mel spectrogram", "Frequency, Hz");
  page.x_axis(panel, "", false);
  page.y_axis(panel, frequency_labels(parameters_));
  page.colour_bar(panel, heat_map(), values, "dB");
}

void FeaturePicture::draw_zeroth(Page& page, Panel panel, const FeatureMatrix& cepstra) const {
  const Range time = interval(cepstra_);
  std::vector<std::pair<double, double>> curve;
  Range range = {cepstra.row(0)[0], cepstra.row(0)[0]};
  for (int t = 0; t < cepstra.height(); ++t) {
    const auto value = static_cast<double>(cepstra.row(t)[0]);
    curve.emplace_back(time.low + (t + 0.5) * time.span() / cepstra.height(), value);
    range = {std::min(range.low, value), std::max(range.high, value)};
  }
  panel.y = padded(range);
  page.curve(panel, curve);
  page.frame(panel, "Cepstrum c0", "c0");
  page.x_axis(panel, "Time, s", cepstra.width == 1);
  page.y_axis(panel, numbered(ticks(panel.y, 3)));
}

void FeaturePicture::draw_others(Page& page, Panel panel, const FeatureMatrix& cepstra) const {
  FeatureMatrix others{cepstra.width - 1, {}};
  for (int t = 0; t < cepstra.height(); ++t) {
    const auto row = cepstra.row(t).subspan(1);
    others.values.insert(others.values.end(), row.begin(), row.end());
  }
  const double peak = saturation(others);
  panel.y = {0.5, others.width + 0.5};
  page.image(panel, others, interval(cepstra_), panel.y, signed_map(), {-peak, peak});
  page.frame(panel, "Cepstra c1 to c" + std::to_string(others.width), "Index");
  page.x_axis(panel, "Time, s", true);
  Labels labels;
  const int step = std::max(1, (others.width + 11) / 12);
  for (int k = 1; k <= others.width; k += step) labels.emplace_back(k, std::to_string(k));
  page.y_axis(panel, labels);
  page.colour_bar(panel, signed_map(), {-peak, peak}, "value");
}

void FeaturePicture::draw(OutputFile& file, const std::string& name) const {
  Page page(kWidth, kHeight);
  char line[160];
  std::snprintf(line, sizeof line, ":  %.2f s at %d Hz, frames of %.3g ms every %.3g ms, %d mel filters", seconds(),
                parameters_.sample_rate, 1000.0 * parameters_.window_length / parameters_.sample_rate,
                1000.0 * parameters_.frame_seconds(), parameters_.filter_count);
  page.title(name + line);
  const Range time = {0.0, seconds()};
  draw_waveform(page, {60.0, 150.0, time, {}}, envelope_, parameters_.sample_rate);
  draw_spectrogram(page, {240.0, 260.0, time, {}});
  const FeatureMatrix cepstra = cepstra_.columns();
  draw_zeroth(page, {530.0, 80.0, time, {}}, cepstra);
  if (cepstra.width > 1) draw_others(page, {640.0, 210.0, time, {}}, cepstra);
  page.write(file);
}

}  // namespace kivsr::program
