// The advanced front end against rows and samples of the standard's own chain (tests/speech/data: one spoken recording
// at 16 kHz, and every second sample of it at 8 kHz), and what surrounds it.
#include "kivsr/speech/front/advanced_front_end.h"

#include <gtest/gtest.h>

#include <bit>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/command.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

constexpr int kColumns = 15;

std::vector<float> golden(const std::string& name) {
  const auto bytes = read_whole_file(source_folder() / "tests/speech/data" / name);
  std::vector<float> values;
  for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    const auto word =
        bytes[i] | bytes[i + 1] << 8 | bytes[i + 2] << 16 | static_cast<std::uint32_t>(bytes[i + 3]) << 24;
    values.push_back(std::bit_cast<float>(word));
  }
  return values;
}

std::vector<float> recording(int rate) {
  const std::filesystem::path file = kRecordings / "goforward.raw";
  if (!std::filesystem::exists(file)) return {};
  std::vector<float> samples = read_audio(file).samples;
  if (rate == 16000) return samples;
  std::vector<float> half;
  for (std::size_t i = 0; i < samples.size(); i += 2) half.push_back(samples[i]);
  return half;
}

Recipe etsi_afe(int rate) { return preset("etsi-afe", rate); }

struct Golden {
  int rate;
  const char* name;
  float cepstra;
};
class AdvancedFrontEndTest : public ::testing::TestWithParam<Golden> {};
INSTANTIATE_TEST_SUITE_P(Rates, AdvancedFrontEndTest,
                         ::testing::Values(Golden{8000, "goforward_8k", 5e-4F}, Golden{16000, "goforward_16k", 2e-3F}),
                         [](const auto& info) { return std::to_string(info.param.rate); });

TEST_P(AdvancedFrontEndTest, RowsAreTheStandards) {
  const auto samples = recording(GetParam().rate);
  if (samples.empty()) GTEST_SKIP() << "the recording is not installed";
  const auto expected = golden(GetParam().name + std::string("_rows.f32"));
  const FeatureMatrix rows = FeatureChain(etsi_afe(GetParam().rate)).run(samples);
  ASSERT_EQ(rows.width, kColumns);
  ASSERT_EQ(rows.values.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const std::size_t column = i % kColumns;
    const float bound = column < 12 ? GetParam().cepstra : column < 14 ? 5e-3F : 0.0F;
    ASSERT_NEAR(rows.values[i], expected[i], bound) << "row " << i / kColumns << ", column " << column;
  }
}

TEST_P(AdvancedFrontEndTest, DenoisedSamplesAreTheStandards) {
  const auto samples = recording(GetParam().rate);
  if (samples.empty()) GTEST_SKIP() << "the recording is not installed";
  const auto expected = golden(GetParam().name + std::string("_denoised.f32"));
  AdvancedFrontEnd front_end(GetParam().rate, false);
  std::vector<float> denoised, speech;
  FeatureMatrix rows;
  front_end.record_denoised(&denoised);
  front_end.push(samples, rows, speech);
  ASSERT_EQ(denoised.size(), expected.size());
  double signal = 0.0, error = 0.0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double difference = double{denoised[i]} - expected[i];
    signal += double{expected[i]} * expected[i];
    error += difference * difference;
  }
  EXPECT_GT(10 * std::log10(signal / error), 100.0);
}

TEST_P(AdvancedFrontEndTest, BlocksDoNotMatterWithDerivativesAndDroppedFrames) {
  auto samples = noise(GetParam().rate, 3);
  const auto loud = tone(700.0, GetParam().rate, GetParam().rate / 2);
  samples.insert(samples.end(), loud.begin(), loud.end());
  for (const bool drop : {false, true}) {
    for (const Dynamics dynamics : {Dynamics::kNone, Dynamics::kAurora, Dynamics::kRegression}) {
      Recipe recipe = etsi_afe(GetParam().rate);
      recipe.dynamics = dynamics;
      recipe.drop_frames = drop;
      recipe.speech_column = true;
      FeatureChain chain(recipe);
      const FeatureMatrix batch = chain.run(samples);
      EXPECT_EQ(batch.width, dynamics == Dynamics::kNone ? 15 : dynamics == Dynamics::kAurora ? 40 : 43);
      EXPECT_EQ(recipe.column_names().size(), static_cast<std::size_t>(batch.width));
      EXPECT_EQ(recipe.column_names().back(), "vad");
      for (const std::size_t block : {1U, 79U, 160U, 997U}) EXPECT_EQ(chain.run(samples, block).values, batch.values);
    }
  }
}

TEST_P(AdvancedFrontEndTest, DroppedFramesAreThoseWithoutSpeech) {
  const auto samples = recording(GetParam().rate);
  if (samples.empty()) GTEST_SKIP() << "the recording is not installed";
  Recipe recipe = etsi_afe(GetParam().rate);
  recipe.dynamics = Dynamics::kAurora;
  const FeatureMatrix all = FeatureChain(recipe).run(samples);
  recipe.speech_column = false;
  recipe.drop_frames = true;
  const FeatureMatrix kept = FeatureChain(recipe).run(samples);
  FeatureMatrix expected{39, {}};
  for (int t = 0; t < all.height(); ++t) {
    const auto row = all.row(t);
    if (row.back() != 0.0F) expected.values.insert(expected.values.end(), row.begin(), row.end() - 1);
  }
  EXPECT_EQ(kept.values, expected.values);
  EXPECT_GT(kept.height(), 100);
  EXPECT_LT(kept.height(), all.height());
}

// Silent frames in front give rows of zeros and change nothing behind them; the rest of the chain needs six frames.
TEST_P(AdvancedFrontEndTest, DigitalSilenceInFrontStaysOutside) {
  const auto frame = static_cast<std::size_t>(GetParam().rate / 100);
  const auto samples = noise(GetParam().rate / 2);
  FeatureChain chain(etsi_afe(GetParam().rate));
  const FeatureMatrix rows = chain.run(samples);
  EXPECT_EQ(rows.height(), 50 - 6);
  std::vector<float> late(7 * frame, 0.0F);
  late.insert(late.end(), samples.begin(), samples.end());
  const FeatureMatrix behind = chain.run(late);
  ASSERT_EQ(behind.height(), 7 + rows.height());
  EXPECT_EQ(std::vector<float>(behind.values.begin(), behind.values.begin() + 7 * kColumns),
            std::vector<float>(7 * kColumns, 0.0F));
  EXPECT_EQ(std::vector<float>(behind.values.begin() + 7 * kColumns, behind.values.end()), rows.values);
  EXPECT_EQ(chain.run(std::vector<float>(20 * frame, 0.0F)).values, std::vector<float>(20 * kColumns, 0.0F));
  for (const std::size_t frames : {0U, 1U, 6U, 7U, 8U, 12U, 13U}) {
    const auto few = std::span(samples).first(frames * frame + (frames > 0 ? frame - 1 : 0));
    EXPECT_EQ(chain.run(few).height(), frames > 6 ? static_cast<int>(frames) - 6 : 0) << frames;
  }
}

TEST_P(AdvancedFrontEndTest, DigitalSilenceBehindSpeechStaysFinite) {
  auto samples = noise(GetParam().rate);
  samples.resize(3 * samples.size(), 0.0F);
  const FeatureMatrix rows = FeatureChain(etsi_afe(GetParam().rate)).run(samples);
  for (const float x : rows.values) ASSERT_TRUE(std::isfinite(x));
  EXPECT_LT(rows.row(rows.height() - 1)[13], 0.0F);  // what the offset compensation rings on with
}

// Rows from a file, decisions and all, meet the same stages.
TEST_P(AdvancedFrontEndTest, RowsGoOnThroughTheStages) {
  const auto samples = noise(GetParam().rate);
  Recipe recipe = etsi_afe(GetParam().rate);
  recipe.equalisation = Equalisation::kNone;
  const FeatureMatrix rows = FeatureChain(recipe).run(samples);
  recipe.equalisation = Equalisation::kFromZero;
  recipe.dynamics = Dynamics::kAurora;
  EXPECT_EQ(FeatureChain(recipe).run_rows(rows).values, FeatureChain(recipe).run(samples).values);
  FeatureMatrix narrow{14, std::vector<float>(28, 1.0F)};
  EXPECT_THROW(FeatureChain(recipe).run_rows(narrow), Fault);
}

TEST(EtsiAfeRecipe, IsFixedButForItsRate) {
  EXPECT_EQ(preset("etsi-afe", 0).front_end.sample_rate, 16000);
  EXPECT_EQ(preset("etsi-afe", 44100).front_end.sample_rate, 16000);
  EXPECT_EQ(preset("etsi-afe", 11025).front_end.sample_rate, 8000);
  EXPECT_EQ(preset("mfcc", 8000), preset("mfcc"));
  Recipe recipe = etsi_afe(8000);
  EXPECT_EQ(Recipe::parse(recipe.text(), "text"), recipe);
  const auto refused = [](Recipe bad, auto change) {
    change(bad);
    EXPECT_THROW(bad.validate(), Fault);
  };
  refused(recipe, [](Recipe& bad) { bad.front_end.window = Window::kHann; });
  refused(recipe, [](Recipe& bad) { bad.front_end.sample_rate = 11025; });
  refused(recipe, [](Recipe& bad) { bad.noise_reduction.method = NoiseMethod::kMcraWiener; });
  refused(preset("aurora"), [](Recipe& bad) { bad.speech_column = true; });
  refused(preset("aurora"), [](Recipe& bad) { bad.drop_frames = true; });
}

}  // namespace
}  // namespace kivsr::speech::test
