// kivsr quantise through the program: the spoken commands from quantised features, outputs and faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

#include "kivsr/speech/io/feature_reader.h"
#include "speech/models/model_bytes.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

TEST(Quantise, ThirtyCommandsFromFortyEightBitsAFrame) {
  const CommandResult result =
      run_command(quoted(source_folder() / "scripts" / "quantise-demo") + " \"$KIVSR_EXECUTABLE\"");
  ASSERT_EQ(result.status, 0) << result.errors;
  int bits = 0;
  double rate = 0.0;
  double decibel = 0.0;
  int errors = -1;
  int words = 0;
  for (std::istringstream lines(result.output); lines;) {
    std::string line;
    std::getline(lines, line);
    (void)std::sscanf(line.c_str(), "total: %d bits a frame, %lf bit/s, %lf dB", &bits, &rate, &decibel);
    (void)std::sscanf(line.c_str(), "%d %*s of %d words", &errors, &words);
  }
  EXPECT_EQ(bits, 48);
  EXPECT_EQ(rate, 4800.0);
  EXPECT_GT(decibel, 14.0);
  EXPECT_EQ(words, 30);
  EXPECT_GE(errors, 0);
  EXPECT_LE(errors, 1);
}

class QuantiseCommandTest : public ::testing::Test {
 protected:
  QuantiseCommandTest() : audio_(folder_.write("a.wav", wav(whole(noise(16000)), 16000, 1))) {
    expect_ok("train " + quoted(audio_) + " -o " + quoted(book()) + " --split 0-2:4,3-12:5 --weights variance");
  }
  void expect_ok(const std::string& arguments) const {
    const CommandResult result = run_kivsr("quantise " + arguments);
    EXPECT_EQ(result.status, 0) << arguments << ": " << result.errors;
    EXPECT_EQ(result.errors, "") << arguments;
  }
  std::filesystem::path book() const { return folder_ / "book.kvb"; }
  std::string with_book() const { return " --book " + quoted(book()); }

  TemporaryFolder folder_;
  std::filesystem::path audio_;
};

TEST_F(QuantiseCommandTest, AudioAndItsFeatureFileGiveTheSameStream) {
  const auto features = folder_ / "f.npy";
  ASSERT_EQ(run_kivsr("features " + quoted(audio_) + " -o " + quoted(features)).status, 0);
  expect_ok("encode " + quoted(audio_) + with_book() + " -o " + quoted(folder_ / "a.kvs"));
  expect_ok("encode " + quoted(audio_) + " " + quoted(features) + with_book() + " --output-folder " +
            quoted(folder_.path()));
  EXPECT_EQ(read_file(folder_ / "a.kvs"), read_file(folder_ / "f.kvs"));
  EXPECT_EQ(read_file(folder_ / "a.kvs").size(), 26U + (99U * 9U + 7U) / 8U);

  for (const char* format : {"npy", "mfc", "csv"}) {
    expect_ok("decode " + quoted(folder_ / "a.kvs") + with_book() + " --output-folder " + quoted(folder_.path()) +
              " --format " + format);
  }
  const FeatureMatrix decoded = read_feature_file(folder_ / "a.npy");
  EXPECT_EQ(decoded.height(), 99);
  EXPECT_EQ(read_feature_file(folder_ / "a.mfc").values, decoded.values);
  EXPECT_EQ(read_feature_file(folder_ / "a.csv").values, decoded.values);
  // decoded features are codewords: coding them again changes nothing
  expect_ok("encode " + quoted(folder_ / "a.npy") + with_book() + " -o " + quoted(folder_ / "again.kvs"));
  EXPECT_EQ(read_file(folder_ / "again.kvs"), read_file(folder_ / "a.kvs"));
}

TEST_F(QuantiseCommandTest, WeightsOfAColumnDecide) {
  // with all the weight on column 0 the others are as good as ignored
  const std::string inputs = "train " + quoted(audio_) + " --split 0-1:4,2-12:1 -o " + quoted(folder_ / "w.kvb");
  const auto error_of_column = [&](const std::string& weights, int column) {
    std::istringstream lines(run_kivsr("quantise " + inputs + " --weights " + weights).output);
    for (std::string line; std::getline(lines, line);) {
      int found = -1;
      double error = 0.0;
      if (std::sscanf(line.c_str(), "%d %*s %lf", &found, &error) == 2 && found == column) return error;
    }
    return -1.0;
  };
  EXPECT_LT(error_of_column("1,0,1,1,1,1,1,1,1,1,1,1,1", 0), 0.5 * error_of_column("0,1,1,1,1,1,1,1,1,1,1,1,1", 0));
  EXPECT_GT(error_of_column("1,0,1,1,1,1,1,1,1,1,1,1,1", 1), 2.0 * error_of_column("0,1,1,1,1,1,1,1,1,1,1,1,1", 1));
}

TEST_F(QuantiseCommandTest, AFaultIsOneLineAndStatusTwoAndLeavesNothing) {
  expect_ok("encode " + quoted(audio_) + with_book() + " -o " + quoted(folder_ / "a.kvs"));
  expect_ok("train " + quoted(audio_) + " -o " + quoted(folder_ / "other.kvb") + " --split 0-12:3");
  const std::string stream = read_file(folder_ / "a.kvs");
  const auto cut = folder_.write("cut.kvs", stream.substr(0, 60));
  std::string values = "time_s,c0,c1,c2,c3,c4,c5,c6,c7,c8,c9,c10,c11,c12\n0,1,2,3,4,5,6,7,8,9,10,11,12,nan\n";
  const auto not_finite = folder_.write("nan.csv", values);
  const auto narrow = folder_.write("narrow.csv", "time_s,c0,c1\n0,1,2\n");
  const auto empty = folder_.write("empty.mfc", std::string(4, '\0'));
  const auto before = folder_.names();
  const std::string out = " -o " + quoted(folder_ / "out.kvs");
  const std::string features = " -o " + quoted(folder_ / "out.npy");
  const std::string a = quoted(audio_);
  const std::pair<std::string, std::string> cases[] = {
      {"", "subcommand"},
      {"train " + a, "--output"},
      {"train " + a + out + " --split 0-11:4", "column 12 of 13 is in no group"},
      {"train " + a + out + " --split 0-12:8", "99 frames are fewer than the 256 codewords of the group 0-12:8"},
      {"train " + a + out + " --split 0-12:4 --weights 1,2", "2 numbers for 13 columns"},
      {"train " + a + out + " --split 0-12:4 --weights nan", "\"nan\" is not a number from 0 on"},
      {"train " + quoted(not_finite) + out, "nan.csv: frame 0, value 12 is not finite"},
      {"train " + quoted(narrow) + out, "narrow.csv: rows of 2 values, 13 are needed"},
      {"train " + quoted(empty) + out, "empty.mfc: shorter than one frame"},
      {"encode " + a + with_book(), "no output is given"},
      {"encode " + a + " " + a + with_book() + out, "takes what one input becomes"},
      {"encode " + a + " " + a + with_book() + " --output-folder x", "would both become x/a.kvs"},
      {"encode " + a + with_book() + out + " --shift 80", "book.kvb was made with another recipe: shift: 160, not 80"},
      {"encode " + a + " --book " + a + out, "a.wav: not a codebook"},
      {"encode " + a + with_book() + " -o " + quoted(folder_ / "no/out.kvs"), "out.kvs: cannot be written"},
      {"decode " + quoted(folder_ / "a.kvs") + " --book " + quoted(folder_ / "other.kvb") + features,
       "a.kvs: made with the codebook "},
      {"decode " + quoted(cut) + with_book() + features, "cut.kvs: truncated: 99 frames needs 112 bytes"},
      {"decode " + a + with_book() + features, "a.wav: not a stream"},
      {"decode " + quoted(folder_ / "a.kvs") + with_book() + out, "out.kvs: the extension"},
  };
  for (const auto& [arguments, message] : cases) {
    const CommandResult result = run_kivsr("quantise " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(result.errors.find("kivsr: "), 0U) << result.errors;
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    EXPECT_NE(result.errors.find(message), std::string::npos) << arguments << ": " << result.errors;
    EXPECT_EQ(folder_.names(), before) << arguments;
  }
}

// Frame pairs of the advanced front end: coded, damaged, cut, and back.
TEST(QuantiseBitstream, CodesConcealsAndRefuses) {
  TemporaryFolder folder;
  const auto audio = folder.write("a.wav", wav(whole(noise(5 * 8000)), 8000, 1));
  const auto book = " --book " + quoted(folder / "b.kvb"), stream = quoted(folder / "a.dsr");
  const auto run = [&](const std::string& arguments) { return run_kivsr("quantise " + arguments); };
  ASSERT_EQ(run("train --bitstream " + quoted(audio) + " -o " + quoted(folder / "b.kvb")).errors, "");
  const CommandResult encoded = run("encode --bitstream " + quoted(audio) + book + " -o " + stream);
  ASSERT_EQ(encoded.status, 0) << encoded.errors;
  std::string octets = read_file(folder / "a.dsr");
  ASSERT_EQ(octets.size(), 12U * (494 / 2 + 1));

  const auto decode = "decode --bitstream " + stream + book + " -o " + quoted(folder / "a.npy");
  ASSERT_EQ(run(decode).errors, "");
  const FeatureMatrix whole_rows = read_feature_file(folder / "a.npy");
  EXPECT_EQ(whole_rows.height(), 494);
  EXPECT_EQ(whole_rows.width, 15);

  octets[12 * 40 + 3] ^= 4;
  folder.write("a.dsr", octets);
  const CommandResult damaged = run(decode);
  EXPECT_EQ(damaged.status, 0);
  EXPECT_NE(damaged.errors.find("1 of 247 frame pairs damaged and concealed"), std::string::npos) << damaged.errors;
  const FeatureMatrix concealed = read_feature_file(folder / "a.npy");
  for (int t = 0; t < 494; ++t) {
    const int source = t == 80 ? 79 : t == 81 ? 82 : t;
    EXPECT_TRUE(std::equal(concealed.row(t).begin(), concealed.row(t).end(), whole_rows.row(source).begin())) << t;
  }

  folder.write("a.dsr", octets.substr(0, 100));
  const CommandResult cut = run(decode);
  EXPECT_EQ(cut.status, 2);
  EXPECT_NE(cut.errors.find("a.dsr: cut short"), std::string::npos) << cut.errors;
  EXPECT_EQ(std::count(cut.errors.begin(), cut.errors.end(), '\n'), 1);
  for (const std::string& bad :
       {"train --bitstream --preset mfcc " + quoted(audio) + " -o " + quoted(folder / "c.kvb"),
        "train --bitstream --split 0-13:8 " + quoted(audio) + " -o " + quoted(folder / "c.kvb"),
        "train --bitstream --dynamics win2 " + quoted(audio) + " -o " + quoted(folder / "c.kvb")}) {
    const CommandResult refused = run(bad);
    EXPECT_EQ(refused.status, 2) << bad;
    EXPECT_EQ(std::count(refused.errors.begin(), refused.errors.end(), '\n'), 1) << refused.errors;
  }
}

}  // namespace
}  // namespace kivsr::program::test
