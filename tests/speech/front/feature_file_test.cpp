// Each format is read back by a reader of its own, written from the format's description.
#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/presets.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>

#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

std::uint32_t number(const std::string& bytes, std::size_t place, int count, bool big_endian) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(place + static_cast<std::size_t>(i))))
             << (8 * (big_endian ? count - 1 - i : i));
  }
  return value;
}

std::vector<float> floats(const std::string& bytes, std::size_t place, bool big_endian) {
  std::vector<float> values;
  for (; place < bytes.size(); place += 4) values.push_back(std::bit_cast<float>(number(bytes, place, 4, big_endian)));
  return values;
}

class FeatureFileTest : public ::testing::Test {
 protected:
  FeatureFileTest() {
    rows_.width = 13;
    rows_.values = noise(13 * 50);
    for (float& value : rows_.values) value *= 0.1234567F;
    rows_.values[5] = std::numeric_limits<float>::denorm_min();
    rows_.values[6] = -std::numeric_limits<float>::max();
  }

  std::string written(const std::string& name) const {
    OutputFile file(folder_ / name);
    write_features(file, feature_format(name), rows_, parameters_);
    file.commit();
    return read_file(folder_ / name);
  }

  TemporaryFolder folder_;
  FeatureMatrix rows_;
  Recipe parameters_;
};

TEST_F(FeatureFileTest, Npy) {
  for (const int height : {0, 1, 50, 12345}) {  // the header's length changes with the number of digits
    rows_.values = noise(13 * height);
    const std::string bytes = written("a.npy");
    ASSERT_EQ(bytes.substr(0, 8), std::string("\x93NUMPY\x01\x00", 8));
    const std::size_t data = 10 + number(bytes, 8, 2, false);
    EXPECT_EQ(data % 64, 0U);
    EXPECT_EQ(bytes[data - 1], '\n');
    EXPECT_NE(bytes.find("'shape': (" + std::to_string(height) + ", 13)"), std::string::npos);
    EXPECT_NE(bytes.find("'descr': '<f4', 'fortran_order': False"), std::string::npos);
    EXPECT_EQ(floats(bytes, data, false), rows_.values);
  }
}

TEST_F(FeatureFileTest, Sphinx) {
  const std::string bytes = written("a.mfc");
  EXPECT_EQ(number(bytes, 0, 4, false), rows_.values.size());
  EXPECT_EQ(floats(bytes, 4, false), rows_.values);
}

TEST_F(FeatureFileTest, Htk) {
  std::string bytes = written("a.htk");
  EXPECT_EQ(number(bytes, 0, 4, true), 50U);
  EXPECT_EQ(number(bytes, 4, 4, true), 100000U) << "10 ms in units of 100 ns";
  EXPECT_EQ(number(bytes, 8, 2, true), 52U);
  EXPECT_EQ(number(bytes, 10, 2, true), 6U + 020000U) << "MFCC_0";
  const auto values = floats(bytes, 12, true);
  ASSERT_EQ(values.size(), rows_.values.size());
  for (std::size_t t = 0; t < 50; ++t) {
    EXPECT_EQ(values[13 * t + 12], rows_.values[13 * t]) << "c0 goes last";
    for (std::size_t k = 1; k < 13; ++k) ASSERT_EQ(values[13 * t + k - 1], rows_.values[13 * t + k]);
  }
  parameters_.front_end.zeroth = ZerothCepstrum::kLast;
  EXPECT_EQ(floats(written("b.htk"), 12, true), rows_.values);
  parameters_.front_end.zeroth = ZerothCepstrum::kNone;
  EXPECT_EQ(number(written("c.htk"), 10, 2, true), 6U);
  parameters_.front_end.output = Output::kLogMel;
  bytes = written("d.htk");
  EXPECT_EQ(number(bytes, 10, 2, true), 7U) << "FBANK";
  EXPECT_EQ(floats(bytes, 12, true), rows_.values);
}

// Order of the columns and kind as HTK has them: cepstra, c0, energy in each of statics, deltas and accelerations.
TEST_F(FeatureFileTest, HtkQualifiers) {
  parameters_.front_end.energy = true;
  parameters_.front_end.cepstrum_count = 3;
  parameters_.dynamics = Dynamics::kWin2;
  parameters_.normalisation = Normalisation::kMean;
  rows_ = {12, {0, 1, 2, 9, 10, 11, 12, 19, 20, 21, 22, 29}};
  std::string bytes = written("a.htk");
  EXPECT_EQ(number(bytes, 10, 2, true), 6U + 020000U + 0100U + 0400U + 01000U + 04000U) << "MFCC_0_E_D_A_Z";
  EXPECT_EQ(floats(bytes, 12, true), (std::vector<float>{1, 2, 0, 9, 11, 12, 10, 19, 21, 22, 20, 29}));
  parameters_ = preset("htk-mfcc:MFCC_E_D_A");
  rows_ = {39, std::vector<float>(39)};
  EXPECT_EQ(number(written("b.htk"), 10, 2, true), 6U + 0100U + 0400U + 01000U) << "MFCC_E_D_A";
  parameters_ = preset("aurora");
  EXPECT_EQ(number(written("c.htk"), 10, 2, true), 6U + 0100U + 0400U + 01000U) << "c0 and energy are one column";
  parameters_ = preset("lpc-cepstrum");
  rows_ = {12, noise(12)};
  bytes = written("d.htk");
  EXPECT_EQ(number(bytes, 10, 2, true), 3U) << "LPCEPSTRA";
  EXPECT_EQ(floats(bytes, 12, true), rows_.values);
  parameters_ = preset("kaldi-plp");
  parameters_.front_end.cepstrum_count = 3;
  rows_ = {3, {9, 1, 2}};
  bytes = written("e.htk");
  EXPECT_EQ(number(bytes, 10, 2, true), 11U + 0100U) << "PLP_E";
  EXPECT_EQ(floats(bytes, 12, true), (std::vector<float>{1, 2, 9})) << "the energy goes last";
  parameters_.dynamics = Dynamics::kWin2;
  parameters_.derivatives = 1;
  parameters_.drop_energy = true;
  rows_ = {5, {1, 2, 19, 11, 12}};
  bytes = written("f.htk");
  EXPECT_EQ(number(bytes, 10, 2, true), 11U + 0100U + 0200U + 0400U) << "PLP_E_D_N";
  EXPECT_EQ(floats(bytes, 12, true), (std::vector<float>{1, 2, 11, 12, 19}));
}

TEST_F(FeatureFileTest, ColumnNames) {
  using Names = std::vector<std::string>;
  parameters_.front_end.cepstrum_count = 2;
  parameters_.front_end.energy = true;
  parameters_.dynamics = Dynamics::kRegression;
  EXPECT_EQ(parameters_.column_names(),
            (Names{"c0", "c1", "energy", "c0_d", "c1_d", "energy_d", "c0_a", "c1_a", "energy_a"}));
  parameters_.dynamics = Dynamics::kNone;
  parameters_.front_end.output = Output::kLogMel;
  parameters_.front_end.filter_count = 2;
  EXPECT_EQ(parameters_.column_names(), (Names{"mel1", "mel2", "energy"}));
  parameters_.front_end.output = Output::kLpcCepstra;
  parameters_.front_end.prediction_order = 1;
  EXPECT_EQ(parameters_.column_names(), (Names{"c1", "energy"}));
  for (const std::string& name : preset_names()) {
    parameters_ = preset(name);
    EXPECT_EQ(static_cast<int>(parameters_.column_names().size()), parameters_.width()) << name;
  }
}

TEST_F(FeatureFileTest, Csv) {
  std::istringstream stream(written("a.csv"));
  std::string line;
  std::getline(stream, line);
  EXPECT_EQ(line, "time_s,c0,c1,c2,c3,c4,c5,c6,c7,c8,c9,c10,c11,c12");
  std::vector<float> values;
  for (int t = 0; std::getline(stream, line); ++t) {
    std::istringstream fields(line);
    std::string field;
    std::getline(fields, field, ',');
    EXPECT_NEAR(std::stod(field), 0.01 * t, 1e-9);
    while (std::getline(fields, field, ',')) values.push_back(std::strtof(field.c_str(), nullptr));
  }
  EXPECT_EQ(values, rows_.values) << "the digits suffice to give back every bit";
}

TEST_F(FeatureFileTest, ExtensionDecides) {
  EXPECT_EQ(feature_format("dir.csv/a.NPY"), FeatureFormat::kNpy);
  for (const char* name : {"a.txt", "a", ".npy", "a.npy.gz"}) EXPECT_THROW(feature_format(name), Fault) << name;
}

}  // namespace
}  // namespace kivsr::speech::test
