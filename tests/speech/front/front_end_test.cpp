#include "kivsr/speech/front/front_end.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <numbers>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

FrontEndParameters sparse_frames() {
  FrontEndParameters parameters = preset("mfcc").front_end;
  parameters.shift = 700;  // beyond the window: samples that no frame reads
  parameters.remove_offset = OffsetRemoval::kAfterEmphasis;
  return parameters;
}

TEST(FrontEnd, BlocksOfEverySizeGiveTheSameBits) {
  const auto samples = noise(4097);
  std::vector<FrontEndParameters> all = {sparse_frames()};
  for (const std::string& name : preset_names()) {
    if (preset(name).front_end.kind == FrontEndKind::kGeneral) all.push_back(preset(name).front_end);
  }
  for (const FrontEndParameters& parameters : all) {
    FrontEnd front_end(parameters);
    const FeatureMatrix batch = front_end.run(samples);
    ASSERT_GT(batch.height(), 4);
    for (std::size_t size = 1; size <= samples.size(); size += size < 20 ? 1 : size < 450 ? 31 : 397) {
      FeatureMatrix rows;
      for (std::size_t start = 0; start < samples.size(); start += size) {
        front_end.push(std::span(samples).subspan(start, std::min(size, samples.size() - start)), rows);
      }
      front_end.finish(rows);
      ASSERT_EQ(rows.values, batch.values) << "blocks of " << size;
    }
  }
}

FrontEndParameters centred(int window_length, int shift, Edges edges) {
  FrontEndParameters parameters = preset("torchaudio-mfcc").front_end;
  parameters.window_length = window_length;
  parameters.fft_length = 480;
  parameters.shift = shift;
  parameters.edges = edges;
  parameters.dynamic_range = 0.0F;
  return parameters;
}

FrontEndParameters half_shifted(int window_length, int shift) {
  FrontEndParameters parameters = preset("kaldi-fbank").front_end;
  parameters.window_length = window_length;
  parameters.shift = shift;
  parameters.framing = Framing::kHalfShift;
  parameters.edges = Edges::kSymmetric;
  parameters.pad_last_frame = true;
  return parameters;
}

// Whatever frames see beyond the edges, the noise that is added and what waits for the end.
TEST(FrontEnd, ConditionedBlocksGiveTheSameBits) {
  FrontEndParameters dithered = half_shifted(400, 160);
  dithered.dither = 1.0F;
  FrontEndParameters limited = centred(400, 160, Edges::kReflect);
  limited.dynamic_range = 20.0F;
  for (const FrontEndParameters& parameters :
       {dithered, limited, centred(400, 160, Edges::kZeros), centred(240, 600, Edges::kReflect),
        centred(401, 100, Edges::kSymmetric), half_shifted(400, 1000), half_shifted(200, 190),
        preset("python-speech-features").front_end}) {
    FrontEnd front_end(parameters);
    for (const int count : {0, 1, 2, 79, 199, 200, 201, 399, 400, 401, 639, 800, 3000}) {
      const auto samples = noise(count);
      const FeatureMatrix batch = front_end.run(samples);
      for (const std::size_t size : {1U, 7U, 160U, 401U}) {
        FeatureMatrix rows;
        for (std::size_t start = 0; start < samples.size(); start += size) {
          front_end.push(std::span(samples).subspan(start, std::min(size, samples.size() - start)), rows);
        }
        front_end.finish(rows);
        ASSERT_EQ(rows.values, batch.values) << "blocks of " << size << " of " << count;
      }
      if (parameters.beyond_edges()) {
        ASSERT_EQ(batch.height(), parameters.frames_of(count)) << count;
      }
    }
  }
}

// The same rows as those of the signal with its mirror images beside it, from whose first sample frames start.
TEST(FrontEnd, SeesMirrorImagesBeyondTheEdges) {
  const auto samples = noise(2000);
  for (const Edges edges : {Edges::kZeros, Edges::kReflect, Edges::kSymmetric}) {
    FrontEndParameters parameters = centred(400, 160, edges);
    const FeatureMatrix rows = FrontEnd(parameters).run(samples);
    std::vector<float> padded;
    for (int n = -200; n < 2200; ++n) {
      const int last = 1999;
      int place = n;
      if (n < 0) place = edges == Edges::kReflect ? -n : -n - 1;
      if (n > last) place = edges == Edges::kReflect ? 2 * last - n : 2 * last + 1 - n;
      const bool outside = n < 0 || n > last;
      padded.push_back(outside && edges == Edges::kZeros ? 0.0F : samples[static_cast<std::size_t>(place)]);
    }
    parameters.framing = Framing::kFromStart;
    parameters.edges = Edges::kZeros;
    parameters.pad_last_frame = false;
    EXPECT_EQ(FrontEnd(parameters).run(padded).values, rows.values);
  }
}

TEST(FrontEnd, DitherHasItsSizeAndItsSeed) {
  FrontEndParameters parameters = preset("kaldi-fbank").front_end;
  parameters.remove_offset = OffsetRemoval::kNone;
  parameters.energy = true;
  const std::vector<float> silence(160000, 0.0F);
  const auto with = [&](float size, int seed) {
    parameters.dither = size;
    parameters.dither_seed = seed;
    return FrontEnd(parameters).run(silence);
  };
  const FeatureMatrix rows = with(3.0F, 1);
  double energy = 0.0;
  for (int t = 0; t < rows.height(); ++t) energy += std::exp(rows.row(t)[0]) / rows.height();
  EXPECT_NEAR(std::sqrt(energy / 400.0), 3.0, 0.03);
  EXPECT_EQ(with(3.0F, 1).values, rows.values);
  EXPECT_NE(with(3.0F, 2).values, rows.values);
  FrontEnd twice(parameters);
  const FeatureMatrix first = twice.run(silence);
  EXPECT_EQ(twice.run(silence).values, first.values) << "every utterance by itself";
}

TEST(FrontEnd, LimitsTheDynamicRangeOfTheUtterance) {
  const auto samples = noise(4000);
  for (const Logarithm logarithm :
       {Logarithm::kNatural, Logarithm::kDecibel, Logarithm::kDecimal, Logarithm::kWhisper}) {
    FrontEndParameters parameters = centred(400, 160, Edges::kReflect);
    parameters.output = Output::kLogMel;
    parameters.filter_count = parameters.cepstrum_count = 20;
    parameters.logarithm = logarithm;
    FeatureMatrix expected = FrontEnd(parameters).run(samples);
    const double decibel = logarithm == Logarithm::kNatural   ? std::log(10.0) / 10.0
                           : logarithm == Logarithm::kDecibel ? 1.0
                           : logarithm == Logarithm::kDecimal ? 0.1
                                                              : 0.025;
    const float least =
        *std::max_element(expected.values.begin(), expected.values.end()) - static_cast<float>(10.0 * decibel);
    int limited = 0;
    for (float& value : expected.values) {
      limited += value < least ? 1 : 0;
      value = std::max(value, least);
    }
    ASSERT_GT(limited, 10);
    parameters.dynamic_range = 10.0F;
    const FeatureMatrix rows = FrontEnd(parameters).run(samples);
    ASSERT_EQ(rows.values.size(), expected.values.size());
    for (std::size_t i = 0; i < rows.values.size(); ++i) ASSERT_NEAR(rows.values[i], expected.values[i], 1e-5);
  }
}

TEST(FrontEnd, GivesRowsAsSoonAsTheirSamplesAreThere) {
  const FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  FrontEnd front_end(parameters);
  const auto samples = noise(1000);
  FeatureMatrix rows;
  front_end.push(std::span(samples).first(409), rows);
  EXPECT_EQ(rows.height(), 0);
  front_end.push(std::span(samples).subspan(409, 1), rows);
  EXPECT_EQ(rows.height(), 1);
  front_end.push(std::span(samples).subspan(410, 320), rows);
  EXPECT_EQ(rows.height(), 3);
  front_end.finish(rows);
  EXPECT_EQ(rows.height(), 4) << "the rest is padded";
}

TEST(FrontEnd, CountsFrames) {
  FrontEndParameters parameters = preset("mfcc").front_end;
  FrontEnd whole_frames(parameters);
  parameters.pad_last_frame = true;
  FrontEnd padded(parameters);
  for (const int count : {1, 399, 400, 559, 560, 561, 1600}) {
    const auto samples = noise(count);
    const int complete = count < 400 ? 0 : (count - 400) / 160 + 1;
    EXPECT_EQ(whole_frames.run(samples).height(), complete) << count;
    EXPECT_EQ(padded.run(samples).height(), complete + 1) << count;
  }
  EXPECT_EQ(padded.run({}).height(), 0);
}

// The usual definition in double precision, without the library: DFT by its sum, triangles over mel.
std::vector<double> reference_mfcc(std::span<const float> samples, int start) {
  constexpr int kLength = 400;
  constexpr int kBins = 257;
  constexpr int kFilters = 23;
  std::vector<double> frame(kLength);
  for (int n = 0; n < kLength; ++n) {
    const int place = start + n;
    const double emphasised = samples[static_cast<std::size_t>(place)] -
                              (place > 0 ? 0.97 * samples[static_cast<std::size_t>(place - 1)] : 0.0);
    frame[static_cast<std::size_t>(n)] =
        emphasised * (0.54 - 0.46 * std::cos(2.0 * std::numbers::pi * n / (kLength - 1)));
  }
  const auto mel = [](double frequency) { return 2595.0 * std::log10(1.0 + frequency / 700.0); };
  const double step = (mel(8000.0) - mel(20.0)) / (kFilters + 1);
  std::vector<double> energies(kFilters, 0.0);
  for (int bin = 0; bin < kBins; ++bin) {
    double re = 0.0;
    double im = 0.0;
    for (int n = 0; n < kLength; ++n) {
      re += frame[static_cast<std::size_t>(n)] * std::cos(2.0 * std::numbers::pi * bin * n / 512.0);
      im -= frame[static_cast<std::size_t>(n)] * std::sin(2.0 * std::numbers::pi * bin * n / 512.0);
    }
    const double place = (mel(bin * 31.25) - mel(20.0)) / step;
    for (int filter = 0; filter < kFilters; ++filter) {
      energies[static_cast<std::size_t>(filter)] +=
          (re * re + im * im) * std::max(0.0, 1.0 - std::abs(place - (filter + 1)));
    }
  }
  std::vector<double> cepstra(13, 0.0);
  for (int k = 0; k < 13; ++k) {
    for (int filter = 0; filter < kFilters; ++filter) {
      cepstra[static_cast<std::size_t>(k)] += std::log(energies[static_cast<std::size_t>(filter)]) *
                                              std::cos(std::numbers::pi * k * (filter + 0.5) / kFilters);
    }
    cepstra[static_cast<std::size_t>(k)] *=
        std::sqrt((k == 0 ? 1.0 : 2.0) / kFilters) * (1.0 + 11.0 * std::sin(std::numbers::pi * k / 22.0));
  }
  return cepstra;
}

TEST(FrontEnd, MfccPresetAgreesWithItsDefinition) {
  const auto samples = noise(16000);
  const FeatureMatrix rows = FrontEnd(preset("mfcc").front_end).run(samples);
  for (const int t : {0, 7, rows.height() - 1}) {
    const auto expected = reference_mfcc(samples, 160 * t);
    for (int k = 0; k < 13; ++k) {
      EXPECT_NEAR(rows.row(t)[static_cast<std::size_t>(k)], expected[static_cast<std::size_t>(k)], 2e-3)
          << t << ' ' << k;
    }
  }
}

// HTK's definition of c1 .. c12 and log energy in double precision: pre-emphasis inside the frame, magnitudes,
// triangles over mel from 0 Hz, bands of at least 1, sqrt(2 / N), lifter 22; energy of the samples as they came.
std::vector<double> reference_htk(std::span<const float> samples) {
  constexpr int kLength = 400;
  constexpr int kFilters = 26;
  std::vector<double> frame(kLength);
  double energy = 0.0;
  for (std::size_t n = 0; n < kLength; ++n) {
    energy += static_cast<double>(samples[n]) * samples[n];
    frame[n] = (samples[n] - 0.97 * samples[n == 0 ? 0 : n - 1]) *
               (0.54 - 0.46 * std::cos(2.0 * std::numbers::pi * static_cast<double>(n) / (kLength - 1)));
  }
  const auto mel = [](double frequency) { return 1127.0 * std::log1p(frequency / 700.0); };
  std::vector<double> bands(kFilters, 0.0);
  for (int bin = 1; bin < 256; ++bin) {
    std::complex<double> sum = 0.0;
    for (int n = 0; n < kLength; ++n) {
      sum += frame[static_cast<std::size_t>(n)] * std::polar(1.0, -2.0 * std::numbers::pi * bin * n / 512.0);
    }
    const double place = mel(bin * 31.25) / mel(8000.0) * (kFilters + 1);
    for (int filter = 0; filter < kFilters; ++filter) {
      bands[static_cast<std::size_t>(filter)] += std::abs(sum) * std::max(0.0, 1.0 - std::abs(place - (filter + 1)));
    }
  }
  std::vector<double> row;
  for (int k = 1; k <= 12; ++k) {
    double sum = 0.0;
    for (int filter = 0; filter < kFilters; ++filter) {
      sum += std::log(std::max(1.0, bands[static_cast<std::size_t>(filter)])) *
             std::cos(std::numbers::pi * k * (filter + 0.5) / kFilters);
    }
    row.push_back(std::sqrt(2.0 / kFilters) * sum * (1.0 + 11.0 * std::sin(std::numbers::pi * k / 22.0)));
  }
  row.push_back(std::log(energy));
  return row;
}

TEST(FrontEnd, HtkLikePresetAgreesWithItsDefinition) {
  const auto samples = noise(2000);
  const FeatureMatrix rows = FrontEnd(preset("htk-mfcc:MFCC_E_D_A").front_end).run(samples);
  ASSERT_EQ(rows.width, 13);
  for (const int t : {0, 1, rows.height() - 1}) {
    const auto expected = reference_htk(std::span(samples).subspan(static_cast<std::size_t>(160 * t)));
    for (std::size_t k = 0; k < 13; ++k) EXPECT_NEAR(rows.row(t)[k], expected[k], 2e-3) << t << ' ' << k;
  }
}

// The cepstrum of a filter that is known: the response of 1 / A(z) to an impulse, seen whole by a rectangular window.
// Then the normal equations have A for their solution, and ln |1 / A| integrates to its cepstrum.
TEST(FrontEnd, LpcCepstrumIsThatOfTheFilterBehindTheSignal) {
  const double a[] = {-1.2, 0.9, -0.3, 0.1};
  std::vector<float> response(400);
  for (std::size_t n = 0; n < response.size(); ++n) {
    double value = n == 0 ? 10000.0 : 0.0;
    for (std::size_t k = 1; k <= 4 && k <= n; ++k) value -= a[k - 1] * static_cast<double>(response[n - k]);
    response[n] = static_cast<float>(value);
  }
  FrontEndParameters parameters = preset("lpc-cepstrum").front_end;
  parameters.pre_emphasis = 0.0F;
  parameters.window = Window::kRectangular;
  const FeatureMatrix rows = FrontEnd(parameters).run(response);
  ASSERT_EQ(rows.width, 12);
  ASSERT_EQ(rows.height(), 1);
  for (int k = 1; k <= 12; ++k) {
    double cepstrum = 0.0;
    constexpr int kPoints = 512;
    for (int j = 0; j < kPoints; ++j) {
      const double omega = 2.0 * std::numbers::pi * j / kPoints;
      std::complex<double> filter = 1.0;
      for (int i = 1; i <= 4; ++i) filter += a[i - 1] * std::polar(1.0, -omega * i);
      cepstrum -= 2.0 * std::log(std::abs(filter)) * std::cos(omega * k) / kPoints;
    }
    const double lifter = 1.0 + 11.0 * std::sin(std::numbers::pi * k / 22.0);
    EXPECT_NEAR(rows.row(0)[static_cast<std::size_t>(k) - 1], lifter * cepstrum, 1e-3) << k;
  }
}

// For 16-bit samples times 10: power rises by 20 dB, magnitude by half, in every band; cepstra but c0 do not change.
TEST(FrontEnd, LevelMovesOnlyTheZerothCepstrum) {
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  parameters.log_offset = 0.0F;
  const auto samples = noise(1600);
  std::vector<float> louder = samples;
  for (float& sample : louder) sample *= 10.0F;
  for (const auto& [spectrum, gain] :
       {std::pair(Spectrum::kPower, 2.0 * std::log(10.0)), std::pair(Spectrum::kMagnitude, std::log(10.0))}) {
    parameters.spectrum = spectrum;
    parameters.output = Output::kLogMel;
    const FeatureMatrix quiet_bands = FrontEnd(parameters).run(samples);
    const FeatureMatrix loud_bands = FrontEnd(parameters).run(louder);
    for (std::size_t i = 0; i < quiet_bands.values.size(); ++i) {
      ASSERT_NEAR(loud_bands.values[i] - quiet_bands.values[i], gain, 1e-3);
    }
    parameters.output = Output::kCepstra;
    const FeatureMatrix quiet = FrontEnd(parameters).run(samples);
    const FeatureMatrix loud = FrontEnd(parameters).run(louder);
    for (int t = 0; t < quiet.height(); ++t) {
      EXPECT_NEAR(loud.row(t)[0] - quiet.row(t)[0], gain * 5.0, 1e-3) << "sqrt(25) times the gain of a band";
      for (std::size_t k = 1; k < 13; ++k) ASSERT_NEAR(loud.row(t)[k], quiet.row(t)[k], 2e-3);
    }
  }
}

// The energy of a windowed frame of ones is that of the window.
TEST(FrontEnd, WindowsHaveTheirShapes) {
  const std::pair<Window, std::function<double(double, double)>> shapes[] = {
      {Window::kHamming, [](double symmetric, double) { return 0.54 - 0.46 * std::cos(symmetric); }},
      {Window::kHammingPeriodic, [](double, double periodic) { return 0.54 - 0.46 * std::cos(periodic); }},
      {Window::kHann, [](double symmetric, double) { return std::pow(std::sin(symmetric / 2.0), 2); }},
      {Window::kHannPeriodic, [](double, double periodic) { return std::pow(std::sin(periodic / 2.0), 2); }},
      {Window::kPovey, [](double symmetric, double) { return std::pow(std::sin(symmetric / 2.0), 1.7); }},
      {Window::kBlackman,
       [](double symmetric, double) {
         return 0.34 - 0.5 * std::cos(symmetric) + 0.16 * std::pow(std::cos(symmetric), 2);
       }},
      {Window::kBlackmanPeriodic,
       [](double, double periodic) {
         return 0.34 - 0.5 * std::cos(periodic) + 0.16 * std::pow(std::cos(periodic), 2);
       }},
      {Window::kRectangular, [](double, double) { return 1.0; }},
  };
  constexpr int kLength = 20;  // short, so that a period of one sample less shows
  FrontEndParameters parameters = preset("kaldi-fbank").front_end;
  parameters.remove_offset = OffsetRemoval::kNone;
  parameters.pre_emphasis = 0.0F;
  parameters.window_length = parameters.shift = kLength;
  parameters.energy = true;
  parameters.energy_of = EnergyOf::kWindowed;
  for (const auto& [window, shape] : shapes) {
    parameters.window = window;
    double energy = 0.0;
    for (int n = 0; n < kLength; ++n) {
      const double phase = 2.0 * std::numbers::pi * n;
      energy += std::pow(shape(phase / (kLength - 1), phase / kLength), 2);
    }
    const FeatureMatrix rows = FrontEnd(parameters).run(std::vector<float>(kLength, 1.0F));
    ASSERT_EQ(rows.height(), 1);
    EXPECT_NEAR(rows.row(0)[0], std::log(energy), 1e-6) << static_cast<int>(window);
  }
}

// A magnitude spectrum has the energy of its squares.
TEST(FrontEnd, EnergyOfASpectrumIsThatOfItsPowers) {
  FrontEndParameters parameters = preset("python-speech-features").front_end;
  const auto samples = noise(2000);
  const FeatureMatrix powers = FrontEnd(parameters).run(samples);
  parameters.spectrum = Spectrum::kMagnitude;
  parameters.spectrum_scale = std::sqrt(parameters.spectrum_scale);
  const FeatureMatrix magnitudes = FrontEnd(parameters).run(samples);
  for (int t = 0; t < powers.height(); ++t) EXPECT_NEAR(magnitudes.row(t)[0], powers.row(t)[0], 1e-5);
}

TEST(FrontEnd, LiftersHaveTheirForms) {
  FrontEndParameters parameters = preset("librosa-mfcc").front_end;
  const auto samples = noise(4000);
  const FeatureMatrix plain = FrontEnd(parameters).run(samples);
  parameters.lifter = 30;
  for (const LifterForm form : {LifterForm::kSine, LifterForm::kSineFromZeroth}) {
    parameters.lifter_form = form;
    const FeatureMatrix rows = FrontEnd(parameters).run(samples);
    for (int k = 0; k < rows.width; ++k) {
      const int place = form == LifterForm::kSine ? k : k + 1;
      const double weight = 1.0 + 15.0 * std::sin(std::numbers::pi * place / 30.0);
      const auto column = static_cast<std::size_t>(k);
      EXPECT_NEAR(rows.row(3)[column], weight * plain.row(3)[column], 1e-3) << k;
    }
  }
}

TEST(FrontEnd, PlacesTheZerothCepstrum) {
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  const auto samples = noise(410);
  const FeatureMatrix first = FrontEnd(parameters).run(samples);
  parameters.zeroth = ZerothCepstrum::kLast;
  FeatureMatrix last = FrontEnd(parameters).run(samples);
  parameters.zeroth = ZerothCepstrum::kNone;
  const FeatureMatrix none = FrontEnd(parameters).run(samples);
  EXPECT_EQ(none.width, 12);
  EXPECT_TRUE(std::equal(none.row(0).begin(), none.row(0).end(), first.row(0).begin() + 1));
  EXPECT_TRUE(std::equal(none.row(0).begin(), none.row(0).end(), last.row(0).begin()));
  EXPECT_EQ(last.row(0)[12], first.row(0)[0]);
}

TEST(FrontEnd, SilenceHasFiniteFeatures) {
  const std::vector<float> silence(2000, 0.0F);
  for (const std::string& name : preset_names()) {
    FrontEndParameters parameters = preset(name).front_end;
    parameters.kind = FrontEndKind::kGeneral;
    parameters.log_floor = 0.0F;
    parameters.log_offset = 0.0F;
    for (const float value : FrontEnd(parameters).run(silence).values) ASSERT_TRUE(std::isfinite(value)) << name;
  }
}

}  // namespace
}  // namespace kivsr::speech::test
