// kivsr show, through the program as users run it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

class ShowCommandTest : public ::testing::Test {
 protected:
  nlohmann::json json(const std::string& arguments) const {
    const CommandResult result = run_kivsr("show --json " + arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.status == 0 ? nlohmann::json::parse(result.output) : nlohmann::json();
  }
  std::filesystem::path rows(const char* name) const {
    OutputFile file(folder_ / name);
    FeatureLayout layout{.width = 2, .frame_seconds = 0.02, .columns = {"a", "b"}, .htk_kind = 06 | 0100 | 010000};
    write_features(file, feature_format(name), {2, {1, 10, 2, 20, 6, 60}}, layout);
    file.commit();
    return folder_ / name;
  }

  TemporaryFolder folder_;
};

TEST_F(ShowCommandTest, FeatureFilesOfEveryFormat) {
  for (const char* name : {"a.npy", "a.htk", "a.mfc", "a.csv", "a.arff", "a.mat"}) {
    const auto shown = json("--rows 2 --mfc-width 2 " + quoted(rows(name)));
    EXPECT_EQ(shown["format"], std::string(name).substr(2)) << name;
    EXPECT_EQ(shown["frames"], 3) << name;
    EXPECT_EQ(shown["width"], 2) << name;
    EXPECT_EQ(shown["rows"], (nlohmann::json{{1, 10}, {2, 20}})) << name;
    const auto& column = shown["columns"][1];
    EXPECT_DOUBLE_EQ(column["mean"], 30) << name;
    EXPECT_NEAR(column["deviation"].get<double>(), 26.4575131, 1e-6) << name;  // sqrt((400 + 100 + 900) / 2)
    EXPECT_EQ(column["least"], 10) << name;
    EXPECT_EQ(column["largest"], 60) << name;
  }
  const auto htk = json(quoted(folder_ / "a.htk"));
  EXPECT_EQ(htk["htk_kind"], "MFCC_E_K");
  EXPECT_EQ(htk["checksum"], "fits");
  EXPECT_DOUBLE_EQ(htk["frame_seconds"], 0.02);
  EXPECT_EQ(json(quoted(folder_ / "a.csv"))["columns"][0]["name"], "a");
  const CommandResult text = run_kivsr("show " + quoted(folder_ / "a.csv"));
  EXPECT_NE(text.output.find("a.csv: features\nformat         csv\n"), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("\n  1 10\n  2 20\n"), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("\nb                       30       26.4575            10            60\n"),
            std::string::npos)
      << text.output;
}

TEST_F(ShowCommandTest, Archives) {
  const auto archive = folder_ / "a.ark";
  ArchiveWriter writer(*kaldi_specifier("ark,scp:" + archive.string() + "," + (folder_ / "a.scp").string()));
  writer.append("one", {2, {1, 10, 2, 20}});
  writer.append("two", {2, {6, 60}});
  writer.commit();
  for (const std::string name : {"a.ark", "a.scp"}) {
    const auto shown = json("--entries 1 " + quoted(folder_ / name));
    EXPECT_EQ(shown["entries"], 2) << name;
    EXPECT_EQ(shown["frames"], 3) << name;
    EXPECT_EQ(shown["encodings"], nlohmann::json{"FM"}) << name;
    ASSERT_EQ(shown["first"].size(), 1U) << name;
    EXPECT_EQ(shown["first"][0]["key"], "one") << name;
    EXPECT_DOUBLE_EQ(shown["columns"][0]["mean"], 3) << name;
  }
  EXPECT_EQ(json("'" + archive.string() + ":4[1:1]'")["rows"], (nlohmann::json{{2, 20}}));
}

TEST_F(ShowCommandTest, SoundRecipesAndStatistics) {
  const auto sound = folder_.write("a.wav", wav({100, -300, 200, 0}, 8000, 2));
  auto shown = json(quoted(sound));
  EXPECT_EQ(shown["sample_rate"], 8000);
  EXPECT_EQ(shown["samples"], 2);
  EXPECT_EQ(shown["columns"][1]["least"], -300);
  ASSERT_EQ(run_kivsr("features --explain mfcc > " + quoted(folder_ / "mine")).status, 0);
  EXPECT_EQ(json(quoted(folder_ / "mine"))["kind"], "recipe");
  ASSERT_EQ(run_kivsr("features --stats " + quoted(rows("a.npy")) + " -o " + quoted(folder_ / "s.json")).status, 0);
  shown = json(quoted(folder_ / "s.json"));
  EXPECT_EQ(shown["kind"], "statistics");
  EXPECT_DOUBLE_EQ(shown["columns"][1]["mean"], 30);
}

TEST_F(ShowCommandTest, FaultsAreOneLine) {
  folder_.write("a.json", "{\"mean\": [[[[1]]]]}");
  folder_.write("b.txt", "words");
  folder_.write("c.ark", "key \0BFM ");
  for (const char* name : {"a.json", "b.txt", "c.ark", "none.htk"}) {
    const CommandResult result = run_kivsr("show " + quoted(folder_ / name));
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_EQ(result.output, "") << name;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_NE(result.errors.find(name), std::string::npos) << result.errors;
  }
}

}  // namespace
}  // namespace kivsr::program::test
