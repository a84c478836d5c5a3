// Configuration files, as users have them: which of them is read, what the command line overrides, what is a fault.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "speech/support/command.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

// A recipe tells what the options are: that of "features" with a configuration.
class Configuration : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& text) {
    std::filesystem::create_directories((folder_ / name).parent_path());
    folder_.write(name, text);
  }
  std::string path(const std::string& name) const { return quoted(folder_ / name); }
  CommandResult run(const std::string& environment, const std::string& before, const std::string& behind) {
    return run_command("env -u KIVSR_CONFIG -u XDG_CONFIG_HOME HOME=" + path("home") + " " + environment +
                       " \"$KIVSR_EXECUTABLE\" " + before + " features --as-config " + path("recipe") + " " + behind);
  }
  // The value of a field in the recipe.
  std::string field(const std::string& name, const std::string& environment, const std::string& before = "",
                    const std::string& behind = "") {
    const CommandResult result = run(environment, before, behind);
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::string text = "\n" + read_file(folder_ / "recipe");
    const std::size_t place = text.find("\n" + name + " = ");
    if (place == std::string::npos) return "";
    const std::size_t value = place + name.size() + 4;
    return text.substr(value, text.find('\n', value) - value);
  }

  TemporaryFolder folder_;
};

TEST_F(Configuration, TheNearestFileIsRead) {
  write("home/.config/kivsr/config", "[features]\nlifter = 1\n");
  write("xdg/kivsr/config", "[features]\nlifter = 2\n");
  write("named", "[features]\nlifter = 3\n");
  write("given", "[features]\nlifter = 4\n");
  EXPECT_EQ(field("lifter", ""), "1");
  EXPECT_EQ(field("lifter", "XDG_CONFIG_HOME=" + path("xdg")), "2");
  EXPECT_EQ(field("lifter", "XDG_CONFIG_HOME=" + path("xdg") + " KIVSR_CONFIG=" + path("named")), "3");
  EXPECT_EQ(field("lifter", "KIVSR_CONFIG=" + path("named"), "--config " + path("given")), "4");
  EXPECT_EQ(field("lifter", "KIVSR_CONFIG=" + path("named"), "--config=" + path("given")), "4");
  EXPECT_EQ(field("lifter", "KIVSR_CONFIG=" + path("named"), "", "--lifter 5"), "5");
  EXPECT_EQ(field("lifter", "KIVSR_CONFIG="), field("lifter", "HOME=/nonexistent"));
}

TEST_F(Configuration, SectionsAndTheCommandLineOverride) {
  write("file",
        "# of all\nlifter = 7   # half a period\ncepstrum-count = 10\npitch = yes\n[recognize]\nwords = a,b\n"
        "[ features ]\r\ncepstrum-count = 12\nenergy=no\npreset = htk-mfcc\n");
  const std::string before = "--config " + path("file");
  EXPECT_EQ(field("lifter", "", before), "7");
  EXPECT_EQ(field("cepstrum-count", "", before), "12");
  EXPECT_EQ(field("pitch", "", before), "yes");
  EXPECT_EQ(field("pitch", "", before, "--no-pitch"), "no");
  EXPECT_EQ(field("transform", "", before), "htk");
  // What the command line excludes is not said by the file either.
  write("start", "kivsr-recipe 2\n");
  EXPECT_NE(run("", before, "--recipe " + path("start")).errors.find("the recipe does not say"), std::string::npos);
}

TEST_F(Configuration, FaultsNameTheLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"[features]\n\nliftr = 3\n", "line 3: no option --liftr, did you mean --lifter?"},
      {"[feature]\n", "line 1: no subcommand 'feature', did you mean features?"},
      {"nowhere = 3\n", "line 1: no command has an option --nowhere"},
      {"[features]\nlifter\n", "line 2: \"lifter\" is not like"},
      {"[features]\nlifter = a#b  # a comment\n", "a#b"},
      {"[features]\nenergy = maybe\n", "line 2: energy is \"maybe\""},
      {"[spot]\nhelp = yes\n", "line 2: help is no setting"},
  };
  for (const auto& [text, fault] : cases) {
    write("file", text);
    const CommandResult result = run("", "--config " + path("file"), "");
    EXPECT_EQ(result.status, 2) << text;
    EXPECT_NE(result.errors.find(fault), std::string::npos) << text << result.errors;
    EXPECT_EQ(result.errors.find("a comment"), std::string::npos) << text;
  }
  EXPECT_EQ(run("", "--config " + path("missing"), "").status, 2);
  EXPECT_EQ(run("KIVSR_CONFIG=" + path("missing"), "", "").status, 2);
  EXPECT_EQ(run_kivsr("--config").status, 2);
}

}  // namespace

}  // namespace kivsr::program::test
