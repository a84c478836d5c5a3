// Mean and variance that run along, against their definition in double precision.
#include "kivsr/speech/front/running_normaliser.h"

#include <gtest/gtest.h>

#include <cmath>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

TEST(RunningNormaliser, StartsWithAMeanThatCountsForRows) {
  RunningNormaliser normaliser(2, 8, false);
  const std::vector<float> start{10.0F, -4.0F};
  normaliser.restart(start, 5);
  double mean[2] = {10.0, -4.0};
  for (int t = 0; t < 30; ++t) {
    std::vector<float> row{20.0F + static_cast<float>(t % 3), -8.0F * static_cast<float>(t)};
    const std::vector<float> before = row;
    normaliser.apply(row);
    const double count = std::min(6 + t, 8);
    for (std::size_t i = 0; i < 2; ++i) {
      mean[i] += (static_cast<double>(before[i]) - mean[i]) / count;
      EXPECT_NEAR(row[i], static_cast<double>(before[i]) - mean[i], 1e-3) << t;
    }
  }
}

// The chain with a mean that runs along: the same rows for any blocks, no row waits, and the next utterance goes on.
TEST(RunningNormalisation, StandsForTheMeanOfTheUtterance) {
  Recipe recipe = preset("sphinx-en-us");
  recipe.normalisation = Normalisation::kMean;
  const std::vector<float> signal = noise(30000);
  std::vector<FeatureMatrix> results;
  for (const std::size_t block : {0U, 113U, 1600U, 8000U}) {
    RunningNormalisation normalisation(recipe, std::vector<float>(13, 2.0F), 50);
    FeatureChain chain(normalisation.rest());
    EXPECT_EQ(chain.recipe().needs_whole_utterance(), "");
    chain.change_statics([&](FeatureMatrix& rows) { normalisation.apply(rows); });
    results.push_back(chain.run(signal, block));
    EXPECT_EQ(results.back().values, results.front().values) << block;
    const FeatureMatrix next = chain.run(signal, block);
    EXPECT_NE(next.row(0)[0], results.front().row(0)[0]) << "the mean is that of the first utterance";
    normalisation.restart();
    EXPECT_EQ(chain.run(signal, block).values, results.front().values);
  }
}

TEST(RunningNormalisation, LeavesOtherRecipesAndAKeptEnergyAlone) {
  Recipe recipe = preset("mfcc");
  recipe.normalisation = Normalisation::kNone;
  RunningNormalisation none(recipe, {}, 50);
  EXPECT_EQ(none.rest(), recipe);
  EXPECT_TRUE(none.has_begun());
  FeatureMatrix rows{2, {3.0F, 4.0F}};
  none.apply(rows);
  EXPECT_EQ(rows.values, (std::vector<float>{3.0F, 4.0F}));

  recipe = Recipe();
  recipe.front_end.energy = true;
  recipe.normalisation = Normalisation::kMeanVariance;
  recipe.normalise_cepstra_only = true;
  RunningNormalisation kept(recipe, {}, 50);
  const auto energy = static_cast<std::size_t>(recipe.front_end.energy_column());
  const int width = recipe.input_width();
  FeatureMatrix first{width, std::vector<float>(static_cast<std::size_t>(3 * width), 7.0F)};
  first.row(1)[energy] = 9.0F;
  first.row(1)[0] = 8.0F;
  kept.begin(first);
  kept.apply(first);
  EXPECT_EQ(first.row(1)[energy], 9.0F);
  EXPECT_NE(first.row(1)[0], 8.0F);
}

}  // namespace
}  // namespace kivsr::speech::test
