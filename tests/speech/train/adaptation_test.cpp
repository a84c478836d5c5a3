#include "kivsr/speech/train/adaptation.h"

#include <cmath>
#include <numeric>

#include "speech/train/training_data.h"

namespace kivsr::speech::test {

namespace {

// Gaussians with the sums of frames that were drawn for each, as many as wanted.
struct HeardSet {
  HeardSet(int dimension_, const std::vector<std::vector<float>>& frames_of_gaussian, unsigned seed)
      : dimension(static_cast<std::size_t>(dimension_)) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> normal(0.0F, 3.0F);
    for (const std::vector<float>& frames : frames_of_gaussian) {
      std::vector<float>& mean = means.emplace_back();
      std::vector<float>& variance = variances.emplace_back();
      for (std::size_t i = 0; i < dimension; ++i) {
        mean.push_back(normal(generator));
        variance.push_back(0.5F + std::abs(normal(generator)));
      }
      values.push_back(frames);
    }
  }

  // The sums are about the means.
  std::vector<HeardGaussian> gaussians() {
    std::vector<HeardGaussian> result;
    for (std::size_t g = 0; g < means.size(); ++g) {
      std::vector<double> first(dimension);
      std::vector<double> second(dimension);
      for (std::size_t t = 0; t < values[g].size(); ++t) {
        const double offset = static_cast<double>(values[g][t]) - static_cast<double>(means[g][t % dimension]);
        first[t % dimension] += offset;
        second[t % dimension] += offset * offset;
      }
      result.emplace_back(means[g], variances[g], static_cast<double>(values[g].size() / dimension), first, second,
                          means[g]);
    }
    return result;
  }

  std::size_t dimension;
  std::vector<std::vector<float>> means;
  std::vector<std::vector<float>> variances;
  std::vector<std::vector<float>> values;  // [Gaussian][frame][dimension]
};

// The estimates written down with the frames themselves: prior frames at the mean, with the variance, then the others.
TEST(Adaptation, MapIsTheMeanAndVarianceWithPriorFrames) {
  HeardSet set(1, {{4.0F, 5.0F, 9.0F}}, 1);
  set.means[0] = {2.0F};
  set.variances[0] = {3.0F};
  AdaptationSettings settings;
  settings.relevance = 2.0;
  settings.variances = true;
  const std::vector<float> floor = {0.01F};
  auto gaussians = set.gaussians();
  map_adapt(gaussians[0], settings, floor);
  EXPECT_NEAR(set.means[0][0], (2 * 2 + 4 + 5 + 9) / 5.0, 1e-6);
  // E x^2 of the five less the square of their mean
  EXPECT_NEAR(set.variances[0][0], (2 * (3 + 4) + 16 + 25 + 81) / 5.0 - 4.4 * 4.4, 1e-5);

  set.means[0] = {2.0F};
  set.variances[0] = {3.0F};
  settings.means = false;
  gaussians = set.gaussians();
  map_adapt(gaussians[0], settings, floor);
  EXPECT_EQ(set.means[0][0], 2.0F);
  EXPECT_NEAR(set.variances[0][0], (2 * 3 + 4 + 9 + 49) / 5.0, 1e-5);  // about the mean that stays

  std::vector<float> weights = {0.75F, 0.25F};
  map_adapt_weights(weights, std::vector<double>{0.0, 6.0}, 1.0);
  EXPECT_NEAR(weights[0], 1.5 / 8.0, 1e-6);
  EXPECT_NEAR(weights[1], 6.5 / 8.0, 1e-6);
}

// Sums about one mean are those about another after they were moved.
TEST(Adaptation, SumsMoveWithTheMean) {
  HeardSet set(2, {{1.0F, 2.0F, 5.0F, -1.0F, 0.5F, 7.0F}}, 2);
  const HeardGaussian direct = set.gaussians()[0];
  std::vector<float> other = {10.0F, -3.0F};
  std::vector<double> first(2);
  std::vector<double> second(2);
  for (std::size_t t = 0; t < 6; ++t) {
    const double offset = static_cast<double>(set.values[0][t]) - static_cast<double>(other[t % 2]);
    first[t % 2] += offset;
    second[t % 2] += offset * offset;
  }
  const HeardGaussian moved(set.means[0], set.variances[0], 3.0, first, second, other);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_NEAR(moved.first[i], direct.first[i], 1e-4);
    EXPECT_NEAR(moved.second[i], direct.second[i], 1e-3);
  }
}

// Frames that a known map makes of the means: the regression finds it, and moves Gaussians of which nothing was heard.
class Regression : public ::testing::TestWithParam<MeanRegression::Form> {};

TEST_P(Regression, FindsTheMapThatMadeTheSpeech) {
  constexpr std::size_t kDimension = 3;
  const bool full = GetParam() == MeanRegression::Form::kFull;
  HeardSet set(kDimension, std::vector<std::vector<float>>(12), 3);
  const double a[3][3] = {{1.2, full ? 0.3 : 0.0, 0.0}, {full ? -0.2 : 0.0, 0.8, 0.0}, {0.0, full ? 0.1 : 0.0, 1.1}};
  const double b[3] = {1.0, -2.0, 0.5};
  std::vector<std::vector<double>> wanted;
  for (std::size_t g = 0; g < set.means.size(); ++g) {
    std::vector<double>& mean = wanted.emplace_back(b, b + 3);
    for (std::size_t i = 0; i < kDimension; ++i) {
      for (std::size_t k = 0; k < kDimension; ++k) mean[i] += a[i][k] * static_cast<double>(set.means[g][k]);
    }
    if (g == 5) continue;  // never heard
    for (int frame = 0; frame < 4; ++frame) set.values[g].insert(set.values[g].end(), mean.begin(), mean.end());
  }
  auto gaussians = set.gaussians();
  EXPECT_EQ(move_means(gaussians, {GetParam(), 1, 1.0}), 1);
  for (std::size_t g = 0; g < set.means.size(); ++g) {
    for (std::size_t i = 0; i < kDimension; ++i) EXPECT_NEAR(set.means[g][i], wanted[g][i], 1e-4) << g;
    EXPECT_NEAR(gaussians[g].first[0], 0.0, 1e-3) << "the sums have moved too";
  }
}

// One Gaussian heard and 4 unknowns a row: the equations leave most open, and what they leave open does not move far.
TEST_P(Regression, LittleSpeechMovesNothingWildly) {
  HeardSet set(3, std::vector<std::vector<float>>(6), 4);
  for (std::size_t i = 0; i < 3; ++i) set.values[0].push_back(set.means[0][i] + 1.0F);
  const auto before = set.means;
  auto gaussians = set.gaussians();
  move_means(gaussians, {GetParam(), 4, 1.0});
  for (std::size_t g = 0; g < before.size(); ++g) {
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(std::isfinite(set.means[g][i]));
      EXPECT_LE(std::abs(set.means[g][i] - before[g][i]), g == 0 ? 1.001F : 6.0F);
    }
  }
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(set.means[0][i], before[0][i] + 1.0F, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Forms, Regression,
                         ::testing::Values(MeanRegression::Form::kDiagonal, MeanRegression::Form::kFull));

TEST(Adaptation, ClassesAreCutWhereThereIsSpeech) {
  HeardSet set(1, std::vector<std::vector<float>>(20), 5);
  for (std::size_t g = 0; g < 20; ++g) {
    set.means[g][0] = g < 10 ? static_cast<float>(g) * 0.1F : 100.0F + static_cast<float>(g);
    set.values[g].assign(g < 10 ? 100 : 40, set.means[g][0]);
  }
  const auto gaussians = set.gaussians();  // 1000 frames on the left, 400 on the right
  const auto classes_of = [&](int classes, double least) {
    return regression_classes(gaussians, {MeanRegression::Form::kDiagonal, classes, least});
  };
  const std::vector<int> two = classes_of(2, 100.0);
  for (std::size_t g = 0; g < 20; ++g) EXPECT_EQ(two[g] == two[0], g < 10) << g;
  const auto highest = [](const std::vector<int>& classes) {
    return *std::max_element(classes.begin(), classes.end());
  };
  EXPECT_EQ(highest(classes_of(8, 500.0)), 0) << "one side would have 400 frames";
  EXPECT_EQ(highest(classes_of(8, 300.0)), 2);
  EXPECT_EQ(highest(classes_of(1, 1.0)), 0);
}

// Of a whole model, twice from the same prior: the second pass estimates from the prior, not from the first result.
TEST(Adaptation, PassesStartFromThePrior) {
  WordModel model = small_model({3});
  model.plain_mixture = true;
  model.units = {{"mixture", false, 0, 1}};
  const FeatureMatrix rows = random_rows(200, 3, 6);
  const auto pass = [&](const WordModel& heard, const AdaptationSettings& settings) {
    const MixtureEvaluator evaluator(heard);
    Statistics sums(heard);
    sums.add_mixture(heard, evaluator, rows);
    WordModel adapted = model;
    adapt(adapted, heard, sums, settings);
    return adapted;
  };
  AdaptationSettings strong;
  strong.relevance = 1e9;
  strong.variances = strong.weights = true;
  const WordModel once = pass(model, strong);
  const WordModel twice = pass(once, strong);
  for (std::size_t i = 0; i < 9; ++i) {
    EXPECT_NEAR(twice.states[0].means[i], model.states[0].means[i], 1e-5);
    EXPECT_NEAR(twice.states[0].variances[i], model.states[0].variances[i], 1e-5);
  }
  AdaptationSettings weak;
  weak.relevance = 5.0;
  const WordModel adapted = pass(pass(model, weak), weak);
  const double before = MixtureEvaluator(model).log_likelihood(0, rows);
  EXPECT_GT(MixtureEvaluator(adapted).log_likelihood(0, rows), before + 10.0);
  const std::vector<float> weights = pass(model, strong).states[0].weights;
  EXPECT_NEAR(std::accumulate(weights.begin(), weights.end(), 0.0), 1.0, 1e-5);
}

}  // namespace

}  // namespace kivsr::speech::test
