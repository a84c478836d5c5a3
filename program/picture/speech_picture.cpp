#include "program/picture/speech_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "program/picture/plot.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 560;
constexpr double kFrameSeconds = 0.01;

std::vector<std::pair<double, std::string>> numbered(Range range) {
  std::vector<std::pair<double, std::string>> labels;
  for (const double value : ticks(range, 5)) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    labels.emplace_back(value, text);
  }
  return labels;
}

Range extremes(std::span<const float> values) {
  float low = 0.0F;
  float high = 0.0F;
  call<kivsMinMax_32f>(values, values.size(), &low, &high);
  return {low, high};
}

void draw_waveform(Page& page, Panel panel, const Audio& audio) {
  const Range all = extremes(audio.samples);
  const double peak = std::max({std::abs(all.low), std::abs(all.high), 1.0});
  panel.y = {-1.05 * peak, 1.05 * peak};
  const int count = static_cast<int>(audio.samples.size());
  page.envelope(panel, [&](Range x) {
    const int first = std::clamp(static_cast<int>(x.low * audio.sample_rate), 0, count - 1);
    const int last = std::clamp(static_cast<int>(std::ceil(x.high * audio.sample_rate)), first + 1, count);
    return extremes(
        std::span(audio.samples).subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first)));
  });
  page.frame(panel, "Waveform", "16-bit units");
  page.x_axis(panel, "", false);
  page.y_axis(panel, numbered(panel.y));
}

void draw_energy(Page& page, Panel panel, std::span<const float> decibels) {
  const Range all = extremes(decibels);
  panel.y = {all.low - 3.0, all.high + 3.0};
  std::vector<std::pair<double, double>> points;
  for (std::size_t t = 0; t < decibels.size(); ++t) {
    points.emplace_back(static_cast<double>(t + 1) * kFrameSeconds, decibels[t]);
  }
  page.curve(panel, points);
  page.frame(panel, "Energy", "dB");
  page.x_axis(panel, "", false);
  page.y_axis(panel, numbered(panel.y));
}

// Two stripes: the decisions below, the segments above.
void draw_decisions(Page& page, Panel panel, const std::vector<bool>& speech,
                    const std::vector<SpeechSegment>& segments) {
  FeatureMatrix stripes;
  stripes.width = 2;
  for (std::size_t t = 0; t < speech.size(); ++t) {
    const double time = static_cast<double>(t + 1) * kFrameSeconds;
    const bool inside = std::any_of(segments.begin(), segments.end(), [&](const SpeechSegment& segment) {
      return time >= segment.start && time < segment.end;
    });
    stripes.values.push_back(speech[t] ? 0.5F : 0.0F);
    stripes.values.push_back(inside ? 1.0F : 0.0F);
  }
  panel.y = {0.0, 2.0};
  const double first = 0.5 * kFrameSeconds;
  page.image(panel, stripes, {first, first + static_cast<double>(speech.size()) * kFrameSeconds}, panel.y, signed_map(),
             {-1.0, 1.0});
  page.frame(panel, "Speech", "");
  page.x_axis(panel, "Time, s", true);
  page.y_axis(panel, {{0.5, "detector"}, {1.5, "segments"}});
}

}  // namespace

void draw_speech(OutputFile& file, const std::string& name, const Audio& audio, std::span<const float> decibels,
                 const std::vector<bool>& speech, const std::vector<SpeechSegment>& segments) {
  Page page(kWidth, kHeight);
  char line[96];
  std::snprintf(line, sizeof line, ":  %.2f s at %d Hz, %zu segment%s of speech", audio.seconds(), audio.sample_rate,
                segments.size(), segments.size() == 1 ? "" : "s");
  page.title(name + line);
  const Range time = {0.0, audio.seconds()};
  draw_waveform(page, {60.0, 180.0, time, {}}, audio);
  draw_energy(page, {270.0, 120.0, time, {}}, decibels);
  draw_decisions(page, {420.0, 80.0, time, {}}, speech, segments);
  page.write(file);
}

}  // namespace kivsr::program
