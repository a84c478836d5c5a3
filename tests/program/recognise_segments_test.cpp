// recognise --segment and --live through the program: forms, streams that end in every way, faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "speech/support/command.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech::test;

namespace {

const std::string kWords = " --words go,forward,ten,meters,two,nine,three,four,zero,backward ";
const std::string kSaid = "go forward ten meters two nine three four zero";

// A second of faint noise, a command, a second, digits, a second.
class Stream : public ::testing::Test {
 protected:
  void SetUp() override {
    std::vector<float> pause = noise(16000);
    for (float& sample : pause) sample *= 0.01F;
    std::vector<float> signal = pause;
    for (const char* const name : {"goforward.raw", "tidigits/dhd.2934z.raw"}) {
      const auto said = speech::read_audio(kRecordings / name).samples;
      signal.insert(signal.end(), said.begin(), said.end());
      signal.insert(signal.end(), pause.begin(), pause.end());
    }
    std::ofstream(sound_, std::ios::binary) << bytes_16(whole(signal));
    std::ofstream(wave_, std::ios::binary) << wav(whole(signal), 16000, 1);
  }

  CommandResult segments(const std::string& options) {
    return run_kivsr("recognise --segment" + kWords + options + " " + quoted(sound_));
  }

  TemporaryFolder folder_;
  std::filesystem::path sound_ = folder_ / "talk.raw";
  std::filesystem::path wave_ = folder_ / "talk.wav";
};

std::vector<nlohmann::json> objects(const std::string& lines) {
  std::vector<nlohmann::json> all;
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) all.push_back(nlohmann::json::parse(line));
  return all;
}

std::string finals(const std::string& lines) {
  std::string text;
  for (const auto& line : objects(lines)) {
    if (line.contains("final")) text += (text.empty() ? "" : " ") + line["final"].get<std::string>();
  }
  return text;
}

TEST_F(Stream, SegmentsInEveryForm) {
  const CommandResult json = segments("--format json");
  ASSERT_EQ(json.status, 0) << json.errors;
  std::string text;
  double end = 0.0;
  int number = 0;
  for (const auto& segment : objects(json.output)) {
    EXPECT_EQ(segment["segment"], "talk-000" + std::to_string(++number));
    EXPECT_GE(segment["start"], end);
    EXPECT_EQ(segment["words"].front()["start"], segment["start"]);
    end = segment["end"];
    text += (text.empty() ? "" : " ") + segment["text"].get<std::string>();
  }
  EXPECT_EQ(text, kSaid);
  EXPECT_GE(number, 2);
  const CommandResult plain = segments("--pause 0.3");  // longer than that between forward and ten
  EXPECT_TRUE(plain.output.starts_with("talk-0001 1.4")) << plain.output;
  EXPECT_NE(plain.output.find(": go forward ten meters [score -"), std::string::npos) << plain.output;
  EXPECT_TRUE(
      segments("--format tsv").output.starts_with("segment\thypothesis\tscore\tstart\tend\tcomplete\ntalk-0001\t"));
  EXPECT_TRUE(segments("--format ctm").output.starts_with(";; talk-0001 1.4"));
  const std::string subtitles = segments("--format srt").output;
  EXPECT_TRUE(subtitles.starts_with("1\n00:00:01,4")) << subtitles;
  EXPECT_NE(subtitles.find("\n\n2\n"), std::string::npos);
  const std::string grid = segments("--format textgrid --phones").output;
  EXPECT_NE(grid.find("name = \"segments\""), std::string::npos);
  EXPECT_NE(grid.find("text = \"talk-0002\""), std::string::npos);
  EXPECT_NE(grid.find("name = \"phones\""), std::string::npos);
  EXPECT_NE(grid.find("text = \"ER\""), std::string::npos);
}

TEST_F(Stream, ErrorsOverTheSegmentsAndSeveralFiles) {
  const auto reference = folder_.write("said", kSaid + " now (talk)\n");
  const CommandResult result = run_kivsr("recognise --segment --jobs 2" + kWords + "--reference " + quoted(reference) +
                                         " " + quoted(sound_) + " " + quoted(wave_));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("talk.wav: 1 error of 10 words"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("total: 2 files"), std::string::npos) << result.output;
  EXPECT_EQ(segments("--format json --reference " + quoted(reference)).status, 2);
  EXPECT_EQ(segments("--lattice " + quoted(folder_ / "one.slf")).status, 2) << "one file for several lattices";
  ASSERT_EQ(segments("--confidence --lattice " + quoted(folder_.path())).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_ / "talk-0001.slf"));
}

// A stream gives what the file gives, whatever it comes through; guesses come before.
TEST_F(Stream, LiveIsWhatSegmentsOfTheFileAre) {
  const std::string live = "recognise --live --format json" + kWords;
  std::string file;
  for (const auto& segment : objects(segments("--format json").output)) {
    file += (file.empty() ? "" : " ") + segment["text"].get<std::string>();
  }
  const CommandResult raw = run_kivsr(live + "--raw-rate 16000 - < " + quoted(sound_));
  ASSERT_EQ(raw.status, 0) << raw.errors;
  EXPECT_EQ(finals(raw.output), file);
  // a WAV file through a pipe, in bits
  const CommandResult piped = run_kivsr(live, "{ head -c 70001; sleep 0.1; cat; } < " + quoted(wave_) + " | ");
  EXPECT_EQ(piped.output, raw.output);
  int guesses = 0;
  for (const auto& line : objects(raw.output)) {
    if (line.contains("final")) {
      EXPECT_LE(line["heard"].get<double>() - line["end"].get<double>(), 0.3) << line;
      EXPECT_GE(guesses, 2) << line;
      guesses = 0;
    } else {
      ++guesses;
    }
  }
  EXPECT_EQ(run_kivsr("recognise --live" + kWords + "--raw-rate 16000 - < " + quoted(sound_)).output.find("go"), 0U);
  EXPECT_TRUE(run_kivsr("recognise --live --partial" + kWords + "--raw-rate 16000 < " + quoted(sound_))
                  .output.starts_with("... go\n"));
}

// The writer stays, the reader is interrupted: what was heard is told, and all is well.
TEST_F(Stream, AnInterruptTellsWhatWasHeard) {
  const CommandResult result = run_command("cd " + quoted(folder_.path()) + R"( || exit 9
    mkfifo pipe; exec 3<>pipe
    "$KIVSR_EXECUTABLE" recognise --live --format json --raw-rate 16000)" +
                                           kWords + R"(pipe 3>&- > heard &
    reader=$!; head -c 85000 talk.raw >&3
    for i in $(seq 300); do grep -q ten heard && break; sleep 0.1; done
    kill -INT $reader; wait $reader; status=$?; cat heard; exit $status)");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(finals(result.output).find("go forward ten"), 0U) << result.output;
}

TEST_F(Stream, FaultsAreOneLine) {
  std::ofstream(folder_ / "broken.wav", std::ios::binary) << read_file(wave_).substr(0, 100000);
  const auto rows = folder_.write("rows.csv", "1,2,3\n");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"--segment " + quoted(folder_ / "broken.wav"), "truncated"},
      {"--segment " + quoted(rows), "segments are found in audio"},
      {"--live " + quoted(sound_) + " " + quoted(wave_), "--live is for one stream"},
      {"--partial " + quoted(sound_), "--partial is for --live"},
      {"--live --reference x " + quoted(sound_), "--reference is not for --live"},
      {"--segment --pause 0 " + quoted(sound_), "--pause"},
      {"--live --words go - < /dev/null", "standard input"},
  };
  for (const auto& [arguments, text] : cases) {
    const CommandResult result = run_kivsr("recognise " + (arguments.ends_with("null") ? "" : kWords) + arguments);
    EXPECT_EQ(result.status, 2) << arguments << result.output;
    EXPECT_NE(result.errors.find(text), std::string::npos) << arguments << ": " << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }
  // what came before the fault was heard
  const CommandResult broken = run_kivsr("recognise --live --format json" + kWords + quoted(folder_ / "broken.wav"));
  EXPECT_EQ(broken.status, 2);
}

}  // namespace
}  // namespace kivsr::program::test
