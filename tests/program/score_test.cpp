// kivsr adapt and score through the program: speakers told apart by mixtures, trials, faults.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include <nlohmann/json.hpp>

#include "speech/support/command.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

// Rows of two values around a place of the speaker's own, as a table that features are read from.
struct SpeakerFolder : TemporaryFolder {
  SpeakerFolder() {
    std::string all;
    for (int speaker = 0; speaker < 3; ++speaker) {
      for (int part = 0; part < 2; ++part) {
        const std::string name = std::string(1, static_cast<char>('a' + speaker)) + std::to_string(part) + ".csv";
        write(name, rows_of(speaker, part));
        if (part == 0) all += name + "\n";
      }
    }
    write("all", all);
    std::string trials = "# model recording kind\n\n";
    for (const char model : {'a', 'b', 'c'}) {
      for (const char recording : {'a', 'b', 'c'}) {
        trials += std::string(1, model) + ".model " + recording + "1.csv " +
                  (model == recording ? "target" : "nontarget") + "\n";
      }
    }
    write("trials", trials);
  }

  static std::string rows_of(int speaker, int part) {
    std::mt19937 generator(static_cast<unsigned>(10 * speaker + part));
    std::normal_distribution<double> normal;
    std::ostringstream text;
    text << "time_s,x,y\n";
    for (int row = 0; row < 300; ++row) {
      text << 0.01 * row << ',' << normal(generator) + (speaker == 1 ? 2.0 : 0.0) << ','
           << normal(generator) + (speaker == 2 ? 2.0 : 0.0) << '\n';
    }
    return text.str();
  }

  CommandResult enrol() const {
    CommandResult result =
        run_kivsr("train --mixture --normalise none --dynamics none --list " + quoted(*this / "all") + " --model " +
                  quoted(*this / "background") + " --components 4 --iterations 3");
    for (const char speaker : {'a', 'b', 'c'}) {
      if (result.status != 0) break;
      const std::string name(1, speaker);
      result = run_kivsr("adapt --from " + quoted(*this / "background") + " --model " +
                         quoted(*this / (name + ".model")) + " " + quoted(*this / (name + "0.csv")));
    }
    return result;
  }
};

TEST(Score, SpeakersAreVerifiedAndIdentified) {
  const SpeakerFolder folder;
  const CommandResult enrolled = folder.enrol();
  ASSERT_EQ(enrolled.status, 0) << enrolled.errors;
  EXPECT_NE(enrolled.output.find("1 files, 300 frames"), std::string::npos) << enrolled.output;
  const std::string trials =
      "score --trials " + quoted(folder / "trials") + " --background " + quoted(folder / "background");
  const CommandResult text = run_kivsr(trials + " --picture " + quoted(folder / "det.svg"));
  ASSERT_EQ(text.status, 0) << text.errors;
  EXPECT_NE(text.output.find("3 trials of targets, 6 of others: equal error rate 0.00 %, least cost 0.0000\n"
                             "3 of 3 recordings identified\n"),
            std::string::npos)
      << text.output;
  EXPECT_NE(read_file(folder / "det.svg").find("<svg"), std::string::npos);
  EXPECT_EQ(run_kivsr(trials + " --jobs 2").output, text.output);

  // The same numbers in every form, and as the difference of two runs without a background.
  std::istringstream lines(run_kivsr(trials + " --format json").output);
  std::string line;
  std::getline(lines, line);
  const auto first = nlohmann::json::parse(line);
  EXPECT_EQ(first["frames"], 300);
  EXPECT_EQ(first["best"], (folder / "a.model").string());
  const auto alone = [&](const char* model) {
    const CommandResult result =
        run_kivsr("score --format json --model " + quoted(folder / model) + " " + quoted(folder / "a1.csv"));
    return nlohmann::json::parse(result.output)["models"][0]["score"].get<double>();
  };
  EXPECT_NEAR(first["models"][1]["score"].get<double>(), alone("b.model") - alone("background"), 1e-9);
  const std::string table = run_kivsr(trials + " --format tsv --threshold 0").output;
  EXPECT_NE(table.find("\ttarget\tyes\tyes\n"), std::string::npos) << table;
  EXPECT_NE(table.find("\tnontarget\tno\tno\n"), std::string::npos) << table;
}

TEST(Score, FaultsNameWhatIsWrong) {
  const SpeakerFolder folder;
  const auto expect_fault = [&](const std::string& arguments, const std::string& message) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
  };
  ASSERT_EQ(folder.enrol().status, 0);
  const std::string recording = " " + quoted(folder / "a1.csv");
  const std::string model = " --model " + quoted(folder / "a.model");
  expect_fault("score" + recording, "give either --model or --trials");
  expect_fault("score" + model + recording + " --picture " + quoted(folder / "x.png"), "--picture shows the errors");
  folder.write("bad", "a.model a1.csv target\na.model a1.csv maybe\n");
  expect_fault("score --trials " + quoted(folder / "bad"), "bad:2: is not");
  folder.write("narrow.csv", "time_s,x\n0,1\n0.01,2\n");
  expect_fault("score" + model + " " + quoted(folder / "narrow.csv"), "narrow.csv");
  folder.write("one", "a.model a1.csv target\n");
  expect_fault("score --trials " + quoted(folder / "one") + " --picture " + quoted(folder / "x.png"),
               "needs trials of targets and of others");
  EXPECT_FALSE(std::filesystem::exists(folder / "x.png"));
  const std::string adapt = "adapt --from " + quoted(folder / "background") + " --model " + quoted(folder / "new");
  expect_fault(adapt, "give either --list or recordings");
  expect_fault(adapt + recording + " --update means,nothing", "nothing");
  expect_fault(adapt + " " + quoted(folder / "narrow.csv"), "narrow.csv");
  EXPECT_FALSE(std::filesystem::exists(folder / "new"));
}

}  // namespace

}  // namespace kivsr::program::test
