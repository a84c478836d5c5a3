// One bad file of many: the others are done, the fault is said, the status tells.
#include "program/file_loop.h"

#include <map>

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

// Comments, blank lines, pairs and names with blanks; what is wrong with a line names it.
TEST_F(ManyFilesTest, ListsNameInputsAndOutputs) {
  const auto spaced = folder_.write("two words.wav", read_file(folder_ / "a.wav"));
  const std::string list = "# files\n\n" + (folder_ / "a.wav").string() + "\n  # more\n\"" + spaced.string() + "\" " +
                           (folder_ / "b.htk").string() + "\n" + spaced.string() + "\t" +
                           (folder_ / "tab.csv").string() + "\r\n";
  const std::string arguments = "features --list - --output-folder " + quoted(folder_ / "new/rows");
  const CommandResult result = run_kivsr(arguments, "printf '" + list + "' | ");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(read_file(folder_ / "new/rows/a.npy").substr(1, 5), "NUMPY");
  EXPECT_EQ(std::filesystem::file_size(folder_ / "b.htk"), 12U + 99 * 13 * 4);
  EXPECT_EQ(read_file(folder_ / "tab.csv").find("time_s,"), 0U);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3) << result.output;

  const auto expect_fault = [&](const std::string& lines, const std::string& options, const std::string& fault) {
    const auto file = folder_.write("list", lines);
    const CommandResult refused = run_kivsr("features --list " + quoted(file) + options);
    EXPECT_EQ(refused.status, 2) << lines;
    EXPECT_EQ(refused.output, "") << "nothing is begun: " << lines;
    EXPECT_NE(refused.errors.find(fault), std::string::npos) << refused.errors;
  };
  const std::string a = quoted(folder_ / "a.wav").substr(1, (folder_ / "a.wav").string().size());
  expect_fault("# a\n" + a + " x.npy y.npy\n", "", "list:2: 3 names");
  expect_fault("\"" + a, "", "list:1: a quotation mark is open");
  expect_fault(a + " x.npy\n" + a + "\n", "", "list:2: ");
  expect_fault(a + " x.npy\n" + a + " ./x.npy\n", "", "list:2: ");
  expect_fault("# nothing\n", "", "list: lists no files");
  expect_fault(a + "\nother/a.wav\n", " --output-folder out", "would both become out/a.npy");
  expect_fault(a + " x.npy\nx.npy y.npy\n", "", "x.npy: would be read and written over");
  const CommandResult bad = run_kivsr("vad --list " + quoted(folder_.write("list", a + "\n/none.wav\n")));
  EXPECT_NE(bad.errors.find("list:2: /none.wav: no such file"), std::string::npos) << bad.errors;
}

// Whatever the number of threads: the files, standard output and the faults are the same, in the order of the files.
TEST_F(ManyFilesTest, ThreadsChangeNothing) {
  std::string list;
  for (int i = 0; i < 24; ++i) {
    const std::string name = std::to_string(i) + ".wav";
    const auto samples = whole(noise(i % 5 == 0 ? 60000 : 3000, static_cast<unsigned>(i)));
    list += folder_.write(name, i % 7 == 3 ? "no sound" : wav(samples, 16000, 1)).string() + "\n";
  }
  const std::string files = " --list " + quoted(folder_.write("list", list));
  ASSERT_EQ(run_kivsr("quantise train --split 0-12:4 -o " + quoted(folder_ / "book") + " " + quoted(folder_ / "0.wav"))
                .status,
            0);
  const auto to = [&](const char* folder) { return " --output-folder " + quoted(folder_ / folder); };
  for (const std::string& command :
       {"features --preset mfcc" + to("rows"), "features --stats -o " + quoted(folder_ / "sums.npy"),
        "vad" + to("segments"), std::string("vad"), std::string("pitch --format csv"),
        "pitch --format npy" + to("pitch"), "quantise encode --book " + quoted(folder_ / "book") + to("coded")}) {
    const auto results = [&](const char* jobs) {
      const CommandResult result = run_kivsr(command + files + jobs);
      EXPECT_EQ(result.status, 2) << command;
      std::map<std::string, std::string> written{{"", result.output + result.errors}};
      for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.path())) {
        if (entry.is_regular_file()) written[entry.path().string()] = read_file(entry.path());
      }
      return written;
    };
    const auto one = results(" -j 1");
    EXPECT_NE(one.at("").find("\nkivsr: 3 of 24 files cannot be used, the others are done\n"), std::string::npos)
        << command;
    EXPECT_TRUE(results(" -j 7") == one) << command;
  }
}

TEST_F(ManyFilesTest, StopsAtTheFirstFaultIfItIsTold) {
  for (const char* jobs : {" -j 1", " -j 4"}) {
    const CommandResult result = run_kivsr("vad --stop-at-fault" + std::string(jobs) + files());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors.find("kivsr: " + (folder_ / "b.wav").string() + ": truncated"), 0U) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }
}

// Two names of a command that makes a file of each are an input and its output.
TEST_F(ManyFilesTest, TwoNamesArePair) {
  const std::string pair = quoted(folder_ / "a.wav") + " " + quoted(folder_ / "pair.npy");
  EXPECT_EQ(run_kivsr("features " + pair).status, 0);
  EXPECT_EQ(read_file(folder_ / "pair.npy").substr(1, 5), "NUMPY");
  const CommandResult three = run_kivsr("features " + pair + " " + quoted(folder_ / "c.wav"));
  EXPECT_EQ(three.status, 2);
  EXPECT_NE(three.errors.find("nothing to write, give --output"), std::string::npos) << three.errors;
}

TEST(ProgressState, SaysRateAndTimeLeft) {
  const ProgressState state{"features", 12, 300, 10.0, 2100.0, 0.25};
  EXPECT_EQ(state.line("a.wav"), "features 12/300, 210 x real time, 0:30 left: a.wav");
  const ProgressState slow{"recognise", 1, 2, 36000.0, 0.0, 0.5};
  EXPECT_EQ(slow.line("b"), "recognise 1/2, 10:00:00 left: b");
  EXPECT_EQ((ProgressState{"vad", 1, 9, 0.1, 0.0, 0.1}.line("c")), "vad 1/9: c") << "too soon to guess";
}

}  // namespace kivsr::program::test
