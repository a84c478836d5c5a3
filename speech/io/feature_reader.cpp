#include "kivsr/speech/io/feature_reader.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kRows = 1024;  // that are read at a time

std::uint64_t bits_of(std::span<const std::uint8_t> bytes, bool big_endian) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bits |= static_cast<std::uint64_t>(bytes[big_endian ? bytes.size() - 1 - i : i]) << (8 * i);
  }
  return bits;
}

// Text taken from the front, piece by piece, past the spaces before each.
class TextPieces {
 public:
  explicit TextPieces(std::string_view text) : rest_(text) {}
  bool skip(std::string_view piece) {
    skip_spaces();
    if (!rest_.starts_with(piece)) return false;
    rest_.remove_prefix(piece.size());
    return true;
  }
  // What stands before the character `end`, which is not taken.
  std::string until(char end) const { return std::string(rest_.substr(0, rest_.find(end))); }
  // -1 without a digit, more than INT_MAX for whatever an int does not hold.
  std::int64_t number() {
    skip_spaces();
    std::int64_t value = -1;
    for (; !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9'; rest_.remove_prefix(1)) {
      value = std::min<std::int64_t>(10 * std::max<std::int64_t>(value, 0) + (rest_[0] - '0'), INT_MAX + 1LL);
    }
    return value;
  }

 private:
  void skip_spaces() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }
  std::string_view rest_;
};

std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char character : line) {
    if (character == ',') {
      fields.emplace_back();
    } else if (character != '\r') {
      fields.back().push_back(character);
    }
  }
  return fields;
}

}  // namespace

FeatureReader::FeatureReader(const std::filesystem::path& file, int mfc_width)
    : file_(file), format_(feature_format(file)), width_(mfc_width) {
  if (mfc_width < 1) throw Fault("rows of " + std::to_string(mfc_width) + " values cannot be read");
  switch (format_) {
    case FeatureFormat::kNpy: open_npy(); break;
    case FeatureFormat::kHtk: open_htk(); break;
    case FeatureFormat::kMfc: open_mfc(); break;
    case FeatureFormat::kCsv: open_csv(); break;
  }
}

// That many values must be the rest of the file.
void FeatureReader::expect_rows(std::int64_t height, int width, int value_bytes) {
  if (height > INT_MAX / width) file_.fail("too many values");
  file_.require_last(height * width * value_bytes, "the values");
  left_ = height;
  width_ = width;
  value_bytes_ = value_bytes;
}

void FeatureReader::open_npy() {
  const auto magic = file_.read_bytes(8, "the header");
  if (std::string(magic.begin(), magic.begin() + 6) != "\x93NUMPY") file_.fail("not a NumPy array");
  if (magic[6] != 1 && magic[6] != 2)
    file_.fail("NumPy format " + std::to_string(magic[6]) + ", only 1 and 2 are read");
  const auto length = bits_of(file_.read_bytes(magic[6] == 1 ? 2 : 4, "the header"), false);
  constexpr std::uint64_t kLongestHeader = 10000;  // a few hundred bytes are usual
  if (length > kLongestHeader) file_.fail("has a header of " + std::to_string(length) + " bytes");
  const auto text = file_.read_bytes(static_cast<std::int64_t>(length), "the header");
  const std::string header(text.begin(), text.end());

  const auto behind = [&](const std::string& key) {  // a key of the dictionary
    const std::size_t place = header.find(key);
    return TextPieces(std::string_view(header).substr(place == std::string::npos ? header.size() : place + key.size()));
  };
  TextPieces descr = behind("'descr':");
  if (!descr.skip("'")) file_.fail("the header has no type");
  const std::string type = descr.until('\'');
  if (type != "<f4" && type != "<f8") file_.fail("holds values of type " + type + ", only <f4 and <f8 are read");
  TextPieces order = behind("'fortran_order':");
  if (order.skip("True")) file_.fail("is in Fortran order, only C order is read");
  if (!order.skip("False")) file_.fail("the header has no order");
  TextPieces shape = behind("'shape':");
  if (!shape.skip("(")) file_.fail("the header has no shape");
  const std::string sizes = shape.until(')');
  const std::int64_t height = shape.number();
  const bool separated = shape.skip(",");
  const std::int64_t width = shape.number();
  shape.skip(",");
  if (height < 0 || !separated || width < 0 || !shape.skip(")")) {
    file_.fail("has the shape (" + sizes + "), only two dimensions are read");
  }
  if (height > INT_MAX || width > INT_MAX) file_.fail("too many values");
  if (width < 1) file_.fail("has rows without values");
  expect_rows(height, static_cast<int>(width), type == "<f4" ? 4 : 8);
}

// Nothing in these two formats says which byte order they are in, but the number in front must fit the file's size.
void FeatureReader::open_htk() {
  const std::int64_t file_size = file_.size();
  constexpr std::int64_t kHeader = 12;
  constexpr unsigned kCompressed = 02000;
  constexpr unsigned kChecksum = 010000;
  constexpr unsigned kBase = 077;
  constexpr unsigned kWaveform = 0;
  constexpr unsigned kVectorQuantised = 10;
  if (file_size < kHeader) file_.fail("truncated: too short for a header of 12 bytes");
  const auto bytes = file_.read_bytes(kHeader, "the header");
  std::int64_t stated[2] = {};
  for (const bool big_endian : {true, false}) {
    const auto count = static_cast<std::int64_t>(bits_of(bytes.first(4), big_endian));
    const auto size = static_cast<int>(bits_of(bytes.subspan(8, 2), big_endian));
    const auto kind = static_cast<unsigned>(bits_of(bytes.subspan(10, 2), big_endian));
    stated[big_endian ? 0 : 1] = kHeader + count * size;
    if ((kind & (kCompressed | kChecksum)) != 0 && (kind & kBase) <= 13 && size > 0 && size < 4096) {
      file_.fail("is compressed or has a checksum, which is not read");
    }
    if (kHeader + count * size != file_size || size < 4 || size % 4 != 0) continue;
    if ((kind & kBase) == kWaveform || (kind & kBase) == kVectorQuantised) file_.fail("does not hold features");
    file_.set_big_endian(big_endian);
    return expect_rows(count, size / 4, 4);
  }
  file_.fail("not an HTK file, or truncated: the header asks for " + std::to_string(stated[0]) +
             " or, in the other byte " + "order, " + std::to_string(stated[1]) + " bytes, the file has " +
             std::to_string(file_size));
}

void FeatureReader::open_mfc() {
  const std::int64_t file_size = file_.size();
  if (file_size < 4) file_.fail("truncated: too short for the number of values");
  const auto bytes = file_.read_bytes(4, "the number of values");
  for (const bool big_endian : {false, true}) {
    const auto count = static_cast<std::int64_t>(bits_of(bytes, big_endian));
    if (4 + 4 * count != file_size) continue;
    if (count % width_ != 0) {
      file_.fail("holds " + std::to_string(count) + " values, which are no rows of " + std::to_string(width_));
    }
    file_.set_big_endian(big_endian);
    return expect_rows(count / width_, width_, 4);
  }
  file_.fail("not a Sphinx feature file, or truncated: it holds " + std::to_string(file_size - 4) +
             " bytes of values, the number in front is another in either byte order");
}

void FeatureReader::open_csv() {
  const auto names = fields_of(file_.read_line("the names of the columns"));
  if (names.size() < 2 || names[0] != "time_s") {
    file_.fail("the first line does not name the columns: time_s, then those of the features");
  }
  width_ = static_cast<int>(names.size()) - 1;
}

void FeatureReader::read_values(FeatureMatrix& rows) {
  const std::int64_t count = std::min<std::int64_t>(left_, kRows) * width_;
  const auto size = static_cast<std::size_t>(value_bytes_);
  const auto bytes = file_.read_bytes(count * value_bytes_, "the values");
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const std::uint64_t bits = bits_of(bytes.subspan(at, size), file_.big_endian());
    rows.values.push_back(size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                                    : static_cast<float>(std::bit_cast<double>(bits)));
  }
  left_ -= count / width_;
}

void FeatureReader::read_lines(FeatureMatrix& rows) {
  for (int row = 0; row < kRows && file_.position() < file_.size(); ++row) {
    const std::string number = std::to_string(++line_);
    const auto fields = fields_of(file_.read_line("line " + number));
    if (fields.size() != static_cast<std::size_t>(width_) + 1) {
      file_.fail("line " + number + " has " + std::to_string(fields.size()) + " fields, the first " +
                 std::to_string(width_ + 1));
    }
    for (std::size_t i = 1; i < fields.size(); ++i) {
      char* end = nullptr;
      const float value = std::strtof(fields[i].c_str(), &end);
      if (fields[i].empty() || *end != '\0') {
        file_.fail("line " + number + ": '" + fields[i] + "' is not a number");
      }
      rows.values.push_back(value);
    }
  }
}

bool FeatureReader::read(FeatureMatrix& rows) {
  rows.width = width_;
  const std::size_t before = rows.values.size();
  if (format_ == FeatureFormat::kCsv) {
    read_lines(rows);
  } else {
    read_values(rows);
  }
  return rows.values.size() > before;
}

FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width) {
  FeatureReader reader(file, mfc_width);
  FeatureMatrix rows{reader.width(), {}};
  while (reader.read(rows)) {
    if (rows.values.size() > INT_MAX) throw Fault(file.string() + ": too many values");
  }
  return rows;
}

}  // namespace kivsr::speech
