#include "program/moments_file.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <sstream>

#include <nlohmann/json.hpp>

#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

TEST(MomentsFile, EveryFormatHoldsTheSameNumbers) {
  const TemporaryFolder folder;
  ColumnStatistics sums;
  FeatureMatrix rows{3, {}};
  for (int i = 0; i < 150; ++i) rows.values.push_back(std::sin(static_cast<float>(i * i)) + static_cast<float>(i % 3));
  sums.add(rows);
  const ColumnMoments moments = sums.moments();
  const auto written = [&](const char* name) {
    OutputFile file(folder / name);
    write_moments(file, moments_format(name), moments);
    file.commit();
    return read_file(folder / name);
  };
  const auto json = nlohmann::json::parse(written("a.json"));
  EXPECT_EQ(json["mean"].get<std::vector<double>>(), moments.mean);
  EXPECT_EQ(json["variance"][2].get<double>(), moments.variance(2));
  EXPECT_EQ(json["covariance"][2][1].get<double>(), moments.covariance[7]);
  EXPECT_EQ(json["columns"].get<std::vector<std::string>>(), moments.columns);

  std::istringstream csv(written("a.csv"));
  std::string line;
  std::getline(csv, line);
  EXPECT_EQ(line, "row,column1,column2,column3");
  std::vector<std::string> names;
  std::vector<double> values;
  while (std::getline(csv, line)) {
    std::istringstream fields(line);
    std::string field;
    std::getline(fields, field, ',');
    names.push_back(field);
    while (std::getline(fields, field, ',')) values.push_back(std::stod(field));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"mean", "variance", "covariance_column1", "covariance_column2",
                                             "covariance_column3"}));
  const std::string npy = written("a.npy");
  EXPECT_NE(npy.find("'descr': '<f8', 'fortran_order': False, 'shape': (5, 3)"), std::string::npos);
  ASSERT_EQ(npy.size(), 128U + 15U * 8U);
  ASSERT_EQ(values.size(), 15U);
  for (std::size_t i = 0; i < 15; ++i) {
    std::uint64_t bits = 0;
    for (std::size_t byte = 0; byte < 8; ++byte) {
      bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(npy[128 + 8 * i + byte])) << (8 * byte);
    }
    EXPECT_EQ(std::bit_cast<double>(bits), values[i]) << i;
  }
  EXPECT_EQ(values[0], moments.mean[0]);
  EXPECT_EQ(values[4], moments.variance(1));
  EXPECT_EQ(values[6], moments.covariance[0]);
  EXPECT_THROW(moments_format("a.mfc"), Fault);

  const ColumnMoments read = read_moments((folder / "a.json").string());
  EXPECT_EQ(read.mean, moments.mean);
  EXPECT_EQ(read.covariance, moments.covariance);
  EXPECT_EQ(read.frames, moments.frames);
  for (const char* text : {"{", "[1]", R"({"files":1,"frames":2,"columns":["a"],"mean":[1,2],"covariance":[[1]]})",
                           R"({"files":"1","frames":2,"columns":["a"],"mean":[1],"covariance":[[1]]})"}) {
    EXPECT_THROW(read_moments(folder.write("b.json", text).string()), Fault) << text;
  }
}

}  // namespace
}  // namespace kivsr::program::test
