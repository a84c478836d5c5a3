// Twenty minutes of sound in an address space that the samples alone would fill: 77 MB as floats, beside the program.
#include <gtest/gtest.h>

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

CommandResult run_in_90_megabytes(const std::string& arguments) { return run_kivsr(arguments, "ulimit -v 90000; "); }

class LongSound : public ::testing::Test {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
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
  const CommandResult result = run_in_90_megabytes("features --preset mfcc --dynamics win2 " + quoted(sound_) + " -o " +
                                                   quoted(folder_ / "rows.htk"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(std::filesystem::file_size(folder_ / "rows.htk"), 12 + 119998 * 39 * sizeof(float));
}

TEST_F(LongSound, EnhancementNeedsNoMoreMemory) {
  const CommandResult result = run_in_90_megabytes("enhance " + quoted(sound_) + " " + quoted(folder_ / "quiet.wav"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(std::filesystem::file_size(folder_ / "quiet.wav"), 44 + 2 * kSamples);
}

}  // namespace
}  // namespace kivsr::program::test
