// kivsr pitch, through the program as users run it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>

#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

// Half a second of silence, one of a voice at 150 Hz, half a second of silence, at 22050 Hz.
class PitchCommandTest : public ::testing::Test {
 protected:
  static constexpr int kRate = 22050;
  PitchCommandTest() {
    std::vector<float> samples(2 * kRate);
    for (int h = 1; h <= 10; ++h) {
      const auto partial = tone(150.0 * h, kRate, kRate, 6000.0 / h);
      for (std::size_t n = 0; n < partial.size(); ++n) samples[kRate / 2 + n] += partial[n];
    }
    audio_ = folder_.write("a.wav", wav(whole(samples), kRate, 1));
  }

  TemporaryFolder folder_;
  std::filesystem::path audio_;
};

struct Row {
  double time, f0, correlation, probability;
};

std::vector<Row> rows_of_csv(const std::string& text) {
  std::vector<Row> rows;
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "file,time,f0,correlation,probability");
  while (std::getline(lines, line)) {
    Row row{};
    const auto comma = line.find(',');
    EXPECT_EQ(
        std::sscanf(line.c_str() + comma, ",%lf,%lf,%lf,%lf", &row.time, &row.f0, &row.correlation, &row.probability),
        4);
    rows.push_back(row);
  }
  return rows;
}

TEST_F(PitchCommandTest, AllFormatsTellTheSame) {
  const CommandResult csv = run_kivsr("pitch --format csv " + quoted(audio_));
  ASSERT_EQ(csv.status, 0) << csv.errors;
  const auto rows = rows_of_csv(csv.output);
  ASSERT_NEAR(static_cast<double>(rows.size()), 201.0, 1.0);
  int voiced = 0;
  for (const Row& row : rows) {
    voiced += row.f0 > 0.0 ? 1 : 0;
    if (row.time < 0.45 || row.time > 1.55) {
      EXPECT_EQ(row.f0, 0.0) << row.time;
    } else if (row.time > 0.55 && row.time < 1.45) {
      EXPECT_NEAR(row.f0, 150.0, 0.2) << row.time;
      EXPECT_GT(row.probability, 0.9);
    }
  }

  const CommandResult text = run_kivsr("pitch " + quoted(audio_));
  std::istringstream lines(text.output);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, audio_.string());
  std::getline(lines, line);
  for (const Row& row : rows) {
    Row same{};
    lines >> same.time >> same.f0 >> same.correlation >> same.probability;
    ASSERT_NEAR(same.f0, row.f0, 0.006);
    ASSERT_NEAR(same.time, row.time, 0.0006);
  }

  const auto npy = folder_ / "a.npy";
  ASSERT_EQ(run_kivsr("pitch " + quoted(audio_) + " -o " + quoted(npy)).status, 0);
  const std::string bytes = read_file(npy);
  EXPECT_NE(bytes.find("(" + std::to_string(rows.size()) + ", 3)"), std::string::npos);
  std::vector<float> values(3 * rows.size());
  ASSERT_GT(bytes.size(), 4 * values.size());
  std::memcpy(values.data(), bytes.data() + bytes.size() - 4 * values.size(), 4 * values.size());
  for (std::size_t t = 0; t < rows.size(); ++t) {
    ASSERT_NEAR(values[3 * t], rows[t].f0, 1e-3);
    ASSERT_NEAR(values[3 * t + 1], rows[t].correlation, 1e-5);
    ASSERT_NEAR(values[3 * t + 2], rows[t].probability, 1e-5);
  }

  const auto tier = folder_ / "a.PitchTier";
  ASSERT_EQ(run_kivsr("pitch " + quoted(audio_) + " -o " + quoted(tier)).status, 0);
  const std::string points = read_file(tier);
  EXPECT_EQ(points.find("File type = \"ooTextFile\"\nObject class = \"PitchTier\"\n\nxmin = 0 \nxmax = 2 "), 0U);
  EXPECT_NE(points.find("points: size = " + std::to_string(voiced) + " "), std::string::npos);
  EXPECT_NE(points.find("points [" + std::to_string(voiced) + "]:"), std::string::npos);
  EXPECT_EQ(points.find("points [" + std::to_string(voiced + 1) + "]:"), std::string::npos);
}

TEST_F(PitchCommandTest, SeveralFilesAndPicture) {
  const auto other = folder_.write("b.wav", wav(whole(tone(200, 8000, 4000)), 8000, 1));
  const auto file = folder_ / "both.csv";
  ASSERT_EQ(run_kivsr("pitch " + quoted(audio_) + " " + quoted(other) + " -o " + quoted(file)).status, 0);
  EXPECT_NEAR(static_cast<double>(rows_of_csv(read_file(file)).size()), 251.0, 1.0);
  const auto picture = folder_ / "a.png";
  ASSERT_EQ(run_kivsr("pitch " + quoted(audio_) + " --picture " + quoted(picture)).status, 0);
  EXPECT_EQ(read_file(picture).substr(1, 3), "PNG");
}

TEST_F(PitchCommandTest, FaultsAreOneLineAndLeaveNothing) {
  const auto before = folder_.names();
  const auto missing = folder_ / "none.wav";
  const auto at = [&](const std::string& name) { return " -o " + quoted(folder_ / name); };
  for (const std::string& arguments :
       {quoted(missing), quoted(missing) + " " + quoted(missing) + at("a.csv"), quoted(audio_) + at("a.xyz"),
        quoted(audio_) + " " + quoted(audio_) + at("a.npy"), quoted(audio_) + " " + quoted(audio_) + at("a.PitchTier"),
        quoted(audio_) + " --picture " + quoted(folder_ / "a.gif"),
        quoted(audio_) + " --low 300 --high 310" + at("a.csv"), quoted(audio_) + " --low nan",
        quoted(audio_) + " --shift 0", quoted(audio_) + " --format xml"}) {
    const CommandResult result = run_kivsr("pitch " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_LE(std::count(result.errors.begin(), result.errors.end(), '\n'), 3) << result.errors;
  }
  EXPECT_EQ(folder_.names(), before);
}

}  // namespace
}  // namespace kivsr::program::test
