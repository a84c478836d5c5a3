#include "kivsr/speech/io/feature_reader.h"

#include <bit>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <regex>
#include <span>
#include <string>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"

namespace kivsr::speech {

namespace {

std::uint64_t bits_of(std::span<const std::uint8_t> bytes, bool big_endian) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bits |= static_cast<std::uint64_t>(bytes[big_endian ? bytes.size() - 1 - i : i]) << (8 * i);
  }
  return bits;
}

// The next height x width values, which must be the last of the file.
template <class Value, class Bits>
std::vector<Value> read_values(BinaryFile& file, std::int64_t height, int width) {
  if (height > INT_MAX / width) file.fail("too many values");
  const auto bytes = file.read_bytes(height * width * static_cast<std::int64_t>(sizeof(Value)), "the values");
  file.expect_end();
  std::vector<Value> values(bytes.size() / sizeof(Value));
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto bits = bits_of(bytes.subspan(sizeof(Value) * i, sizeof(Value)), file.big_endian());
    values[i] = std::bit_cast<Value>(static_cast<Bits>(bits));
  }
  return values;
}

FeatureMatrix rows_of_floats(BinaryFile& file, std::int64_t height, int width) {
  return {width, read_values<float, std::uint32_t>(file, height, width)};
}

FeatureMatrix rows_of_doubles(BinaryFile& file, std::int64_t height, int width) {
  const auto values = read_values<double, std::uint64_t>(file, height, width);
  FeatureMatrix rows{width, std::vector<float>(values.size())};
  if (!values.empty()) {
    call<kivsConvert_64f32f>(values, rows.values, values.size());
  }
  return rows;
}

int number_in(const BinaryFile& file, const std::string& digits) {
  const long long number = digits.size() > 10 ? LLONG_MAX : std::stoll(digits);
  if (number > INT_MAX) file.fail("too many values");
  return static_cast<int>(number);
}

FeatureMatrix read_npy(BinaryFile& file) {
  const auto magic = file.read_bytes(8, "the header");
  if (std::string(magic.begin(), magic.begin() + 6) != "\x93NUMPY") file.fail("not a NumPy array");
  if (magic[6] != 1 && magic[6] != 2) file.fail("NumPy format " + std::to_string(magic[6]) + ", only 1 and 2 are read");
  const auto length = bits_of(file.read_bytes(magic[6] == 1 ? 2 : 4, "the header"), false);
  constexpr std::uint64_t kLongestHeader = 10000;  // a few hundred bytes are usual
  if (length > kLongestHeader) file.fail("has a header of " + std::to_string(length) + " bytes");
  const auto text = file.read_bytes(static_cast<std::int64_t>(length), "the header");
  const std::string header(text.begin(), text.end());

  std::smatch found;
  const auto entry = [&](const char* pattern, const char* what) {
    if (!std::regex_search(header, found, std::regex(pattern))) file.fail(std::string("the header has no ") + what);
    return found[1].str();
  };
  const std::string type = entry("'descr': *'([^']*)'", "type");
  if (type != "<f4" && type != "<f8") file.fail("holds values of type " + type + ", only <f4 and <f8 are read");
  if (entry("'fortran_order': *(True|False)", "order") == "True") {
    file.fail("is in Fortran order, only C order is read");
  }
  const std::string shape = entry("'shape': *\\(([^)]*)\\)", "shape");
  if (!std::regex_match(shape, found, std::regex(" *([0-9]+) *, *([0-9]+) *,? *"))) {
    file.fail("has the shape (" + shape + "), only two dimensions are read");
  }
  const int height = number_in(file, found[1].str());
  const int width = number_in(file, found[2].str());
  if (width < 1) file.fail("has rows without values");
  return type == "<f4" ? rows_of_floats(file, height, width) : rows_of_doubles(file, height, width);
}

// Nothing in these two formats says which byte order they are in, but the number in front must fit the file's size.
FeatureMatrix read_htk(BinaryFile& file) {
  const auto file_size = static_cast<std::int64_t>(file.size());
  constexpr std::int64_t kHeader = 12;
  constexpr unsigned kCompressed = 02000;
  constexpr unsigned kChecksum = 010000;
  constexpr unsigned kBase = 077;
  constexpr unsigned kWaveform = 0;
  constexpr unsigned kVectorQuantised = 10;
  if (file_size < kHeader) file.fail("truncated: too short for a header of 12 bytes");
  const auto bytes = file.read_bytes(kHeader, "the header");
  std::int64_t stated[2] = {};
  for (const bool big_endian : {true, false}) {
    const auto count = static_cast<std::int64_t>(bits_of(bytes.first(4), big_endian));
    const auto size = static_cast<int>(bits_of(bytes.subspan(8, 2), big_endian));
    const auto kind = static_cast<unsigned>(bits_of(bytes.subspan(10, 2), big_endian));
    stated[big_endian ? 0 : 1] = kHeader + count * size;
    if ((kind & (kCompressed | kChecksum)) != 0 && (kind & kBase) <= 13 && size > 0 && size < 4096) {
      file.fail("is compressed or has a checksum, which is not read");
    }
    if (kHeader + count * size != file_size || size < 4 || size % 4 != 0) continue;
    if ((kind & kBase) == kWaveform || (kind & kBase) == kVectorQuantised) file.fail("does not hold features");
    file.set_big_endian(big_endian);
    return rows_of_floats(file, count, size / 4);
  }
  file.fail("not an HTK file, or truncated: the header asks for " + std::to_string(stated[0]) +
            " or, in the other byte " + "order, " + std::to_string(stated[1]) + " bytes, the file has " +
            std::to_string(file_size));
}

FeatureMatrix read_mfc(BinaryFile& file, int width) {
  const auto file_size = static_cast<std::int64_t>(file.size());
  if (file_size < 4) file.fail("truncated: too short for the number of values");
  const auto bytes = file.read_bytes(4, "the number of values");
  for (const bool big_endian : {false, true}) {
    const auto count = static_cast<std::int64_t>(bits_of(bytes, big_endian));
    if (4 + 4 * count != file_size) continue;
    if (count % width != 0) {
      file.fail("holds " + std::to_string(count) + " values, which are no rows of " + std::to_string(width));
    }
    file.set_big_endian(big_endian);
    return rows_of_floats(file, count / width, width);
  }
  file.fail("not a Sphinx feature file, or truncated: it holds " + std::to_string(file_size - 4) +
            " bytes of values, the number in front is another in either byte order");
}

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

FeatureMatrix read_csv(BinaryFile& file) {
  const auto names = fields_of(file.read_line("the names of the columns"));
  if (names.size() < 2 || names[0] != "time_s") {
    file.fail("the first line does not name the columns: time_s, then those of the features");
  }
  FeatureMatrix rows{static_cast<int>(names.size()) - 1, {}};
  for (int number = 2; file.position() < file.size(); ++number) {
    const auto fields = fields_of(file.read_line("line " + std::to_string(number)));
    if (fields.size() != names.size()) {
      file.fail("line " + std::to_string(number) + " has " + std::to_string(fields.size()) + " fields, the first " +
                std::to_string(names.size()));
    }
    for (std::size_t i = 1; i < fields.size(); ++i) {
      char* end = nullptr;
      const float value = std::strtof(fields[i].c_str(), &end);
      if (fields[i].empty() || *end != '\0') {
        file.fail("line " + std::to_string(number) + ": '" + fields[i] + "' is not a number");
      }
      if (rows.values.size() == INT_MAX) file.fail("too many values");
      rows.values.push_back(value);
    }
  }
  return rows;
}

}  // namespace

FeatureMatrix read_feature_file(const std::filesystem::path& file, int mfc_width) {
  const FeatureFormat format = feature_format(file);
  if (mfc_width < 1) throw Fault("rows of " + std::to_string(mfc_width) + " values cannot be read");
  BinaryFile content(file);
  switch (format) {
    case FeatureFormat::kNpy: return read_npy(content);
    case FeatureFormat::kHtk: return read_htk(content);
    case FeatureFormat::kMfc: return read_mfc(content, mfc_width);
    case FeatureFormat::kCsv: return read_csv(content);
  }
  return {};
}

}  // namespace kivsr::speech
