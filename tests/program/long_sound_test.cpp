// Twenty minutes of sound in an address space that the samples alone would fill: 77 MB as floats, beside the program.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

constexpr std::uintmax_t kSamples = 1200 * 16000;

CommandResult run_in(int megabytes, const std::string& arguments) {
  return run_kivsr(arguments, "ulimit -v " + std::to_string(megabytes) + "000; ");
}

class LongSound : public ::testing::Test {
 protected:
  void SetUp() override {
#ifdef KIVSR_SANITIZE
    GTEST_SKIP() << "the sanitizer reserves more";
#endif
    std::string minute;
    for (int second = 0; second < 60; ++second) minute += bytes_16(whole(noise(16000, static_cast<unsigned>(second))));
    std::ofstream file(sound_, std::ios::binary);
    for (int i = 0; i < 20; ++i) file << minute;
    file.close();
    ASSERT_EQ(std::filesystem::file_size(sound_), 2 * kSamples);
  }

  TemporaryFolder folder_;
  std::filesystem::path sound_ = folder_ / "long.raw";
};

TEST_F(LongSound, FeaturesNeedNoMoreMemory) {
  const CommandResult result =
      run_in(90, "features --preset mfcc --dynamics win2 " + quoted(sound_) + " -o " + quoted(folder_ / "rows.htk"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(std::filesystem::file_size(folder_ / "rows.htk"), 12 + 119998 * 39 * sizeof(float));
}

TEST_F(LongSound, EnhancementNeedsNoMoreMemory) {
  const CommandResult result = run_in(90, "enhance " + quoted(sound_) + " " + quoted(folder_ / "quiet.wav"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(std::filesystem::file_size(folder_ / "quiet.wav"), 44 + 2 * kSamples);
}

TEST_F(LongSound, MixturesNeedNoMoreMemory) {
  const CommandResult result =
      run_in(90, "mix --noise " + quoted(sound_) + " " + quoted(sound_) + " " + quoted(folder_ / "loud.wav"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(std::filesystem::file_size(folder_ / "loud.wav"), 44 + 2 * kSamples);
}

TEST_F(LongSound, VoiceActivityNeedsNoMoreMemory) {
  // The standard's detector takes the noise for speech from time to time, the other one never does.
  for (const bool standard : {false, true}) {
    const CommandResult result =
        run_in(90, "vad " + quoted(sound_) + " --format csv --method " + (standard ? "etsi" : "voices"));
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output.find(sound_.string() + ",") != std::string::npos, standard) << result.output;
  }
}

TEST_F(LongSound, StatisticsOfSoundAndOfRowsNeedNoMoreMemory) {
  ASSERT_EQ(run_kivsr("features " + quoted(sound_) + " --preset htk-mfcc:MFCC_E_D_A --no-normalise-energy -o " +
                      quoted(folder_ / "rows.npy"))
                .status,
            0);
  for (const auto& input : {sound_, folder_ / "rows.npy"}) {
    const CommandResult result = run_in(50, "features --stats --preset htk-mfcc:MFCC_E_D_A --no-normalise-energy " +
                                                quoted(input) + " -o " + quoted(folder_ / "sums.json"));
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "1 file, 119998 frames of 39 values\n");
  }
}

// The recipe of the model keeps its cepstra to the end, 6 MB, the model and its scorer have 35 MB; the search forgets
// what leads nowhere.
TEST_F(LongSound, RecognitionNeedsNoMoreMemory) {
  const CommandResult result =
      run_in(100, "recognise --words \"yes,no\" --shortlist 4 --beam 60 --format tsv " + quoted(sound_));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("\t1200.0000\t"), std::string::npos) << result.output.substr(0, 200);
}

// Speech without end: a command over and over for five minutes, in segments, of which nothing stays.
TEST_F(LongSound, SegmentsNeedNoMoreMemory) {
  const std::string command = read_file("/usr/share/pocketsphinx/test/data/goforward.raw");
  ASSERT_FALSE(command.empty());
  {
    std::ofstream file(sound_, std::ios::binary);
    for (std::uintmax_t size = 0; size < 2 * kSamples / 4; size += command.size()) file << command;
  }
  const CommandResult result = run_in(95,
                                      "recognise --segment --words go,forward,ten,meters --shortlist 4 --beam 60 "
                                      "--confidence --format tsv " +
                                          quoted(sound_));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_GT(std::count(result.output.begin(), result.output.end(), '\n'), 90);
}

// The drawing library alone takes more than the sound.
TEST_F(LongSound, PicturesAndComparisonsNeedNoMoreMemory) {
  const std::string picture = " --picture " + quoted(folder_ / "a.png");
  for (const std::string& arguments :
       {"vad " + quoted(sound_) + picture,
        "enhance " + quoted(sound_) + " " + quoted(folder_ / "b.wav") + " --reference " + quoted(sound_) + picture}) {
    const CommandResult result = run_in(180, arguments);
    ASSERT_EQ(result.status, 0) << arguments << ": " << result.errors;
    EXPECT_EQ(read_file(folder_ / "a.png").substr(1, 3), "PNG") << arguments;
  }
}

}  // namespace
}  // namespace kivsr::program::test
