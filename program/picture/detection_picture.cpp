#include "program/picture/detection_picture.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr int kWidth = 760;
constexpr int kHeight = 740;
constexpr double kLeast = 0.01;  // percent; less does not fit on the axes
constexpr double kMost = 99.99;

double place_of(double percent) { return normal_quantile(std::clamp(percent, kLeast, kMost) / 100.0); }

Labels labels_within(Range places) {
  Labels labels;
  for (const double percent : {0.01, 0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 40.0, 60.0, 80.0, 90.0, 95.0, 99.0}) {
    const double place = place_of(percent);
    if (place >= places.low - 1e-9 && place <= places.high + 1e-9) labels.emplace_back(place, number_text(percent, 4));
  }
  return labels;
}

}  // namespace

void draw_detection_errors(OutputFile& file, const PictureOptions& options, const std::string& name,
                           const DetectionErrors& errors) {
  const Range percent = options.range.value_or(Range{0.1, 60.0});
  const Range places{place_of(percent.low), place_of(percent.high)};
  if (!(places.span() > 0.0)) throw Fault("--range: the axes go from 0.01 to 99.99 percent");
  Page page(options, kWidth, kHeight);
  const double equal = errors.equal_error_rate();
  page.title(name + formatted(":  %d trials of targets, %d of others, equal error rate %.2f %%", errors.targets(),
                              errors.others(), 100.0 * equal));
  Panel panel = stacked({{60.0, 600.0}}, page.height(), places).front();
  panel.y = places;
  std::vector<std::pair<double, double>> points;
  for (const DetectionPoint& point : errors.curve()) {
    points.emplace_back(place_of(100.0 * point.false_alarms), place_of(100.0 * point.misses));
  }
  page.curve(panel, {{places.low, places.low}, {places.high, places.high}});
  page.curve(panel, points);
  page.frame(panel, "", "Misses, %");
  page.x_axis(panel, labels_within(places), "False alarms, %");
  page.y_axis(panel, labels_within(places));
  page.write(file);
}

}  // namespace kivsr::program
