#include "program/picture/enhancement_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end.h"
#include "program/picture/plot.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr double kPanelHeight = 230.0;
constexpr double kPanelDistance = 280.0;
constexpr double kFirstPanel = 60.0;
constexpr double kDynamicRange = 70.0;  // dB shown below the loudest bin
constexpr int kFramesASecond = 50;
constexpr int kShiftsAFrame = 4;

int count_of(const FeatureMatrix& rows) { return static_cast<int>(rows.values.size()); }

void to_decibels(FeatureMatrix& power) {
  const std::vector<float> smallest(power.values.size(), 1e-4F);
  call<kivsMaxEvery_32f_I>(smallest, power.values, count_of(power));
  call<kivsLn_32f_I>(power.values, count_of(power));
  call<kivsMulC_32f_I>(10.0F / std::log(10.0F), power.values, count_of(power));
}

// Power spectra under a Hann window, scaled as those of NoiseTrack, in dB.
FeatureMatrix spectrogram(std::span<const float> samples, int sample_rate, int& shift) {
  FrontEndParameters parameters;
  parameters.sample_rate = sample_rate;
  parameters.pre_emphasis = 0.0F;
  parameters.window = Window::kHann;
  parameters.window_length = parameters.fft_length =
      static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(sample_rate, 1600)) / kFramesASecond));
  parameters.shift = shift = parameters.fft_length / kShiftsAFrame;
  parameters.output = Output::kLogMel;  // of no use, with few wide filters
  parameters.filter_count = parameters.cepstrum_count = 4;
  parameters.low_frequency = 0.05F * static_cast<float>(sample_rate);
  parameters.high_frequency = 0.45F * static_cast<float>(sample_rate);
  constexpr float kMeanSquaredWindow = 0.375F;
  FeatureMatrix power = FrontEnd(parameters).spectra(samples);
  call<kivsMulC_32f_I>(1.0F / (kMeanSquaredWindow * static_cast<float>(parameters.fft_length)), power.values,
                       count_of(power));
  to_decibels(power);
  return power;
}

class EnhancementPicture {
 public:
  EnhancementPicture(int panels, std::size_t samples, int sample_rate)
      : page_(kWidth, static_cast<int>(kFirstPanel + panels * kPanelDistance)),
        sample_rate_(sample_rate),
        panels_(panels),
        time_{0.0, static_cast<double>(samples) / sample_rate} {}

  void title(const std::string& text) { page_.title(text); }
  void set_values(Range values) { values_ = values; }

  // Row t of the spectra stands for the time first + t * shift, in samples.
  void draw(const std::string& name, const FeatureMatrix& decibels, double first, int shift) {
    Panel panel{kFirstPanel + drawn_ * kPanelDistance, kPanelHeight, time_, {0.0, 0.0005 * sample_rate_}};
    const double begin = (first - 0.5 * shift) / sample_rate_;
    const Range x{begin, begin + static_cast<double>(decibels.height()) * shift / sample_rate_};
    page_.image(panel, decibels, x, panel.y, heat_map(), values_);
    page_.frame(panel, name, "Frequency, kHz");
    page_.x_axis(panel, "Time, s", ++drawn_ == panels_);
    std::vector<std::pair<double, std::string>> labels;
    for (const double value : ticks(panel.y, 5)) {
      char text[32];
      std::snprintf(text, sizeof text, "%g", value);
      labels.emplace_back(value, text);
    }
    page_.y_axis(panel, labels);
    page_.colour_bar(panel, heat_map(), values_, "dB");
  }

  void write(OutputFile& file) { page_.write(file); }

 private:
  Page page_;
  int sample_rate_;
  int panels_;
  int drawn_ = 0;
  Range time_;
  Range values_{0.0, 1.0};
};

}  // namespace

void draw_enhancement(OutputFile& file, const std::string& title, std::span<const float> before,
                      std::span<const float> after, int sample_rate, const NoiseTrack& noise) {
  int shift = 0;
  const FeatureMatrix spectra_before = spectrogram(before, sample_rate, shift);
  const FeatureMatrix spectra_after = spectrogram(after, sample_rate, shift);
  const double middle = 0.5 * kShiftsAFrame * shift;
  float loudest = 0.0F;
  call<kivsMax_32f>(spectra_before.values, count_of(spectra_before), &loudest);

  const bool with_noise = noise.power.height() != 0;
  EnhancementPicture picture(with_noise ? 3 : 2, before.size(), sample_rate);
  picture.title(title);
  picture.set_values({loudest - kDynamicRange, loudest});
  picture.draw("Before", spectra_before, middle, shift);
  picture.draw("After", spectra_after, middle, shift);
  if (with_noise) {
    FeatureMatrix decibels = noise.power;
    to_decibels(decibels);
    picture.draw("Estimated noise", decibels, 0.0, noise.hop);
  }
  picture.write(file);
}

}  // namespace kivsr::program
