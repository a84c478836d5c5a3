#include "kivsr/speech/front/dynamics_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

FeatureMatrix random_rows(int height, int width) {
  FeatureMatrix rows;
  rows.width = width;
  rows.values = noise(height * width, 7);
  return rows;
}

FeatureMatrix with_differences(const FeatureMatrix& rows, Dynamics dynamics = Dynamics::kDifferences) {
  Recipe recipe = Recipe::of_features(rows.width);
  recipe.dynamics = dynamics;
  return FeatureChain(recipe).run_rows(rows);
}

// Of c(t) = t^2 inside the utterance: the slope over five frames is 8 t, its change over the three is 16.
TEST(Differences, ParabolaHasALinearSlopeAndAConstantAcceleration) {
  FeatureMatrix parabola;
  parabola.width = 1;
  for (int t = 0; t < 40; ++t) parabola.values.push_back(static_cast<float>(t * t));
  const FeatureMatrix rows = with_differences(parabola);
  ASSERT_EQ(rows.width, 3);
  ASSERT_EQ(rows.height(), 40);
  for (int t = 3; t < 37; ++t) {
    EXPECT_EQ(rows.row(t)[0], static_cast<float>(t * t));
    EXPECT_EQ(rows.row(t)[1], static_cast<float>(8 * t));
    EXPECT_EQ(rows.row(t)[2], 16.0F);
  }
}

// Ends behave as if the first and the last frame went on for ever; even one frame has features.
TEST(Differences, EndsAreRepeated) {
  for (const int height : {1, 2, 3, 5, 20}) {
    const FeatureMatrix rows = random_rows(height, 13);
    FeatureMatrix longer;
    longer.width = 13;
    for (int t = -5; t < height + 5; ++t) {
      const auto row = rows.row(std::clamp(t, 0, height - 1));
      longer.values.insert(longer.values.end(), row.begin(), row.end());
    }
    const FeatureMatrix direct = with_differences(rows);
    const FeatureMatrix inside = with_differences(longer);
    ASSERT_EQ(direct.height(), height);
    for (int t = 0; t < height; ++t) {
      EXPECT_TRUE(std::equal(direct.row(t).begin(), direct.row(t).end(), inside.row(t + 5).begin()))
          << height << ' ' << t;
    }
  }
  EXPECT_EQ(with_differences(random_rows(0, 13)).height(), 0);
}

// Column by column from the definition, and by the names that the recipe gives the columns.
TEST(Differences, StreamsHaveTheirColumnsInOrder) {
  constexpr int kWidth = 4;
  const FeatureMatrix rows = random_rows(30, kWidth);
  const FeatureMatrix streams = with_differences(rows, Dynamics::kStreams);
  const auto c = [&](int t, int i) { return rows.row(std::clamp(t, 0, rows.height() - 1))[i]; };
  const auto second = [&](int t, int i) { return (c(t + 3, i) - c(t - 1, i)) - (c(t + 1, i) - c(t - 3, i)); };
  ASSERT_EQ(streams.width, 4 * kWidth - 1);
  ASSERT_EQ(streams.height(), 30);
  for (int t = 0; t < 30; ++t) {
    std::vector<float> expected;
    for (int i = 1; i < kWidth; ++i) expected.push_back(c(t, i));
    for (const int reach : {2, 4}) {
      for (int i = 1; i < kWidth; ++i) expected.push_back(c(t + reach, i) - c(t - reach, i));
    }
    expected.insert(expected.end(), {c(t, 0), c(t + 2, 0) - c(t - 2, 0), second(t, 0)});
    for (int i = 1; i < kWidth; ++i) expected.push_back(second(t, i));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), streams.row(t).begin(), streams.row(t).end())) << t;
  }
  Recipe recipe = Recipe::of_features(2);
  recipe.dynamics = Dynamics::kStreams;
  EXPECT_EQ(recipe.column_names(), (std::vector<std::string>{"x2", "x2_d", "x2_l", "x1", "x1_d", "x1_a", "x2_a"}));
  recipe.derivatives = 1;
  EXPECT_THROW(FeatureChain{recipe}, Fault);
}

TEST(Splice, NeighboursStandBesideEachOtherAndATransformSeesThem) {
  constexpr int kWidth = 3;
  Recipe recipe = Recipe::of_features(kWidth);
  recipe.dynamics = Dynamics::kSplice;
  recipe.regression_window = 2;
  std::vector<float> matrix(2 * 5 * kWidth);
  matrix[2] = 1.0F;  // the last column of t - 2
  matrix[5 * kWidth + 6] = 0.5F;
  matrix[5 * kWidth + 14] = -4.0F;  // the first of t, the last of t + 2
  for (const int height : {1, 4, 30}) {
    const FeatureMatrix rows = random_rows(height, kWidth);
    const auto c = [&](int t, int i) { return rows.row(std::clamp(t, 0, height - 1))[i]; };
    recipe.feature_transform.clear();
    const FeatureMatrix spliced = FeatureChain(recipe).run_rows(rows);
    recipe.feature_transform = matrix;
    const FeatureMatrix transformed = FeatureChain(recipe).run_rows(rows);
    ASSERT_EQ(spliced.width, 5 * kWidth);
    ASSERT_EQ(spliced.height(), height);
    ASSERT_EQ(transformed.width, 2);
    ASSERT_EQ(transformed.height(), height);
    for (int t = 0; t < height; ++t) {
      for (int i = 0; i < 5 * kWidth; ++i) EXPECT_EQ(spliced.row(t)[i], c(t + i / kWidth - 2, i % kWidth));
      EXPECT_EQ(transformed.row(t)[0], c(t - 2, 2));
      EXPECT_NEAR(transformed.row(t)[1], 0.5F * c(t, 0) - 4.0F * c(t + 2, 2), 1e-5);
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
