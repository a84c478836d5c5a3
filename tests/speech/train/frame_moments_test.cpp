#include "kivsr/speech/train/frame_moments.h"

#include <cmath>
#include <vector>

#include "speech/train/thread_team.h"
#include "speech/train/training_data.h"

namespace kivsr::speech::test {

namespace {

constexpr int kWidth = 5;

// Utterances of 0 to 12 frames, far from zero for their spread.
FeatureMatrix rows_of(std::size_t item) {
  FeatureMatrix rows = random_rows(static_cast<int>(item % 13), kWidth, static_cast<unsigned>(item));
  for (std::size_t i = 0; i < rows.values.size(); ++i) rows.values[i] += 1000.0F * static_cast<float>(i % kWidth);
  return rows;
}

TrainingUtterances list_of(std::size_t items, TrainingTeam* team = nullptr) {
  TrainingUtterances utterances(items, team);
  const TrainingShare share{0, 1, team};
  for (std::size_t item = 0; item < items; ++item) {
    if (!share.has(item, {items})) continue;
    utterances.add("x", {}, item);
    utterances.append(rows_of(item));
  }
  return utterances;
}

TEST(FrameMoments, AreThoseOfAllFrames) {
  constexpr std::size_t kItems = 300;
  const FrameMoments moments = moments_of(list_of(kItems), kWidth);
  for (std::size_t column = 0; column < kWidth; ++column) {
    std::vector<double> values;
    for (std::size_t item = 0; item < kItems; ++item) {
      const FeatureMatrix rows = rows_of(item);
      for (int t = 0; t < rows.height(); ++t) values.push_back(static_cast<double>(rows.row(t)[column]));
    }
    const auto count = static_cast<double>(values.size());
    double mean = 0.0;
    double variance = 0.0;
    for (const double value : values) mean += value / count;
    for (const double value : values) variance += (value - mean) * (value - mean) / (count - 1.0);
    EXPECT_EQ(moments.frames(), count);
    EXPECT_NEAR(moments.mean(column), mean, 1e-9 * std::abs(mean) + 1e-12);
    EXPECT_NEAR(moments.variance(column), variance, 1e-9 * variance);
  }
  for (const int size : {2, 3}) {
    ThreadTeam(size, [&](ThreadTeam::Member& member) {
      const FrameMoments own = moments_of(list_of(kItems, &member), kWidth);
      for (std::size_t i = 0; i < own.values().size() && member.rank() == 0; ++i) {
        EXPECT_EQ(own.values()[i], moments.values()[i]) << size;
      }
    });
  }
}

TEST(FrameMoments, OfNothing) { EXPECT_EQ(moments_of(list_of(1), kWidth).frames(), 0.0); }

}  // namespace

}  // namespace kivsr::speech::test
