// What a picture needs of a recording of any length, in memory that does not grow with it: columns that stand for more
// and more rows, strokes that stand for more and more samples.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "program/picture/plot.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Up to most_columns rows as they are; of more the mean of each two neighbours, of each four, and so on.
class ColumnReduction {
 public:
  explicit ColumnReduction(int most_columns = 4096) : most_columns_(most_columns) {}

  void add(std::span<const float> row);
  void add(const FeatureMatrix& rows);
  // The columns; the last one may stand for fewer rows than the others.
  FeatureMatrix columns() const;
  int rows_a_column() const { return rows_a_column_; }
  std::int64_t rows() const { return rows_; }

 private:
  int most_columns_;
  int rows_a_column_ = 1;
  std::int64_t rows_ = 0;
  FeatureMatrix columns_;    // of rows_a_column_ rows each
  std::vector<double> sum_;  // of the rows of the next column
  int summed_ = 0;
};

// The least and the greatest sample of any stretch of a signal, to within 1/32768 of its length at most.
class Envelope {
 public:
  void add(std::span<const float> samples);
  std::int64_t samples() const { return samples_; }
  // Of all, and of the samples from first to behind last; some must be there.
  Range extremes() const { return extremes(0, samples_); }
  Range extremes(std::int64_t first, std::int64_t last) const;

 private:
  static constexpr std::size_t kMostStretches = 65536;

  std::int64_t stretch_ = 1;  // samples
  std::int64_t samples_ = 0;
  std::vector<float> low_;  // of each stretch
  std::vector<float> high_;
};

// A panel of the waveform over the time of panel.x, in seconds.
void draw_waveform(Page& page, Panel panel, const Envelope& envelope, int sample_rate);

}  // namespace kivsr::program
