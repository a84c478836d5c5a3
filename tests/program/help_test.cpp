// What the program says of itself: help, version, manual pages, completions, hints.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "program/help_formatter.h"
#include "program/near_miss.h"
#include "speech/support/command.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

std::vector<std::string> subcommands() {
  const std::string help = run_kivsr("--help").output;
  std::istringstream lines(help.substr(help.find("Subcommands:")));
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  ") && line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return names;
}

TEST(Help, EverySubcommandExplainsItselfInWords) {
  const std::vector<std::string> names = subcommands();
  ASSERT_GE(names.size(), 10U);
  for (const std::string& name : names) {
    const CommandResult help = run_kivsr(name + " --help");
    EXPECT_EQ(help.status, 0) << name;
    EXPECT_EQ(help.output, run_kivsr("help " + name).output);
    EXPECT_EQ(help.output.find("Usage: kivsr " + name + " [OPTIONS]"), help.output.find("Usage:")) << help.output;
    for (const char* const riddle : {"{false}", "ENUM", ":{", "[default []", "e+308"}) {
      EXPECT_EQ(help.output.find(riddle), std::string::npos) << name << ": " << riddle;
    }
    std::istringstream lines(help.output);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 110U) << line;
  }
  const std::string features = run_kivsr("help features").output;
  for (const char* const line : {"[default hamming]", "[default 13]", "[default frame]", "[default no]"}) {
    EXPECT_NE(features.find(line), std::string::npos) << line;
  }
  const std::string vad = run_kivsr("help vad").output;
  EXPECT_NE(vad.find("--minimum-pause"), std::string::npos);
  EXPECT_NE(vad.find("default 0.2"), std::string::npos);
  EXPECT_EQ(run_kivsr("help nothing").status, 2);
}

TEST(Help, VersionAndAliases) {
  EXPECT_EQ(run_kivsr("--version").output, "kivsr 5.2\n");
  EXPECT_EQ(run_kivsr("recognize --help").output, run_kivsr("recognise --help").output);
  EXPECT_EQ(run_kivsr("quantize --help").output, run_kivsr("quantise --help").output);
}

TEST(Help, HintsAtWhatIsMeant) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"recogniz a.wav", "recognise"},
      {"recognise -hmm m a.wav", "--model"},
      {"recognise --jsgf g a.wav", "--grammar"},
      {"features --num-ceps=13 a.wav", "--cepstrum-count"},
      {"features -remove-dc-offset a.wav", "--remove-offset"},
      {"features --sample_rate 8000 a.wav", "--sample-rate"},
      {"features --normalize mean a.wav", "--normalise"},
      {"vad --formta csv a.wav", "--format"},
      {"train -help", "--help"},
  };
  for (const auto& [arguments, meant] : cases) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_NE(result.errors.find("did you mean " + std::string(meant) + "?"), std::string::npos) << result.errors;
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
  }
  // Nothing comes close; a short option with its value behind it stays one.
  EXPECT_EQ(run_kivsr("vad --zzzzzz a.wav").errors.find("did you mean"), std::string::npos);
  EXPECT_EQ(run_kivsr("vad -onowhere/a.txt a.wav").errors.find("no option"), std::string::npos);
}

TEST(Help, ManualPagesAndCompletions) {
  const TemporaryFolder folder;
  ASSERT_EQ(run_kivsr("help --manual " + quoted(folder / "man")).status, 0);
  const std::vector<std::string> names = subcommands();
  const std::string bash = run_kivsr("help --completion bash").output;
  const std::string zsh = run_kivsr("help --completion zsh").output;
  const std::string fish = run_kivsr("help --completion fish").output;
  for (const std::string& name : names) {
    const std::string page = read_file(folder / "man" / ("kivsr-" + name + ".1"));
    EXPECT_TRUE(page.starts_with(".TH \"KIVSR\\-")) << page;
    for (const char* const section : {".SH NAME\n", ".SH SYNOPSIS\n", ".SH OPTIONS\n", ".SH EXIT STATUS\n"}) {
      EXPECT_NE(page.find(section), std::string::npos) << name << section;
    }
    for (const std::string* const completion : {&bash, &zsh, &fish}) {
      EXPECT_NE(completion->find(name), std::string::npos) << name;
    }
  }
  EXPECT_TRUE(std::filesystem::exists(folder / "man" / "kivsr.1"));
  // The shell itself completes.
  const auto script = folder.write("complete", bash + R"(
complete_for() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kivsr; echo "${COMPREPLY[*]}"; }
complete_for kivsr reco
complete_for kivsr vad --form
complete_for kivsr vad --format au
complete_for kivsr features --window hann
)");
  EXPECT_EQ(run_command("bash " + quoted(script)).output, "recognise\n--format\naudacity\nhann hann-periodic\n");
  if (run_command("command -v fish").status != 0) return;
  const auto fish_script =
      folder.write("kivsr.fish", fish + "complete -C 'kivsr reco'\ncomplete -C 'kivsr vad --format au'\n");
  const std::string offered = run_command("fish " + quoted(fish_script)).output;
  EXPECT_TRUE(offered.starts_with("recognise\t")) << offered;
  EXPECT_NE(offered.find("\naudacity\t"), std::string::npos) << offered;
}

TEST(NearMiss, CountsChangesOfLetters) {
  const std::vector<std::string> words = {"format", "forward", "mean"};
  EXPECT_EQ(nearest("fromat", words), "format");
  EXPECT_EQ(nearest("forwrd", words), "forward");
  EXPECT_EQ(nearest("men", words), "mean");
  EXPECT_EQ(nearest("me", words), "");
  EXPECT_EQ(nearest("", words), "");
}

TEST(HelpText, WrapsAtSpaces) {
  EXPECT_EQ(wrapped("one two three", 2, 9), "  one two\n  three\n");
  EXPECT_EQ(wrapped("", 3, 9), "   \n");
}

}  // namespace

}  // namespace kivsr::program::test
