// One preset means the same in every command, and what was made with one recipe refuses another.
#include "program/recipe_options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include <nlohmann/json.hpp>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/models/word_model_file.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

class RecipeOptionsTest : public ::testing::Test {
 protected:
  RecipeOptionsTest() : audio_(folder_.write("a.wav", wav(whole(noise(32000)), 16000, 1))) {}

  CommandResult run(const std::string& command) const { return run_kivsr(command); }

  TemporaryFolder folder_;
  std::filesystem::path audio_;
};

TEST_F(RecipeOptionsTest, APresetHasTheSameMomentsInFeaturesAndInTraining) {
  const auto list = folder_.write("list", audio_.string() + "\n");
  for (const std::string& name : preset_names()) {
    const auto statistics = folder_ / (name + ".json");
    const auto model = folder_ / name;
    ASSERT_EQ(run("features --stats --preset " + name + " " + quoted(audio_) + " -o " + quoted(statistics)).status, 0);
    const CommandResult trained = run("train --mixture --components 1 --start-components 1 --iterations 1 --preset " +
                                      name + " --list " + quoted(list) + " --model " + quoted(model));
    ASSERT_EQ(trained.status, 0) << trained.errors;
    const auto json = nlohmann::json::parse(read_file(statistics));
    const WordModel read = read_word_model(model);
    EXPECT_EQ(read.recipe, preset(name));
    ASSERT_EQ(json["mean"].size(), static_cast<std::size_t>(read.dimension())) << name;
    const double frames = json["frames"];
    for (std::size_t k = 0; k < json["mean"].size(); ++k) {
      const double deviation = std::sqrt(json["variance"][k].get<double>());
      EXPECT_NEAR(read.states[0].means[k], json["mean"][k].get<double>(), 1e-3 * deviation + 1e-6) << name << ' ' << k;
      EXPECT_NEAR(read.states[0].variances[k], json["variance"][k].get<double>() * (frames - 1.0) / frames,
                  1e-3 * deviation * deviation + 1e-4)
          << name << ' ' << k;
    }
  }
}

// A codeword for each row gives the rows back, to the bit: what quantise saw is what features wrote.
TEST_F(RecipeOptionsTest, APresetHasTheSameRowsInFeaturesAndInQuantisation) {
  for (const std::string& name : preset_names()) {
    const auto count = static_cast<int>(45.0 * 16000.0 * preset(name).frame_seconds());
    const auto few = folder_.write("few.wav", wav(whole(noise(count)), 16000, 1));
    ASSERT_EQ(run("features --preset " + name + " " + quoted(few) + " -o " + quoted(folder_ / "a.npy")).status, 0);
    const FeatureMatrix rows = read_feature_file(folder_ / "a.npy");
    const std::string book = quoted(folder_ / "book");
    const CommandResult trained = run("quantise train --preset " + name + " --split 0-" +
                                      std::to_string(rows.width - 1) + ":5 " + quoted(few) + " -o " + book);
    ASSERT_EQ(trained.status, 0) << trained.errors;
    const std::string coded = quoted(folder_ / "a.kvs");
    ASSERT_EQ(run("quantise encode --book " + book + " " + quoted(few) + " -o " + coded).status, 0);
    ASSERT_EQ(run("quantise decode --book " + book + " " + coded + " -o " + quoted(folder_ / "b.npy")).status, 0);
    const FeatureMatrix decoded = read_feature_file(folder_ / "b.npy");
    ASSERT_EQ(decoded.height(), rows.height()) << name;
    ASSERT_GT(rows.height(), 32) << name;
    // 32 codewords for a few rows more: those that have one for themselves.
    int same = 0;
    for (int t = 0; t < rows.height(); ++t) {
      same += std::equal(rows.row(t).begin(), rows.row(t).end(), decoded.row(t).begin()) ? 1 : 0;
    }
    EXPECT_GE(same, 2 * 32 - rows.height()) << name;
  }
}

// Sound, and the rows that features makes of it without what follows the front end, are the same to a recogniser.
TEST_F(RecipeOptionsTest, APresetHasTheSameRowsInFeaturesAndInRecognition) {
  const auto list = folder_.write("list", audio_.string() + "\tnoise\n");
  for (const std::string& name : preset_names()) {
    const auto model = folder_ / name;
    const CommandResult trained = run("train --states 3 --iterations 1 --components 1 --start-components 1 --preset " +
                                      name + " --list " + quoted(list) + " --model " + quoted(model));
    ASSERT_EQ(trained.status, 0) << trained.errors;
    EXPECT_EQ(read_word_model(model).recipe, preset(name));
    Recipe front(preset(name).front_end);
    front.speech_column = preset(name).speech_column;
    const auto recipe = folder_.write("recipe", front.text());
    const auto rows = folder_ / "rows.npy";
    ASSERT_EQ(run("features --recipe " + quoted(recipe) + " " + quoted(audio_) + " -o " + quoted(rows)).status, 0);
    const CommandResult heard =
        run("recognise --format tsv --model " + quoted(model) + " " + quoted(audio_) + " " + quoted(rows));
    ASSERT_EQ(heard.status, 0) << heard.errors;
    std::istringstream lines(heard.output);
    std::string line;
    std::string of_sound[3];
    std::string of_rows[3];  // file, words, score
    std::getline(lines, line);
    ASSERT_EQ(line.find("file\thypothesis\tscore\t"), 0U) << line;
    for (auto* fields : {of_sound, of_rows}) {
      for (int i = 0; i < 3; ++i) std::getline(lines, fields[i], '\t');
      std::getline(lines, line);
    }
    EXPECT_NE(of_sound[1], "") << name;
    EXPECT_EQ(of_rows[1], of_sound[1]) << name;
    EXPECT_EQ(of_rows[2], of_sound[2]) << name;
  }
}

TEST_F(RecipeOptionsTest, AModelToAlignWithIsOfTheSameRecipe) {
  const auto list = folder_.write("list", audio_.string() + "\tnoise\n");
  const std::string train = "train --states 3 --iterations 1 --list " + quoted(list);
  ASSERT_EQ(run(train + " --preset mfcc --model " + quoted(folder_ / "first")).status, 0);
  const std::string second = train + " --align-with " + quoted(folder_ / "first") + " --model " + quoted(folder_ / "m");
  const CommandResult refused = run(second + " --preset mfcc --filter-count 20");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.errors.find("the model to align with was made with another recipe: filter-count: 23, not 20"),
            std::string::npos)
      << refused.errors;
  EXPECT_EQ(run(second + " --preset mfcc").status, 0);
}

TEST_F(RecipeOptionsTest, ACodebookRefusesAnotherRecipeAndNamesTheDifference) {
  const auto book = folder_ / "book";
  ASSERT_EQ(run("quantise train --lifter 20 " + quoted(audio_) + " -o " + quoted(book)).status, 0);
  const std::string encode = "quantise encode --book " + quoted(book) + " " + quoted(audio_) + " -o ";
  EXPECT_EQ(run(encode + quoted(folder_ / "a.kvs")).status, 0) << "the recipe is that of the book";
  EXPECT_EQ(run(encode + quoted(folder_ / "b.kvs") + " --lifter 20").status, 0);
  EXPECT_EQ(read_file(folder_ / "a.kvs"), read_file(folder_ / "b.kvs"));
  const CommandResult refused = run(encode + quoted(folder_ / "c.kvs") + " --preset mfcc");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.errors.find("book was made with another recipe: window-length: 410, not 400; "), std::string::npos)
      << refused.errors;
  EXPECT_NE(refused.errors.find("lifter: 20, not 22"), std::string::npos) << refused.errors;
  EXPECT_FALSE(std::filesystem::exists(folder_ / "c.kvs"));
}

TEST_F(RecipeOptionsTest, ATrainingGoesOnWithItsRecipeOnly) {
  const auto list = folder_.write("list", audio_.string() + "\n");
  const std::string train = "train --mixture --components 1 --start-components 1 --passes 0 --list " + quoted(list) +
                            " --model " + quoted(folder_ / "model");
  ASSERT_EQ(run(train + " --preset mfcc").status, 0);
  EXPECT_EQ(run(train + " --resume").status, 0);
  EXPECT_EQ(run(train + " --resume --preset mfcc").status, 0);
  const CommandResult refused = run(train + " --resume --preset mfcc --dynamics win1");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.errors.find("model was made with another recipe: dynamics: none, not win1"), std::string::npos)
      << refused.errors;
}

TEST_F(RecipeOptionsTest, ARecipeInAFileIsAPreset) {
  const auto file = folder_ / "recipe";
  ASSERT_EQ(run("info --preset htk-mfcc:MFCC_E_D_A > " + quoted(file)).status, 0);
  EXPECT_EQ(read_file(file), preset("htk-mfcc:MFCC_E_D_A").text());
  ASSERT_EQ(run("features " + quoted(audio_) + " --preset htk-mfcc:MFCC_E_D_A -o " + quoted(folder_ / "a.npy")).status,
            0);
  ASSERT_EQ(run("features " + quoted(audio_) + " --recipe " + quoted(file) + " -o " + quoted(folder_ / "b.npy")).status,
            0);
  EXPECT_EQ(read_file(folder_ / "a.npy"), read_file(folder_ / "b.npy"));
  for (const char* wrong : {" --config none", " --fft-length 518", " --preset htk-mfcc:MFCC_A", " --explain mfcc",
                            " --recipe none", " --window kaiser", " --shift 1.5", " --log-floor x", " --preset none"}) {
    EXPECT_EQ(run("features " + quoted(audio_) + wrong + " -o " + quoted(folder_ / "c.npy")).status, 2) << wrong;
  }
}

TEST_F(RecipeOptionsTest, APresetIsExplainedAndWrittenAsAConfiguration) {
  for (const std::string& name : preset_names()) {
    const CommandResult explained = run("features --explain " + name);
    ASSERT_EQ(explained.status, 0) << explained.errors;
    EXPECT_EQ(Recipe::parse(explained.output, name), preset(name));
  }
  const auto file = quoted(folder_ / "config");
  const std::string options = " --preset kaldi-mfcc --lifter 0 --dynamics win2";
  ASSERT_EQ(run("features" + options + " --as-config " + file).status, 0);
  ASSERT_EQ(run("features " + quoted(audio_) + options + " -o " + quoted(folder_ / "a.npy")).status, 0);
  ASSERT_EQ(run("features " + quoted(audio_) + " --config " + file + " -o " + quoted(folder_ / "b.npy")).status, 0);
  EXPECT_EQ(read_file(folder_ / "a.npy"), read_file(folder_ / "b.npy"));
  const CommandResult changed = run("features --explain kaldi-mfcc --lifter 0");
  EXPECT_NE(changed.output.find("\nlifter = 0\n"), std::string::npos);
}

// Windows that a toolkit counts in seconds follow the rate, those that it counts in samples do not.
TEST_F(RecipeOptionsTest, AToolkitKnowsWhatAnotherRateChanges) {
  const auto at = [&](const std::string& preset, int rate) {
    const std::string command = "features --explain " + preset + " --sample-rate " + std::to_string(rate);
    return Recipe::parse(run(command).output, preset).front_end;
  };
  const FrontEndParameters kaldi = at("kaldi-mfcc", 8000);
  EXPECT_EQ(kaldi.window_length, 200);
  EXPECT_EQ(kaldi.shift, 80);
  EXPECT_EQ(kaldi.fft_length, 256);
  EXPECT_EQ(kaldi.high_frequency, 4000.0F);
  EXPECT_EQ(at("htk-mfcc:MFCC_E", 44100).window_length, 1102);
  EXPECT_EQ(at("python-speech-features", 11025).window_length, 276);
  const FrontEndParameters librosa = at("librosa-mfcc", 16000);
  EXPECT_EQ(librosa.window_length, 2048);
  EXPECT_EQ(librosa.shift, 512);
  EXPECT_EQ(librosa.high_frequency, 8000.0F);
  EXPECT_EQ(at("sphinx", 8000).window_length, 205);
}

}  // namespace
}  // namespace kivsr::program::test
