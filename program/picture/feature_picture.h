// Waveform and mel spectrogram of a signal and the rows of features made of it as a picture.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/output_file.h"
#include "program/picture/reduction.h"
#include "program/speech_names.h"

namespace kivsr::program {

// What is shown is gathered as samples and rows come; there must be at least one row. Without samples, of rows that
// were read from a file, only the rows are drawn.
class FeaturePicture {
 public:
  // Of the recipe of the rows. Log mel energies are a spectrogram themselves.
  explicit FeaturePicture(const Recipe& recipe);

  int sample_rate() const { return recipe_.front_end.sample_rate; }
  void push(std::span<const float> samples);
  void push_rows(const FeatureMatrix& rows) { rows_.add(rows); }
  void finish();
  // Writes the picture to the file and leaves the commit to the caller. The range is that of the rows' colours: of
  // bands in their own unit, of other columns in standard deviations.
  void draw(OutputFile& file, const PictureOptions& options, const std::string& name) const;

 private:
  double seconds() const;
  bool spectral() const;
  Range interval(const ColumnReduction& columns) const;
  void draw_spectrogram(Page& page, Panel panel) const;
  void draw_bands(Page& page, Panel panel, const std::optional<Range>& range) const;
  void draw_columns(Page& page, Panel panel, const std::optional<Range>& range) const;

  Recipe recipe_;
  FrontEnd mel_;
  Envelope envelope_;
  ColumnReduction energies_;
  ColumnReduction rows_;
};

}  // namespace kivsr::program
