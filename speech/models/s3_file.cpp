#include "kivsr/speech/models/s3_file.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <string>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {
namespace {

constexpr std::uint32_t kByteOrder = 0x11223344U;
constexpr std::uint32_t kByteOrderSwapped = bytes_reversed(kByteOrder);
constexpr int kMostHeaderLines = 1000;
constexpr std::string_view kTransformVersion = "0.1";  // of a feature_transform

// Counts words while the checksum follows them: sum = rotate_left(sum, 20) + word.
class S3File {
 public:
  explicit S3File(const std::filesystem::path& path) : file_(path) {
    read_header();
    const std::uint32_t order = file_.read_word("the byte-order word");
    if (order == kByteOrderSwapped) {
      file_.set_big_endian(true);
    } else if (order != kByteOrder) {
      file_.fail("the byte-order word is wrong");
    }
  }

  int count(const char* what) {
    const std::int32_t value = file_.read_count(what);
    add(static_cast<std::uint32_t>(value));
    return value;
  }

  // The length of the values that follow, which must be the product of the counts, then the values and the end.
  std::vector<float> values(std::int64_t expected, const char* what) {
    const int length = count("the number of values");
    if (length != expected) {
      file_.fail("holds " + std::to_string(length) + " values where its dimensions need " + std::to_string(expected));
    }
    file_.require(4 * expected, what);
    std::vector<float> result(static_cast<std::size_t>(length));
    for (float& value : result) {
      const std::uint32_t word = file_.read_word(what);
      add(word);
      value = std::bit_cast<float>(word);
      if (!std::isfinite(value)) file_.fail(std::string(what) + " hold a value that is not finite");
    }
    if (has_checksum_ && file_.read_word("the checksum") != sum_) file_.fail("the checksum does not fit the content");
    file_.expect_end();
    return result;
  }

  void require_positive(int value, const char* what) {
    if (value < 1) file_.fail(std::string(what) + " is zero");
  }

  [[noreturn]] void fail(const std::string& message) { file_.fail(message); }

 private:
  void add(std::uint32_t word) { sum_ = std::rotl(sum_, 20) + word; }

  void read_header() {
    if (file_.read_line("the header") != "s3") file_.fail("is not an s3 parameter file: its first line is not \"s3\"");
    for (int number = 0; number < kMostHeaderLines; ++number) {
      const std::string line = file_.read_line("the header");
      std::string_view words = line;
      std::string_view name;
      std::string_view value;
      take_word(words, name);
      take_word(words, value);
      if (name == "endhdr") return;
      if (name == "chksum0") has_checksum_ = value == "yes";
      if (name == "version" && value != "1.0" && value != "1.2" && value != kTransformVersion) {
        file_.fail("has version " + std::string(value) + ", known are 0.1, 1.0 and 1.2");
      }
    }
    file_.fail("the header has no end");
  }

  BinaryFile file_;
  std::uint32_t sum_ = 0;
  bool has_checksum_ = false;
};

// The counts, the number of values, the values and the checksum over all of them.
void write_s3_file(const std::filesystem::path& path, const std::vector<int>& counts, const std::vector<float>& values,
                   std::string_view version = "1.0") {
  LittleEndianBytes bytes;
  bytes.put_text("s3\nversion " + std::string(version) + "\nchksum0 yes\n    endhdr\n");
  bytes.put_32(kByteOrder);
  std::uint32_t sum = 0;
  const auto put = [&](std::uint32_t word) {
    sum = std::rotl(sum, 20) + word;
    bytes.put_32(word);
  };
  for (const int count : counts) put(static_cast<std::uint32_t>(count));
  put(static_cast<std::uint32_t>(values.size()));
  for (const float value : values) put(std::bit_cast<std::uint32_t>(value));
  bytes.put_32(sum);
  OutputFile file(path);
  file.write(bytes.text());
  file.commit();
}

// The product of counts that all fit 31 bits; anything beyond a file's possible size is as good as the largest.
std::int64_t product(std::initializer_list<std::int64_t> counts) {
  constexpr std::int64_t most = INT64_C(1) << 31;
  std::int64_t result = 1;
  for (const std::int64_t count : counts) result = std::min(most, result * std::min(most, count));
  return result;
}

}  // namespace

const float* GaussianParameters::rows(int codebook, int stream) const {
  const std::size_t dimensions =
      static_cast<std::size_t>(std::accumulate(stream_lengths.begin(), stream_lengths.end(), 0));
  const std::size_t before =
      static_cast<std::size_t>(std::accumulate(stream_lengths.begin(), stream_lengths.begin() + stream, 0));
  return values.data() +
         (static_cast<std::size_t>(codebook) * dimensions + before) * static_cast<std::size_t>(densities);
}

GaussianParameters read_gaussian_parameters(const std::filesystem::path& path) {
  S3File file(path);
  GaussianParameters result;
  result.codebooks = file.count("the number of codebooks");
  const int streams = file.count("the number of streams");
  result.densities = file.count("the number of Gaussians");
  file.require_positive(result.codebooks, "the number of codebooks");
  file.require_positive(streams, "the number of streams");
  file.require_positive(result.densities, "the number of Gaussians");
  std::int64_t dimensions = 0;
  for (int stream = 0; stream < streams; ++stream) {
    const int length = file.count("a stream length");
    file.require_positive(length, "a stream length");
    result.stream_lengths.push_back(length);
    dimensions += length;
  }
  result.values = file.values(product({result.codebooks, result.densities, dimensions}), "the Gaussian parameters");
  return result;
}

MixtureWeights read_mixture_weights(const std::filesystem::path& path) {
  S3File file(path);
  MixtureWeights result;
  result.states = file.count("the number of states");
  result.streams = file.count("the number of streams");
  result.densities = file.count("the number of weights");
  file.require_positive(result.states, "the number of states");
  file.require_positive(result.streams, "the number of streams");
  file.require_positive(result.densities, "the number of weights");
  result.counts = file.values(product({result.states, result.streams, result.densities}), "the mixture weights");
  return result;
}

TransitionMatrices read_transition_matrices(const std::filesystem::path& path) {
  S3File file(path);
  TransitionMatrices result;
  result.matrices = file.count("the number of matrices");
  result.sources = file.count("the number of rows");
  result.destinations = file.count("the number of columns");
  file.require_positive(result.matrices, "the number of matrices");
  file.require_positive(result.sources, "the number of rows");
  if (result.destinations != result.sources + 1) file.fail("has matrices that are not one column wider than high");
  result.counts =
      file.values(product({result.matrices, result.sources, result.destinations}), "the transition matrices");
  return result;
}

FeatureTransform read_feature_transform(const std::filesystem::path& path) {
  S3File file(path);
  const int matrices = file.count("the number of matrices");
  if (matrices != 1) file.fail("holds " + std::to_string(matrices) + " transforms, not one");
  FeatureTransform result;
  result.rows = file.count("the number of rows");
  result.columns = file.count("the number of columns");
  file.require_positive(result.rows, "the number of rows");
  file.require_positive(result.columns, "the number of columns");
  result.values = file.values(product({result.rows, result.columns}), "the feature transform");
  return result;
}

void write_gaussian_parameters(const std::filesystem::path& path, const GaussianParameters& parameters) {
  std::vector<int> counts{parameters.codebooks, static_cast<int>(parameters.stream_lengths.size()),
                          parameters.densities};
  counts.insert(counts.end(), parameters.stream_lengths.begin(), parameters.stream_lengths.end());
  write_s3_file(path, counts, parameters.values);
}

void write_mixture_weights(const std::filesystem::path& path, const MixtureWeights& weights) {
  write_s3_file(path, {weights.states, weights.streams, weights.densities}, weights.counts);
}

void write_transition_matrices(const std::filesystem::path& path, const TransitionMatrices& matrices) {
  write_s3_file(path, {matrices.matrices, matrices.sources, matrices.destinations}, matrices.counts);
}

void write_feature_transform(const std::filesystem::path& path, const FeatureTransform& transform) {
  write_s3_file(path, {1, transform.rows, transform.columns}, transform.values, kTransformVersion);
}

}  // namespace kivsr::speech
