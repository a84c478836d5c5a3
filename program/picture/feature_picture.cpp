#include "program/picture/feature_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "program/picture/plot.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 900;
constexpr double kDynamicRange = 80.0;  // dB shown below the loudest energy

std::string formatted(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::vector<std::pair<double, std::string>> numbered(const std::vector<double>& values) {
  std::vector<std::pair<double, std::string>> labels;
  for (const double value : values) labels.emplace_back(value, formatted("%.6g", value));
  return labels;
}

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
std::vector<std::pair<double, std::string>> frequency_labels(const FrontEndParameters& parameters) {
  const auto mel = [&](double frequency) { return std::log1p(frequency / parameters.mel_divisor); };
  const double low = mel(parameters.low_frequency);
  const double span = mel(parameters.high_frequency) - low;
  std::vector<std::pair<double, std::string>> labels;
  for (const double frequency : {125.0, 250.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0, 16000.0}) {
    const double place = (mel(frequency) - low) / span * (parameters.filter_count + 1);
    if (place >= 0.5 && place <= parameters.filter_count + 0.5) labels.emplace_back(place, formatted("%g", frequency));
  }
  return labels;
}

class FeaturePicture {
 public:
  FeaturePicture(const Audio& audio, const FrontEndParameters& parameters)
      : audio_(audio), parameters_(parameters), page_(kWidth, kHeight), time_{0.0, audio.seconds()} {
    // The frame at index t shows its middle.
    const double half = 0.5 * (parameters.window_length - parameters.shift) / parameters.sample_rate;
    frames_ = {half, half};
  }

  void draw(const std::string& name) {
    char line[160];
    std::snprintf(line, sizeof line, ":  %.2f s at %d Hz, frames of %.3g ms every %.3g ms, %d mel filters",
                  audio_.seconds(), audio_.sample_rate, 1000.0 * parameters_.window_length / parameters_.sample_rate,
                  1000.0 * parameters_.frame_seconds(), parameters_.filter_count);
    page_.title(name + line);
    draw_waveform({60.0, 150.0, time_, {}});
    draw_spectrogram({240.0, 260.0, time_, {}});
    draw_cepstra({530.0, 80.0, time_, {}}, {640.0, 210.0, time_, {}});
  }

  void write(OutputFile& file) { page_.write(file); }

 private:
  void draw_waveform(Panel panel) {
    const Range all = extremes(audio_.samples);
    const double peak = std::max({std::abs(all.low), std::abs(all.high), 1.0});
    panel.y = {-1.05 * peak, 1.05 * peak};
    const int count = static_cast<int>(audio_.samples.size());
    page_.envelope(panel, [&](Range x) {
      const int first = std::clamp(static_cast<int>(x.low * audio_.sample_rate), 0, count - 1);
      const int last = std::clamp(static_cast<int>(std::ceil(x.high * audio_.sample_rate)), first + 1, count);
      return extremes(
          std::span(audio_.samples).subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first)));
    });
    page_.frame(panel, "Waveform", "16-bit units");
    page_.x_axis(panel, "", false);
    page_.y_axis(panel, numbered(ticks(panel.y, 5)));
  }

  void draw_spectrogram(Panel panel) {
    FrontEndParameters parameters = parameters_;
    parameters.output = Output::kLogMel;
    parameters.energy = false;
    FeatureMatrix decibels = FrontEnd(parameters).run(audio_.samples);
    const float per_neper = (parameters.spectrum == Spectrum::kPower ? 10.0F : 20.0F) / std::log(10.0F);
    call<kivsMulC_32f_I>(per_neper, decibels.values, decibels.values.size());
    Range values = extremes(decibels.values);
    values.low = std::max(values.low, values.high - kDynamicRange);
    if (values.span() < 1.0) values.low = values.high - 1.0;
    panel.y = {0.5, parameters.filter_count + 0.5};
    page_.image(panel, decibels, frame_interval(decibels.height()), panel.y, heat_map(), values);
    page_.frame(panel, "Mel spectrogram", "Frequency, Hz");
    page_.x_axis(panel, "", false);
    page_.y_axis(panel, frequency_labels(parameters));
    page_.colour_bar(panel, heat_map(), values, "dB");
  }

  void draw_cepstra(Panel zeroth, Panel others) {
    FrontEndParameters parameters = parameters_;
    parameters.output = Output::kCepstra;
    parameters.energy = false;
    parameters.zeroth = ZerothCepstrum::kFirst;
    const FeatureMatrix cepstra = FrontEnd(parameters).run(audio_.samples);
    const Range interval = frame_interval(cepstra.height());

    std::vector<std::pair<double, double>> energy;
    Range energies = {cepstra.row(0)[0], cepstra.row(0)[0]};
    FeatureMatrix rest;
    rest.width = cepstra.width - 1;
    for (int t = 0; t < cepstra.height(); ++t) {
      const auto row = cepstra.row(t);
      energy.emplace_back(interval.low + (t + 0.5) * parameters_.frame_seconds(), row[0]);
      energies = {std::min<double>(energies.low, row[0]), std::max<double>(energies.high, row[0])};
      rest.values.insert(rest.values.end(), row.begin() + 1, row.end());
    }
    zeroth.y = padded(energies);
    page_.curve(zeroth, energy);
    page_.frame(zeroth, "Cepstrum c0", "c0");
    page_.x_axis(zeroth, "Time, s", rest.width == 0);
    page_.y_axis(zeroth, numbered(ticks(zeroth.y, 3)));
    if (rest.width == 0) return;

    // The strongest hundredth of the values saturates, so that a single one does not bleach the rest.
    std::vector<float> sizes = rest.values;
    for (float& size : sizes) size = std::abs(size);
    float peak = 0.0F;
    const int count = static_cast<int>(sizes.size());
    call<kivsNthMaxElement_32f>(sizes, count, count / 100, &peak);
    peak = std::max(peak, 1e-6F);
    others.y = {0.5, rest.width + 0.5};
    page_.image(others, rest, interval, others.y, signed_map(), {-peak, peak});
    page_.frame(others, "Cepstra c1 to c" + std::to_string(rest.width), "Index");
    page_.x_axis(others, "Time, s", true);
    std::vector<std::pair<double, std::string>> labels;
    const int step = std::max(1, (rest.width + 11) / 12);
    for (int k = 1; k <= rest.width; k += step) labels.emplace_back(k, std::to_string(k));
    page_.y_axis(others, labels);
    page_.colour_bar(others, signed_map(), {-peak, peak}, "value");
  }

  // From the left edge of the first frame's column to the right edge of the last one's.
  Range frame_interval(int count) const { return {frames_.low, frames_.low + count * parameters_.frame_seconds()}; }

  const Audio& audio_;
  const FrontEndParameters& parameters_;
  Page page_;
  Range time_;
  Range frames_{0.0, 0.0};
};

}  // namespace

void check_picture_name(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension != ".png") throw Fault(file.string() + ": a picture's name ends in .png");
}

void draw_features(OutputFile& file, const std::string& name, const Audio& audio,
                   const FrontEndParameters& parameters) {
  FeaturePicture picture(audio, parameters);
  picture.draw(name);
  picture.write(file);
}

}  // namespace kivsr::program
