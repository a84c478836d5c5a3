// Parameter files: both byte orders, checksum, and every way in which a file can be broken.
#include "kivsr/speech/models/s3_file.h"

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

// 2 codebooks, streams of 1 and 2 dimensions, 2 Gaussians
const std::vector<std::uint32_t> kShape = {2, 2, 2, 1, 2};
const std::vector<float> kValues = {1, 2, 3, 4, 5, 6, -1, -2, -3, -4, -5, 0.5F};

TEST(S3File, ReadsBothByteOrdersWithAndWithoutChecksum) {
  const TemporaryFolder folder;
  for (const bool big_endian : {false, true}) {
    for (const bool checksum : {false, true}) {
      const GaussianParameters read =
          read_gaussian_parameters(folder.write("means", s3_bytes(kShape, kValues, big_endian, checksum)));
      EXPECT_EQ(read.codebooks, 2);
      EXPECT_EQ(read.densities, 2);
      EXPECT_EQ(read.stream_lengths, (std::vector<int>{1, 2}));
      EXPECT_EQ(read.values, kValues);
      EXPECT_EQ(read.rows(0, 1)[0], 3.0F);
      EXPECT_EQ(read.rows(1, 0)[0], -1.0F);
      EXPECT_EQ(read.rows(1, 1)[3], 0.5F);
    }
  }
}

TEST(S3File, AnyCutAndAnyFlippedBitIsAFault) {
  const std::string bytes = s3_bytes(kShape, kValues);
  const auto read = [](const std::filesystem::path& file) { read_gaussian_parameters(file); };
  expect_fault_at_every_length(bytes, read);
  const TemporaryFolder folder;
  for (std::size_t place = bytes.find("endhdr") + 7; place < bytes.size(); ++place) {
    std::string broken = bytes;
    broken[place] = static_cast<char>(broken[place] ^ 0x10);
    EXPECT_NE(fault_of([&] { read(folder.write("broken", broken)); }), "") << "byte " << place;
  }
}

TEST(S3File, NamesTheFault) {
  const TemporaryFolder folder;
  const auto message = [&](const std::string& bytes) {
    return fault_of([&] { read_gaussian_parameters(folder.write("means", bytes)); });
  };
  std::string bytes = s3_bytes(kShape, kValues);
  EXPECT_NE(message(bytes + "x").find("left over"), std::string::npos);
  bytes.back() ^= 1;
  EXPECT_NE(message(bytes).find("checksum"), std::string::npos);
  EXPECT_NE(message("RIFF\n" + bytes).find("not an s3"), std::string::npos);
  EXPECT_NE(message(s3_bytes({2, 2, 2, 1, 3}, kValues)).find("dimensions"), std::string::npos);
  EXPECT_NE(message(s3_bytes({0, 2, 2, 1, 2}, {})).find("zero"), std::string::npos);
  EXPECT_NE(message(s3_bytes({2, 2, 0xFFFFFFFFU, 1, 2}, kValues)).find("negative"), std::string::npos);
  EXPECT_NE(message(s3_bytes({2000000000U, 1, 2000000000U, 2000000000U}, {1.0F})).find("dimensions"),
            std::string::npos);
  EXPECT_NE(fault_of([&] { read_gaussian_parameters(folder / "none"); }).find("no such file"), std::string::npos);
  EXPECT_NE(fault_of([&] { read_gaussian_parameters(folder.path()); }).find("directory"), std::string::npos);
}

TEST(S3File, WeightsAndTransitionsKeepTheirShape) {
  const TemporaryFolder folder;
  const MixtureWeights weights = read_mixture_weights(folder.write("w", s3_bytes({3, 1, 2}, {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(weights.states, 3);
  EXPECT_EQ(weights.densities, 2);
  EXPECT_EQ(weights.counts.size(), 6U);
  const TransitionMatrices matrices =
      read_transition_matrices(folder.write("t", s3_bytes({1, 2, 3}, {1, 1, 0, 0, 1, 1})));
  EXPECT_EQ(matrices.sources, 2);
  EXPECT_EQ(matrices.destinations, 3);
  EXPECT_NE(fault_of([&] { read_transition_matrices(folder.write("t", s3_bytes({1, 2, 2}, {1, 1, 0, 0}))); }), "");
}

TEST(S3File, TransformsComeBack) {
  const TemporaryFolder folder;
  const FeatureTransform read =
      read_feature_transform(folder.write("t", s3_bytes({1, 2, 3}, {1, 2, 3, 4, 5, 6}, true)));
  EXPECT_EQ(read.rows, 2);
  EXPECT_EQ(read.columns, 3);
  write_feature_transform(folder / "w", read);
  EXPECT_EQ(read_feature_transform(folder / "w").values, (std::vector<float>{1, 2, 3, 4, 5, 6}));
  for (const auto& counts : {std::vector<std::uint32_t>{2, 1, 3}, {1, 3, 3}, {1, 0, 3}}) {
    EXPECT_NE(fault_of([&] { read_feature_transform(folder.write("t", s3_bytes(counts, {1, 2, 3, 4, 5, 6}))); }), "");
  }
}

TEST(S3File, ReadsTheSwappedFileOfAPackage) {
  const TemporaryFolder folder;
  const std::filesystem::path original = kTestData / "an4_ci_cont" / "variances";
  std::string bytes = read_file(original);
  ASSERT_FALSE(bytes.empty()) << original << " is missing, install pocketsphinx-testdata";
  for (std::size_t place = bytes.find("endhdr") + 7; place < bytes.size(); place += 4) {
    std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(place),
                 bytes.begin() + static_cast<std::ptrdiff_t>(place) + 4);
  }
  const GaussianParameters swapped = read_gaussian_parameters(folder.write("swapped", bytes));
  EXPECT_EQ(swapped.codebooks, 102);
  EXPECT_EQ(swapped.stream_lengths, std::vector<int>{39});
  EXPECT_EQ(swapped.values, read_gaussian_parameters(original).values);
}

}  // namespace
}  // namespace kivsr::speech::test
