#include "kivsr/speech/quantise/split_codebook.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/quantise/k_means.h"

namespace kivsr::speech {

namespace {

constexpr std::string_view kMagic = "KVQB";
constexpr std::uint32_t kVersion = 2;
constexpr int kMostCodewords = 1 << kMostSplitBits;
constexpr int kMostColumns = 65535;  // the header of a stream has 16 bits for them
// Rows are packed a block at a time; blocks of a multiple of eight rows start on a byte.
constexpr int kBlockRows = 4096;

int index_bits(int count) { return std::bit_width(static_cast<unsigned>(count - 1)); }

// Rows with the columns in the order of the groups, and back.
FeatureMatrix gather(const FeatureMatrix& rows, const std::vector<int>& order, int first, int count) {
  FeatureMatrix gathered;
  gathered.width = static_cast<int>(order.size());
  gathered.values.reserve(order.size() * static_cast<std::size_t>(count));
  for (int r = first; r < first + count; ++r) {
    for (const int column : order) gathered.values.push_back(rows.row(r)[static_cast<std::size_t>(column)]);
  }
  return gathered;
}

void scatter(const FeatureMatrix& gathered, const std::vector<int>& order, FeatureMatrix& rows) {
  for (int r = 0; r < gathered.height(); ++r) {
    const std::size_t start = rows.values.size();
    rows.values.resize(start + order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
      rows.values[start + static_cast<std::size_t>(order[i])] = gathered.row(r)[i];
    }
  }
}

std::vector<float> read_floats(BinaryFile& file, std::int64_t count, const char* what) {
  file.require(4 * count, what);
  std::vector<float> values(static_cast<std::size_t>(count));
  for (float& value : values) {
    value = std::bit_cast<float>(file.read_word(what));
    if (!std::isfinite(value)) file.fail(std::string(what) + ": not a finite number");
  }
  return values;
}

}  // namespace

SplitCodebook::SplitCodebook(const Recipe& recipe, std::vector<GroupCodebook> groups)
    : recipe_(recipe), groups_(std::move(groups)) {
  for (GroupCodebook& group : groups_) {
    group.group.bits = index_bits(group.count());
    row_bits_ += group.group.bits;
    width_ += group.width();
    order_.insert(order_.end(), group.group.columns.begin(), group.group.columns.end());
    books_.push_back(Codebook32f::make<kivsCdbkInitAlloc_WgtL2_32f>(
        group.codewords, group.weights, group.width(), group.width(), group.count(), group.count(), kivCdbkFullSearch));
    handles_.push_back(books_.back().get());
  }
  if (width_ > kMostColumns) throw Fault("codebooks: more than " + std::to_string(kMostColumns) + " columns");
  row_bits_ = std::max(row_bits_, static_cast<int>(groups_.size()));
  identity_ = checksum_32(content());
}

std::string SplitCodebook::content() const {
  LittleEndianBytes bytes;
  bytes.put_text(kMagic);
  const std::string recipe = recipe_.text();
  bytes.put_32(kVersion);
  bytes.put_32(static_cast<std::uint32_t>(recipe.size()));
  bytes.put_text(recipe);
  bytes.put_32(static_cast<std::uint32_t>(groups_.size()));
  for (const GroupCodebook& group : groups_) {
    bytes.put_32(static_cast<std::uint32_t>(group.width()));
    bytes.put_32(static_cast<std::uint32_t>(group.count()));
    for (const int column : group.group.columns) bytes.put_32(static_cast<std::uint32_t>(column));
    for (const float weight : group.weights) bytes.put_float(weight);
    for (const float value : group.codewords) bytes.put_float(value);
  }
  return std::string(bytes.text());
}

void SplitCodebook::write(OutputFile& file) const {
  LittleEndianBytes end;
  end.put_32(identity_);
  file.write(content());
  file.write(end.text());
}

SplitCodebook SplitCodebook::read(const std::filesystem::path& name) {
  BinaryFile file(name);
  const auto magic = file.read_bytes(static_cast<std::int64_t>(kMagic.size()), "magic");
  if (!std::equal(magic.begin(), magic.end(), kMagic.begin())) file.fail("not a codebook of kivsr quantise");
  const std::uint32_t version = file.read_word("version");
  if (version != kVersion) file.fail("codebook of version " + std::to_string(version) + ", this program reads 2");
  const auto text = file.read_bytes(file.read_count("length of the recipe"), "recipe");
  const Recipe recipe = Recipe::parse({text.begin(), text.end()}, name.string());
  const int width = recipe.width();
  const int group_count = file.read_count("number of groups");
  if (group_count < 1 || width < group_count) file.fail("the number of groups is out of range");
  // Every column takes some bytes, so the file bounds what is allocated.
  file.require(8 * static_cast<std::int64_t>(width), "columns");
  std::vector<bool> used(static_cast<std::size_t>(width), false);
  std::vector<GroupCodebook> groups(static_cast<std::size_t>(group_count));
  int columns = 0;
  for (GroupCodebook& group : groups) {
    const int group_width = file.read_count("width of a group");
    const int count = file.read_count("codewords of a group");
    if (group_width < 1 || group_width > width - columns || count < 1 || count > kMostCodewords) {
      file.fail("the size of a group is out of range");
    }
    columns += group_width;
    for (int i = 0; i < group_width; ++i) {
      const int column = file.read_count("column");
      if (column >= width || used[static_cast<std::size_t>(column)]) file.fail("a column is named twice or not there");
      used[static_cast<std::size_t>(column)] = true;
      group.group.columns.push_back(column);
    }
    group.weights = read_floats(file, group_width, "weights");
    if (*std::min_element(group.weights.begin(), group.weights.end()) < 0.0F) file.fail("a weight is negative");
    group.codewords = read_floats(file, static_cast<std::int64_t>(count) * group_width, "codewords");
  }
  if (columns != width) file.fail("the groups do not cover the columns");
  const std::uint32_t checksum = file.read_word("checksum");
  file.expect_end();
  SplitCodebook book(recipe, std::move(groups));
  if (book.identity() != checksum) file.fail("damaged: the checksum does not fit the content");
  return book;
}

std::vector<std::uint8_t> SplitCodebook::encode(const FeatureMatrix& rows) const {
  const int height = rows.height();
  std::vector<std::uint8_t> bits(static_cast<std::size_t>(encoded_bytes(height, row_bits_)), 0);
  for (int first = 0; first < height; first += kBlockRows) {
    const FeatureMatrix block = gather(rows, order_, first, std::min(kBlockRows, height - first));
    call<kivsSplitVQ_32f1u>(block.values, width_, bits.data() + encoded_bytes(first, row_bits_), row_bits_,
                            block.height(), handles_, handles_.size());
  }
  return bits;
}

FeatureMatrix SplitCodebook::decode(std::span<const std::uint8_t> bits, int rows, const std::string& source) const {
  FeatureMatrix decoded;
  decoded.width = width_;
  decoded.values.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(width_));
  FeatureMatrix block;
  block.width = width_;
  for (int first = 0; first < rows; first += kBlockRows) {
    const int count = std::min(kBlockRows, rows - first);
    block.values.assign(static_cast<std::size_t>(count) * static_cast<std::size_t>(width_), 0.0F);
    const KivStatus status =
        kivsFormVectorVQ_1u32f(bits.data() + encoded_bytes(first, row_bits_), row_bits_, block.values.data(), width_,
                               count, handles_.data(), static_cast<int>(handles_.size()));
    if (status == kivStatusBadSize) throw Fault(source + ": damaged: an index that names no codeword");
    if (status < kivStatusOk) throw Error(status, "kivsFormVectorVQ_1u32f");
    scatter(block, order_, decoded);
  }
  return decoded;
}

std::optional<CodebookRule> find_codebook_rule(std::string_view name) {
  if (name == "widest") return CodebookRule::kWidest;
  if (name == "largest") return CodebookRule::kLargest;
  if (name == "k-means") return CodebookRule::kMeans;
  return std::nullopt;
}

GroupCodebook train_group(const FeatureMatrix& rows, const SplitGroup& group, const std::vector<float>& weights,
                          CodebookRule rule) {
  const int count = 1 << group.bits;
  if (rows.height() < count) {
    throw Fault("training: " + std::to_string(rows.height()) + " frames are fewer than the " + std::to_string(count) +
                " codewords of the group " + split_text(group));
  }
  const FeatureMatrix vectors = gather(rows, group.columns, 0, rows.height());
  GroupCodebook result;
  result.group = group;
  for (const int column : group.columns) result.weights.push_back(weights[static_cast<std::size_t>(column)]);
  if (rule == CodebookRule::kMeans) {
    result.codewords = k_means(vectors, result.weights, count);
    return result;
  }
  KivsCdbkState_32f* state = nullptr;
  const KivStatus status = kivsCdbkInitAlloc_WgtL2_32f(
      &state, vectors.values.data(), result.weights.data(), vectors.width, vectors.width, vectors.height(), count,
      rule == CodebookRule::kWidest ? kivCdbkSplitWidest : kivCdbkSplitLargest);
  if (status == kivStatusBadArgument) {
    throw Fault("training: the group " + split_text(group) +
                " has values too close to each other for so many codewords, ask for fewer bits or scale the features");
  }
  if (status < kivStatusOk) throw Error(status, "kivsCdbkInitAlloc_WgtL2_32f");
  const Codebook32f book(state);
  int made = 0;
  call<kivsGetCdbkSize_32f>(book, &made);
  result.codewords.resize(static_cast<std::size_t>(made) * group.columns.size());
  call<kivsGetCodebook_32f>(book, result.codewords, vectors.width);
  return result;
}

std::vector<float> inverse_variances(const FeatureMatrix& rows) {
  std::vector<float> mean(static_cast<std::size_t>(rows.width), 0.0F);
  std::vector<float> variance(mean.size(), 0.0F);
  if (rows.height() > 1) {
    call<kivsMeanVarColumn_32f_D2>(rows.values, rows.height(), rows.width, mean, variance, rows.width);
  }
  for (float& value : variance) value = value > 0.0F ? 1.0F / value : 1.0F;
  return variance;
}

}  // namespace kivsr::speech
