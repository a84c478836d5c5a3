#include "kivsr/speech/decode/detection_errors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech::test {

namespace {

std::vector<DetectionTrial> trials_of(const std::vector<double>& targets, const std::vector<double>& others) {
  std::vector<DetectionTrial> trials;
  for (const double score : targets) trials.push_back({score, true});
  for (const double score : others) trials.push_back({score, false});
  return trials;
}

TEST(DetectionErrors, ByHand) {
  // Accepting the best k: (0, 1), (0, 2/3), (1/4, 2/3), (1/4, 1/3), (1/2, 1/3), (1/2, 0), ...
  const DetectionErrors errors(trials_of({5, 3, 1}, {4, 2, 0, -1}));
  ASSERT_EQ(errors.curve().size(), 8U);
  EXPECT_EQ(errors.curve().front().misses, 1.0);
  EXPECT_EQ(errors.curve().back().false_alarms, 1.0);
  EXPECT_EQ(errors.curve().back().misses, 0.0);
  EXPECT_NEAR(errors.equal_error_rate(), 1.0 / 3.0, 1e-12);
  // 0.5 * misses + 0.5 * alarms is least at (1/2, 0): 0.25 of 0.5; a prior of 0.01 pays for no alarm.
  EXPECT_NEAR(errors.least_cost({0.5, 1.0, 1.0}), 0.5, 1e-12);
  EXPECT_NEAR(errors.least_cost({0.01, 1.0, 1.0}), 2.0 / 3.0, 1e-12);
  EXPECT_NEAR(errors.least_cost({0.01, 1e6, 1.0}), 0.5, 1e-12);
}

TEST(DetectionErrors, EqualScoresAreAcceptedTogether) {
  const DetectionErrors same(trials_of({1, 1, 1}, {1, 1}));
  ASSERT_EQ(same.curve().size(), 2U);
  EXPECT_NEAR(same.equal_error_rate(), 0.5, 1e-12);
  EXPECT_NEAR(same.least_cost({}), 1.0, 1e-12);
  EXPECT_EQ(DetectionErrors(trials_of({2, 3}, {0, 1})).equal_error_rate(), 0.0);
  EXPECT_EQ(DetectionErrors(trials_of({0, 1}, {2, 3})).equal_error_rate(), 1.0);
}

// Normal scores at a distance d have the equal error rate Q(d / 2).
TEST(DetectionErrors, NormalScores) {
  std::mt19937 generator(3);
  std::normal_distribution<double> normal;
  std::vector<double> targets(20000);
  std::vector<double> others(20000);
  for (double& score : targets) score = normal(generator) + 2.0;
  for (double& score : others) score = normal(generator);
  EXPECT_NEAR(DetectionErrors(trials_of(targets, others)).equal_error_rate(), 0.5 * std::erfc(std::sqrt(0.5)), 0.004);
}

TEST(DetectionErrors, NeedsBothKindsAndNumbers) {
  EXPECT_THROW(DetectionErrors(trials_of({1, 2}, {})), Fault);
  EXPECT_THROW(DetectionErrors(trials_of({}, {1})), Fault);
  EXPECT_THROW(DetectionErrors(trials_of({1, NAN}, {1})), Fault);
  EXPECT_NO_THROW(DetectionErrors(trials_of({1, INFINITY}, {-INFINITY})));
}

TEST(NormalQuantile, KnownValues) {
  EXPECT_NEAR(normal_quantile(0.5), 0.0, 1e-12);
  EXPECT_NEAR(normal_quantile(0.975), 1.959963984540054, 1e-9);
  EXPECT_NEAR(normal_quantile(0.001), -3.090232306167813, 1e-9);
  EXPECT_NEAR(normal_quantile(1e-9), -5.997807015, 1e-8);
}

}  // namespace

}  // namespace kivsr::speech::test
