// A page of panels under one another, each with axes in units: curves and coloured matrices. Drawn with cairo.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/output_file.h"
#include "program/picture/colour_map.h"
#include "program/speech_names.h"

struct _cairo;
struct _cairo_surface;

namespace kivsr::program {

struct Range {
  double low;
  double high;
  double span() const { return high - low; }
};

// Round numbers inside the range, about `wanted` of them.
std::vector<double> ticks(Range range, int wanted);

// Places on an axis and what is written there.
using Labels = std::vector<std::pair<double, std::string>>;
Labels numbered(const std::vector<double>& values);

// A rectangle of the page and the values at its edges.
struct Panel {
  double top;
  double height;
  Range x;
  Range y;
};

// What the command line says about a picture.
struct PictureOptions {
  std::string file;  // .png, .svg or .pdf; empty: none
  int width = 0;     // of pixels, or of points on paper; 0: as suits
  int height = 0;
  std::optional<Range> range = std::nullopt;  // of the values that the colours stand for; else as suits
};

// Throws Fault unless the name ends in .png, .svg or .pdf.
void check_picture_name(const std::string& file);

// Panels under one another on a page of that height, each with room above it; what is left belongs to the panels, in
// proportion to their heights.
struct PanelPlace {
  double above;
  double height;
};
std::vector<Panel> stacked(const std::vector<PanelPlace>& places, double page_height, Range x);

class Page {
 public:
  // Of the size that the options say, or else of the one that suits.
  Page(const PictureOptions& options, int width, int height);
  ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  void title(const std::string& text);
  void frame(const Panel& panel, const std::string& name, const std::string& y_unit);
  // Of seconds, in minutes or hours where there are many.
  void time_axis(const Panel& panel, bool with_numbers);
  // unit: below the numbers.
  void x_axis(const Panel& panel, const Labels& labels, const std::string& unit);
  void y_axis(const Panel& panel, const Labels& labels);
  void colour_bar(const Panel& panel, ColourMap map, Range values, const std::string& unit);
  // Columns of the matrix rows stand upwards, from y_low for the first to y_high for the last; rows lie along x in the
  // interval given.
  void image(const Panel& panel, const FeatureMatrix& rows, Range x, Range y, ColourMap map, Range values);
  void curve(const Panel& panel, const std::vector<std::pair<double, double>>& points);
  // The same over an image: light, with a dark edge.
  void light_curve(const Panel& panel, const std::vector<std::pair<double, double>>& points);
  // Vertical strokes from low to high, one a pixel column.
  void envelope(const Panel& panel, const std::function<Range(Range x)>& extent);

  static void check_name(const std::string& file) { format_of(file); }
  int height() const { return height_; }
  // The page in the format that its name asks for; the caller commits the file.
  void write(OutputFile& file);

 private:
  double x_of(const Panel& panel, double x) const;
  double y_of(const Panel& panel, double y) const;
  void clip(const Panel& panel);
  void stroke(const Panel& panel, const std::vector<std::pair<double, double>>& points, Colour colour, double width);
  void text(double x, double y, const std::string& text, double align, double size, bool vertical = false);

  enum class Format { kPng, kSvg, kPdf };
  static Format format_of(const std::string& file);

  Format format_;
  int width_;
  int height_;
  std::unique_ptr<_cairo_surface, void (*)(_cairo_surface*)> surface_;
  std::unique_ptr<_cairo, void (*)(_cairo*)> cairo_;
};

}  // namespace kivsr::program
