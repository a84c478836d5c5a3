#include "program/moments_file.h"

#include <bit>
#include <cstdint>
#include <vector>

#include <nlohmann/json.hpp>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::program {

namespace {

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
  for (const auto& row : table) {
    for (const double value : row) {
      for (unsigned i = 0; i < 8; ++i) {
        bytes.push_back(static_cast<char>(std::bit_cast<std::uint64_t>(value) >> (8 * i) & 0xFFU));
      }
    }
  }
  file.write(bytes);
}

void write_csv(OutputFile& file, const ColumnMoments& moments) {
  const auto table = table_of(moments);
  std::string text = "row";
  for (const std::string& name : moments.columns) text += "," + name;
  for (std::size_t i = 0; i < table.size(); ++i) {
    text += i == 0 ? "\nmean" : i == 1 ? "\nvariance" : "\ncovariance_" + moments.columns[i - 2];
    for (const double value : table[i]) text += "," + number_text(value, 17);
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

MomentsFormat moments_format(const std::string& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".npy") return MomentsFormat::kNpy;
  if (extension == ".csv") return MomentsFormat::kCsv;
  if (extension == ".json") return MomentsFormat::kJson;
  throw Fault(file + ": the extension is none of .npy, .csv and .json");
}

bool is_moments_file(const std::string& file) { return lower_extension(file) == ".json"; }

ColumnMoments read_moments(const std::string& file) {
  const auto bytes = read_whole_file(file);
  const auto json = nlohmann::json::parse(bytes, nullptr, false);
  ColumnMoments moments;
  try {
    moments.files = json.at("files").get<std::int64_t>();
    moments.frames = json.at("frames").get<std::int64_t>();
    moments.columns = json.at("columns").get<std::vector<std::string>>();
    moments.mean = json.at("mean").get<std::vector<double>>();
    for (const auto& row : json.at("covariance").get<std::vector<std::vector<double>>>()) {
      moments.covariance.insert(moments.covariance.end(), row.begin(), row.end());
    }
  } catch (const nlohmann::json::exception&) {
    throw Fault(file + ": not the statistics of kivsr features --stats");
  }
  const std::size_t width = moments.mean.size();
  if (width == 0 || moments.columns.size() != width || moments.covariance.size() != width * width) {
    throw Fault(file + ": statistics whose parts do not fit together");
  }
  return moments;
}

void write_moments(OutputFile& file, MomentsFormat format, const ColumnMoments& moments) {
  switch (format) {
    case MomentsFormat::kNpy: return write_npy(file, moments);
    case MomentsFormat::kCsv: return write_csv(file, moments);
    case MomentsFormat::kJson: return write_json(file, moments);
  }
}

}  // namespace kivsr::program
