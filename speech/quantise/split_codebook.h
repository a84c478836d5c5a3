// Codebooks for split vector quantisation of rows of features: trained, kept in a file, used to turn rows into packed
// bits and back. Next: quantised_stream.h, the file of such bits.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/quantise/split.h"

namespace kivsr::speech {

// The codebook of one group of columns. bits is what its indices take.
struct GroupCodebook {
  SplitGroup group;
  std::vector<float> weights;    // of the distance, one a column
  std::vector<float> codewords;  // [codeword][column of the group]

  int width() const { return static_cast<int>(group.columns.size()); }
  int count() const { return static_cast<int>(codewords.size() / group.columns.size()); }
};

class SplitCodebook {
 public:
  // groups as trained or read; group.bits is set from the number of codewords.
  SplitCodebook(const Recipe& recipe, std::vector<GroupCodebook> groups);

  static SplitCodebook read(const std::filesystem::path& file);
  void write(OutputFile& file) const;

  // Of the rows that it was trained from.
  const Recipe& recipe() const { return recipe_; }
  const std::vector<GroupCodebook>& groups() const { return groups_; }
  int width() const { return width_; }
  // Bits of an encoded row: the sum of the groups' bits, but at least one a group.
  int row_bits() const { return row_bits_; }
  double bits_per_second() const { return row_bits_ / recipe_.frame_seconds(); }
  // Checksum of the content; a stream names the book it was made with by it.
  std::uint32_t identity() const { return identity_; }

  // Row r at bit r * row_bits(), the most significant bit of a byte first; the last byte is filled with zeros.
  std::vector<std::uint8_t> encode(const FeatureMatrix& rows) const;
  // Throws Fault for an index that names no codeword; source is the file it blames.
  FeatureMatrix decode(std::span<const std::uint8_t> bits, int rows, const std::string& source) const;
  static std::int64_t encoded_bytes(std::int64_t rows, int row_bits) { return (rows * row_bits + 7) / 8; }

 private:
  std::string content() const;

  Recipe recipe_;
  std::vector<GroupCodebook> groups_;
  std::vector<Codebook32f> books_;
  std::vector<const KivsCdbkState_32f*> handles_;
  std::vector<int> order_;  // column of the rows for each element of the groups back to back
  int width_ = 0;
  int row_bits_ = 0;
  std::uint32_t identity_ = 0;
};

// Which cluster the library's training splits next, with a k-means after every split; or one k-means of all codewords.
enum class CodebookRule { kWidest, kLargest, kMeans };
// Of "widest", "largest", "k-means"; nothing of another name.
std::optional<CodebookRule> find_codebook_rule(std::string_view name);

// One codebook from all rows. weights: one a column of the rows.
GroupCodebook train_group(const FeatureMatrix& rows, const SplitGroup& group, const std::vector<float>& weights,
                          CodebookRule rule);

// 1 / variance of each column; 0 becomes 1.
std::vector<float> inverse_variances(const FeatureMatrix& rows);

}  // namespace kivsr::speech
