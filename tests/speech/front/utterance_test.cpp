#include "kivsr/speech/front/utterance.h"

#include <gtest/gtest.h>

#include <limits>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

class UtteranceTest : public ::testing::Test {
 protected:
  std::filesystem::path rows_file(const std::string& name, const FeatureMatrix& rows) const {
    OutputFile file(folder_ / name);
    write_features(file, feature_format(name), rows, Recipe::of_features(rows.width));
    file.commit();
    return folder_ / name;
  }
  static std::string fault_of(const std::filesystem::path& file, FeatureChain& chain) {
    try {
      load_utterance(file, chain);
    } catch (const Fault& fault) {
      return fault.what();
    }
    return "no fault";
  }

  TemporaryFolder folder_;
};

TEST_F(UtteranceTest, AudioGoesThroughTheWholeChainInBlocks) {
  const auto samples = noise(150000);
  const auto file = folder_.write("a.wav", wav(whole(samples), 16000, 1));
  for (const std::string& name : preset_names()) {
    if (preset(name).front_end.sample_rate != 16000) continue;
    FeatureChain chain(preset(name));
    const Utterance utterance = load_utterance(file, chain);
    EXPECT_EQ(utterance.features.values, chain.run(samples).values) << name;
    EXPECT_EQ(load_utterance(file, chain, {}, 1000).features.values, utterance.features.values) << name;
    EXPECT_EQ(utterance.info.frames, utterance.features.height());
    EXPECT_DOUBLE_EQ(utterance.info.seconds, 150000.0 / 16000.0);
  }
}

// More rows than are read at a time, with stages that wait for the end and stages that look ahead.
TEST_F(UtteranceTest, RowsGoThroughWhatFollowsTheFrontEnd) {
  const FeatureMatrix rows{5, noise(5 * 2500)};
  const auto file = rows_file("a.npy", rows);
  for (const Normalisation normalisation : {Normalisation::kNone, Normalisation::kMean, Normalisation::kRunningMean}) {
    for (const Dynamics dynamics : {Dynamics::kNone, Dynamics::kWin2, Dynamics::kRegression, Dynamics::kStreams}) {
      Recipe recipe = Recipe::of_features(5);
      recipe.normalisation = normalisation;
      recipe.dynamics = dynamics;
      FeatureChain chain(recipe);
      const Utterance utterance = load_utterance(file, chain);
      EXPECT_EQ(utterance.features.values, chain.run_rows(rows).values);
      EXPECT_EQ(utterance.info.frames, 2500);
      EXPECT_DOUBLE_EQ(utterance.info.seconds, 25.0);
    }
  }
}

// What was read of a file with a fault does not get into the next one.
TEST_F(UtteranceTest, FaultsNameThePlaceAndLeaveTheChainReady) {
  FeatureMatrix rows{5, noise(5 * 2500)};
  const auto good = rows_file("good.npy", rows);
  rows.values[5 * 1700 + 3] = std::numeric_limits<float>::infinity();
  const auto bad = rows_file("bad.npy", rows);
  Recipe recipe = Recipe::of_features(5);
  recipe.dynamics = Dynamics::kWin2;
  FeatureChain chain(recipe);
  const FeatureMatrix expected = load_utterance(good, chain).features;
  EXPECT_EQ(fault_of(bad, chain), bad.string() + ": frame 1700, value 3 is not finite");
  EXPECT_EQ(load_utterance(good, chain).features.values, expected.values);
  const auto narrow = rows_file("narrow.npy", {4, noise(40)});
  EXPECT_EQ(fault_of(narrow, chain), narrow.string() + ": rows of 4 values, 5 are needed");
  const auto sound = folder_.write("a.wav", wav(whole(noise(300)), 16000, 1));
  EXPECT_NE(fault_of(sound, chain).find("not a file of features"), std::string::npos);
  FeatureChain audio(preset("mfcc"));
  EXPECT_EQ(fault_of(sound, audio), sound.string() + ": shorter than one frame");
  EXPECT_EQ(fault_of(rows_file("empty.npy", {13, {}}), audio),
            (folder_ / "empty.npy").string() + ": shorter than one frame");
}

}  // namespace
}  // namespace kivsr::speech::test
