#include "program/pitch_report.h"

#include <utility>

#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr std::string_view kTierHead = "File type = \"ooTextFile\"\nObject class = \"PitchTier\"\n\nxmin = 0 \nxmax = ";
constexpr std::string_view kTierPoints = " \npoints: size = ";
constexpr int kTierTime = 20;   // places for the duration
constexpr int kTierCount = 12;  // and for the number of points

}  // namespace

std::string pitch_header(PitchFormat format) {
  return format == PitchFormat::kCsv ? "file,time,f0,correlation,probability\n" : "";
}

PitchReport::PitchReport(PitchFormat format, const std::string& file, double frame_seconds, Write write,
                         Overwrite overwrite)
    : format_(format),
      file_(format == PitchFormat::kCsv ? comma_field(file) : file),
      frame_seconds_(frame_seconds),
      write_(std::move(write)),
      overwrite_(std::move(overwrite)) {}

void PitchReport::begin() {
  begun_ = true;
  if (format_ == PitchFormat::kText) {
    write_(file_ + "\n" + formatted("%10s  %8s  %11s  %11s\n", "time", "f0", "correlation", "probability"));
  } else if (format_ == PitchFormat::kPitchTier) {
    write_(kTierHead);
    write_(std::string(kTierTime, ' '));
    write_(kTierPoints);
    write_(std::string(kTierCount, ' ') + "\n");
  }
}

void PitchReport::append(std::span<const PitchFrame> frames) {
  if (!begun_) begin();
  std::string text;
  for (const PitchFrame& frame : frames) {
    const double time = static_cast<double>(frame_++) * frame_seconds_;
    const auto f0 = static_cast<double>(frame.frequency);
    const auto correlation = static_cast<double>(frame.correlation);
    const auto probability = static_cast<double>(frame.probability);
    switch (format_) {
      case PitchFormat::kText:
        text += formatted("%10.3f  %8.2f  %11.4f  %11.4f\n", time, f0, correlation, probability);
        break;
      case PitchFormat::kCsv:
        text += file_ + formatted(",%.6g,%.6g,%.6g,%.6g\n", time, f0, correlation, probability);
        break;
      case PitchFormat::kPitchTier:
        if (!(f0 > 0.0)) break;
        ++voiced_;
        text += formatted("points [%lld]:\n    number = %.9g \n    value = %.9g \n", static_cast<long long>(voiced_),
                          time, f0);
        break;
    }
  }
  write_(text);
}

void PitchReport::end(double seconds) {
  if (format_ != PitchFormat::kPitchTier) return;
  const auto head = static_cast<std::int64_t>(kTierHead.size());
  overwrite_(head, formatted("%-*.9g", kTierTime, seconds));
  overwrite_(head + kTierTime + static_cast<std::int64_t>(kTierPoints.size()),
             formatted("%-*lld", kTierCount, static_cast<long long>(voiced_)));
}

FeatureMatrix pitch_rows(std::span<const PitchFrame> frames) {
  FeatureMatrix rows{3, {}};
  for (const PitchFrame& frame : frames) {
    rows.values.insert(rows.values.end(), {frame.frequency, frame.correlation, frame.probability});
  }
  return rows;
}

}  // namespace kivsr::program
