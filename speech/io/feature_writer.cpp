#include "kivsr/speech/io/feature_writer.h"

#include <bit>
#include <climits>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"

namespace kivsr::speech {

namespace {

void put(std::span<const float> values, bool big_endian, std::string& bytes) {
  if (!big_endian) {
    bytes.append(reinterpret_cast<const char*>(values.data()), values.size_bytes());
    return;
  }
  for (const float value : values) append_bits(std::bit_cast<std::uint32_t>(value), 4, true, bytes);
}

// 128 bytes for any number of rows. Magic, version and length take 10 of them; the data starts at a multiple of 64, the
// header ends with a line feed.
std::string npy_header(std::int64_t frames, int width) {
  std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(frames) + ", " +
                       std::to_string(width) + "), }";
  header.append(63 - (10 + header.size()) % 64, ' ');
  header.push_back('\n');
  std::string bytes("\x93NUMPY\x01\x00", 8);
  append_bits(header.size(), 2, false, bytes);
  return bytes + header;
}

std::string htk_header(std::int64_t frames, const FeatureLayout& layout) {
  constexpr double kUnitsASecond = 1e7;
  std::string bytes;
  append_bits(static_cast<std::uint64_t>(frames), 4, true, bytes);
  append_bits(static_cast<std::uint64_t>(std::llround(layout.frame_seconds * kUnitsASecond)), 4, true, bytes);
  append_bits(static_cast<std::uint64_t>(layout.width) * 4, 2, true, bytes);
  append_bits(layout.htk_kind, 2, true, bytes);
  return bytes;
}

std::string kaldi_header(std::int64_t frames, int width) {
  std::string bytes("\0BFM \4", 6);
  append_bits(static_cast<std::uint64_t>(frames), 4, false, bytes);
  append_bits(4, 1, false, bytes);
  append_bits(static_cast<std::uint64_t>(width), 4, false, bytes);
  return bytes;
}

// In quotation marks, which it cannot hold then.
std::string quoted(std::string text) {
  for (char& character : text) {
    if (character == '\'' || character == '\n' || character == '\r') character = '_';
  }
  return "'" + text + "'";
}

std::string table_header(const FeatureLayout& layout, const char* first, char separator) {
  std::string line = first;
  for (const std::string& name : layout.columns) line += separator + name;
  return line + '\n';
}

std::string arff_header(const FeatureLayout& layout) {
  std::string text = "@relation " + quoted(layout.name) + "\n\n@attribute name string\n@attribute frameTime numeric\n";
  for (const std::string& name : layout.columns) text += "@attribute " + quoted(name) + " numeric\n";
  return text + "\n@data\n\n";
}

// Whether the number of rows stands in front of them.
bool states_count(FeatureFormat format) {
  return format != FeatureFormat::kCsv && format != FeatureFormat::kOpenSmile && format != FeatureFormat::kArff;
}

FeatureLayout completed(FeatureLayout layout) {
  layout.htk_kind &= ~(kHtkCompressed | kHtkIndex);
  for (int i = static_cast<int>(layout.columns.size()); i < layout.width; ++i) {
    layout.columns.push_back("x" + std::to_string(i + 1));
  }
  if (layout.name.empty()) layout.name = "unknown";
  return layout;
}

}  // namespace

FeatureWriter::FeatureWriter(OutputFile& file, FeatureFormat format, FeatureLayout layout)
    : file_(file), format_(format), layout_(completed(std::move(layout))) {
  if (format == FeatureFormat::kHtk && layout_.width > SHRT_MAX / 4) {
    throw Fault("rows of " + std::to_string(layout_.width) + " values are too wide for the HTK format");
  }
  if (states_count(format)) file_.keep_until_commit();  // the head comes last
  file_.write(header());
}

std::string FeatureWriter::header() const {
  std::string bytes;
  switch (format_) {
    case FeatureFormat::kNpy: return npy_header(frames_, layout_.width);
    case FeatureFormat::kHtk: return htk_header(frames_, layout_);
    case FeatureFormat::kMfc:
      append_bits(static_cast<std::uint64_t>(frames_ * layout_.width), 4, false, bytes);
      return bytes;
    case FeatureFormat::kCsv: return table_header(layout_, "time_s", ',');
    case FeatureFormat::kOpenSmile: return table_header(layout_, "name;frameTime", ';');
    case FeatureFormat::kArff: return arff_header(layout_);
    case FeatureFormat::kKaldi: return kaldi_header(frames_, layout_.width);
  }
  return bytes;
}

void FeatureWriter::put_htk_rows(const FeatureMatrix& rows, std::string& bytes) {
  std::vector<float> row;
  for (int t = 0; t < rows.height(); ++t) {
    const auto values = rows.row(t);
    row.assign(values.begin(), values.end());
    const bool ordered = layout_.htk_order.size() == row.size();
    for (std::size_t i = 0; ordered && i < row.size(); ++i) row[i] = values[layout_.htk_order[i]];
    put(row, true, bytes);
  }
  if ((layout_.htk_kind & kHtkChecksum) == 0) return;
  checksum_.add({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

void FeatureWriter::put_lines(const FeatureMatrix& rows, std::string& text) const {
  const char separator = format_ == FeatureFormat::kOpenSmile ? ';' : ',';
  const std::string begin = format_ == FeatureFormat::kCsv ? "" : quoted(layout_.name) + separator;
  for (int t = 0; t < rows.height(); ++t) {
    text += begin + number_text(static_cast<double>(frames_ + t) * layout_.frame_seconds, 9);
    for (const float value : rows.row(t)) {
      const bool missing = format_ == FeatureFormat::kArff && !std::isfinite(value);
      (text += separator) += missing ? "?" : number_text(value, 9);
    }
    text += '\n';
  }
}

void FeatureWriter::append(const FeatureMatrix& rows) {
  std::string bytes;
  switch (format_) {
    case FeatureFormat::kNpy:
    case FeatureFormat::kMfc:
    case FeatureFormat::kKaldi: put(rows.values, false, bytes); break;
    case FeatureFormat::kHtk: put_htk_rows(rows, bytes); break;
    case FeatureFormat::kCsv:
    case FeatureFormat::kOpenSmile:
    case FeatureFormat::kArff: put_lines(rows, bytes); break;
  }
  file_.write(bytes);
  if (file_.is_stream()) file_.flush();
  frames_ += rows.height();
}

void FeatureWriter::finish() {
  if (frames_ > INT_MAX && (format_ == FeatureFormat::kHtk || format_ == FeatureFormat::kKaldi)) {
    throw Fault("too many rows for the format");
  }
  if (format_ == FeatureFormat::kMfc && frames_ * layout_.width > INT_MAX) {
    throw Fault("too many values for the Sphinx format");
  }
  if (format_ == FeatureFormat::kHtk && (layout_.htk_kind & kHtkChecksum) != 0) {
    std::string bytes;
    append_bits(checksum_.written(), 2, true, bytes);
    file_.write(bytes);
  }
  if (states_count(format_)) file_.overwrite(0, header());
}

void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const FeatureLayout& layout) {
  FeatureWriter writer(file, format, layout);
  writer.append(rows);
  writer.finish();
}

}  // namespace kivsr::speech
