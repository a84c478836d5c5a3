// Presets beside the toolkits whose names they bear: rows that scripts/conventions had the toolkits compute.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "speech/support/command.h"
#include "speech/support/convention_signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

std::vector<float> toolkit_rows(const std::string& name) {
  const std::string bytes = read_file(source_folder() / "tests/speech/data/conventions" / (name + ".f32"));
  std::vector<float> values(bytes.size() / sizeof(float));
  std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
  return values;
}

// The largest difference from the toolkit's rows, on all signals; share: of the size of a value rather than absolute.
void expect_agreement(const std::string& name, const Recipe& recipe, double absolute, double typical,
                      double share = 0.0) {
  const std::vector<float> expected = toolkit_rows(name);
  ASSERT_FALSE(expected.empty()) << name;
  FeatureChain chain(recipe);
  std::size_t place = 0;
  std::vector<double> differences;
  for (const ConventionSignal& signal : convention_signals()) {
    const FeatureMatrix rows = chain.run(signal.samples);
    ASSERT_GT(rows.height(), 5) << name << ", " << signal.name;
    ASSERT_LE(place + rows.values.size(), expected.size()) << name << ", " << signal.name;
    for (std::size_t i = 0; i < rows.values.size(); ++i, ++place) {
      // HTK's logarithm of nothing is -1e10, ours that of the smallest normal number.
      const double value = expected[place] < -1e9F ? -87.336548 : expected[place];
      const double difference = std::abs(static_cast<double>(rows.values[i]) - value);
      ASSERT_LE(difference, absolute + share * std::abs(value))
          << name << ", " << signal.name << ", frame " << i / static_cast<std::size_t>(rows.width) << ", column "
          << recipe.column_names()[i % static_cast<std::size_t>(rows.width)] << ": " << rows.values[i] << ", not "
          << value;
      differences.push_back(difference / (1.0 + (share > 0.0 ? std::abs(value) : 0.0)));
    }
  }
  ASSERT_EQ(place, expected.size()) << name << ": as many rows as the toolkit has";
  const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
  std::nth_element(differences.begin(), middle, differences.end());
  EXPECT_LE(*middle, typical) << name;
}

TEST(ToolkitAgreement, Kaldi) {
  expect_agreement("kaldi-mfcc", preset("kaldi-mfcc"), 1e-3, 1e-4);
  expect_agreement("kaldi-fbank", preset("kaldi-fbank"), 1e-3, 1e-4);
  Recipe recipe = preset("kaldi-fbank");
  recipe.front_end.framing = Framing::kHalfShift;
  recipe.front_end.edges = Edges::kSymmetric;
  recipe.front_end.pad_last_frame = true;
  recipe.front_end.filter_count = 40;
  recipe.front_end.window = Window::kHamming;
  recipe.front_end.energy = true;
  recipe.front_end.energy_of = EnergyOf::kWindowed;
  expect_agreement("kaldi-fbank-edges", recipe, 1e-3, 1e-4);
}

TEST(ToolkitAgreement, Torchaudio) {
  expect_agreement("torchaudio-mfcc", preset("torchaudio-mfcc"), 1e-3, 1e-4);
  expect_agreement("torchaudio-melspectrogram", preset("torchaudio-melspectrogram"), 1e-6, 1e-6, 1e-5);
}

TEST(ToolkitAgreement, Librosa) {
  expect_agreement("librosa-mfcc", preset("librosa-mfcc"), 1e-3, 1e-4);
  expect_agreement("librosa-melspectrogram", preset("librosa-melspectrogram"), 1e-6, 1e-6, 1e-5);
}

TEST(ToolkitAgreement, Whisper) {
  expect_agreement("whisper", preset("whisper"), 1e-3, 1e-5);
  expect_agreement("whisper-128", preset("whisper-128"), 1e-3, 1e-5);
}

TEST(ToolkitAgreement, Sphinx) {
  expect_agreement("sphinx", preset("sphinx"), 1e-3, 1e-4);
  expect_agreement("sphinx-en-us", preset("sphinx-en-us"), 1e-3, 1e-4);
}

TEST(ToolkitAgreement, Htk) {
  Recipe recipe = preset("htk-mfcc:MFCC_0_E");
  recipe.normalise_energy = false;
  expect_agreement("htk-mfcc", recipe, 1e-3, 1e-4);
}

}  // namespace
}  // namespace kivsr::speech::test
