#include "program/segment_report.h"

#include "program/report_text.h"

namespace kivsr::program {

std::string segment_header(SegmentFormat format) { return format == SegmentFormat::kCsv ? "file,start,end\n" : ""; }

std::string segment_lines(const std::string& file, const std::vector<SpeechSegment>& segments, double seconds,
                          SegmentFormat format) {
  std::string lines;
  if (format == SegmentFormat::kText) {
    double speech = 0.0;
    for (const SpeechSegment& segment : segments) speech += segment.duration();
    lines = file;
    lines += ": " + counted(static_cast<std::int64_t>(segments.size()), "segment") +
             formatted(", %.2f s of speech in %.2f s\n", speech, seconds);
  }
  for (const SpeechSegment& segment : segments) {
    switch (format) {
      case SegmentFormat::kText: lines += formatted("  %8.3f  %8.3f\n", segment.start, segment.end); break;
      case SegmentFormat::kCsv:
        lines += comma_field(file);
        lines += formatted(",%.3f,%.3f\n", segment.start, segment.end);
        break;
      case SegmentFormat::kAudacity: lines += formatted("%.6f\t%.6f\tspeech\n", segment.start, segment.end); break;
    }
  }
  return lines;
}

}  // namespace kivsr::program
