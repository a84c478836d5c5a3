#include "kivsr/speech/front/feature_chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "kivsr/speech/front/normalisation_stage.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

constexpr Dynamics kDynamics[] = {Dynamics::kNone,   Dynamics::kWin1,        Dynamics::kWin2,    Dynamics::kRegression,
                                  Dynamics::kAurora, Dynamics::kDifferences, Dynamics::kStreams, Dynamics::kSplice};
constexpr Normalisation kNormalisations[] = {Normalisation::kNone, Normalisation::kMean, Normalisation::kMeanVariance,
                                             Normalisation::kRunningMean, Normalisation::kRunningMeanVariance};

FeatureMatrix in_blocks(FeatureChain& chain, std::span<const float> samples, const auto& next_size) {
  FeatureMatrix rows;
  while (!samples.empty()) {
    const auto part = samples.first(std::min<std::size_t>(next_size(), samples.size()));
    chain.push(part, rows);
    samples = samples.subspan(part.size());
  }
  chain.finish(rows);
  return rows;
}

TEST(FeatureChain, BlocksOfEverySizeGiveTheSameBitsForEveryPreset) {
  const auto samples = noise(5800);
  std::vector<std::string> names = preset_names();
  names.emplace_back("htk-mfcc:MFCC_0_E_D_A_T_N_Z");
  for (const std::string& name : names) {
    const Recipe parameters = preset(name);
    FeatureChain chain(parameters);
    const FeatureMatrix batch = chain.run(samples);
    ASSERT_GT(batch.height(), 10) << name;
    ASSERT_EQ(batch.width, parameters.width()) << name;
    for (std::size_t size = 1; size <= samples.size(); size += size < 170 ? 3 : 397) {
      ASSERT_EQ(chain.run(samples, size).values, batch.values) << name << " in blocks of " << size;
    }
  }
}

// Every stage with every other, cut at random; the last cut leaves a chain that has seen many utterances.
TEST(FeatureChain, RandomBlocksGiveTheSameBitsForEveryStage) {
  const auto samples = noise(4000);
  std::mt19937 generator(5);
  for (const Dynamics dynamics : kDynamics) {
    for (const Normalisation normalisation : kNormalisations) {
      for (const bool known_maximum : {false, true}) {
        Recipe parameters = preset("htk-mfcc:MFCC_E_D_A");
        parameters.front_end.zeroth = ZerothCepstrum::kLast;
        parameters.dynamics = dynamics;
        parameters.regression_window = 3;
        parameters.normalisation = normalisation;
        parameters.normalisation_frames = 7;
        if (known_maximum) parameters.energy_maximum = 20.0F;
        FeatureChain chain(parameters);
        const FeatureMatrix batch = chain.run(samples);
        EXPECT_EQ(batch.height(), (4000 - 400) / 160 + 1);
        for (const int largest : {1, 300, 1000}) {
          std::uniform_int_distribution<std::size_t> size(1, static_cast<std::size_t>(largest));
          ASSERT_EQ(in_blocks(chain, samples, [&] { return size(generator); }).values, batch.values)
              << static_cast<int>(dynamics) << ' ' << static_cast<int>(normalisation);
        }
      }
    }
  }
}

// What waits for the whole utterance must not mind how it came; the equalisation and the noise reduction included.
TEST(FeatureChain, RandomBlocksGiveTheSameBitsBehindNoiseReductionAndEqualisation) {
  const auto samples = noise(12000);
  std::mt19937 generator(6);
  for (const NoiseMethod method : {NoiseMethod::kNone, NoiseMethod::kMcraWiener, NoiseMethod::kMcraEmns}) {
    for (const Equalisation equalisation : {Equalisation::kFromZero, Equalisation::kFromMean}) {
      Recipe recipe = preset("sphinx-39");
      recipe.front_end.energy = true;
      recipe.noise_reduction.method = method;
      recipe.equalisation = equalisation;
      FeatureChain chain(recipe);
      const FeatureMatrix batch = chain.run(samples);
      ASSERT_EQ(batch.height(), 74);
      std::uniform_int_distribution<std::size_t> size(1, 700);
      ASSERT_EQ(in_blocks(chain, samples, [&] { return size(generator); }).values, batch.values);
    }
  }
}

// Rows of the front end that come from a file give what the chain gives for the audio.
TEST(FeatureChain, RowsOfTheFrontEndGoOnWhereSamplesWouldHave) {
  const auto samples = noise(9000);
  for (const std::string& name : preset_names()) {
    const Recipe recipe = preset(name);
    if (recipe.front_end.kind != FrontEndKind::kGeneral) continue;
    FeatureChain chain(recipe);
    EXPECT_EQ(chain.run_rows(FrontEnd(recipe.front_end).run(samples)).values, chain.run(samples).values) << name;
  }
  FeatureChain chain(Recipe::of_features(3));
  EXPECT_EQ(chain.run_rows({3, {1, 2, 3, 4, 5, 6}}).values, (std::vector<float>{1, 2, 3, 4, 5, 6}));
  EXPECT_THROW(chain.run_rows({2, {1, 2}}), Fault);
  EXPECT_THROW(chain.run(samples), Fault) << "it starts from features";
}

// The statics of the result, frames beyond either end repeated, in double precision.
class Regression {
 public:
  Regression(const FeatureMatrix& rows, int column) : rows_(rows), column_(static_cast<std::size_t>(column)) {}

  double at(int t, int window) const {
    double sum = 0.0;
    double squares = 0.0;
    for (int k = 1; k <= window; ++k) {
      sum += k * (value(t + k) - value(t - k));
      squares += 2.0 * k * k;
    }
    return sum / squares;
  }

 private:
  double value(int t) const { return rows_.row(std::clamp(t, 0, rows_.height() - 1))[column_]; }

  const FeatureMatrix& rows_;
  std::size_t column_;
};

TEST(FeatureChain, DynamicsAreRegressionsWithTheEndsRepeated) {
  const auto samples = noise(5000);
  for (const auto& [dynamics, window] : {std::pair(Dynamics::kWin1, 1), std::pair(Dynamics::kWin2, 2)}) {
    Recipe parameters = preset("mfcc");
    parameters.dynamics = dynamics;
    const FeatureMatrix rows = FeatureChain(parameters).run(samples);
    ASSERT_EQ(rows.width, 39);
    for (int column = 0; column < 26; ++column) {
      for (int t = 0; t < rows.height(); ++t) {
        ASSERT_NEAR(rows.row(t)[static_cast<std::size_t>(column) + 13], Regression(rows, column).at(t, window), 1e-4)
            << t << ' ' << column;
      }
    }
  }
}

// Inside the utterance; the library's rule for its ends is another.
TEST(FeatureChain, WideRegression) {
  Recipe parameters = preset("mfcc");
  parameters.dynamics = Dynamics::kRegression;
  parameters.regression_window = 4;
  const FeatureMatrix rows = FeatureChain(parameters).run(noise(5000));
  for (int column = 0; column < 26; ++column) {
    for (int t = 4; t < rows.height() - 4; ++t) {
      ASSERT_NEAR(rows.row(t)[static_cast<std::size_t>(column) + 13], Regression(rows, column).at(t, 4), 1e-4);
    }
  }
}

// Even the shortest utterance has rows; where the window fits it must not matter what would have come after it.
TEST(FeatureChain, ShortUtterancesHaveAllTheirRows) {
  for (const Dynamics dynamics : kDynamics) {
    for (int frames = 0; frames <= 9; ++frames) {
      Recipe parameters = preset("aurora");
      parameters.dynamics = dynamics;
      parameters.regression_window = 4;
      FeatureChain chain(parameters);
      const FeatureMatrix rows = chain.run(noise(frames == 0 ? 100 : 200 + 80 * (frames - 1)));
      ASSERT_EQ(rows.height(), frames) << static_cast<int>(dynamics);
      for (const float value : rows.values) ASSERT_TRUE(std::isfinite(value));
      if (dynamics == Dynamics::kNone || dynamics == Dynamics::kStreams || dynamics == Dynamics::kSplice || frames != 1)
        continue;
      const auto row = rows.row(0).subspan(static_cast<std::size_t>(parameters.static_width()));
      for (const float slope : row) EXPECT_NEAR(slope, 0.0F, 1e-4) << "one frame has none";
    }
  }
}

TEST(FeatureChain, AuroraStaticsMixC0AndLogEnergy) {
  const auto samples = noise(3000);
  const Recipe parameters = preset("aurora");
  const FeatureMatrix rows = FeatureChain(parameters).run(samples);
  const FeatureMatrix statics = FrontEnd(parameters.front_end).run(samples);
  ASSERT_EQ(rows.width, 39);
  ASSERT_EQ(statics.width, 14);
  for (int t = 0; t < rows.height(); ++t) {
    EXPECT_TRUE(std::equal(statics.row(t).begin(), statics.row(t).begin() + 12, rows.row(t).begin()));
    EXPECT_NEAR(rows.row(t)[12], statics.row(t)[12] * 0.6 / 23.0 + statics.row(t)[13] * 0.4, 1e-4);
  }
}

TEST(FeatureChain, EnergyIsMeasuredFromItsMaximum) {
  auto samples = noise(8000);
  std::fill(samples.begin() + 3000, samples.begin() + 5000, 0.0F);
  Recipe parameters = preset("htk-mfcc:MFCC_E_D_A");
  parameters.dynamics = Dynamics::kNone;
  const FeatureMatrix plain = FrontEnd(parameters.front_end).run(samples);
  double maximum = -1e30;
  for (int t = 0; t < plain.height(); ++t) maximum = std::max<double>(maximum, plain.row(t)[12]);
  const FeatureMatrix rows = FeatureChain(parameters).run(samples);
  parameters.energy_maximum = static_cast<float>(maximum + 2.0);
  const FeatureMatrix live = FeatureChain(parameters).run(samples);
  const double floor = 50.0 * std::log(10.0) / 10.0;
  for (int t = 0; t < rows.height(); ++t) {
    EXPECT_NEAR(rows.row(t)[12], 1.0 - 0.1 * std::min(maximum - plain.row(t)[12], floor), 1e-4) << t;
    EXPECT_NEAR(live.row(t)[12], 1.0 - 0.1 * std::min(maximum + 2.0 - plain.row(t)[12], floor), 1e-4) << t;
    EXPECT_TRUE(std::equal(rows.row(t).begin(), rows.row(t).end() - 1, plain.row(t).begin()));
  }
}

TEST(FeatureChain, UtteranceIsNormalisedWhateverItsLevel) {
  for (const int height : {1, 2, 500}) {
    FeatureMatrix rows{3, noise(3 * height)};
    for (int t = 0; t < height; ++t) {
      rows.row(t)[1] = 1e6F + 0.001F * rows.row(t)[1];
      rows.row(t)[2] = 7.0F;
    }
    normalise_utterance(rows, true);
    for (std::size_t k = 0; k < 2; ++k) {
      double sum = 0.0;
      double squares = 0.0;
      for (int t = 0; t < height; ++t) {
        sum += rows.row(t)[k];
        squares += std::pow(rows.row(t)[k], 2.0);
      }
      EXPECT_NEAR(sum / height, 0.0, 1e-5) << height << ' ' << k;
      if (height > 1) {
        EXPECT_NEAR(squares / (height - 1), 1.0, 1e-4) << height << ' ' << k;
      }
    }
    for (int t = 0; t < height; ++t) EXPECT_EQ(rows.row(t)[2], 0.0F) << "a constant";
  }
}

// While fewer frames than the memory holds have passed, mean and variance are those of all frames so far.
TEST(FeatureChain, RunningNormalisationIsThatOfTheFramesSoFar) {
  const auto samples = noise(12000);
  Recipe parameters = preset("mfcc");
  const FeatureMatrix plain = FeatureChain(parameters).run(samples);
  parameters.normalisation_frames = 1000;
  parameters.normalisation = Normalisation::kRunningMean;
  const FeatureMatrix centred = FeatureChain(parameters).run(samples);
  parameters.normalisation = Normalisation::kRunningMeanVariance;
  const FeatureMatrix scaled = FeatureChain(parameters).run(samples);
  for (std::size_t k = 0; k < 13; ++k) {
    double sum = 0.0;
    double squares = 0.0;
    for (int t = 0; t < plain.height(); ++t) {
      const double value = plain.row(t)[k];
      sum += value;
      squares += value * value;
      const double mean = sum / (t + 1);
      const double variance = squares / (t + 1) - mean * mean;
      ASSERT_NEAR(centred.row(t)[k], value - mean, 1e-3) << t << ' ' << k;
      if (t > 1) {
        ASSERT_NEAR(scaled.row(t)[k], (value - mean) / std::sqrt(variance), 2e-3) << t << ' ' << k;
      }
    }
  }
}

// After a step the running mean forgets the old level: 1 - 1/N is left of it at each frame.
TEST(FeatureChain, RunningMeanForgets) {
  Recipe parameters;
  parameters.front_end.cepstrum_count = 1;
  parameters.normalisation = Normalisation::kRunningMean;
  parameters.normalisation_frames = 20;
  const auto stage = make_normalisation_stage(parameters);
  FeatureMatrix rows{1, std::vector<float>(40, 0.0F)};
  rows.values.insert(rows.values.end(), 60, 100.0F);
  FeatureMatrix result{1, {}};
  stage->push(rows, result);
  stage->finish(result);
  for (int n = 0; n < 60; ++n) {
    ASSERT_NEAR(result.values[static_cast<std::size_t>(40 + n)], 100.0 * std::pow(0.95, n + 1), 1e-3);
  }
}

TEST(FeatureChain, ContradictionsAreFaults) {
  const std::pair<const char*, void (*)(Recipe&)> cases[] = {
      {"energy", [](Recipe& p) { p.normalise_energy = true; }},
      {"aurora", [](Recipe& p) { p.dynamics = Dynamics::kAurora; }},
      {"window", [](Recipe& p) { p.regression_window = 0; }},
      {"two frames", [](Recipe& p) { p.normalisation_frames = 1; }},
      {"silence floor", [](Recipe& p) { p.silence_floor = -1.0F; }},
      {"scale", [](Recipe& p) { p.energy_scale = NAN; }},
      {"maximum", [](Recipe& p) { p.energy_maximum = INFINITY; }},
      {"prediction order", [](Recipe& p) { p.front_end.prediction_order = 0; }},
  };
  for (const auto& [word, change] : cases) {
    Recipe parameters;
    change(parameters);
    try {
      FeatureChain chain(parameters);
      ADD_FAILURE() << word;
    } catch (const Fault& fault) {
      EXPECT_NE(std::string(fault.what()).find(word), std::string::npos) << fault.what();
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
