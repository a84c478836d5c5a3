// 8-bit mixture weights: layout, byte order and faults.
#include "kivsr/speech/models/sendump.h"

#include <cmath>

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

std::string header(const std::vector<std::string>& lines, bool big_endian) {
  std::string bytes;
  for (const std::string& line : lines) {
    bytes += word_bytes(static_cast<std::uint32_t>(line.size() + 1), big_endian) + line + '\0';
  }
  return bytes + word_bytes(0, big_endian);
}

std::string dump(bool big_endian, const std::string& clusters = "cluster_count 0") {
  return header({"TITLE", "a line of text", clusters, "feature_count 2"}, big_endian) + word_bytes(2, big_endian) +
         word_bytes(3, big_endian) + std::string("\x00\x01\x02\x10\x11\x12\x20\x21\x22\x30\x31\xFF", 12);
}

TEST(Sendump, ReadsBothByteOrders) {
  const TemporaryFolder folder;
  for (const bool big_endian : {false, true}) {
    const PackedWeights weights = read_sendump(folder.write("sendump", dump(big_endian)));
    EXPECT_EQ(weights.streams, 2);
    EXPECT_EQ(weights.densities, 2);
    EXPECT_EQ(weights.states, 3);
    EXPECT_EQ(weights.log_weight(0, 0, 0), 0.0F);
    EXPECT_FLOAT_EQ(weights.log_weight(1, 0, 1), static_cast<float>(-0x21 * 1024 * std::log(1.0001)));
    EXPECT_FLOAT_EQ(weights.log_weight(1, 1, 2), static_cast<float>(-255 * 1024 * std::log(1.0001)));
  }
}

std::string clustered(const std::string& bits = "cluster_bits 4") {
  std::string bytes =
      header({"TITLE", "feature_count 1", "mixture_count 2", "model_count 3", "cluster_count 15", bits}, true);
  for (char centre = 0; centre < 16; ++centre) bytes += static_cast<char>(3 * centre);
  return bytes + "\x21\x03\xF4\x05";
}

TEST(Sendump, FourBitsChooseOneOfSixteenWeights) {
  const TemporaryFolder folder;
  const PackedWeights weights = read_sendump(folder.write("sendump", clustered()));
  EXPECT_EQ(weights.densities, 2);
  EXPECT_EQ(weights.states, 3);
  EXPECT_EQ(weights.bytes, (std::vector<std::uint8_t>{3, 6, 9, 12, 45, 15}));
  expect_fault_at_every_length(clustered(), [](const std::filesystem::path& file) { read_sendump(file); });
  EXPECT_NE(fault_of([&] { read_sendump(folder.write("sendump", clustered("cluster_bits 5"))); }).find("clusters"),
            std::string::npos);
  const PackedWeights digits = read_sendump(kTestData / "tidigits" / "hmm" / "sendump");
  EXPECT_EQ(digits.states, 670);
  double sum = 0.0;
  for (int density = 0; density < 256; ++density) sum += std::exp(digits.log_weight(2, density, 400));
  EXPECT_NEAR(sum, 1.0, 0.2) << "sixteen steps are coarse";
}

TEST(Sendump, RefusesWhatItCannotRead) {
  expect_fault_at_every_length(dump(false), [](const std::filesystem::path& file) { read_sendump(file); });
  const TemporaryFolder folder;
  const auto message = [&](const std::string& bytes) {
    return fault_of([&] { read_sendump(folder.write("sendump", bytes)); });
  };
  EXPECT_NE(message(dump(false) + "x").find("left over"), std::string::npos);
  EXPECT_NE(message(dump(false, "cluster_count 14")).find("clusters"), std::string::npos);
  EXPECT_NE(message("\x7F\x7F\x7F\x7F and more").find("not a weight dump"), std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
