// Codebooks and streams: bits against an exhaustive search and a bit-by-bit packing, files, damage.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/quantise/distortion.h"
#include "kivsr/speech/quantise/quantised_stream.h"
#include "kivsr/speech/quantise/split_codebook.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

FeatureMatrix random_rows(int height, int width, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal;
  FeatureMatrix rows;
  rows.width = width;
  for (int i = 0; i < height * width; ++i) {
    rows.values.push_back(normal(generator) * static_cast<float>(1 + i % width) + 0.5F * static_cast<float>(i % 3));
  }
  return rows;
}

SplitCodebook trained(const FeatureMatrix& rows, const std::string& split, const std::vector<float>& weights) {
  std::vector<GroupCodebook> groups;
  for (const SplitGroup& group : parse_split(split, rows.width)) {
    groups.push_back(train_group(rows, group, weights, CodebookRule::kWidest));
  }
  return {Recipe::of_features(rows.width), groups};
}

// The index of each group of a row, by comparing every codeword.
std::vector<int> nearest(const SplitCodebook& book, std::span<const float> row) {
  std::vector<int> indices;
  for (const GroupCodebook& group : book.groups()) {
    double least = std::numeric_limits<double>::infinity();
    int best = 0;
    for (int k = 0; k < group.count(); ++k) {
      double distance = 0.0;
      for (std::size_t j = 0; j < group.group.columns.size(); ++j) {
        const double d = static_cast<double>(row[static_cast<std::size_t>(group.group.columns[j])]) -
                         static_cast<double>(group.codewords[static_cast<std::size_t>(k) * group.weights.size() + j]);
        distance += static_cast<double>(group.weights[j]) * d * d;
      }
      if (distance < least) {
        least = distance;
        best = k;
      }
    }
    indices.push_back(best);
  }
  return indices;
}

// 13 bits a row, so that rows start anywhere in a byte; more rows than are packed at once.
TEST(SplitCodebook, BitsAreTheNearestCodewordsMostSignificantFirst) {
  const FeatureMatrix rows = random_rows(5000, 5, 1);
  const SplitCodebook book = trained(rows, "3+0:5,1-2:6,4:2", {1.0F, 0.5F, 2.0F, 0.25F, 1.0F});
  ASSERT_EQ(book.row_bits(), 13);
  EXPECT_DOUBLE_EQ(book.bits_per_second(), 1300.0);
  std::vector<std::uint8_t> expected((5000 * 13 + 7) / 8, 0);
  FeatureMatrix expected_rows = rows;
  std::size_t place = 0;
  for (int r = 0; r < rows.height(); ++r) {
    const std::vector<int> indices = nearest(book, rows.row(r));
    for (std::size_t k = 0; k < indices.size(); ++k) {
      const GroupCodebook& group = book.groups()[k];
      for (int bit = group.group.bits - 1; bit >= 0; --bit, ++place) {
        if ((indices[k] >> bit & 1) != 0) {
          expected[place / 8] = static_cast<std::uint8_t>(expected[place / 8] | 0x80U >> place % 8);
        }
      }
      for (std::size_t j = 0; j < group.group.columns.size(); ++j) {
        expected_rows.row(r)[static_cast<std::size_t>(group.group.columns[j])] =
            group.codewords[static_cast<std::size_t>(indices[k]) * group.group.columns.size() + j];
      }
    }
  }
  EXPECT_EQ(book.encode(rows), expected);
  EXPECT_EQ(book.decode(expected, 5000, "").values, expected_rows.values);
}

TEST(SplitCodebook, GroupsOfOneCodewordAndIndicesOfNone) {
  FeatureMatrix rows = random_rows(30, 3, 2);
  for (int r = 0; r < 30; ++r) {
    rows.row(r)[0] = 4.5F;
    rows.row(r)[1] = static_cast<float>(r % 3);
  }
  const std::vector<float> ones(3, 1.0F);
  const SplitCodebook flat = trained(rows, "0:3,1:4,2:2", ones);
  EXPECT_EQ(flat.groups()[0].count(), 1) << "all values alike";
  EXPECT_EQ(flat.groups()[1].count(), 3) << "three values";
  EXPECT_EQ(flat.row_bits(), 4);
  const FeatureMatrix decoded = flat.decode(flat.encode(rows), 30, "");
  for (int r = 0; r < 30; ++r) {
    EXPECT_EQ(decoded.row(r)[0], 4.5F);
    EXPECT_EQ(decoded.row(r)[1], static_cast<float>(r % 3));
  }
  const std::vector<std::uint8_t> none(15, 0xFF);  // index 3 of three codewords
  EXPECT_THROW((void)flat.decode(none, 30, "x"), Fault);
  // nothing to tell at all: a bit a group all the same, for a stream has a length
  FeatureMatrix constant;
  constant.width = 2;
  constant.values.assign(40, 1.0F);
  const SplitCodebook still = trained(constant, "0:1,1:1", ones);
  EXPECT_EQ(still.row_bits(), 2);
  EXPECT_EQ(still.decode(still.encode(constant), 20, "").values, constant.values);
  EXPECT_THROW((void)trained(rows, "0:3,1:4,2:5", ones), Fault) << "32 codewords of 30 frames";
}

TEST(SplitCodebook, FilesRoundTripAndDamageIsNoticed) {
  const TemporaryFolder folder;
  const FeatureMatrix rows = random_rows(100, 4, 3);
  const std::vector<float> weights(4, 1.0F);
  const SplitCodebook book = trained(rows, "3:2,1+0:3,2:2", weights);
  const auto save = [&](const std::string& name, const auto& write) {
    OutputFile output(folder / name);
    write(output);
    output.commit();
    return folder / name;
  };
  const auto book_file = save("book", [&](OutputFile& file) { book.write(file); });
  const QuantisedStream stream{100, book.encode(rows)};
  const auto stream_file = save("stream", [&](OutputFile& file) {
    EXPECT_EQ(write_quantised(file, stream, book), 4 + 4 + 4 + 4 + 2 + 2 + 3 + (100 * 7 + 7) / 8 + 4);
  });

  const SplitCodebook again = SplitCodebook::read(book_file);
  EXPECT_EQ(again.identity(), book.identity());
  EXPECT_EQ(again.recipe(), book.recipe());
  const QuantisedStream read = read_quantised(stream_file, again);
  EXPECT_EQ(read.bits, stream.bits);
  EXPECT_EQ(again.decode(read.bits, read.frames, "").values, book.decode(stream.bits, 100, "").values);

  const SplitCodebook other = trained(rows, "3:2,0+1:3,2:2", weights);
  EXPECT_NE(other.identity(), book.identity());
  EXPECT_THROW((void)read_quantised(stream_file, other), Fault);

  const auto damaged = [&](const std::string& bytes, const auto& reader) {
    const auto file = folder.write("damaged", bytes);
    EXPECT_THROW((void)reader(file), Fault) << bytes.size();
  };
  const auto each_damage = [&](const std::filesystem::path& file, const auto& reader) {
    const std::string bytes = read_file(file);
    for (std::size_t i = 0; i < bytes.size(); i += i < 40 ? 1 : 5) {
      damaged(bytes.substr(0, i), reader);
      std::string changed = bytes;
      changed[i] = static_cast<char>(changed[i] ^ 0x55);
      damaged(changed, reader);
    }
    damaged(bytes + '\0', reader);
  };
  each_damage(book_file, [](const std::filesystem::path& file) { return SplitCodebook::read(file); });
  each_damage(stream_file, [&](const std::filesystem::path& file) { return read_quantised(file, book); });
}

TEST(Distortion, IsThatOfDirectSums) {
  const FeatureMatrix rows = random_rows(700, 3, 4);
  FeatureMatrix decoded = random_rows(700, 3, 5);
  for (std::size_t i = 0; i < rows.values.size(); ++i) decoded.values[i] = rows.values[i] + 0.01F * decoded.values[i];
  Distortion distortion(3);
  FeatureMatrix half = rows;
  half.values.resize(300 * 3);
  distortion.add(half, {3, {decoded.values.begin(), decoded.values.begin() + 300 * 3}});
  distortion.add({3, {rows.values.begin() + 300 * 3, rows.values.end()}},
                 {3, {decoded.values.begin() + 300 * 3, decoded.values.end()}});
  EXPECT_EQ(distortion.frames(), 700);
  double all_variance = 0.0;
  double all_errors = 0.0;
  for (int j = 0; j < 3; ++j) {
    double sum = 0.0;
    double squares = 0.0;
    double errors = 0.0;
    for (int r = 0; r < 700; ++r) {
      const double x = static_cast<double>(rows.row(r)[static_cast<std::size_t>(j)]);
      sum += x;
      squares += x * x;
      errors += std::pow(static_cast<double>(decoded.row(r)[static_cast<std::size_t>(j)]) - x, 2.0);
    }
    const double variance = squares / 700 - sum / 700 * (sum / 700);
    all_variance += variance;
    all_errors += errors / 700;
    EXPECT_NEAR(distortion.root_mean_square_error(j), std::sqrt(errors / 700), 1e-5);
    EXPECT_NEAR(distortion.decibel(j), 10.0 * std::log10(variance * 700 / errors), 1e-3);
  }
  EXPECT_NEAR(distortion.total_decibel(), 10.0 * std::log10(all_variance / all_errors), 1e-3);
}

}  // namespace
}  // namespace kivsr::speech::test
