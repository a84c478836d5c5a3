#include "kivsr/speech/front/dynamic_features.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "kivsr/speech/front/front_end.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

FeatureMatrix random_rows(int height, int width) {
  FeatureMatrix rows;
  rows.width = width;
  rows.values = noise(height * width, 7);
  return rows;
}

TEST(DynamicFeatures, MeanOfEveryColumnIsZeroAfterwards) {
  for (const int height : {1, 2, 300}) {
    FeatureMatrix rows = random_rows(height, 13);
    const FeatureMatrix before = rows;
    subtract_utterance_mean(rows);
    for (std::size_t k = 0; k < 13; ++k) {
      double mean = 0.0;
      for (int t = 0; t < height; ++t) mean += rows.row(t)[k] / height;
      EXPECT_NEAR(mean, 0.0, 1e-2) << height << ' ' << k;
      EXPECT_NEAR(rows.row(height - 1)[k] - rows.row(0)[k], before.row(height - 1)[k] - before.row(0)[k], 1e-2);
    }
  }
}

// Of c(t) = t^2 inside the utterance: the slope over five frames is 8 t, its change over the three is 16.
TEST(DynamicFeatures, ParabolaHasALinearSlopeAndAConstantAcceleration) {
  FeatureMatrix parabola;
  parabola.width = 1;
  for (int t = 0; t < 40; ++t) parabola.values.push_back(static_cast<float>(t * t));
  const FeatureMatrix rows = append_dynamics(parabola);
  ASSERT_EQ(rows.width, 3);
  ASSERT_EQ(rows.height(), 40);
  for (int t = 3; t < 37; ++t) {
    EXPECT_EQ(rows.row(t)[0], static_cast<float>(t * t));
    EXPECT_EQ(rows.row(t)[1], static_cast<float>(8 * t));
    EXPECT_EQ(rows.row(t)[2], 16.0F);
  }
}

// Ends behave as if the first and the last frame went on for ever; even one frame has features.
TEST(DynamicFeatures, EndsAreRepeated) {
  for (const int height : {1, 2, 3, 5, 20}) {
    const FeatureMatrix rows = random_rows(height, 13);
    FeatureMatrix longer;
    longer.width = 13;
    for (int t = -5; t < height + 5; ++t) {
      const auto row = rows.row(std::clamp(t, 0, height - 1));
      longer.values.insert(longer.values.end(), row.begin(), row.end());
    }
    const FeatureMatrix direct = append_dynamics(rows);
    const FeatureMatrix inside = append_dynamics(longer);
    ASSERT_EQ(direct.height(), height);
    for (int t = 0; t < height; ++t) {
      EXPECT_TRUE(std::equal(direct.row(t).begin(), direct.row(t).end(), inside.row(t + 5).begin()))
          << height << ' ' << t;
    }
  }
  EXPECT_EQ(append_dynamics(random_rows(0, 13)).height(), 0);
}

TEST(DynamicFeatures, ChainIsItsStages) {
  const FrontEndParameters parameters = front_end_preset("sphinx-en-us");
  const auto samples = noise(8000);
  FeatureMatrix cepstra = FrontEnd(parameters).run(samples);
  subtract_utterance_mean(cepstra);
  const FeatureMatrix chain = utterance_features(parameters, samples);
  EXPECT_EQ(chain.width, 39);
  EXPECT_EQ(chain.values, append_dynamics(cepstra).values);
}

}  // namespace
}  // namespace kivsr::speech::test
