// Mean and variance of the columns over all rows of a speaker, taken from the rows of every utterance of the speaker:
// sums as Kaldi keeps them (compute-cmvn-stats), and what they do to rows (apply-cmvn).
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/kaldi_archive.h"

namespace kivsr::speech {

// Summed in double precision, row after row: the same bits however the rows are cut into blocks.
struct ColumnSums {
  double count = 0.0;  // rows
  std::vector<double> values;
  std::vector<double> squares;

  int width() const { return static_cast<int>(values.size()); }
  // Throws Fault for another width.
  void add(const FeatureMatrix& rows);
  void add(const ColumnSums& other);
  // Two rows: the sums and the number of rows, the sums of squares and 0.
  std::vector<double> matrix() const;
};

// The sums of each key of an archive or its list ("ark:FILE", "scp:FILE", .ark, .scp), or of one matrix without a key
// (FILE:BYTE, .mat), whose key is then empty. Throws Fault for a matrix of another form.
std::map<std::string, ColumnSums> read_column_sums(const std::string& name);
void write_column_sums(const std::string& name, const std::map<std::string, ColumnSums>& sums);

// Subtracts the means, and divides by the standard deviations where that is wanted; a column that does not vary becomes
// zeros then.
class ColumnNormaliser {
 public:
  ColumnNormaliser(const ColumnSums& sums, bool variance);  // the variance divided by the number of rows
  ColumnNormaliser(std::span<const double> mean, std::span<const double> variance);  // no variance: means alone

  int width() const { return static_cast<int>(mean_.size()); }
  // Throws Fault for rows of another width.
  void apply(FeatureMatrix& rows) const;

 private:
  std::vector<double> mean_;
  std::vector<double> scale_;
};

}  // namespace kivsr::speech
