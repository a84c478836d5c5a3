// What our writer wrote comes back; files of other programs are put together byte by byte.
#include "kivsr/speech/io/feature_reader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/io/fault.h"
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
    for (const char* name : {"a.npy", "a.htk", "a.mfc", "a.csv"}) {
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
      {"a.htk", header + big_endian(16, 2) + big_endian(02006, 2) + pairs(true), "compressed"},
      {"a.mfc", "abc", "truncated"},
      {"a.mfc", little_endian(25, 4) + pairs(false), "not a Sphinx feature file, or truncated"},
      {"a.mfc", little_endian(24, 4) + pairs(false), "no rows of 13"},
      {"a.csv", "1,2,3\n4,5,6\n", "does not name the columns"},
      {"a.csv", "time_s,x\n0,1\n0.01,1,2\n", "line 3 has 3 fields"},
      {"a.csv", "time_s,x\n0,one\n", "'one' is not a number"},
      {"a.csv", "time_s,x\n0,1", "truncated"},
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

}  // namespace
}  // namespace kivsr::speech::test
