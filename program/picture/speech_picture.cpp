#include "program/picture/speech_picture.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 560;
constexpr double kFrameSeconds = 0.01;

// The share of each column of time that lies inside a segment; the segments are in their order.
std::vector<float> shares(const std::vector<SpeechSegment>& segments, Range time, int columns) {
  std::vector<float> result;
  const double width = time.span() / columns;
  auto segment = segments.begin();
  for (int column = 0; column < columns; ++column) {
    const double begin = time.low + column * width;
    double inside = 0.0;
    for (; segment != segments.end() && segment->end <= begin; ++segment) {
    }
    for (auto next = segment; next != segments.end() && next->start < begin + width; ++next) {
      inside += std::min(next->end, begin + width) - std::max(next->start, begin);
    }
    result.push_back(static_cast<float>(inside / width));
  }
  return result;
}

}  // namespace

void SpeechPicture::push_frames(const std::vector<bool>& speech, std::span<const float> decibels) {
  for (const float& energy : decibels) energies_.add(std::span(&energy, 1));
  for (const bool decision : speech) {
    const float stripe = decision ? 0.5F : 0.0F;
    decisions_.add(std::span(&stripe, 1));
  }
}

// Frame t lies around the time (t + 1) 10 ms.
Range SpeechPicture::interval(const ColumnReduction& columns) const {
  const double first = 0.5 * kFrameSeconds;
  return {first, first + static_cast<double>(columns.columns().height()) * columns.rows_a_column() * kFrameSeconds};
}

void SpeechPicture::draw_energy(Page& page, Panel panel, const std::optional<Range>& range) const {
  const FeatureMatrix decibels = energies_.columns();
  const auto [low, high] = std::minmax_element(decibels.values.begin(), decibels.values.end());
  constexpr double kLeastSpan = 40.0;  // the noise of silence is not to be stretched
  panel.y = range.value_or(Range{*low - 3.0, std::max(*high + 3.0, *low + kLeastSpan)});
  const Range time = interval(energies_);
  std::vector<std::pair<double, double>> points;
  for (int t = 0; t < decibels.height(); ++t) {
    points.emplace_back(time.low + (t + 0.5) * time.span() / decibels.height(), decibels.row(t)[0]);
  }
  page.curve(panel, points);
  page.frame(panel, "Energy", "dB");
  page.time_axis(panel, false);
  page.y_axis(panel, numbered(ticks(panel.y, 5)));
}

// Two stripes: the decisions below, the segments above.
void SpeechPicture::draw_decisions(Page& page, Panel panel, const std::vector<SpeechSegment>& segments) const {
  const FeatureMatrix decisions = decisions_.columns();
  const Range time = interval(decisions_);
  const std::vector<float> inside = shares(segments, time, decisions.height());
  FeatureMatrix stripes{2, {}};
  for (std::size_t t = 0; t < inside.size(); ++t)
    stripes.values.insert(stripes.values.end(), {decisions.values[t], inside[t]});
  panel.y = {0.0, 2.0};
  page.image(panel, stripes, time, panel.y, signed_map(), {-1.0, 1.0});
  page.frame(panel, "Speech", "");
  page.time_axis(panel, true);
  page.y_axis(panel, {{0.5, "detector"}, {1.5, "segments"}});
}

void SpeechPicture::draw(OutputFile& file, const PictureOptions& options, const std::string& name,
                         const std::vector<SpeechSegment>& segments) const {
  Page page(options, kWidth, kHeight);
  const double seconds = static_cast<double>(envelope_.samples()) / sample_rate_;
  page.title(name + formatted(":  %.2f s at %d Hz, ", seconds, sample_rate_) +
             counted(static_cast<std::int64_t>(segments.size()), "segment") + " of speech");
  const auto panels = stacked({{60.0, 180.0}, {30.0, 120.0}, {30.0, 80.0}}, page.height(), {0.0, seconds});
  draw_waveform(page, panels[0], envelope_, sample_rate_);
  draw_energy(page, panels[1], options.range);
  draw_decisions(page, panels[2], segments);
  page.write(file);
}

}  // namespace kivsr::program
