#include "features/column_statistics.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "support/extension.h"
#include "support/fault.h"

namespace kivsr::tools {

namespace {

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

// The mean of a column whose mean is more than ten times its standard deviation, 0 for any other.
std::vector<float> origin_of(const FeatureMatrix& rows) {
  std::vector<float> mean(size_of(rows.width), 0.0F);
  if (rows.height() < 2) return mean;
  std::vector<float> variance(mean.size());
  check(
      kivsMeanVarColumn_32f_D2(rows.values.data(), rows.height(), rows.width, mean.data(), variance.data(), rows.width),
      "kivsMeanVarColumn_32f_D2");
  for (std::size_t k = 0; k < mean.size(); ++k)
    if (!(mean[k] * mean[k] > 100.0F * variance[k])) mean[k] = 0.0F;
  return mean;
}

// The rows that the formats share: means, variances, then those of the covariance matrix.
std::vector<std::vector<double>> table_of(const ColumnMoments& moments) {
  const std::size_t width = moments.mean.size();
  std::vector<std::vector<double>> table{moments.mean, {}};
  for (std::size_t i = 0; i < width; ++i) {
    table[1].push_back(moments.variance(i));
    const auto row = moments.covariance.begin() + static_cast<std::ptrdiff_t>(i * width);
    table.emplace_back(row, row + static_cast<std::ptrdiff_t>(width));
  }
  return table;
}

void write_npy(OutputFile& file, const ColumnMoments& moments) {
  const auto table = table_of(moments);
  std::string header = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(table.size()) + ", " +
                       std::to_string(moments.mean.size()) + "), }";
  header.append(63 - (10 + header.size()) % 64, ' ');
  header.push_back('\n');
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes.push_back(static_cast<char>(header.size() & 0xFFU));
  bytes.push_back(static_cast<char>(header.size() >> 8));
  bytes += header;
  for (const auto& row : table)
    for (const double value : row)
      for (unsigned i = 0; i < 8; ++i)
        bytes.push_back(static_cast<char>(std::bit_cast<std::uint64_t>(value) >> (8 * i) & 0xFFU));
  file.write(bytes);
}

void write_csv(OutputFile& file, const ColumnMoments& moments) {
  const auto table = table_of(moments);
  std::string text = "row";
  for (const std::string& name : moments.columns) text += "," + name;
  for (std::size_t i = 0; i < table.size(); ++i) {
    text += i == 0 ? "\nmean" : i == 1 ? "\nvariance" : "\ncovariance_" + moments.columns[i - 2];
    char number[40];
    for (const double value : table[i]) {
      std::snprintf(number, sizeof number, ",%.17g", value);
      text += number;
    }
  }
  file.write(text + "\n");
}

void write_json(OutputFile& file, const ColumnMoments& moments) {
  const auto table = table_of(moments);
  nlohmann::ordered_json json;
  json["files"] = moments.files;
  json["frames"] = moments.frames;
  json["columns"] = moments.columns;
  json["mean"] = table[0];
  json["variance"] = table[1];
  json["covariance"] = std::vector(table.begin() + 2, table.end());
  file.write(json.dump() + "\n");
}

}  // namespace

void ColumnStatistics::add(const FeatureMatrix& rows) {
  ++files_;
  const int height = rows.height();
  if (height == 0) return;
  if (width_ == 0) {
    width_ = rows.width;
    origin_ = origin_of(rows);
    products_.assign(size_of(width_ + 1) * size_of(width_ + 1), 0.0);
  }
  // A column of ones behind the others: its products with them are their sums.
  const int wide = width_ + 1;
  std::vector<float> differences(size_of(height) * size_of(wide), 1.0F);
  for (int t = 0; t < height; ++t)
    std::copy(rows.row(t).begin(), rows.row(t).end(), differences.begin() + static_cast<std::ptrdiff_t>(t) * wide);
  check(kivsSubRow_32f_D2(origin_.data(), width_, differences.data(), wide, height), "kivsSubRow_32f_D2");
  const std::vector<float> zeros(size_of(wide), 0.0F);
  check(kivsAccCovarianceMatrix_32f64f_D2(differences.data(), wide, height, zeros.data(), products_.data(), wide, wide,
                                          1.0),
        "kivsAccCovarianceMatrix_32f64f_D2");
  frames_ += height;
}

ColumnMoments ColumnStatistics::moments() const {
  const auto frames = static_cast<double>(frames_);
  const std::size_t width = size_of(width_);
  const double* const sums = products_.data() + width * (width + 1);
  ColumnMoments moments;
  moments.files = files_;
  moments.frames = frames_;
  for (std::size_t i = 0; i < width; ++i) {
    moments.columns.push_back("column" + std::to_string(i + 1));
    moments.mean.push_back(static_cast<double>(origin_[i]) + sums[i] / frames);
    for (std::size_t j = 0; j < width; ++j)
      moments.covariance.push_back((products_[i * (width + 1) + j] - sums[i] * sums[j] / frames) / (frames - 1.0));
  }
  return moments;
}

MomentsFormat moments_format(const std::string& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".npy") return MomentsFormat::npy;
  if (extension == ".csv") return MomentsFormat::csv;
  if (extension == ".json") return MomentsFormat::json;
  throw Fault(file + ": the extension is none of .npy, .csv and .json");
}

void write_moments(OutputFile& file, MomentsFormat format, const ColumnMoments& moments) {
  switch (format) {
    case MomentsFormat::npy: return write_npy(file, moments);
    case MomentsFormat::csv: return write_csv(file, moments);
    case MomentsFormat::json: return write_json(file, moments);
  }
}

}  // namespace kivsr::tools
