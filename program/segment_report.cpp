#include "program/segment_report.h"

#include <cstdarg>
#include <cstdio>

namespace kivsr::program {

namespace {

__attribute__((format(printf, 2, 3))) void append(std::string& text, const char* format, ...) {
  char line[160];
  std::va_list values;
  va_start(values, format);
  std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  text += line;
}

// A field of a table with commas: in quotation marks where it needs them.
std::string field(const std::string& text) {
  if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char character : text) quoted += character == '"' ? std::string("\"\"") : std::string(1, character);
  return quoted + '"';
}

}  // namespace

std::string segment_header(SegmentFormat format) { return format == SegmentFormat::kCsv ? "file,start,end\n" : ""; }

std::string segment_lines(const std::string& file, const std::vector<SpeechSegment>& segments, double seconds,
                          SegmentFormat format) {
  std::string lines;
  if (format == SegmentFormat::kText) {
    double speech = 0.0;
    for (const SpeechSegment& segment : segments) speech += segment.duration();
    lines = file;
    append(lines, ": %zu segment%s, %.2f s of speech in %.2f s\n", segments.size(), segments.size() == 1 ? "" : "s",
           speech, seconds);
  }
  for (const SpeechSegment& segment : segments) {
    switch (format) {
      case SegmentFormat::kText: append(lines, "  %8.3f  %8.3f\n", segment.start, segment.end); break;
      case SegmentFormat::kCsv:
        lines += field(file);
        append(lines, ",%.3f,%.3f\n", segment.start, segment.end);
        break;
      case SegmentFormat::kAudacity: append(lines, "%.6f\t%.6f\tspeech\n", segment.start, segment.end); break;
    }
  }
  return lines;
}

}  // namespace kivsr::program
