#include "kivsr/speech/front/noise_reduction.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

std::vector<float> recording() {
  return read_audio_at("/usr/share/pocketsphinx/test/data/goforward.raw", 16000).samples;
}

FeatureMatrix spectra_of(const FrontEndParameters& parameters, std::span<const float> samples) {
  FrontEnd front_end(parameters);
  FeatureMatrix spectra;
  front_end.push_spectra(samples, spectra);
  front_end.finish_spectra(spectra);
  return spectra;
}

double distance(const FeatureMatrix& a, const FeatureMatrix& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.values.size(); ++i) sum += std::abs(a.values[i] - b.values[i]);
  return sum / static_cast<double>(a.values.size());
}

class EveryReduction : public testing::TestWithParam<NoiseMethod> {
 protected:
  FrontEndParameters parameters_ = preset("sphinx-en-us").front_end;
};

TEST_P(EveryReduction, BringsNoisyBandEnergiesNearerToTheCleanOnes) {
  parameters_.output = Output::kLogMel;
  FrontEnd reduced(parameters_, {.method = GetParam()});
  const auto clean = recording();
  const FeatureMatrix wanted = FrontEnd(parameters_).run(clean);
  for (const double snr : {20.0, 5.0}) {
    AudioChannels noisy{{clean}, 16000, 0};
    mix_noise(noisy, white_noise(clean.size(), 7), snr);
    const FeatureMatrix before = FrontEnd(parameters_).run(noisy.channels[0]);
    const FeatureMatrix after = reduced.run(noisy.channels[0]);
    ASSERT_EQ(after.values.size(), wanted.values.size());
    EXPECT_LT(distance(after, wanted), 0.7 * distance(before, wanted)) << snr;
  }
}

// A stationary noise is attenuated in every band, and to the floor in the mean.
TEST_P(EveryReduction, TakesStationaryNoiseDownToTheFloor) {
  const NoiseReductionParameters settings{.method = GetParam(), .residual = 0.0F};
  std::vector<float> samples = white_noise(32000, 3);
  for (float& sample : samples) sample *= 1000.0F;
  const FeatureMatrix before = spectra_of(parameters_, samples);
  FeatureMatrix after = before;
  NoiseReduction(parameters_, settings).run(after);
  double power_before = 0.0;
  double power_after = 0.0;
  for (std::size_t i = 0; i < after.values.size(); ++i) {
    ASSERT_LE(after.values[i], before.values[i] * 1.0001F);
    ASSERT_GE(after.values[i], before.values[i] * 0.0099F);
    power_before += before.values[i];
    power_after += after.values[i];
  }
  EXPECT_LT(power_after, 0.1 * power_before);
}

TEST_P(EveryReduction, ScalesWithTheSignalAndSurvivesSilence) {
  const NoiseReduction reduction(parameters_, {.method = GetParam()});
  FeatureMatrix spectra = spectra_of(parameters_, recording());
  FeatureMatrix louder = spectra;
  for (float& power : louder.values) power *= 16.0F;
  reduction.run(spectra);
  reduction.run(louder);
  for (std::size_t i = 0; i < louder.values.size(); ++i) {
    ASSERT_NEAR(louder.values[i], 16.0F * spectra.values[i], 1e-3F * louder.values[i]);
  }

  for (const int length : {0, 1, 500, 8000}) {
    FrontEnd reduced(parameters_, {.method = GetParam()});
    for (const float value : reduced.run(std::vector<float>(static_cast<std::size_t>(length), 0.0F)).values) {
      ASSERT_TRUE(std::isfinite(value));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(NoiseReduction, EveryReduction,
                         testing::Values(NoiseMethod::kMcraWiener, NoiseMethod::kMcraEmns));

// The same reduction of powers, whichever the front end computes.
TEST(NoiseReduction, TakesMagnitudesForTheRootsOfPowers) {
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  parameters.output = Output::kLogMel;
  parameters.filter_count = 60;
  parameters.round_filters = false;
  const auto samples = recording();
  const auto gain = [&](Spectrum spectrum) {
    parameters.spectrum = spectrum;
    const FeatureMatrix before = FrontEnd(parameters).run(samples);
    FeatureMatrix after = FrontEnd(parameters, {.method = NoiseMethod::kMcraEmns}).run(samples);
    for (std::size_t i = 0; i < after.values.size(); ++i) after.values[i] -= before.values[i];
    return after;
  };
  const FeatureMatrix power = gain(Spectrum::kPower);
  const FeatureMatrix magnitude = gain(Spectrum::kMagnitude);
  double difference = 0.0;
  for (std::size_t i = 0; i < power.values.size(); ++i) {
    difference += std::abs(power.values[i] - 2.0F * magnitude.values[i]);
  }
  EXPECT_LT(difference / static_cast<double>(power.values.size()), 0.2);
}

TEST(NoiseReduction, RefusesWhatTheEstimateCannotDo) {
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  parameters.shift = 300;
  EXPECT_THROW(NoiseReduction(parameters, {}), Fault);
  parameters.shift = 160;
  parameters.sample_rate = 7999;
  EXPECT_THROW(NoiseReduction(parameters, {}), Fault);
}

}  // namespace
}  // namespace kivsr::speech::test
