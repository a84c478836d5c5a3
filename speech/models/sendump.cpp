#include "kivsr/speech/models/sendump.h"

#include <cmath>
#include <map>
#include <sstream>
#include <string>

#include "kivsr/speech/io/binary_file.h"

namespace kivsr::speech {
namespace {

constexpr std::uint32_t kLongestString = 999;

// One length word and that many bytes. A length of zero ends the header.
std::string read_header_string(BinaryFile& file) {
  const std::uint32_t length = file.read_word("the length of a header string");
  if (length == 0) return {};
  if (length > kLongestString) file.fail("a header string is " + std::to_string(length) + " bytes long");
  const auto bytes = file.read_bytes(length, "a header string");
  // The last string may be padding without a zero, so that the weights start on a word boundary.
  return std::string(bytes.begin(), bytes.back() == 0 ? bytes.end() - 1 : bytes.end());
}

// The first word is the length of the title, small in the right byte order and huge in the other.
void detect_byte_order(const std::filesystem::path& path, BinaryFile& file) {
  BinaryFile probe(path);
  const std::uint32_t length = probe.read_word("the length of the title");
  const std::uint32_t swapped = length >> 24 | (length >> 8 & 0xFF00U) | (length << 8 & 0xFF0000U) | length << 24;
  const bool plausible = length >= 1 && length <= kLongestString;
  const bool plausible_swapped = swapped >= 1 && swapped <= kLongestString;
  if (!plausible && !plausible_swapped) file.fail("is not a weight dump: its title has no sensible length");
  file.set_big_endian(!plausible);
}

}  // namespace

float PackedWeights::log_weight(int stream, int density, int state) const {
  static const double step = 1024.0 * std::log(1.0001);
  const std::size_t row =
      static_cast<std::size_t>(stream) * static_cast<std::size_t>(densities) + static_cast<std::size_t>(density);
  return static_cast<float>(-step * bytes[row * static_cast<std::size_t>(states) + static_cast<std::size_t>(state)]);
}

PackedWeights read_sendump(const std::filesystem::path& path) {
  BinaryFile file(path);
  detect_byte_order(path, file);
  read_header_string(file);  // title
  std::map<std::string, int> entries;
  for (std::string line = read_header_string(file); !line.empty(); line = read_header_string(file)) {
    std::istringstream words(line);
    std::string name;
    int value = 0;
    if (words >> name >> value) entries[name] = value;
  }
  if (const auto clusters = entries.find("cluster_count"); clusters == entries.end() || clusters->second != 0) {
    file.fail("holds weights in clusters, only plain 8-bit weights are read");
  }

  PackedWeights result;
  const auto streams = entries.find("feature_count");
  result.streams = streams == entries.end() ? 1 : streams->second;
  result.densities = file.read_count("the number of Gaussians");
  result.states = file.read_count("the number of states");
  if (result.streams < 1 || result.densities < 1 || result.states < 1) file.fail("has no weights");
  std::int64_t count = 1;
  for (const int factor : {result.streams, result.densities, result.states}) {
    count *= factor;
    file.require(count, "the mixture weights");
  }
  const auto bytes = file.read_bytes(count, "the mixture weights");
  result.bytes.assign(bytes.begin(), bytes.end());
  file.expect_end();
  return result;
}

}  // namespace kivsr::speech
