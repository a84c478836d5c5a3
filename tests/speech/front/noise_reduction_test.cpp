#include "kivsr/speech/front/noise_reduction.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <string>
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

// Clean speech and speech among voices keep their bits, also where the loudness changes; steady noise of 15 dB and less
// is reduced as by mcra-wiener.
TEST(NoiseReduction, AutomaticallyTouchesSteadyNoiseAlone) {
  const FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  const auto clean = recording();
  const std::string folder = "/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-";
  std::vector<float> voices(clean.size());
  for (const char* name : {"0870", "0880", "0890", "0930"}) {
    const auto voice = read_audio_at(folder + name + ".wav", 16000).samples;
    for (std::size_t i = 0; i < voices.size(); ++i) voices[i] += voice[i + 8000];
  }
  const auto with = [&](const std::vector<float>& noise, double snr) {
    AudioChannels noisy{{clean}, 16000, 0};
    mix_noise(noisy, noise, snr);
    return noisy.channels[0];
  };
  const auto rows = [&](const std::vector<float>& samples, NoiseMethod method) {
    return FrontEnd(parameters, {.method = method}).run(samples).values;
  };
  EXPECT_EQ(rows(clean, NoiseMethod::kAuto), rows(clean, NoiseMethod::kNone));
  EXPECT_EQ(rows(std::vector<float>(8000, 0.0F), NoiseMethod::kAuto),
            rows(std::vector<float>(8000, 0.0F), NoiseMethod::kNone));
  for (const double snr : {15.0, 5.0, 0.0}) {
    const auto babble = with(voices, snr);
    EXPECT_EQ(rows(babble, NoiseMethod::kAuto), rows(babble, NoiseMethod::kNone)) << snr;
    const auto hiss = with(white_noise(clean.size(), 7), snr);
    EXPECT_EQ(rows(hiss, NoiseMethod::kAuto), rows(hiss, NoiseMethod::kMcraWiener)) << snr;
  }
}

// Of a long utterance parts are reduced by themselves, and come while it goes on; blocks of any size give the same
// bits.
TEST(NoiseReduction, ReducesALongUtteranceInParts) {
  for (const float dynamic_range : {0.0F, 8.0F}) {
    FrontEndParameters parameters = preset("sphinx-en-us").front_end;
    parameters.dynamic_range = dynamic_range;
    const NoiseReductionParameters settings{.method = NoiseMethod::kMcraWiener};
    std::vector<float> samples = white_noise(16000 * 75, 5);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] *= i < samples.size() / 2 ? 1000.0F : 100.0F;
    const FeatureMatrix whole = FrontEnd(parameters, settings).run(samples);
    EXPECT_EQ(whole.height(), FrontEnd(parameters).run(samples).height());

    FrontEnd front_end(parameters, settings);
    FeatureMatrix rows;
    int early = 0;
    for (std::size_t i = 0; i < samples.size(); i += 7001) {
      front_end.push(std::span(samples).subspan(i, std::min<std::size_t>(7001, samples.size() - i)), rows);
      early = rows.height();
    }
    front_end.finish(rows);
    EXPECT_EQ(rows.values, whole.values);
    EXPECT_EQ(early, dynamic_range > 0.0F ? 0 : 3000);
  }
}

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
  EXPECT_THROW(NoiseReduction(preset("librosa-mfcc").front_end, {}), Fault);  // bands narrower than bins
}

}  // namespace
}  // namespace kivsr::speech::test
