#include "program/picture/plot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

#ifdef KIVSR_SANITIZE
// The font configuration keeps a few bytes for the life of the process: no leak of ours.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
#endif

namespace kivsr::program {

namespace {

constexpr double kLeft = 78.0;
constexpr double kRight = 92.0;
constexpr double kTextSize = 12.0;
constexpr double kTitleSize = 15.0;
constexpr Colour kInk = {0.15, 0.15, 0.18};
constexpr Colour kGrid = {0.88, 0.88, 0.90};
constexpr Colour kCurve = {0.12, 0.34, 0.60};
constexpr Colour kLight = {0.45, 0.95, 1.0};  // over an image
constexpr Colour kDarkEdge = {0.0, 0.05, 0.15};

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", std::abs(value) < 1e-12 ? 0.0 : value);
  return text;
}

void set_colour(cairo_t* cairo, const Colour& colour) {
  cairo_set_source_rgb(cairo, colour.red, colour.green, colour.blue);
}

}  // namespace

std::vector<double> ticks(Range range, int wanted) {
  if (!(range.span() > 0.0) || wanted < 1) return {};
  const double rough = range.span() / wanted;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  double step = 10.0 * power;
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= rough * 0.7) {
      step = factor * power;
      break;
    }
  }
  std::vector<double> values;
  const double slack = step * 1e-9;
  for (double index = std::ceil((range.low - slack) / step); index * step <= range.high + slack; ++index) {
    values.push_back(index * step + 0.0);
  }
  return values;
}

Labels numbered(const std::vector<double>& values) {
  Labels labels;
  for (const double value : values) labels.emplace_back(value, number(value));
  return labels;
}

Page::Format Page::format_of(const std::string& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".png") return Format::kPng;
  if (extension == ".svg") return Format::kSvg;
  if (extension == ".pdf") return Format::kPdf;
  throw Fault(file + ": a picture's name ends in .png, .svg or .pdf");
}

void check_picture_name(const std::string& file) { Page::check_name(file); }

std::vector<Panel> stacked(const std::vector<PanelPlace>& places, double page_height, Range x) {
  constexpr double kBelow = 50.0;
  double room = page_height - kBelow;
  double heights = 0.0;
  for (const PanelPlace& place : places) {
    room -= place.above;
    heights += place.height;
  }
  std::vector<Panel> panels;
  double top = 0.0;
  for (const PanelPlace& place : places) {
    const double height = std::max(1.0, std::round(place.height * room / heights));
    panels.push_back({top + place.above, height, x, {}});
    top += place.above + height;
  }
  return panels;
}

namespace {

// What is not pixels is kept as strokes until its file is written.
cairo_surface_t* make_surface(bool of_pixels, int width, int height) {
  const cairo_rectangle_t extents = {0.0, 0.0, static_cast<double>(width), static_cast<double>(height)};
  return of_pixels ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)
                   : cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &extents);
}

}  // namespace

Page::Page(const PictureOptions& options, int width, int height)
    : format_(format_of(options.file)),
      width_(options.width > 0 ? options.width : width),
      height_(options.height > 0 ? options.height : height),
      surface_(make_surface(format_ == Format::kPng, width_, height_), cairo_surface_destroy),
      cairo_(cairo_create(surface_.get()), cairo_destroy) {
  if (cairo_status(cairo_.get()) != CAIRO_STATUS_SUCCESS) throw Fault("no memory for a picture of this size");
  cairo_set_source_rgb(cairo_.get(), 1.0, 1.0, 1.0);
  cairo_paint(cairo_.get());
  cairo_select_font_face(cairo_.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
}

Page::~Page() = default;

double Page::x_of(const Panel& panel, double x) const {
  return kLeft + (x - panel.x.low) / panel.x.span() * (width_ - kLeft - kRight);
}

double Page::y_of(const Panel& panel, double y) const {
  return panel.top + panel.height - (y - panel.y.low) / panel.y.span() * panel.height;
}

void Page::clip(const Panel& panel) {
  cairo_rectangle(cairo_.get(), kLeft, panel.top, width_ - kLeft - kRight, panel.height);
  cairo_clip(cairo_.get());
}

// align: 0 the text begins at x, 0.5 it is centred there, 1 it ends there; y is the middle of its height.
void Page::text(double x, double y, const std::string& text, double align, double size, bool vertical) {
  cairo_t* const cairo = cairo_.get();
  cairo_save(cairo);
  set_colour(cairo, kInk);
  cairo_set_font_size(cairo, size);
  cairo_text_extents_t extents;
  cairo_font_extents_t font;
  cairo_text_extents(cairo, text.c_str(), &extents);
  cairo_font_extents(cairo, &font);
  cairo_translate(cairo, x, y);
  if (vertical) cairo_rotate(cairo, -std::acos(0.0));
  cairo_move_to(cairo, -align * extents.x_advance, 0.5 * (font.ascent - font.descent));
  cairo_show_text(cairo, text.c_str());
  cairo_restore(cairo);
}

void Page::title(const std::string& line) { text(kLeft, 20.0, line, 0.0, kTitleSize); }

void Page::frame(const Panel& panel, const std::string& name, const std::string& y_unit) {
  cairo_t* const cairo = cairo_.get();
  set_colour(cairo, kInk);
  cairo_set_line_width(cairo, 1.0);
  cairo_rectangle(cairo, kLeft - 0.5, panel.top - 0.5, width_ - kLeft - kRight + 1.0, panel.height + 1.0);
  cairo_stroke(cairo);
  text(kLeft, panel.top - 11.0, name, 0.0, kTextSize);
  text(16.0, panel.top + 0.5 * panel.height, y_unit, 0.5, kTextSize, true);
}

void Page::time_axis(const Panel& panel, bool with_numbers) {
  constexpr double kLongInSeconds = 300.0;
  constexpr double kLongInMinutes = 5.0 * 3600.0;
  const double seconds = panel.x.span();
  const double unit = seconds > kLongInMinutes ? 3600.0 : seconds > kLongInSeconds ? 60.0 : 1.0;
  const char* const name = unit == 3600.0 ? "Time, h" : unit == 60.0 ? "Time, min" : "Time, s";
  const int wanted = std::clamp(width_ / 100, 2, 40);
  Labels labels;
  for (const double value : ticks({panel.x.low / unit, panel.x.high / unit}, wanted)) {
    labels.emplace_back(value * unit, with_numbers ? number(value) : "");
  }
  x_axis(panel, labels, with_numbers ? name : "");
}

void Page::x_axis(const Panel& panel, const Labels& labels, const std::string& unit) {
  cairo_t* const cairo = cairo_.get();
  const double bottom = panel.top + panel.height;
  for (const auto& [value, label] : labels) {
    const double x = std::floor(x_of(panel, value)) + 0.5;
    set_colour(cairo, kInk);
    cairo_set_line_width(cairo, 1.0);
    cairo_move_to(cairo, x, bottom);
    cairo_line_to(cairo, x, bottom + 4.0);
    cairo_stroke(cairo);
    if (!label.empty()) text(x, bottom + 13.0, label, 0.5, kTextSize);
  }
  if (!unit.empty()) text(kLeft + 0.5 * (width_ - kLeft - kRight), bottom + 31.0, unit, 0.5, kTextSize);
}

void Page::y_axis(const Panel& panel, const Labels& labels) {
  cairo_t* const cairo = cairo_.get();
  for (const auto& [value, label] : labels) {
    const double y = std::floor(y_of(panel, value)) + 0.5;
    set_colour(cairo, kInk);
    cairo_set_line_width(cairo, 1.0);
    cairo_move_to(cairo, kLeft - 4.0, y);
    cairo_line_to(cairo, kLeft, y);
    cairo_stroke(cairo);
    text(kLeft - 7.0, y, label, 1.0, kTextSize);
  }
}

void Page::colour_bar(const Panel& panel, ColourMap map, Range values, const std::string& unit) {
  cairo_t* const cairo = cairo_.get();
  const double left = width_ - kRight + 12.0;
  constexpr double kBarWidth = 14.0;
  for (int line = 0; line < static_cast<int>(panel.height); ++line) {
    set_colour(cairo, colour_at(map, 1.0 - (line + 0.5) / panel.height));
    cairo_rectangle(cairo, left, panel.top + line, kBarWidth, 1.0);
    cairo_fill(cairo);
  }
  set_colour(cairo, kInk);
  cairo_set_line_width(cairo, 1.0);
  cairo_rectangle(cairo, left - 0.5, panel.top - 0.5, kBarWidth + 1.0, panel.height + 1.0);
  cairo_stroke(cairo);
  for (const double value : ticks(values, 5)) {
    const double y = panel.top + panel.height * (values.high - value) / values.span();
    text(left + kBarWidth + 5.0, y, number(value), 0.0, kTextSize);
  }
  text(left, panel.top - 11.0, unit, 0.0, kTextSize);
}

namespace {

// No more columns than that: each the mean of the rows that it stands for. Interpolation by the drawing library would
// mix the bands of a row too.
FeatureMatrix fitted(const FeatureMatrix& rows, int most) {
  const std::int64_t height = rows.height();
  if (height <= most) return rows;
  FeatureMatrix means{rows.width, {}};
  for (std::int64_t column = 0; column < most; ++column) {
    const std::int64_t from = column * height / most;
    const std::int64_t to = (column + 1) * height / most;
    for (int band = 0; band < rows.width; ++band) {
      double sum = 0.0;
      for (std::int64_t t = from; t < to; ++t) {
        sum += static_cast<double>(rows.row(static_cast<int>(t))[static_cast<std::size_t>(band)]);
      }
      means.values.push_back(static_cast<float>(sum / static_cast<double>(to - from)));
    }
  }
  return means;
}

}  // namespace

void Page::image(const Panel& panel, const FeatureMatrix& given, Range x, Range y, ColourMap map, Range values) {
  const FeatureMatrix rows = fitted(given, std::max(1, static_cast<int>(x_of(panel, x.high) - x_of(panel, x.low))));
  const int columns = rows.height();
  if (columns == 0 || rows.width == 0) return;
  const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> image(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, columns, rows.width), cairo_surface_destroy);
  if (cairo_surface_status(image.get()) != CAIRO_STATUS_SUCCESS) throw Fault("no memory for a picture of this size");
  cairo_surface_flush(image.get());
  unsigned char* const data = cairo_image_surface_get_data(image.get());
  const int stride = cairo_image_surface_get_stride(image.get());
  for (int column = 0; column < columns; ++column) {
    for (int band = 0; band < rows.width; ++band) {
      const auto cell = static_cast<double>(rows.row(column)[static_cast<std::size_t>(band)]);
      const double value = (cell - values.low) / values.span();
      auto* const line =
          reinterpret_cast<std::uint32_t*>(data + static_cast<std::ptrdiff_t>(stride) * (rows.width - 1 - band));
      line[column] = colour_at(map, value).pixel();
    }
  }
  cairo_surface_mark_dirty(image.get());

  cairo_t* const cairo = cairo_.get();
  cairo_save(cairo);
  clip(panel);
  cairo_translate(cairo, x_of(panel, x.low), y_of(panel, y.high));
  cairo_scale(cairo, (x_of(panel, x.high) - x_of(panel, x.low)) / columns,
              (y_of(panel, y.low) - y_of(panel, y.high)) / rows.width);
  cairo_set_source_surface(cairo, image.get(), 0.0, 0.0);
  cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_NEAREST);
  cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_NONE);
  cairo_paint(cairo);
  cairo_restore(cairo);
}

void Page::stroke(const Panel& panel, const std::vector<std::pair<double, double>>& points, Colour colour,
                  double width) {
  cairo_t* const cairo = cairo_.get();
  cairo_save(cairo);
  clip(panel);
  set_colour(cairo, colour);
  cairo_set_line_width(cairo, width);
  cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
  for (const auto& [x, y] : points) cairo_line_to(cairo, x_of(panel, x), y_of(panel, y));
  cairo_stroke(cairo);
  cairo_restore(cairo);
}

void Page::curve(const Panel& panel, const std::vector<std::pair<double, double>>& points) {
  stroke(panel, points, kCurve, 1.4);
}

void Page::light_curve(const Panel& panel, const std::vector<std::pair<double, double>>& points) {
  stroke(panel, points, kDarkEdge, 4.0);
  stroke(panel, points, kLight, 2.0);
}

void Page::envelope(const Panel& panel, const std::function<Range(Range x)>& extent) {
  cairo_t* const cairo = cairo_.get();
  cairo_save(cairo);
  clip(panel);
  const double middle = y_of(panel, 0.0);
  set_colour(cairo, kGrid);
  cairo_set_line_width(cairo, 1.0);
  cairo_move_to(cairo, kLeft, std::floor(middle) + 0.5);
  cairo_line_to(cairo, width_ - kRight, std::floor(middle) + 0.5);
  cairo_stroke(cairo);
  set_colour(cairo, kCurve);
  const int columns = static_cast<int>(width_ - kLeft - kRight);
  for (int column = 0; column < columns; ++column) {
    const double left = panel.x.low + panel.x.span() * column / columns;
    const Range values = extent({left, left + panel.x.span() / columns});
    const double top = y_of(panel, values.high);
    const double bottom = std::max(y_of(panel, values.low), top + 1.0);  // silence shows as a line
    cairo_rectangle(cairo, kLeft + column, top, 1.0, bottom - top);
  }
  cairo_fill(cairo);
  cairo_restore(cairo);
}

namespace {

// A fault of the file must not pass through cairo's C code.
struct Sink {
  OutputFile* file;
  std::exception_ptr fault;
};

cairo_status_t take(void* closure, const unsigned char* bytes, unsigned count) {
  auto& to = *static_cast<Sink*>(closure);
  try {
    to.file->write(bytes, count);
    return CAIRO_STATUS_SUCCESS;
  } catch (...) {
    to.fault = std::current_exception();
    return CAIRO_STATUS_WRITE_ERROR;
  }
}

// The strokes that were kept, onto the surface of a file.
cairo_status_t replay(cairo_surface_t* strokes, cairo_surface_t* onto) {
  cairo_t* const cairo = cairo_create(onto);
  cairo_set_source_surface(cairo, strokes, 0.0, 0.0);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  cairo_surface_finish(onto);
  const cairo_status_t status = cairo_surface_status(onto);
  cairo_surface_destroy(onto);
  return status;
}

}  // namespace

void Page::write(OutputFile& file) {
  Sink sink = {&file, nullptr};
  cairo_surface_flush(surface_.get());
  cairo_status_t status = CAIRO_STATUS_SUCCESS;
  switch (format_) {
    case Format::kPng: status = cairo_surface_write_to_png_stream(surface_.get(), take, &sink); break;
    case Format::kSvg:
      status = replay(surface_.get(), cairo_svg_surface_create_for_stream(take, &sink, width_, height_));
      break;
    case Format::kPdf:
      status = replay(surface_.get(), cairo_pdf_surface_create_for_stream(take, &sink, width_, height_));
      break;
  }
  if (sink.fault) std::rethrow_exception(sink.fault);
  if (status != CAIRO_STATUS_SUCCESS) {
    throw Fault(std::string("the picture cannot be written: ") + cairo_status_to_string(status));
  }
}

}  // namespace kivsr::program
