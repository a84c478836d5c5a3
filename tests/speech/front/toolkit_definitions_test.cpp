// Presets of toolkits that no package offers beside their published definitions, in double precision and without the
// library: transforms by their sums, filters bin by bin, recursions as they are printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <numbers>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/convention_signals.h"

namespace kivsr::speech::test {
namespace {

using Values = std::vector<double>;
using Rows = std::vector<Values>;
constexpr double kPi = std::numbers::pi;
constexpr std::size_t kLength = 400;
constexpr std::size_t kShift = 160;
constexpr std::size_t kTransform = 512;
constexpr double kRate = 16000.0;

double mel(double hertz) { return 2595.0 * std::log10(1.0 + hertz / 700.0); }
double hertz(double mel) { return 700.0 * (std::pow(10.0, mel / 2595.0) - 1.0); }

Values magnitudes(const Values& frame) {
  Values result(kTransform / 2 + 1);
  for (std::size_t k = 0; k < result.size(); ++k) {
    std::complex<double> sum = 0.0;
    for (std::size_t n = 0; n < frame.size(); ++n) {
      sum += frame[n] * std::polar(1.0, -2.0 * kPi * static_cast<double>(k * n % kTransform) / kTransform);
    }
    result[k] = std::abs(sum);
  }
  return result;
}

Values squared(Values values) {
  for (double& value : values) value *= value;
  return values;
}

// Triangles whose sides are straight over mel and whose corners lie at equal distances on it.
Values mel_bands(const Values& spectrum, int count, double low, double high) {
  Values bands(static_cast<std::size_t>(count));
  const double step = (mel(high) - mel(low)) / (count + 1);
  for (std::size_t k = 0; k < spectrum.size(); ++k) {
    const double place = (mel(static_cast<double>(k) * kRate / kTransform) - mel(low)) / step;
    for (int j = 1; j <= count; ++j) {
      bands[static_cast<std::size_t>(j) - 1] += spectrum[k] * std::max(0.0, 1.0 - std::abs(place - j));
    }
  }
  return bands;
}

double cosine_sum(const Values& logs, int k) {
  double sum = 0.0;
  for (std::size_t j = 0; j < logs.size(); ++j) {
    sum += logs[j] * std::cos(kPi * k * (static_cast<double>(j) + 0.5) / static_cast<double>(logs.size()));
  }
  return sum;
}

double lifted(double cepstrum, int k) { return cepstrum * (1.0 + 11.0 * std::sin(kPi * k / 22.0)); }

Values logarithms(Values values, double floor) {
  for (double& value : values) value = std::log(std::max(value, floor));
  return values;
}

double sum_of_squares(const Values& values) {
  double sum = 0.0;
  for (const double value : values) sum += value * value;
  return sum;
}

Values emphasised_by_itself(Values frame) {
  for (std::size_t n = frame.size(); n-- > 1;) frame[n] -= 0.97 * frame[n - 1];
  frame[0] *= 0.03;
  return frame;
}

Values windowed(Values frame, const std::function<double(double)>& shape) {
  for (std::size_t n = 0; n < frame.size(); ++n) {
    frame[n] *= shape(std::cos(2.0 * kPi * static_cast<double>(n) / (kLength - 1.0)));
  }
  return frame;
}

// Of the frames that lie in the signal.
Rows whole_frames(std::span<const float> samples, const std::function<Values(const Values&)>& row_of) {
  Rows rows;
  for (std::size_t t = 0; t + kLength <= samples.size(); t += kShift) {
    const auto frame = samples.subspan(t, kLength);
    rows.push_back(row_of(Values(frame.begin(), frame.end())));
  }
  return rows;
}

// D. Povey and others, Kaldi: feat/feature-plp.cc and feat/mel-computations.cc.
Values kaldi_plp(const Values& samples) {
  constexpr int kBands = 23;
  constexpr int kOrder = 12;
  Values frame = samples;
  double mean = 0.0;
  for (const double sample : frame) mean += sample / kLength;
  for (double& sample : frame) sample -= mean;
  Values row = {std::log(std::max(sum_of_squares(frame), 1.1920929e-7))};
  frame = windowed(emphasised_by_itself(frame), [](double c) { return std::pow(0.5 - 0.5 * c, 0.85); });
  Values bands = mel_bands(squared(magnitudes(frame)), kBands, 20.0, 8000.0);
  for (int j = 1; j <= kBands; ++j) {
    const double square = std::pow(hertz(mel(20.0) + j * (mel(8000.0) - mel(20.0)) / (kBands + 1)), 2);
    const double loudness = std::pow(square / (square + 1.6e5), 2) * (square + 1.44e6) / (square + 9.61e6);
    bands[static_cast<std::size_t>(j) - 1] = std::pow(loudness * bands[static_cast<std::size_t>(j) - 1], 0.33333);
  }
  bands.insert(bands.begin(), bands.front());
  bands.push_back(bands.back());
  Values lags;
  for (int i = 0; i <= kOrder; ++i) {
    double sum = bands.front() + std::cos(kPi * i) * bands.back();
    for (int j = 1; j <= kBands; ++j) sum += 2.0 * bands[static_cast<std::size_t>(j)] * std::cos(kPi * i * j / 24.0);
    lags.push_back(sum / 48.0);
  }
  // Levinson-Durbin for x(n) = sum of a(k) x(n - k), and the cepstrum of 1 / (1 - sum of a(k) z^-k).
  Values a(kOrder + 1, 0.0);
  double error = lags[0];
  for (std::size_t i = 1; i <= kOrder; ++i) {
    double reflection = lags[i];
    for (std::size_t j = 1; j < i; ++j) reflection -= a[j] * lags[i - j];
    reflection /= error;
    const Values before = a;
    a[i] = reflection;
    for (std::size_t j = 1; j < i; ++j) a[j] = before[j] - reflection * before[i - j];
    error *= 1.0 - reflection * reflection;
  }
  Values cepstra(kOrder + 1, 0.0);
  for (std::size_t n = 1; n <= kOrder; ++n) {
    cepstra[n] = a[n];
    for (std::size_t k = 1; k < n; ++k) {
      cepstra[n] += static_cast<double>(k) / static_cast<double>(n) * cepstra[k] * a[n - k];
    }
    row.push_back(lifted(cepstra[n], static_cast<int>(n)));
  }
  return row;
}

// J. Lyons, python_speech_features: base.py and sigproc.py.
Rows python_speech_features(std::span<const float> samples) {
  constexpr std::size_t kBands = 26;
  constexpr double kEps = 2.220446049250313e-16;
  Values signal(samples.begin(), samples.end());
  for (std::size_t n = signal.size(); n-- > 1;) signal[n] -= 0.97 * signal[n - 1];
  const std::size_t count = signal.size() <= kLength ? 1 : 1 + (signal.size() - kLength + kShift - 1) / kShift;
  signal.resize(std::max(signal.size(), (count - 1) * kShift + kLength), 0.0);
  Values edges;
  for (std::size_t i = 0; i < kBands + 2; ++i) {
    edges.push_back(std::floor((kTransform + 1) * hertz(static_cast<double>(i) * mel(8000.0) / (kBands + 1)) / kRate));
  }
  Rows rows;
  for (std::size_t t = 0; t < count; ++t) {
    const auto first = signal.begin() + static_cast<std::ptrdiff_t>(t * kShift);
    Values power = squared(magnitudes(Values(first, first + kLength)));
    double energy = 0.0;
    for (double& value : power) energy += value /= kTransform;
    Values bands(kBands, 0.0);
    for (std::size_t j = 0; j < kBands; ++j) {
      for (double i = edges[j]; i < edges[j + 1]; ++i) {
        bands[j] += power[static_cast<std::size_t>(i)] * (i - edges[j]) / (edges[j + 1] - edges[j]);
      }
      for (double i = edges[j + 1]; i < edges[j + 2]; ++i) {
        bands[j] += power[static_cast<std::size_t>(i)] * (edges[j + 2] - i) / (edges[j + 2] - edges[j + 1]);
      }
    }
    for (double& band : bands) band = std::log(band == 0.0 ? kEps : band);
    Values row = {std::log(energy == 0.0 ? kEps : energy)};
    for (int k = 1; k < 13; ++k) row.push_back(lifted(std::sqrt(2.0 / kBands) * cosine_sum(bands, k), k));
    rows.push_back(row);
  }
  return rows;
}

// S. Young and others, "The HTK Book", 5.4 to 5.6; openSMILE's configuration MFCC12_0_D_A has powers in the place of
// magnitudes. c1 .. c12, c0.
Values htk_cepstra(const Values& samples, bool power) {
  Values spectrum = magnitudes(windowed(emphasised_by_itself(samples), [](double c) { return 0.54 - 0.46 * c; }));
  if (power) spectrum = squared(spectrum);
  const Values logs = logarithms(mel_bands(spectrum, 26, 0.0, 8000.0), 1.0);
  Values row;
  for (int k = 1; k <= 12; ++k) row.push_back(lifted(std::sqrt(2.0 / 26.0) * cosine_sum(logs, k), k));
  row.push_back(std::sqrt(2.0 / 26.0) * cosine_sum(logs, 0));
  return row;
}

// HTK's regression over five frames of the columns from first on, appended; the ends repeat.
void append_regression(Rows& rows, std::size_t first, std::size_t end) {
  const auto height = static_cast<std::ptrdiff_t>(rows.size());
  const Rows before = rows;
  const auto value = [&](std::ptrdiff_t t, std::size_t column) {
    return before[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(t, 0, height - 1))][column];
  };
  for (std::ptrdiff_t t = 0; t < height; ++t) {
    for (std::size_t i = first; i < end; ++i) {
      const double slope = value(t + 1, i) - value(t - 1, i) + 2.0 * (value(t + 2, i) - value(t - 2, i));
      rows[static_cast<std::size_t>(t)].push_back(slope / 10.0);
    }
  }
}

void append_derivatives(Rows& rows, int count) {
  const std::size_t width = rows[0].size();
  for (int i = 0; i < count; ++i) {
    append_regression(rows, static_cast<std::size_t>(i) * width, static_cast<std::size_t>(i + 1) * width);
  }
}

// The rows of a target kind.
Rows htk_rows(std::span<const float> samples, const std::string& kind) {
  const auto has = [&](char qualifier) { return kind.find(std::string("_") + qualifier) != std::string::npos; };
  Rows rows = whole_frames(samples, [&](const Values& frame) {
    Values row = htk_cepstra(frame, false);
    if (!has('0')) row.pop_back();
    return row;
  });
  if (has('Z')) {
    for (std::size_t i = 0; i < rows[0].size(); ++i) {
      double mean = 0.0;
      for (const Values& row : rows) mean += row[i] / static_cast<double>(rows.size());
      for (Values& row : rows) row[i] -= mean;
    }
  }
  const std::size_t energy = rows[0].size();
  if (has('E')) {
    Values logs;
    for (const Values& log : whole_frames(
             samples, [](const Values& frame) { return Values{std::log(std::max(sum_of_squares(frame), 1.2e-38))}; })) {
      logs.push_back(log[0]);
    }
    const double largest = *std::max_element(logs.begin(), logs.end());
    const double least = largest - 50.0 * std::log(10.0) / 10.0;
    for (std::size_t t = 0; t < rows.size(); ++t) rows[t].push_back(1.0 - 0.1 * (largest - std::max(logs[t], least)));
  }
  append_derivatives(rows, has('T') ? 3 : has('A') ? 2 : has('D') ? 1 : 0);
  if (has('N')) {
    for (Values& row : rows) row.erase(row.begin() + static_cast<std::ptrdiff_t>(energy));
  }
  return rows;
}

void expect_rows(const std::string& name, const std::function<Rows(std::span<const float>)>& definition) {
  FeatureChain chain(preset(name));
  for (const ConventionSignal& signal : convention_signals()) {
    const FeatureMatrix rows = chain.run(signal.samples);
    const Rows expected = definition(signal.samples);
    ASSERT_EQ(static_cast<std::size_t>(rows.height()), expected.size()) << name << ", " << signal.name;
    ASSERT_EQ(static_cast<std::size_t>(rows.width), expected[0].size()) << name;
    double sum = 0.0;
    for (int t = 0; t < rows.height(); ++t) {
      const Values& row = expected[static_cast<std::size_t>(t)];
      for (std::size_t i = 0; i < row.size(); ++i) {
        if (!std::isfinite(row[i])) continue;  // prediction in digital silence, which has no definition
        ASSERT_NEAR(rows.row(t)[i], row[i], 1e-3)
            << name << ", " << signal.name << ", frame " << t << ", " << preset(name).column_names()[i];
        sum += std::abs(rows.row(t)[i] - row[i]);
      }
    }
    EXPECT_LT(sum / static_cast<double>(rows.values.size()), 1e-4) << name << ", " << signal.name << ": typical";
  }
}

TEST(ToolkitDefinitions, KaldiPlp) {
  expect_rows("kaldi-plp", [](std::span<const float> samples) { return whole_frames(samples, kaldi_plp); });
}

TEST(ToolkitDefinitions, PythonSpeechFeatures) { expect_rows("python-speech-features", python_speech_features); }

TEST(ToolkitDefinitions, OpenSmile) {
  expect_rows("opensmile-mfcc", [](std::span<const float> samples) {
    Rows rows = whole_frames(samples, [](const Values& frame) { return htk_cepstra(frame, true); });
    append_derivatives(rows, 2);
    return rows;
  });
}

TEST(ToolkitDefinitions, EveryTargetKindOfHtk) {
  expect_rows("htk-mfcc", [](std::span<const float> samples) { return htk_rows(samples, "MFCC_0_D_A_Z"); });
  for (const std::string kind :
       {"MFCC", "MFCC_0", "MFCC_E", "MFCC_Z", "MFCC_D", "MFCC_0_D", "MFCC_E_D_A", "MFCC_0_E_D_A_T", "MFCC_E_D_A_Z",
        "MFCC_E_D_N", "MFCC_E_D_A_N_Z", "MFCC_0_E_D_A_T_N", "MFCC_D_A_T"}) {
    expect_rows("htk-mfcc:" + kind, [&](std::span<const float> samples) { return htk_rows(samples, kind); });
  }
  for (const std::string kind :
       {"", "MFCC_X", "MFCC_A", "MFCC_D_T", "MFCC_E_N", "MFCC_D_N", "MFCC_D_D", "PLP", "MFCC_DA", "mfcc_D"}) {
    EXPECT_THROW((void)preset("htk-mfcc:" + kind), Fault) << kind;
  }
}

// As many frames as the toolkit has, and a signal shorter than one.
TEST(ToolkitDefinitions, CountsFramesAsTheyDo) {
  const auto height = [](const char* name, std::size_t samples) {
    return FeatureChain(preset(name)).run(std::vector<float>(samples, 100.0F)).height();
  };
  for (const std::size_t n : {1U, 399U, 400U, 401U, 559U, 560U, 561U, 719U, 4800U}) {
    const int whole = n < 400 ? 0 : 1 + static_cast<int>(n - 400) / 160;
    const int covering = n <= 400 ? 1 : 1 + static_cast<int>(n - 400 + 159) / 160;
    EXPECT_EQ(height("kaldi-mfcc", n), whole) << n;
    EXPECT_EQ(height("htk-mfcc", n), whole) << n;
    EXPECT_EQ(height("python-speech-features", n), covering) << n;
    EXPECT_EQ(height("torchaudio-mfcc", n), 1 + static_cast<int>(n) / 200) << n;
    EXPECT_EQ(height("librosa-mfcc", n), 1 + static_cast<int>(n) / 512) << n;
    EXPECT_EQ(height("whisper", n), static_cast<int>(n) / 160) << n;
  }
}

}  // namespace
}  // namespace kivsr::speech::test
