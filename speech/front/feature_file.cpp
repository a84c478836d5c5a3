#include "kivsr/speech/front/feature_file.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::speech {

namespace {

enum class ByteOrder { kLittle, kBig };

void put(std::uint32_t value, unsigned count, ByteOrder order, std::string& bytes) {
  for (unsigned i = 0; i < count; ++i) {
    const unsigned shift = 8 * (order == ByteOrder::kLittle ? i : count - 1 - i);
    bytes.push_back(static_cast<char>(value >> shift & 0xFFU));
  }
}

void put(std::span<const float> values, ByteOrder order, std::string& bytes) {
  for (const float value : values) put(std::bit_cast<std::uint32_t>(value), 4, order, bytes);
}

// 128 bytes for any number of rows. Magic, version and length take 10 of them; the data starts at a multiple of 64, the
// header ends with a line feed.
std::string npy_header(std::int64_t frames, int width) {
  std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(frames) + ", " +
                       std::to_string(width) + "), }";
  header.append(63 - (10 + header.size()) % 64, ' ');
  header.push_back('\n');
  std::string bytes("\x93NUMPY\x01\x00", 8);
  put(static_cast<std::uint32_t>(header.size()), 2, ByteOrder::kLittle, bytes);
  return bytes + header;
}

// Kinds of HTK have no place for columns of another nature.
bool is_user_kind(const Recipe& recipe) {
  return recipe.source == Source::kFeatures || recipe.width() != recipe.feature_width();
}

// The base kind in the low six bits, then the qualifiers.
std::uint32_t htk_kind(const Recipe& recipe) {
  constexpr std::uint32_t kLpCepstra = 3;
  constexpr std::uint32_t kMfcc = 6;
  constexpr std::uint32_t kFilterBank = 7;
  constexpr std::uint32_t kUser = 9;
  constexpr std::uint32_t kPlp = 11;
  constexpr std::uint32_t kWithEnergy = 0100;
  constexpr std::uint32_t kWithoutEnergy = 0200;  // but its derivatives
  constexpr std::uint32_t kWithDeltas = 0400;
  constexpr std::uint32_t kWithAccelerations = 01000;
  constexpr std::uint32_t kZeroMean = 04000;
  constexpr std::uint32_t kWithZeroth = 020000;
  constexpr std::uint32_t kWithThird = 0100000;
  const FrontEndParameters& front_end = recipe.front_end;
  if (is_user_kind(recipe)) return kUser;
  std::uint32_t kind = kMfcc;
  if (front_end.output == Output::kLogMel) kind = kFilterBank;
  if (front_end.output == Output::kLpcCepstra) kind = kLpCepstra;
  if (front_end.output == Output::kPlp) kind = kPlp;
  if (front_end.energy) kind |= kWithEnergy;
  if (recipe.drop_energy) kind |= kWithoutEnergy;
  if (recipe.dynamics != Dynamics::kNone) {
    kind |= kWithDeltas;
    if (recipe.derivatives >= 2) kind |= kWithAccelerations;
    if (recipe.derivatives == 3) kind |= kWithThird;
  }
  if (recipe.normalisation == Normalisation::kMean || recipe.normalisation == Normalisation::kMeanVariance) {
    kind |= kZeroMean;
  }
  // The aurora dynamics put c0 and the log energy into one column, which stands where the energy does.
  if (front_end.has_zeroth() && recipe.dynamics != Dynamics::kAurora) kind |= kWithZeroth;
  return kind;
}

std::string htk_header(std::int64_t frames, const Recipe& recipe) {
  constexpr double kUnitsASecond = 1e7;
  std::string bytes;
  put(static_cast<std::uint32_t>(frames), 4, ByteOrder::kBig, bytes);
  put(static_cast<std::uint32_t>(std::lround(recipe.frame_seconds() * kUnitsASecond)), 4, ByteOrder::kBig, bytes);
  put(static_cast<std::uint32_t>(recipe.width()) * 4, 2, ByteOrder::kBig, bytes);
  put(htk_kind(recipe), 2, ByteOrder::kBig, bytes);
  return bytes;
}

// HTK wants c0 behind the other cepstra and the log energy behind that, in the statics and in each of their
// derivatives.
void put_in_htk_order(const FrontEndParameters& front_end, bool with_energy, std::span<float> group) {
  if (with_energy && front_end.energy_first) std::rotate(group.begin(), group.begin() + 1, group.end());
  if (!front_end.has_zeroth() || front_end.zeroth != ZerothCepstrum::kFirst) return;
  std::rotate(group.begin(), group.begin() + 1, group.begin() + 1 + front_end.cepstra_behind_zeroth());
}

void put_htk_rows(const FeatureMatrix& rows, const Recipe& recipe, std::string& bytes) {
  const bool ordered = is_user_kind(recipe) || recipe.dynamics == Dynamics::kAurora;
  const auto full = static_cast<std::size_t>(recipe.static_width());
  std::vector<float> row;
  for (int t = 0; t < rows.height(); ++t) {
    row.assign(rows.row(t).begin(), rows.row(t).end());
    // The statics may be without the log energy that their derivatives have.
    bool with_energy = recipe.front_end.energy && !recipe.drop_energy;
    std::size_t width = full - (recipe.drop_energy ? 1 : 0);
    for (std::size_t begin = 0; !ordered && begin + width <= row.size();) {
      put_in_htk_order(recipe.front_end, with_energy, std::span(row).subspan(begin, width));
      begin += std::exchange(width, full);
      with_energy = recipe.front_end.energy;
    }
    put(row, ByteOrder::kBig, bytes);
  }
}

void put_csv_rows(const FeatureMatrix& rows, std::int64_t first, double frame_seconds, std::string& text) {
  for (int t = 0; t < rows.height(); ++t) {
    text += number_text(static_cast<double>(first + t) * frame_seconds, 9);
    for (const float value : rows.row(t)) text += "," + number_text(value, 9);
    text += '\n';
  }
}

}  // namespace

FeatureWriter::FeatureWriter(OutputFile& file, FeatureFormat format, const Recipe& recipe)
    : file_(file), format_(format), recipe_(recipe) {
  if (format == FeatureFormat::kHtk && recipe.width() * 4 > SHRT_MAX) {
    throw Fault("rows of " + std::to_string(recipe.width()) + " values are too wide for the HTK format");
  }
  file_.write(header());
}

std::string FeatureWriter::header() const {
  std::string bytes;
  switch (format_) {
    case FeatureFormat::kNpy: return npy_header(frames_, recipe_.width());
    case FeatureFormat::kHtk: return htk_header(frames_, recipe_);
    case FeatureFormat::kMfc:
      put(static_cast<std::uint32_t>(frames_ * recipe_.width()), 4, ByteOrder::kLittle, bytes);
      return bytes;
    case FeatureFormat::kCsv: break;
  }
  bytes = "time_s";
  for (const std::string& name : recipe_.column_names()) bytes += "," + name;
  return bytes + '\n';
}

void FeatureWriter::append(const FeatureMatrix& rows) {
  std::string bytes;
  switch (format_) {
    case FeatureFormat::kNpy:
    case FeatureFormat::kMfc: put(rows.values, ByteOrder::kLittle, bytes); break;
    case FeatureFormat::kHtk: put_htk_rows(rows, recipe_, bytes); break;
    case FeatureFormat::kCsv: put_csv_rows(rows, frames_, recipe_.frame_seconds(), bytes); break;
  }
  file_.write(bytes);
  frames_ += rows.height();
}

void FeatureWriter::finish() {
  if (format_ == FeatureFormat::kHtk && frames_ > INT_MAX) throw Fault("too many rows for the HTK format");
  if (format_ == FeatureFormat::kMfc && frames_ * recipe_.width() > INT_MAX) {
    throw Fault("too many values for the Sphinx format");
  }
  if (format_ != FeatureFormat::kCsv) file_.overwrite(0, header());
}

void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const Recipe& recipe) {
  FeatureWriter writer(file, format, recipe);
  writer.append(rows);
  writer.finish();
}

}  // namespace kivsr::speech
