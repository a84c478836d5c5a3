// Contours whose smooth line is known.
#include "kivsr/speech/front/pitch_smoother.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace kivsr::speech::test {

namespace {

std::vector<PitchFrame> smoothed(PitchSmoother& smoother, const std::vector<PitchFrame>& frames) {
  std::vector<PitchFrame> result;
  for (std::size_t t = 0; t < frames.size(); ++t) {
    smoother.push(frames[t], result);
    EXPECT_EQ(result.size(), t + 1 > static_cast<std::size_t>(smoother.delay()) ? t + 1 - smoother.delay() : 0U);
  }
  smoother.finish(result);
  EXPECT_EQ(result.size(), frames.size());
  return result;
}

PitchFrame voiced(double octaves, float correlation = 0.95F) {
  return {static_cast<float>(100.0 * std::exp2(octaves)), correlation, 0.9F};
}

double octaves_of(const PitchFrame& frame) { return std::log2(static_cast<double>(frame.frequency) / 100.0); }

TEST(PitchSmoother, StraightLinesStayAndPausesDivide) {
  PitchSmoother smoother(0.01, 0.05);
  ASSERT_EQ(smoother.delay(), 4);
  std::vector<PitchFrame> frames;
  for (int t = 0; t < 20; ++t) frames.push_back(voiced(0.01 * t));
  for (int t = 0; t < 3; ++t) frames.push_back({0.0F, 0.3F, 0.1F});
  for (int t = 0; t < 20; ++t) frames.push_back(voiced(1.0));  // another octave beyond the pause
  for (int t = 0; t < 20; ++t) frames.push_back(voiced(1.5));  // and at a step
  for (int run = 0; run < 2; ++run) {
    const auto result = smoothed(smoother, frames);
    for (std::size_t t = 0; t < frames.size(); ++t) {
      ASSERT_EQ(result[t].correlation, frames[t].correlation);
      ASSERT_EQ(result[t].probability, frames[t].probability);
      if (frames[t].frequency == 0.0F) {
        ASSERT_EQ(result[t].frequency, 0.0F) << t;
      } else {
        // The penalty on slopes is felt at the ends of the line.
        const double allowed = t < 4 || (t >= 16 && t < 20) ? 0.0025 : 1e-6;
        ASSERT_NEAR(octaves_of(result[t]), octaves_of(frames[t]), allowed) << t;
      }
    }
  }
}

TEST(PitchSmoother, UncertainFramesFollowTheOthers) {
  PitchSmoother smoother(0.01, 0.05);
  std::vector<PitchFrame> frames(21, voiced(0.0));
  frames[10] = voiced(0.1, 0.4F);
  const auto result = smoothed(smoother, frames);
  EXPECT_LT(std::abs(octaves_of(result[10])), 0.01);
  EXPECT_LT(std::abs(octaves_of(result[9])), 0.003);
  // As certain as the others it keeps a part of what it says.
  frames[10] = voiced(0.1);
  EXPECT_GT(octaves_of(smoothed(smoother, frames)[10]), 0.02);
}

// Means of a parabola over 50 ms lie below its crest by the bend times a twelfth of 50 ms squared; most of that is
// given back, and all errors are smaller than without.
TEST(PitchSmoother, CrestsAreGivenBack) {
  for (const double shift : {0.005, 0.01}) {
    PitchSmoother smoother(shift, 0.05);
    std::vector<PitchFrame> frames;
    constexpr double kBend = -20.0;  // octaves a second squared
    const double lost = kBend * 0.05 * 0.05 / 12.0;
    for (int t = -30; t <= 30; ++t) frames.push_back(voiced(kBend * t * shift * t * shift + lost));
    const auto result = smoothed(smoother, frames);
    EXPECT_GT(octaves_of(result[30]), 0.9 * lost) << shift;
    EXPECT_LT(octaves_of(result[30]), 0.0) << shift;
  }
}

TEST(PitchSmoother, FramesFarApartStayAsTheyAre) {
  PitchSmoother smoother(0.05, 0.05);
  ASSERT_EQ(smoother.delay(), 0);
  const std::vector<PitchFrame> frames = {voiced(0.0), voiced(0.1), voiced(-0.1)};
  const auto result = smoothed(smoother, frames);
  for (std::size_t t = 0; t < frames.size(); ++t) EXPECT_EQ(result[t].frequency, frames[t].frequency);
}

}  // namespace
}  // namespace kivsr::speech::test
