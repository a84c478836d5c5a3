// NumPy arrays and Sphinx's feature files.
#include "kivsr/speech/io/packed_source.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <string_view>

#include "kivsr/speech/io/byte_order.h"

namespace kivsr::speech {

namespace {

constexpr int kRows = 1024;  // that are read at a time

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

}  // namespace

void PackedSource::expect_rows(std::int64_t height, int width, int value_bytes) {
  if (height > INT_MAX / width) file_.fail("too many values");
  file_.require_last(height * width * value_bytes, "the values");
  left_ = height;
  layout.width = width;
  value_bytes_ = value_bytes;
}

void PackedSource::read(FeatureMatrix& rows) {
  const std::int64_t count = std::min<std::int64_t>(left_, kRows) * layout.width;
  const auto size = static_cast<std::size_t>(value_bytes_);
  const auto bytes = file_.read_bytes(count * value_bytes_, "the values");
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const std::uint64_t bits = bits_of(bytes.subspan(at, size), file_.big_endian());
    rows.values.push_back(size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                                    : static_cast<float>(std::bit_cast<double>(bits)));
  }
  left_ -= count / layout.width;
}

std::unique_ptr<FeatureSource> open_npy(BinaryFile content) {
  auto source = std::make_unique<PackedSource>(std::move(content), FeatureFormat::kNpy);
  BinaryFile& file = source->file();
  const auto magic = file.read_bytes(8, "the header");
  if (std::string(magic.begin(), magic.begin() + 6) != "\x93NUMPY") file.fail("not a NumPy array");
  if (magic[6] != 1 && magic[6] != 2) file.fail("NumPy format " + std::to_string(magic[6]) + ", only 1 and 2 are read");
  const auto length = bits_of(file.read_bytes(magic[6] == 1 ? 2 : 4, "the header"));
  constexpr std::uint64_t kLongestHeader = 10000;  // a few hundred bytes are usual
  if (length > kLongestHeader) file.fail("has a header of " + std::to_string(length) + " bytes");
  const auto text = file.read_bytes(static_cast<std::int64_t>(length), "the header");
  const std::string header(text.begin(), text.end());

  const auto behind = [&](const std::string& key) {  // a key of the dictionary
    const std::size_t place = header.find(key);
    return TextPieces(std::string_view(header).substr(place == std::string::npos ? header.size() : place + key.size()));
  };
  TextPieces descr = behind("'descr':");
  if (!descr.skip("'")) file.fail("the header has no type");
  const std::string type = descr.until('\'');
  if (type != "<f4" && type != "<f8") file.fail("holds values of type " + type + ", only <f4 and <f8 are read");
  TextPieces order = behind("'fortran_order':");
  if (order.skip("True")) file.fail("is in Fortran order, only C order is read");
  if (!order.skip("False")) file.fail("the header has no order");
  TextPieces shape = behind("'shape':");
  if (!shape.skip("(")) file.fail("the header has no shape");
  const std::string sizes = shape.until(')');
  const std::int64_t height = shape.number();
  const bool separated = shape.skip(",");
  const std::int64_t width = shape.number();
  shape.skip(",");
  if (height < 0 || !separated || width < 0 || !shape.skip(")")) {
    file.fail("has the shape (" + sizes + "), only two dimensions are read");
  }
  if (height > INT_MAX || width > INT_MAX) file.fail("too many values");
  if (width < 1) file.fail("has rows without values");
  source->encoding = type == "<f4" ? "float" : "double";
  source->expect_rows(height, static_cast<int>(width), type == "<f4" ? 4 : 8);
  return source;
}

// Nothing in this format says which byte order it is in, but the number in front must fit the file's size.
std::unique_ptr<FeatureSource> open_mfc(BinaryFile content, int width) {
  auto source = std::make_unique<PackedSource>(std::move(content), FeatureFormat::kMfc);
  BinaryFile& file = source->file();
  const std::int64_t file_size = file.size();
  if (file_size < 4) file.fail("truncated: too short for the number of values");
  const auto bytes = file.read_bytes(4, "the number of values");
  for (const bool big_endian : {false, true}) {
    const auto count = static_cast<std::int64_t>(bits_of(bytes, big_endian));
    if (4 + 4 * count != file_size) continue;
    if (count % width != 0) {
      file.fail("holds " + std::to_string(count) + " values, which are no rows of " + std::to_string(width));
    }
    file.set_big_endian(big_endian);
    source->encoding = "float";
    source->expect_rows(count / width, width, 4);
    return source;
  }
  file.fail("not a Sphinx feature file, or truncated: it holds " + std::to_string(file_size - 4) +
            " bytes of values, the number in front is another in either byte order");
}

}  // namespace kivsr::speech
