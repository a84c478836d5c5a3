// kivsr vad, through the program as users run it.
#include <gtest/gtest.h>

#include <sstream>

#include "speech/support/command.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

// Noise, with a tone in two places, at 11025 Hz.
class VadCommandTest : public ::testing::Test {
 protected:
  static constexpr int kRate = 11025;
  VadCommandTest() {
    std::vector<float> samples = tone(0, kRate, 6 * kRate);
    std::mt19937 generator(3);
    std::normal_distribution<float> normal(0.0F, 20.0F);
    for (float& x : samples) x = normal(generator);
    for (const int start : {kRate, 3 * kRate}) {
      const auto burst = tone(440, kRate, kRate, 8000);
      for (int n = 0; n < kRate; ++n) {
        samples[static_cast<std::size_t>(start + n)] += burst[static_cast<std::size_t>(n)];
      }
    }
    audio_ = folder_.write("a.wav", wav(whole(samples), kRate, 1));
  }

  TemporaryFolder folder_;
  std::filesystem::path audio_;
};

TEST_F(VadCommandTest, AllFormatsTellTheSameTimes) {
  const double expected[] = {1, 2, 3, 4};
  for (const std::string arithmetic : {"float", "16s"}) {
    const std::string options = " --margin 0.02 --arithmetic " + arithmetic;
    const CommandResult text = run_kivsr("vad --method etsi " + quoted(audio_) + options);
    ASSERT_EQ(text.status, 0) << text.errors;
    EXPECT_NE(text.output.find("a.wav: 2 segments, 2.1"), std::string::npos) << text.output;
    EXPECT_NE(text.output.find(" s of speech in 6.00 s\n"), std::string::npos);

    const CommandResult csv = run_kivsr("vad --method etsi --format csv " + quoted(audio_) + options);
    std::istringstream table(csv.output);
    std::string line;
    std::getline(table, line);
    EXPECT_EQ(line, "file,start,end");
    const auto labels = folder_ / "labels.txt";
    EXPECT_EQ(
        run_kivsr("vad --method etsi --format audacity " + quoted(audio_) + options + " -o " + quoted(labels)).output,
        "");
    std::istringstream track(read_file(labels));
    for (int i = 0; i < 4; i += 2) {
      std::getline(table, line);
      const auto comma = line.find(',', line.find(".wav"));
      char* end = nullptr;
      const double start = std::strtod(line.c_str() + comma + 1, &end);
      const double stop = std::strtod(end + 1, nullptr);
      EXPECT_NEAR(start, expected[i], 0.04);
      EXPECT_NEAR(stop, expected[i + 1], 0.04);
      double label_start = 0, label_stop = 0;
      std::string name;
      track >> label_start >> label_stop >> name;
      EXPECT_NEAR(label_start, start, 0.001);
      EXPECT_NEAR(label_stop, stop, 0.001);
      EXPECT_EQ(name, "speech");
    }
    EXPECT_FALSE(std::getline(table, line)) << line;
  }
}

TEST_F(VadCommandTest, PictureAndFaults) {
  const auto picture = folder_ / "a.png";
  EXPECT_EQ(run_kivsr("vad --method etsi " + quoted(audio_) + " --picture " + quoted(picture)).status, 0);
  EXPECT_EQ(read_file(picture).substr(1, 3), "PNG");
  const auto before = folder_.names();
  const auto shortest = folder_.write("b.wav", wav({1, 2, 3}, 8000, 1));
  EXPECT_EQ(run_kivsr("vad --method etsi " + quoted(shortest)).output.find(": 0 segments") != std::string::npos, true);
  const std::string output = " -o " + quoted(folder_ / "no.txt") + " --picture " + quoted(folder_ / "no.png") + " ";
  for (const std::string& arguments :
       {quoted(audio_) + " " + quoted(audio_) + output, quoted(audio_) + output + "--minimum-pause -1",
        quoted(folder_ / "missing.wav") + output, quoted(shortest) + output,
        quoted(audio_) + " " + quoted(audio_) + " --format audacity", quoted(audio_) + " --arithmetic 8s"}) {
    const CommandResult result = run_kivsr("vad --method etsi " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.errors.substr(0, 7), "kivsr: ") << result.errors;
  }
  EXPECT_EQ(folder_.names().size(), before.size() + 1);
}

}  // namespace
}  // namespace kivsr::program::test
