// What our writer wrote comes back; files of other programs are put together byte by byte.
#include "kivsr/speech/io/feature_reader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/htk_checksum.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

std::string big_endian(std::uint32_t value, int count) {
  const std::string little = little_endian(value, count);
  return {little.rbegin(), little.rend()};
}

// {1.5, -2} twelve times, as floats.
std::string pairs(bool big) {
  std::string bytes;
  for (int i = 0; i < 24; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(i % 2 == 0 ? 1.5F : -2.0F);
    bytes += big ? big_endian(bits, 4) : little_endian(bits, 4);
  }
  return bytes;
}

std::string npy(const std::string& dictionary, const std::string& data, char version = 1) {
  const auto length = static_cast<std::uint32_t>(dictionary.size() + 1);
  return std::string("\x93NUMPY") + version + '\0' + little_endian(length, version == 1 ? 2 : 4) + dictionary + '\n' +
         data;
}

std::string dictionary(const std::string& type, const std::string& shape) {
  return "{'descr': '" + type + "', 'fortran_order': False, 'shape': (" + shape + "), }";
}

class FeatureReaderTest : public ::testing::Test {
 protected:
  void expect_pairs(const std::string& name, const std::string& bytes, int height, int width) const {
    const FeatureMatrix rows = read_feature_file(folder_.write(name, bytes), width);
    EXPECT_EQ(rows.width, width) << name;
    ASSERT_EQ(rows.height(), height) << name;
    for (std::size_t i = 0; i < rows.values.size(); ++i) ASSERT_EQ(rows.values[i], i % 2 == 0 ? 1.5F : -2.0F) << name;
  }

  TemporaryFolder folder_;
};

TEST_F(FeatureReaderTest, GivesBackWhatWasWritten) {
  FrontEndParameters parameters;
  parameters.zeroth = ZerothCepstrum::kLast;
  FeatureMatrix rows{13, noise(13 * 50)};
  for (float& value : rows.values) value *= 0.1234567F;
  rows.values[5] = std::numeric_limits<float>::denorm_min();
  rows.values[6] = -std::numeric_limits<float>::infinity();
  rows.values[7] = std::numeric_limits<float>::quiet_NaN();
  for (const bool empty : {false, true}) {
    if (empty) rows.values.clear();
    for (const char* name : {"a.npy", "a.htk", "a.mfc", "a.csv", "a.mat"}) {
      OutputFile file(folder_ / name);
      write_features(file, feature_format(name), rows, parameters);
      file.commit();
      const FeatureMatrix read = read_feature_file(folder_ / name);
      EXPECT_EQ(read.width, 13) << name;
      ASSERT_EQ(read.values.size(), rows.values.size()) << name;
      for (std::size_t i = 0; i < rows.values.size(); ++i) {
        if (i == 7) {
          EXPECT_TRUE(std::isnan(read.values[i])) << name;
        } else {
          ASSERT_EQ(read.values[i], rows.values[i]) << name << ' ' << i;
        }
      }
    }
  }
}

TEST_F(FeatureReaderTest, ReadsWhatOthersWrite) {
  for (const bool big : {true, false}) {
    const auto number = big ? big_endian : little_endian;
    expect_pairs("a.mfc", number(24, 4) + pairs(big), 4, 6);
    expect_pairs("a.htk", number(3, 4) + number(100000, 4) + number(32, 2) + number(01506, 2) + pairs(big), 3, 8);
  }
  expect_pairs("a.npy", npy(dictionary("<f4", "12, 2"), pairs(false), 2), 12, 2);
  std::string doubles;
  for (int i = 0; i < 24; ++i) {
    const auto bits = std::bit_cast<std::uint64_t>(i % 2 == 0 ? 1.5 : -2.0);
    doubles +=
        little_endian(static_cast<std::uint32_t>(bits), 4) + little_endian(static_cast<std::uint32_t>(bits >> 32), 4);
  }
  expect_pairs("a.npy", npy(dictionary("<f8", "6,4"), doubles), 6, 4);
  expect_pairs("a.csv", "time_s,x,y\r\n0,1.5,-2\r\n0.01,1.5,-2\r\n", 2, 2);
}

TEST_F(FeatureReaderTest, NamesTheFileAndWhatIsWrong) {
  const std::string header = big_endian(3, 4) + big_endian(100000, 4);
  struct Case {
    const char* name;
    std::string bytes;
    const char* message;
  };
  const Case cases[] = {
      {"a.npy", "", "truncated"},
      {"a.npy", "0123456789", "not a NumPy array"},
      {"a.npy", npy(dictionary("<f4", "12, 2"), pairs(false), 3), "NumPy format 3"},
      {"a.npy", npy(dictionary("<f4", "12, 2"), pairs(false)).substr(0, 100), "truncated"},
      {"a.npy", npy(dictionary("<f4", "11, 2"), pairs(false)), "8 bytes left over"},
      {"a.npy", npy(dictionary("<i4", "12, 2"), pairs(false)), "type <i4"},
      {"a.npy", npy(dictionary("<f4", "24,"), pairs(false)), "shape (24,)"},
      {"a.npy", npy(dictionary("<f4", "2, 3, 4"), pairs(false)), "shape (2, 3, 4)"},
      {"a.npy", npy(dictionary("<f4", "0, 0"), ""), "rows without values"},
      {"a.npy", npy(dictionary("<f4", "65536, 65536"), ""), "too many values"},
      {"a.npy", npy(dictionary("<f4", "1, 99999999999999999999"), ""), "too many values"},
      {"a.npy", npy("{'descr': '<f4', 'fortran_order': True, 'shape': (12, 2), }", pairs(false)), "Fortran order"},
      {"a.npy", npy("{'descr': '<f4', 'shape': (12, 2), }", pairs(false)), "no order"},
      {"a.npy", npy("{'fortran_order': False, 'shape': (12, 2), }", pairs(false)), "no type"},
      {"a.npy", npy("{'descr': '<f4', 'fortran_order': False}", pairs(false)), "no shape"},
      {"a.npy", npy(std::string(30000, '\''), pairs(false)), "header of 30001 bytes"},
      {"a.htk", "short", "truncated"},
      {"a.htk", header + big_endian(36, 2) + big_endian(6, 2) + pairs(true), "not an HTK file, or truncated"},
      {"a.htk", header + big_endian(32, 2) + big_endian(0, 2) + pairs(true), "does not hold features"},
      {"a.htk", header + big_endian(16, 2) + big_endian(02006, 2) + pairs(true), "not an HTK file, or truncated"},
      {"a.htk", big_endian(6, 4) + big_endian(1, 4) + big_endian(16, 2) + big_endian(012, 2) + pairs(true), "DISCRETE"},
      {"a.htk", big_endian(6, 4) + big_endian(1, 4) + big_endian(4, 2) + big_endian(02006, 2) + std::string(24, '\0'),
       "scale 0"},
      {"a.mfc", "abc", "truncated"},
      {"a.mfc", little_endian(25, 4) + pairs(false), "not a Sphinx feature file, or truncated"},
      {"a.mfc", little_endian(24, 4) + pairs(false), "no rows of 13"},
      {"a.csv", "1,2,3\n4,5,6\n", "does not name the columns"},
      {"a.csv", "time_s,x\n0,1\n0.01,1,2\n", "line 3 has 3 fields"},
      {"a.csv", "time_s,x\n0,one\n", "'one' is not a number"},
      {"a.csv", "time_s,x\n0,1", "truncated"},
      {"a.csv", "name;x;y\n'a';1;2\n", "name;frameTime"},
      {"a.csv", "name;frameTime;x\n'a';0;1\n'a';0.01;one\n", "line 3: 'one' is not a number"},
      {"a.arff", "@relation a\n@attribute x string\n@data\n", "no attribute is a number"},
      {"a.arff", "@relation a\n@attribute x\n@data\n", "line 2: an attribute has no type"},
      {"a.arff", "@relation a\nx\n@data\n", "line 2 does not belong"},
      {"a.arff", "@attribute x real\n@data\n1,2\n", "line 3 has 2 fields"},
      {"a.arff", "@attribute x real\n", "truncated"},
      {"a.mat", std::string("\0BFM \4\1\0\0\0\4\0\0\0\0", 15), "rows without values"},
      {"a.mat", std::string("\0BFM \4\0\0\0\0\4\0\0\0\0", 15), "a matrix without values"},
      {"a.wav", "", "extension"},
  };
  for (const auto& [name, bytes, message] : cases) {
    const auto file = folder_.write(name, bytes);
    try {
      read_feature_file(file);
      ADD_FAILURE() << name << " was read, not refused: " << message;
    } catch (const Fault& fault) {
      const std::string text = fault.what();
      EXPECT_EQ(text.find(file.string()), 0U) << text;
      EXPECT_NE(text.find(message), std::string::npos) << text;
    }
  }
  EXPECT_THROW(read_feature_file(folder_ / "none.npy"), Fault);
}

// HTK Book, 5.10.1: a short is A x - B, and the two vectors count as four rows.
TEST_F(FeatureReaderTest, CompressedHtk) {
  for (const bool checked : {false, true}) {
    std::string bytes = big_endian(3 + 4, 4) + big_endian(50000, 4) + big_endian(4, 2) +
                        big_endian(06 | 02000 | (checked ? 010000 : 0), 2);
    for (const float scale : {100.0F, 0.5F, -200.0F, 10.0F})
      bytes += big_endian(std::bit_cast<std::uint32_t>(scale), 4);
    for (const int value : {0, 0, 32767, -32768, -100, 7}) bytes += big_endian(static_cast<std::uint32_t>(value), 2);
    if (checked) bytes += "xx";
    const auto file = folder_.write("a.htk", bytes);
    FeatureReader reader(file);
    EXPECT_EQ(reader.layout().frame_seconds, 0.005);
    EXPECT_EQ(htk_kind_name(reader.layout().htk_kind), checked ? "MFCC_C_K" : "MFCC_C");
    FeatureMatrix rows;
    while (reader.read(rows)) {
    }
    // (X + B) / A with A = 100, 0.5 and B = -200, 10
    EXPECT_EQ(rows.values, (std::vector<float>{-2, 20, 325.67F, -65516, -3, 34}));
    EXPECT_EQ(htk_checksum_fits(file), checked ? std::optional(false) : std::nullopt);
  }
}

TEST_F(FeatureReaderTest, HtkQualifiersStay) {
  // Two floats and the index of a codebook.
  const std::string row = pairs(true).substr(0, 8) + big_endian(300, 2);
  const auto file = folder_.write(
      "a.htk", big_endian(2, 4) + big_endian(100000, 4) + big_endian(10, 2) + big_endian(064606, 2) + row + row);
  FeatureReader reader(file);
  EXPECT_EQ(htk_kind_name(reader.layout().htk_kind), "MFCC_0_D_N_Z_V");
  FeatureMatrix rows;
  reader.read(rows);
  EXPECT_EQ(rows.values, (std::vector<float>{1.5F, -2, 300, 1.5F, -2, 300}));
}

TEST_F(FeatureReaderTest, HtkChecksum) {
  const FeatureMatrix rows{3, noise(300)};
  FeatureLayout layout{.width = 3, .htk_kind = 06 | 010000};
  OutputFile file(folder_ / "a.htk");
  write_features(file, FeatureFormat::kHtk, rows, layout);
  file.commit();
  EXPECT_EQ(read_feature_file(folder_ / "a.htk").values, rows.values);
  EXPECT_EQ(htk_checksum_fits(folder_ / "a.htk"), true);
  std::string bytes = read_file(folder_ / "a.htk");
  ASSERT_EQ(bytes.size(), 12U + 1200U + 2U);
  bytes[700] = static_cast<char>(bytes[700] ^ 1);
  EXPECT_EQ(htk_checksum_fits(folder_.write("b.htk", bytes)), false);

  // The catalogue's check values of CRC-16/KERMIT, XMODEM, IBM-3740 and ARC.
  HtkChecksums sums;
  const std::string text = "123456789";
  sums.add({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  EXPECT_EQ(sums.written(), 0x2189);
  for (const std::uint16_t value : {0x2189, 0x8921, 0x31C3, 0x29B1, 0xBB3D}) EXPECT_TRUE(sums.fit(value)) << value;
  EXPECT_FALSE(sums.fit(0x2188));
}

TEST_F(FeatureReaderTest, TablesOfOtherPrograms) {
  const FeatureMatrix rows{2, {1.5F, -2, 0.1F, std::numeric_limits<float>::quiet_NaN()}};
  const FeatureLayout layout{.width = 2, .frame_seconds = 0.02, .columns = {"a", "b c"}, .name = "it's"};
  const auto written = [&](FeatureFormat format, const char* name) {
    OutputFile file(folder_ / name);
    write_features(file, format, rows, layout);
    file.commit();
    return read_file(folder_ / name);
  };
  EXPECT_EQ(written(FeatureFormat::kOpenSmile, "a.csv"),
            "name;frameTime;a;b c\n'it_s';0;1.5;-2\n'it_s';0.02;0.100000001;nan\n");
  EXPECT_EQ(written(FeatureFormat::kArff, "a.arff"),
            "@relation 'it_s'\n\n@attribute name string\n@attribute frameTime numeric\n@attribute 'a' numeric\n"
            "@attribute 'b c' numeric\n\n@data\n\n'it_s',0,1.5,-2\n'it_s',0.02,0.100000001,?\n");
  for (const char* name : {"a.csv", "a.arff"}) {
    FeatureReader reader(folder_ / name);
    EXPECT_EQ(reader.layout().columns, layout.columns) << name;
    EXPECT_EQ(reader.layout().frame_seconds, 0.02) << name;
    FeatureMatrix read;
    reader.read(read);
    ASSERT_EQ(read.values.size(), 4U) << name;
    EXPECT_EQ(read.values[2], 0.1F) << name;
    EXPECT_TRUE(std::isnan(read.values[3])) << name;
  }
  expect_pairs("a.csv", "name;frameIndex;frameTime;x;y\n'a;b';0;0.0;1.5;-2\n\"c\";1;0.01;+1.5;-2.0e0\n", 2, 2);
  expect_pairs("a.arff",
               "% a remark\n@RELATION r\n@ATTRIBUTE 'k 1' REAL\n@attribute class {a,b}\n"
               "@attribute y Integer\n@DATA\n1.5, a, -2\n% another\n\n1.5,b,-2\n",
               2, 2);
}

}  // namespace
}  // namespace kivsr::speech::test
