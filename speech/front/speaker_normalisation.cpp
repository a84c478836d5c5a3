#include "kivsr/speech/front/speaker_normalisation.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_matrix.h"

namespace kivsr::speech {

namespace {

constexpr double kNoVariance = 1e-10;  // as of the normalisation of an utterance

void require_width(int width, int expected) {
  if (width == expected) return;
  throw Fault("statistics of " + std::to_string(expected) + " columns do not fit rows of " + std::to_string(width));
}

ColumnSums read_matrix(const std::string& name) {
  const KaldiPlace place = kaldi_place(name).value_or(KaldiPlace{.file = name});
  BinaryFile file(place.file);
  file.skip(place.byte, "the place of the statistics");
  KaldiMatrixReader reader(file);
  if (reader.height() != 2 || reader.width() < 2) {
    throw Fault(name + ": statistics of speakers have two rows, this has " + std::to_string(reader.height()) + " of " +
                std::to_string(reader.width()));
  }
  std::vector<double> values;
  while (reader.read(values)) {
  }
  const auto width = static_cast<std::ptrdiff_t>(reader.width()) - 1;
  ColumnSums sums;
  sums.count = values[static_cast<std::size_t>(width)];
  sums.values.assign(values.begin(), values.begin() + width);
  sums.squares.assign(values.begin() + width + 1, values.end() - 1);
  const bool finite = std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
  if (!finite || sums.count <= 0.0) throw Fault(name + ": statistics of no rows, or not of finite numbers");
  return sums;
}

}  // namespace

void ColumnSums::add(const FeatureMatrix& rows) {
  if (rows.height() == 0) return;
  if (values.empty()) {
    values.assign(static_cast<std::size_t>(rows.width), 0.0);
    squares = values;
  }
  require_width(rows.width, width());
  for (std::size_t i = 0; i < rows.values.size(); ++i) {
    const double value = rows.values[i];
    const std::size_t column = i % values.size();
    values[column] += value;
    squares[column] += value * value;
  }
  count += rows.height();
}

void ColumnSums::add(const ColumnSums& other) {
  if (other.values.empty()) return;
  if (values.empty()) {
    *this = other;
    return;
  }
  require_width(other.width(), width());
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] += other.values[i];
    squares[i] += other.squares[i];
  }
  count += other.count;
}

std::vector<double> ColumnSums::matrix() const {
  std::vector<double> rows = values;
  rows.push_back(count);
  rows.insert(rows.end(), squares.begin(), squares.end());
  rows.push_back(0.0);
  return rows;
}

std::map<std::string, ColumnSums> read_column_sums(const std::string& name) {
  std::map<std::string, ColumnSums> sums;
  const auto specifier = kaldi_specifier(name);
  if (!specifier) {
    sums.emplace("", read_matrix(name));
    return sums;
  }
  for (const auto& [key, place] : archive_entries(*specifier)) {
    if (!sums.emplace(key, read_matrix(place)).second) throw Fault(name + ": " + key + " comes twice");
  }
  return sums;
}

void write_column_sums(const std::string& name, const std::map<std::string, ColumnSums>& sums) {
  const auto specifier = kaldi_specifier(name);
  if (!specifier) throw Fault(name + ": statistics of speakers go into an archive: ark:FILE or a name in .ark");
  ArchiveWriter writer(*specifier);
  for (const auto& [key, entry] : sums) writer.append(key, entry.matrix(), entry.width() + 1);
  writer.commit();
}

ColumnNormaliser::ColumnNormaliser(const ColumnSums& sums, bool variance) {
  for (std::size_t i = 0; i < sums.values.size(); ++i) {
    mean_.push_back(sums.values[i] / sums.count);
    const double spread = sums.squares[i] / sums.count - mean_[i] * mean_[i];
    scale_.push_back(!variance ? 1.0 : spread > kNoVariance ? 1.0 / std::sqrt(spread) : 0.0);
  }
}

ColumnNormaliser::ColumnNormaliser(std::span<const double> mean, std::span<const double> variance)
    : mean_(mean.begin(), mean.end()), scale_(mean.size(), 1.0) {
  for (std::size_t i = 0; i < variance.size(); ++i) {
    scale_[i] = variance[i] > kNoVariance ? 1.0 / std::sqrt(variance[i]) : 0.0;
  }
}

void ColumnNormaliser::apply(FeatureMatrix& rows) const {
  require_width(rows.width, width());
  for (std::size_t i = 0; i < rows.values.size(); ++i) {
    const std::size_t column = i % mean_.size();
    rows.values[i] = static_cast<float>((rows.values[i] - mean_[column]) * scale_[column]);
  }
}

}  // namespace kivsr::speech
