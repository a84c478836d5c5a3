// One bad file of many: the others are done, the fault is said, the status tells.
#include "program/file_loop.h"

#include <gtest/gtest.h>

#include "speech/support/command.h"
#include "speech/support/signals.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

class ManyFilesTest : public ::testing::Test {
 protected:
  ManyFilesTest() {
    for (const char* name : {"a.wav", "c.wav"}) folder_.write(name, wav(whole(noise(16000, 5)), 16000, 1));
    std::string cut = wav(whole(noise(16000, 6)), 16000, 1);
    cut.resize(cut.size() - 600);
    folder_.write("b.wav", cut);
    folder_.write("text.wav", "this is no sound");
  }
  std::string files() const {
    std::string names;
    for (const char* name : {"a.wav", "b.wav", "text.wav", "c.wav"}) names += " " + quoted(folder_ / name);
    return names;
  }
  void expect_two_bad(const CommandResult& result) const {
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find("b.wav: truncated"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("text.wav: cannot be read as audio"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("kivsr: 2 of 4 files cannot be used, the others are done\n"), std::string::npos);
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 3) << result.errors;
  }

  TemporaryFolder folder_;
};

}  // namespace

TEST_F(ManyFilesTest, TheGoodOnesAreKept) {
  for (const std::string& command :
       {std::string("vad"), std::string("pitch"), "spot -e x=" + quoted(folder_ / "a.wav")}) {
    const CommandResult result = run_kivsr(command + files());
    expect_two_bad(result);
    const auto first = result.output.find("a.wav");
    ASSERT_NE(first, std::string::npos) << command;
    EXPECT_NE(result.output.find("c.wav"), std::string::npos) << command;
    EXPECT_EQ(result.output.find("b.wav"), std::string::npos) << command;
  }
}

// Sums over files are those over the good ones alone.
TEST_F(ManyFilesTest, SumsAreThoseOfTheGoodOnes) {
  const auto all = folder_ / "all.npy";
  const auto good = folder_ / "good.npy";
  expect_two_bad(run_kivsr("features --stats -o " + quoted(all) + files()));
  const std::string both = quoted(folder_ / "a.wav") + " " + quoted(folder_ / "c.wav");
  EXPECT_EQ(run_kivsr("features --stats -o " + quoted(good) + " " + both).status, 0);
  EXPECT_EQ(read_file(all), read_file(good));
  const CommandResult narrow = run_kivsr("features --stats -o " + quoted(all) + " " + both + " " +
                                         quoted(folder_.write("n.csv", "time_s,a\n0,1\n")));
  EXPECT_NE(narrow.errors.find("n.csv: rows of 1 values"), std::string::npos) << narrow.errors;
  EXPECT_EQ(read_file(all), read_file(good));

  const auto book = folder_ / "book";
  expect_two_bad(run_kivsr("quantise train --split 0-12:4 --output " + quoted(book) + files()));
  std::filesystem::create_directory(folder_ / "coded");
  const std::string to = " --output-folder " + quoted(folder_ / "coded");
  expect_two_bad(run_kivsr("quantise encode --book " + quoted(book) + to + files()));
  EXPECT_TRUE(std::filesystem::exists(folder_ / "coded/c.kvs"));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "coded/b.kvs"));
}

TEST_F(ManyFilesTest, TrainingLeavesThemOut) {
  folder_.write("list", "a.wav yes\nb.wav yes\ntext.wav yes\nc.wav yes\n");
  folder_.write("good", "a.wav yes\nc.wav yes\n");
  const std::string options = " --states 2 --iterations 1 --silence-states 0";
  const CommandResult result =
      run_kivsr("train --model " + quoted(folder_ / "m") + " --list " + quoted(folder_ / "list") + options);
  EXPECT_EQ(result.status, 2) << result.errors;
  EXPECT_NE(result.errors.find("b.wav: truncated"), std::string::npos) << result.errors;
  EXPECT_NE(result.output.find("2 files, "), std::string::npos) << result.output;
}

TEST_F(ManyFilesTest, OneBadFileAloneIsOneLine) {
  const CommandResult one = run_kivsr("vad " + quoted(folder_ / "b.wav"));
  EXPECT_EQ(one.status, 2);
  EXPECT_EQ(std::count(one.errors.begin(), one.errors.end(), '\n'), 1) << one.errors;
  const std::string bad = " " + quoted(folder_ / "b.wav") + " " + quoted(folder_ / "text.wav");
  const CommandResult none = run_kivsr("vad -o " + quoted(folder_ / "lines") + bad);
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.errors.find("none of the 2 files can be used"), std::string::npos) << none.errors;
  EXPECT_FALSE(std::filesystem::exists(folder_ / "lines"));
}

}  // namespace kivsr::program::test
