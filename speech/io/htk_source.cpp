// Parameter files of HTK (The HTK Book, 5.10.1): a header of 12 bytes, rows of floats, or of 16-bit integers between
// the least and the largest value of their column (_C), then perhaps a checksum (_K).
#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <span>
#include <string_view>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/feature_source.h"
#include "kivsr/speech/io/htk_checksum.h"
#include "kivsr/speech/io/packed_source.h"

namespace kivsr::speech {

namespace {

constexpr std::int64_t kHeader = 12;
constexpr std::int64_t kChecksumBytes = 2;
constexpr int kRows = 1024;             // that are read at a time
constexpr std::int64_t kScaleRows = 4;  // of a compressed file: those whose place the scales take, which are counted
constexpr unsigned kLastBase = 13;

struct HtkHeader {
  std::int64_t count = 0;  // rows
  std::int64_t period = 0;
  int size = 0;  // bytes of a row
  unsigned kind = 0;

  std::int64_t file_size() const { return kHeader + count * size + ((kind & kHtkChecksum) != 0 ? kChecksumBytes : 0); }
};

HtkHeader header_of(std::span<const std::uint8_t> bytes, bool big_endian) {
  return {static_cast<std::int64_t>(bits_of(bytes.first(4), big_endian)),
          static_cast<std::int64_t>(bits_of(bytes.subspan(4, 4), big_endian)),
          static_cast<int>(bits_of(bytes.subspan(8, 2), big_endian)),
          static_cast<unsigned>(bits_of(bytes.subspan(10, 2), big_endian))};
}

class HtkSource : public FeatureSource {
 public:
  explicit HtkSource(BinaryFile file) : FeatureSource(std::move(file), FeatureFormat::kHtk) {}

  void open() {
    const HtkHeader header = read_header();
    compressed_ = (header.kind & kHtkCompressed) != 0;
    row_bytes_ = header.size;
    left_ = header.count - (compressed_ ? kScaleRows : 0);
    // An index of a codebook takes two bytes behind the floats.
    indexed_ = !compressed_ && (header.kind & kHtkIndex) != 0 && header.size % 4 == 2;
    const int floats = header.size / (compressed_ ? 2 : 4);
    layout.width = floats + (indexed_ ? 1 : 0);
    layout.htk_kind = header.kind;
    if (left_ > INT_MAX / layout.width) file_.fail("too many values");
    constexpr double kUnit = 1e-7;
    has_frame_seconds = header.period > 0;
    if (has_frame_seconds) layout.frame_seconds = static_cast<double>(header.period) * kUnit;
    encoding = compressed_ ? "16 bits" : "float";
    if (compressed_) read_scales();
  }

  void read(FeatureMatrix& rows) override {
    const std::int64_t count = std::min<std::int64_t>(left_, kRows);
    const auto bytes = file_.read_bytes(count * row_bytes_, "the values");
    const auto size = static_cast<std::size_t>(row_bytes_);
    for (std::size_t at = 0; at < bytes.size(); at += size) take_row(bytes.subspan(at, size), rows.values);
    left_ -= count;
  }

 private:
  // Nothing says which byte order the file is in, but the numbers in front must fit the file's size.
  HtkHeader read_header() {
    if (file_.size() < kHeader) file_.fail("truncated: too short for a header of 12 bytes");
    const auto bytes = file_.read_bytes(kHeader, "the header");
    for (const bool big_endian : {true, false}) {
      const HtkHeader header = header_of(bytes, big_endian);
      const unsigned base = header.kind & kHtkBase;
      if (header.file_size() != file_.size() || header.size < 2 || base > kLastBase) continue;
      require_features(header);
      const bool indexed = (header.kind & kHtkIndex) != 0 && header.size > 2;
      if ((header.kind & kHtkCompressed) == 0 && header.size % 4 != 0 && !indexed) continue;
      if ((header.kind & kHtkCompressed) != 0 && header.count < kScaleRows) continue;
      if (header.size % 2 != 0) continue;
      file_.set_big_endian(big_endian);
      return header;
    }
    file_.fail("not an HTK file, or truncated: the header asks for " +
               std::to_string(header_of(bytes, true).file_size()) + " or, in the other byte order, " +
               std::to_string(header_of(bytes, false).file_size()) + " bytes, the file has " +
               std::to_string(file_.size()));
  }

  void require_features(const HtkHeader& header) const {
    constexpr unsigned kWaveform = 0;
    constexpr unsigned kIntegerReflection = 5;
    constexpr unsigned kDiscrete = 10;
    const unsigned base = header.kind & kHtkBase;
    if (base == kWaveform) {
      file_.fail(
          "does not hold features but a waveform, which is read as audio under a name that does not end in .htk");
    }
    if (base == kIntegerReflection || base == kDiscrete) {
      file_.fail("does not hold features but integers, of kind " + htk_kind_name(header.kind));
    }
  }

  // x = (X + B) / A
  void read_scales() {
    for (auto* scales : {&factors_, &offsets_}) {
      for (int i = 0; i < layout.width; ++i) {
        scales->push_back(std::bit_cast<float>(file_.read_word("the scales of the columns")));
      }
    }
    if (std::find(factors_.begin(), factors_.end(), 0.0F) != factors_.end()) file_.fail("has a column of scale 0");
  }

  void take_row(std::span<const std::uint8_t> bytes, std::vector<float>& values) const {
    const bool big = file_.big_endian();
    for (std::size_t i = 0; compressed_ && i < factors_.size(); ++i) {
      const auto value = static_cast<std::int16_t>(bits_of(bytes.subspan(2 * i, 2), big));
      values.push_back((static_cast<float>(value) + offsets_[i]) / factors_[i]);
    }
    for (std::size_t i = 0; !compressed_ && i + 4 <= bytes.size(); i += 4) {
      values.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits_of(bytes.subspan(i, 4), big))));
    }
    if (indexed_) values.push_back(static_cast<float>(bits_of(bytes.last(2), big)));
  }

  std::vector<float> factors_;  // A
  std::vector<float> offsets_;  // B
  std::int64_t left_ = 0;       // rows
  int row_bytes_ = 0;
  bool compressed_ = false;
  bool indexed_ = false;
};

}  // namespace

std::string htk_kind_name(unsigned kind) {
  static constexpr std::array<const char*, kLastBase + 1> kBases{"WAVEFORM", "LPC",  "LPREFC", "LPCEPSTRA", "LPDELCEP",
                                                                 "IREFC",    "MFCC", "FBANK",  "MELSPEC",   "USER",
                                                                 "DISCRETE", "PLP",  "ANON",   "13"};
  constexpr std::pair<unsigned, const char*> kQualifiers[] = {
      {kHtkEnergy, "_E"},   {kHtkZeroth, "_0"},        {kHtkDeltas, "_D"},   {kHtkAccelerations, "_A"},
      {kHtkThird, "_T"},    {kHtkWithoutEnergy, "_N"}, {kHtkZeroMean, "_Z"}, {kHtkCompressed, "_C"},
      {kHtkChecksum, "_K"}, {kHtkIndex, "_V"}};
  std::string name = kBases[std::min(kind & kHtkBase, kLastBase)];
  for (const auto& [bit, text] : kQualifiers) {
    if ((kind & bit) != 0) name += text;
  }
  return name;
}

std::unique_ptr<FeatureSource> open_htk(BinaryFile content) {
  auto source = std::make_unique<HtkSource>(std::move(content));
  source->open();
  return source;
}

std::optional<bool> htk_checksum_fits(const std::filesystem::path& file) {
  const auto name = feature_name(file);
  BinaryFile content(name ? name->file : file);
  const std::unique_ptr<FeatureSource> source = open_htk(BinaryFile(name ? name->file : file));
  if ((source->layout.htk_kind & kHtkChecksum) == 0) return std::nullopt;
  content.skip(kHeader, "the header");
  HtkChecksums sums;
  for (std::int64_t left = content.size() - kHeader - kChecksumBytes; left > 0;) {
    const std::int64_t count = std::min<std::int64_t>(left, 65536);
    sums.add(content.read_bytes(count, "the values"));
    left -= count;
  }
  return sums.fit(content.read_half_word("the checksum"));
}

}  // namespace kivsr::speech
