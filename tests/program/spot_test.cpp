// kivsr spot, through the program as users run it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "speech/models/model_bytes.h"
#include "speech/support/command.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

std::string voice(const std::string& name) { return quoted(kVoices / (name + ".wav")); }
std::string example(const std::string& label, const std::string& name, const std::string& part) {
  return " -e '" + label + "=" + (kVoices / (name + ".wav")).string() + "@" + part + "'";
}
// Words of one speaker, each cut from one announcement.
const std::string kWords = example("front", "Front_Left", "0-0.43") + example("left", "Front_Left", "0.74-1.3") +
                           example("right", "Rear_Right", "0.92-1.44") + example("center", "Rear_Center", "0.65-1.26") +
                           example("side", "Side_Left", "0-0.62");

TEST(SpotCommand, FindsWordsInOtherRecordingsOfTheSpeaker) {
  const CommandResult result =
      run_kivsr("spot --format json" + kWords + " " + voice("Front_Center") + " " + voice("Side_Right"));
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto recordings = nlohmann::json::parse(result.output);
  ASSERT_EQ(recordings.size(), 2U);
  const std::vector<std::string> said[] = {{"front", "center"}, {"side", "right"}};
  for (std::size_t i = 0; i < 2; ++i) {
    const auto& hits = recordings[i]["hits"];
    ASSERT_EQ(hits.size(), 2U) << result.output;
    for (std::size_t k = 0; k < 2; ++k) {
      EXPECT_EQ(hits[k]["label"], said[i][k]);
      EXPECT_LE(hits[k]["distance"], hits[k]["threshold"]);
    }
    EXPECT_LT(hits[0]["end"], hits[1]["start"]);
  }
}

TEST(SpotCommand, FindsNothingInOtherSpeech) {
  std::string files;
  for (const auto& file : read_sentences()) files += " " + quoted(file);
  const CommandResult result = run_kivsr("spot --format tsv" + kWords + files);
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, "recording\tstart\tend\tlabel\tdistance\tthreshold\n");
}

TEST(SpotCommand, NamesCommandsAndRejectsOthers) {
  const std::string files =
      " " + voice("Rear_Left") + " " + quoted(kRecordings / "cards" / "001.wav") + " " + voice("Noise");
  const CommandResult text = run_kivsr("spot --commands" + example("left", "Front_Left", "0.74-1.3") + files);
  ASSERT_EQ(text.status, 0) << text.errors;
  EXPECT_NE(text.output.find("Rear_Left.wav: left  0."), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("001.wav: -"), std::string::npos) << text.output;
  EXPECT_NE(text.output.find("Noise.wav: -"), std::string::npos) << text.output;
  const CommandResult json =
      run_kivsr("spot --commands --format json" + example("left", "Front_Left", "0.74-1.3") + files);
  const auto recordings = nlohmann::json::parse(json.output);
  EXPECT_EQ(recordings[0]["accepted"], true);
  EXPECT_EQ(recordings[1]["accepted"], false);
}

TEST(SpotCommand, FeatureFilesAndAFileForTheResult) {
  const TemporaryFolder folder;
  const std::string features = quoted(folder / "rows.npy");
  ASSERT_EQ(run_kivsr("features --preset mfcc -o " + features + " " + voice("Front_Left")).status, 0);
  const auto output = folder / "hits.tsv";
  const std::string call = "spot --format tsv" + example("left", "Front_Left", "0.74-1.3") + " ";
  ASSERT_EQ(run_kivsr(call + features + " -o " + quoted(output)).status, 0);
  const std::string hits = read_file(output);
  EXPECT_NE(hits.find("0.74\t1.30\tleft\t0.000"), std::string::npos) << hits;
}

TEST(SpotCommand, KeywordsOverPhones) {
  const TemporaryFolder folder;
  const std::string recording = " " + quoted(kTestData / "goforward.raw");
  const auto list = folder.write("keywords", "meters\nforward ten /1e-40/\nyoung\n");
  const CommandResult found = run_kivsr("spot --format tsv --keyword-list " + quoted(list) + recording);
  ASSERT_EQ(found.status, 0) << found.errors;
  EXPECT_NE(found.output.find("\tforward ten\n"), std::string::npos) << found.output;
  EXPECT_NE(found.output.find("\tmeters\n"), std::string::npos) << found.output;
  EXPECT_EQ(found.output.find("young"), std::string::npos) << found.output;
  const CommandResult strict = run_kivsr("spot --keyword meters/1e100" + recording);
  EXPECT_NE(strict.output.find(": 0 hits"), std::string::npos) << strict.output;
  for (const char* const options : {"--keyword xyzzy", "--keyword go/x", "--keyword go/", "--keyword /1e-3",
                                    "--keyword go/-1", "--keyword-list /no/such", "--keyword go -e a.wav"}) {
    const CommandResult bad = run_kivsr(std::string("spot ") + options + recording);
    EXPECT_EQ(bad.status, 2) << options;
    EXPECT_EQ(std::count(bad.errors.begin(), bad.errors.end(), '\n'), 1) << options << bad.errors;
  }
}

TEST(SpotCommand, BadInputGivesOneLine) {
  const TemporaryFolder folder;
  const std::string good = " " + voice("Front_Left");
  const std::string text = quoted(folder.write("a.wav", "no sound"));
  const std::vector<std::string> calls = {
      "spot" + good,               // no example
      "spot -e a=" + text + good,  // not audio
      "spot -e a=/no/such.wav" + good,
      "spot -e =" + (kVoices / "Noise.wav").string() + good,            // no label
      "spot -e a=" + (kVoices / "Noise.wav").string() + "@2-1" + good,  // no part
      "spot -e a=" + (kVoices / "Noise.wav").string() + "@nan-inf" + good,
      "spot -e a=" + (kVoices / "Noise.wav").string() + "@9-10" + good,  // behind the end
      "spot" + example("left", "Front_Left", "0.74-1.3") + " " + text,
      "spot --shortest 3" + example("left", "Front_Left", "0.74-1.3") + good,
      "spot --threshold nan" + example("left", "Front_Left", "0.74-1.3") + good};
  for (const std::string& call : calls) {
    const auto output = folder / "hits";
    const CommandResult result = run_kivsr(call + " -o " + quoted(output));
    EXPECT_EQ(result.status, 2) << call << result.output;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << call << "\n" << result.errors;
    EXPECT_FALSE(std::filesystem::exists(output)) << call;
  }
}

}  // namespace
}  // namespace kivsr::program::test
