#include "kivsr/speech/models/sendump.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {
namespace {

constexpr std::uint32_t kLongestString = 999;
constexpr std::size_t kClusters = 16;  // the header counts 15 when the last one is the lowest weight of all

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
  const std::uint32_t swapped = bytes_reversed(length);
  const bool plausible = length >= 1 && length <= kLongestString;
  const bool plausible_swapped = swapped >= 1 && swapped <= kLongestString;
  if (!plausible && !plausible_swapped) file.fail("is not a weight dump: its title has no sensible length");
  file.set_big_endian(!plausible);
}

// The weights that the numbers stand for, then two states a byte.
void read_clusters(BinaryFile& file, PackedWeights& weights) {
  std::array<std::uint8_t, kClusters> known{};
  const auto centres = file.read_bytes(kClusters, "the weights of the clusters");
  std::copy(centres.begin(), centres.end(), known.begin());
  const std::int64_t width = (std::int64_t{weights.states} + 1) / 2;
  const std::int64_t rows = std::int64_t{weights.streams} * weights.densities;
  file.require(rows, "the mixture weights");
  file.require(rows * width, "the mixture weights");
  weights.bytes.reserve(static_cast<std::size_t>(rows * weights.states));
  for (std::int64_t row = 0; row < rows; ++row) {
    const auto halves = file.read_bytes(width, "the mixture weights");
    for (std::size_t state = 0; state < static_cast<std::size_t>(weights.states); ++state) {
      weights.bytes.push_back(known[halves[state / 2] >> (state % 2 * 4) & 0xFU]);
    }
  }
}

}  // namespace

std::vector<float> PackedWeights::log_weights() const {
  static const double step = 1024.0 * std::log(1.0001);
  std::vector<float> result;
  for (int byte = 0; byte < 256; ++byte) result.push_back(static_cast<float>(-step * byte));
  return result;
}

float PackedWeights::log_weight(int stream, int density, int state) const {
  const std::uint8_t byte =
      row(static_cast<std::size_t>(stream), static_cast<std::size_t>(density))[static_cast<std::size_t>(state)];
  return log_weights()[byte];
}

PackedWeights read_sendump(const std::filesystem::path& path) {
  BinaryFile file(path);
  detect_byte_order(path, file);
  read_header_string(file);  // title
  std::map<std::string, int> entries;
  for (std::string line = read_header_string(file); !line.empty(); line = read_header_string(file)) {
    const std::vector<std::string> words = words_of(line);
    int value = 0;
    if (words.size() > 1 && read_number(words[1], value)) entries[words[0]] = value;
  }
  const auto entry = [&entries](const char* name, int absent) {
    const auto found = entries.find(name);
    return found == entries.end() ? absent : found->second;
  };
  const int clusters = entry("cluster_count", -1);
  const bool halves = clusters != 0;
  if (halves && (clusters < 15 || clusters > 16 || entry("cluster_bits", 0) != 4)) {
    file.fail("holds weights in clusters that are not of 4 bits");
  }

  PackedWeights result;
  result.streams = entry("feature_count", 1);
  result.densities = halves ? entry("mixture_count", 0) : file.read_count("the number of Gaussians");
  result.states = halves ? entry("model_count", 0) : file.read_count("the number of states");
  if (result.streams < 1 || result.densities < 1 || result.states < 1) file.fail("has no weights");
  if (halves) {
    read_clusters(file, result);
  } else {
    std::int64_t count = 1;
    for (const int factor : {result.streams, result.densities, result.states}) {
      count *= factor;
      file.require(count, "the mixture weights");
    }
    const auto bytes = file.read_bytes(count, "the mixture weights");
    result.bytes.assign(bytes.begin(), bytes.end());
  }
  file.expect_end();
  return result;
}

}  // namespace kivsr::speech
