// The file of a word model gives every number back, and is refused when it is damaged or contradicts itself.
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/front/presets.h"

#include <cmath>
#include <functional>

#include "kivsr/speech/io/record_file.h"
#include "speech/support/temporary_folder.h"
#include "speech/train/training_data.h"

namespace kivsr::speech::test {
namespace {

TEST(WordModelFile, EveryNumberComesBack) {
  const TemporaryFolder folder;
  WordModel model = small_model();
  model.recipe = preset("mfcc");
  model.recipe.front_end.low_frequency = 64.3F;
  model.recipe.front_end.cepstrum_count = 3;
  model.recipe.normalisation = Normalisation::kMeanVariance;
  model.training["states"] = "3";
  write_word_model(folder / "model", model);
  ASSERT_TRUE(is_word_model_file(folder / "model"));
  const WordModel read = read_word_model(folder / "model");
  EXPECT_EQ(word_model_checksum(read), word_model_checksum(model)) << "written again it is the same file";
  ASSERT_EQ(read.states.size(), model.states.size());
  for (std::size_t s = 0; s < model.states.size(); ++s) {
    EXPECT_EQ(read.states[s].stay, model.states[s].stay);
    EXPECT_EQ(read.states[s].occupation, model.states[s].occupation);
    EXPECT_EQ(read.states[s].weights, model.states[s].weights);
    EXPECT_EQ(read.states[s].means, model.states[s].means);
    EXPECT_EQ(read.states[s].variances, model.states[s].variances);
  }
  EXPECT_EQ(read.variance_floor, model.variance_floor);
  EXPECT_EQ(read.find_unit("no"), 2);
  EXPECT_EQ(read.units[2].first_state, 3);
  EXPECT_EQ(read.silence(), 0);
  EXPECT_EQ(read.training, model.training);
  EXPECT_EQ(read.recipe, model.recipe);
}

TEST(WordModelFile, DamageIsAFault) {
  const TemporaryFolder folder;
  const WordModel model = small_model();
  write_word_model(folder / "model", model);
  const std::string bytes = read_file(folder / "model");
  for (std::size_t place = 0; place < bytes.size(); place += 7) {
    std::string damaged = bytes;
    damaged[place] = static_cast<char>(damaged[place] ^ 0x10);
    EXPECT_THROW(read_word_model(folder.write("damaged", damaged)), Fault) << place;
    EXPECT_THROW(read_word_model(folder.write("short", bytes.substr(0, place))), Fault) << place;
  }
  EXPECT_THROW(read_word_model(folder.write("long", bytes + "x")), Fault);
}

// The checksum is right and the content is not.
TEST(WordModelFile, ContradictionsAreFaults) {
  const TemporaryFolder folder;
  const auto refuse = [&](const std::function<void(WordModel&)>& change) {
    WordModel model = small_model();
    change(model);
    write_word_model(folder / "model", model);
    EXPECT_THROW(read_word_model(folder / "model"), Fault);
  };
  refuse([](WordModel& model) { model.states[2].variances[1] = 0.0F; });
  refuse([](WordModel& model) { model.states[2].means[0] = NAN; });
  refuse([](WordModel& model) { model.states[0].stay = 1.0F; });
  refuse([](WordModel& model) { model.states[1].weights[1] = -0.5F; });
  refuse([](WordModel& model) { model.units[2].name = "aye"; });
  refuse([](WordModel& model) { model.recipe = Recipe::of_features(4); });
  refuse([](WordModel& model) {
    model.states.pop_back(), model.units.back().states = 2;
    model.states[4].means.pop_back();
  });
  refuse([](WordModel& model) { model.recipe = preset("mfcc"); });
}

}  // namespace
}  // namespace kivsr::speech::test
