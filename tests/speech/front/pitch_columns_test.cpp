// Pitch beside the rows of a recipe.
#include "kivsr/speech/front/pitch_columns.h"

#include <gtest/gtest.h>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {

namespace {

std::vector<float> voice(int rate) {
  std::vector<float> samples(static_cast<std::size_t>(rate) / 2);
  for (int h = 1; h <= 8; ++h) {
    const auto partial = tone(140.0 * h, rate, rate, 5000.0 / h);
    samples.resize(static_cast<std::size_t>(rate) / 2 + partial.size());
    for (std::size_t n = 0; n < partial.size(); ++n) samples[static_cast<std::size_t>(rate) / 2 + n] += partial[n];
  }
  return samples;
}

// The rows are those of the recipe without pitch, and the columns those of the tracker; blocks change nothing.
TEST(PitchColumns, StandBesideTheRowsOfEveryPreset) {
  for (const std::string& name : preset_names()) {
    Recipe recipe = preset(name);
    const auto samples = voice(recipe.front_end.sample_rate);
    const FeatureMatrix without = FeatureChain(recipe).run(samples);
    recipe.pitch = true;
    FeatureChain chain(recipe);
    const FeatureMatrix with = chain.run(samples);
    ASSERT_EQ(with.height(), without.height()) << name;
    ASSERT_EQ(with.width, without.width + 3) << name;
    const auto frames = PitchTracker(pitch_parameters(recipe)).run(samples);
    const int features = recipe.feature_width();
    int voiced = 0;
    for (int t = 0; t < with.height(); ++t) {
      for (int c = 0; c < without.width; ++c) {
        ASSERT_EQ(with.row(t)[static_cast<std::size_t>(c < features ? c : c + 3)],
                  without.row(t)[static_cast<std::size_t>(c)])
            << name << ' ' << t << ' ' << c;
      }
      const auto frame = static_cast<std::size_t>(t);
      const float f0 = with.row(t)[static_cast<std::size_t>(features)];
      ASSERT_EQ(f0, frame < frames.size() ? frames[frame].frequency : 0.0F) << name << ' ' << t;
      voiced += f0 > 0.0F ? 1 : 0;
    }
    EXPECT_NEAR(voiced * recipe.frame_seconds(), 1.0, 0.1) << name;
    EXPECT_EQ(chain.run(samples, 997).values, with.values) << name;
    EXPECT_EQ(recipe.column_names().size(), static_cast<std::size_t>(recipe.width())) << name;
  }
}

TEST(PitchColumns, RefuseWhatHasNoPitch) {
  Recipe recipe = preset("mfcc");
  recipe.pitch = true;
  FeatureChain chain(recipe);
  FeatureMatrix rows;
  EXPECT_THROW(chain.push_rows(FeatureMatrix{recipe.file_width(), {}}, rows), Fault);
  recipe.pitch_high_frequency = 5000.0F;
  EXPECT_THROW(recipe.validate(), Fault);
  recipe = Recipe::of_features(13);
  recipe.pitch = true;
  EXPECT_THROW(recipe.validate(), Fault);
}

}  // namespace
}  // namespace kivsr::speech::test
