#include "kivsr/speech/front/feature_file.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::speech {

namespace {

enum class ByteOrder { kLittle, kBig };

// Collects numbers as bytes of a given order, whatever the order of the machine.
class Bytes {
 public:
  explicit Bytes(ByteOrder order) : order_(order) {}

  void put_16(std::uint32_t value) { put(value, 2); }
  void put_32(std::uint32_t value) { put(value, 4); }
  void put_float(float value) { put(std::bit_cast<std::uint32_t>(value), 4); }
  std::string_view text() const { return bytes_; }

 private:
  void put(std::uint32_t value, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      const unsigned shift = 8 * (order_ == ByteOrder::kLittle ? i : count - 1 - i);
      bytes_.push_back(static_cast<char>(value >> shift & 0xFFU));
    }
  }

  ByteOrder order_;
  std::string bytes_;
};

void write_npy(OutputFile& file, const FeatureMatrix& rows) {
  std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(rows.height()) + ", " +
                       std::to_string(rows.width) + "), }";
  // Magic, version and length take 10 bytes; the data starts at a multiple of 64, the header ends with a line feed.
  header.append(63 - (10 + header.size()) % 64, ' ');
  header.push_back('\n');
  Bytes bytes(ByteOrder::kLittle);
  bytes.put_16(static_cast<std::uint32_t>(header.size()));
  for (const float value : rows.values) bytes.put_float(value);
  file.write(std::string_view("\x93NUMPY\x01\x00", 8));
  file.write(bytes.text().substr(0, 2));
  file.write(header);
  file.write(bytes.text().substr(2));
}

// The base kind in the low six bits, then the qualifiers.
std::uint32_t htk_kind(const FeatureParameters& parameters) {
  constexpr std::uint32_t kLpCepstra = 3;
  constexpr std::uint32_t kMfcc = 6;
  constexpr std::uint32_t kFilterBank = 7;
  constexpr std::uint32_t kWithEnergy = 0100;
  constexpr std::uint32_t kWithDeltas = 0400;
  constexpr std::uint32_t kWithAccelerations = 01000;
  constexpr std::uint32_t kZeroMean = 04000;
  constexpr std::uint32_t kWithZeroth = 020000;
  const FrontEndParameters& front_end = parameters.front_end;
  std::uint32_t kind = kMfcc;
  if (front_end.output == Output::kLogMel) kind = kFilterBank;
  if (front_end.output == Output::kLpcCepstra) kind = kLpCepstra;
  if (front_end.energy) kind |= kWithEnergy;
  if (parameters.delta != Delta::kNone) kind |= kWithDeltas | kWithAccelerations;
  if (parameters.normalisation == Normalisation::kMean || parameters.normalisation == Normalisation::kMeanVariance) {
    kind |= kZeroMean;
  }
  // The aurora deltas put c0 and the log energy into one column, which stands where the energy does.
  if (front_end.output == Output::kCepstra && front_end.zeroth != ZerothCepstrum::kNone &&
      parameters.delta != Delta::kAurora) {
    kind |= kWithZeroth;
  }
  return kind;
}

void write_htk(OutputFile& file, const FeatureMatrix& rows, const FeatureParameters& parameters) {
  constexpr double kUnitsASecond = 1e7;
  if (rows.width * 4 > SHRT_MAX) {
    throw Fault("rows of " + std::to_string(rows.width) + " values are too wide for the HTK format");
  }
  const FrontEndParameters& front_end = parameters.front_end;
  Bytes bytes(ByteOrder::kBig);
  bytes.put_32(static_cast<std::uint32_t>(rows.height()));
  bytes.put_32(static_cast<std::uint32_t>(std::lround(front_end.frame_seconds() * kUnitsASecond)));
  bytes.put_16(static_cast<std::uint32_t>(rows.width) * 4);
  bytes.put_16(htk_kind(parameters));
  const bool move_zeroth = front_end.output == Output::kCepstra && front_end.zeroth == ZerothCepstrum::kFirst;
  std::vector<float> ordered(static_cast<std::size_t>(rows.width));
  for (int t = 0; t < rows.height(); ++t) {
    const auto row = rows.row(t);
    std::copy(row.begin(), row.end(), ordered.begin());
    for (auto group = ordered.begin(); move_zeroth && group != ordered.end(); group += parameters.static_width()) {
      std::rotate(group, group + 1, group + front_end.cepstrum_count);
    }
    for (const float value : ordered) bytes.put_float(value);
  }
  file.write(bytes.text());
}

void write_mfc(OutputFile& file, const FeatureMatrix& rows) {
  if (rows.values.size() > INT_MAX) throw Fault("too many values for the Sphinx format");
  Bytes bytes(ByteOrder::kLittle);
  bytes.put_32(static_cast<std::uint32_t>(rows.values.size()));
  for (const float value : rows.values) bytes.put_float(value);
  file.write(bytes.text());
}

void write_csv(OutputFile& file, const FeatureMatrix& rows, const FeatureParameters& parameters) {
  std::string line = "time_s";
  for (const std::string& name : parameters.column_names()) line += "," + name;
  line += '\n';
  file.write(line);
  for (int t = 0; t < rows.height(); ++t) {
    line = number_text(t * parameters.front_end.frame_seconds(), 9);
    for (const float value : rows.row(t)) line += "," + number_text(value, 9);
    line += '\n';
    file.write(line);
  }
}

}  // namespace

void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows,
                    const FeatureParameters& parameters) {
  switch (format) {
    case FeatureFormat::kNpy: return write_npy(file, rows);
    case FeatureFormat::kHtk: return write_htk(file, rows, parameters);
    case FeatureFormat::kMfc: return write_mfc(file, rows);
    case FeatureFormat::kCsv: return write_csv(file, rows, parameters);
  }
}

}  // namespace kivsr::speech
