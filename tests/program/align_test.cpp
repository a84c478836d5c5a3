// kivsr align through the program: formats, and what cannot be aligned.
#include <algorithm>
#include <map>
#include <sstream>

#include "speech/models/model_bytes.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

const std::filesystem::path kForward = kTestData / "goforward.raw";

// Fields of the lines of a table.
std::vector<std::vector<std::string>> fields_of(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::vector<std::string>& row = rows.emplace_back();
    for (std::string field; std::getline(fields, field, '\t');) row.push_back(field);
  }
  return rows;
}

TEST(Align, PhonesFillWordsAndStatesFillPhones) {
  const CommandResult result =
      run_kivsr("align --format tsv --level states --text 'Go forward, ten meters.' " + quoted(kForward));
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto rows = fields_of(result.output);
  std::string words;
  std::string phones;
  std::map<std::string, double> ends;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].size(), 5U);
    const double start = std::stod(rows[i][2]);
    EXPECT_NEAR(start, ends[rows[i][1]], 1e-6) << "each level is without gaps";
    ends[rows[i][1]] = std::stod(rows[i][3]);
    if (rows[i][1] == "word") words += rows[i][4] + " ";
    if (rows[i][1] == "phone") phones += rows[i][4] + " ";
  }
  EXPECT_EQ(words, "<sil> go forward ten meters <sil> ");
  EXPECT_EQ(phones, "SIL G OW F AO R W ER D T EH N M IY T ER Z SIL ");
  EXPECT_EQ(ends["word"], ends["state"]);
  EXPECT_EQ(ends["phone"], ends["state"]);
}

TEST(Align, Formats) {
  const TemporaryFolder folder;
  const auto text = folder.write("said.txt", "go forward\nten meters\n");
  const auto output = folder / "said.TextGrid";
  const std::string options = "align --text-file " + quoted(text) + " " + quoted(kForward);
  ASSERT_EQ(run_kivsr(options + " --format textgrid -o " + quoted(output)).status, 0);
  const std::string grid = read_file(output);
  EXPECT_NE(grid.find("size = 2\n"), std::string::npos) << "words and phones";
  EXPECT_NE(grid.find("name = \"phones\""), std::string::npos);
  const CommandResult json = run_kivsr(options + " --format json");
  EXPECT_NE(json.output.find("\"word\":\"go\",\"start\":0.4"), std::string::npos) << json.output;
  EXPECT_NE(json.output.find("\"phones\":[{\"phone\":\"G\""), std::string::npos) << json.output;
  const CommandResult ctm = run_kivsr(options + " --format ctm --level words");
  std::istringstream lines(ctm.output);
  std::string first;
  std::getline(lines, first);
  EXPECT_TRUE(first.starts_with("goforward 1 0.4")) << ctm.output;
  EXPECT_TRUE(first.ends_with(" go")) << ctm.output;
}

TEST(Align, WhatCannotBeAlignedIsOneLine) {
  const auto fault = [](const std::string& options) {
    const CommandResult result = run_kivsr("align " + options + " " + quoted(kForward));
    EXPECT_EQ(result.status, 2) << options;
    EXPECT_EQ(result.output, "") << options;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    return result.errors;
  };
  std::string many;
  for (int i = 0; i < 60; ++i) many += "forward ";
  EXPECT_NE(fault("--text '" + many + "'").find("goforward.raw: the transcript cannot be aligned with the 2.79 s"),
            std::string::npos);
  EXPECT_NE(fault("--text 'go xyzzy'").find("\"xyzzy\" is not in the dictionary"), std::string::npos);
  EXPECT_NE(fault("--text ' - '").find("the transcript has no words"), std::string::npos);
  EXPECT_NE(fault("").find("give one of --text"), std::string::npos);
  const CommandResult skipped = run_kivsr(
      "align --skip-unknown --level words --format ctm --text 'go xyzzy forward ten meters' " + quoted(kForward));
  EXPECT_EQ(skipped.status, 0);
  EXPECT_NE(skipped.errors.find("\"xyzzy\" cannot be pronounced"), std::string::npos);
}

}  // namespace
}  // namespace kivsr::program::test
