// Against mean and variance by two passes in long double over all rows of a speaker.
#include "kivsr/speech/front/speaker_normalisation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

struct Moments {
  std::vector<long double> mean, variance;
};

Moments moments_of(const std::vector<FeatureMatrix>& utterances, int width) {
  const auto columns = static_cast<std::size_t>(width);
  Moments moments{std::vector<long double>(columns), std::vector<long double>(columns)};
  long double count = 0;
  for (const auto& rows : utterances) count += rows.height();
  for (const bool second : {false, true}) {
    for (const auto& rows : utterances) {
      for (std::size_t i = 0; i < rows.values.size(); ++i) {
        const long double distance = rows.values[i] - moments.mean[i % columns];
        if (second) {
          moments.variance[i % columns] += distance * distance / count;
        } else {
          moments.mean[i % columns] += rows.values[i] / count;
        }
      }
    }
  }
  return moments;
}

std::vector<FeatureMatrix> utterances() {
  std::vector<FeatureMatrix> all;
  for (const unsigned seed : {1U, 2U, 3U}) {
    all.push_back({4, noise(400 * static_cast<int>(seed), seed)});
    FeatureMatrix& rows = all.back();
    for (int t = 0; t < rows.height(); ++t) {
      for (std::size_t k = 0; k < 4; ++k) {
        float& value = rows.row(t)[k];
        value = k == 3 ? 7.0F : value * static_cast<float>(k + 1) + 100.0F * static_cast<float>(k);
      }
    }
  }
  return all;
}

TEST(SpeakerNormalisation, RowsOfASpeakerHaveNoMeanAndUnitVariance) {
  const auto all = utterances();
  const Moments moments = moments_of(all, 4);
  ColumnSums sums;
  for (const auto& rows : all) {
    ColumnSums one;
    one.add(rows);
    sums.add(one);
  }
  for (const bool variance : {false, true}) {
    const ColumnNormaliser normaliser(sums, variance);
    for (FeatureMatrix rows : all) {
      const FeatureMatrix before = rows;
      normaliser.apply(rows);
      for (std::size_t i = 0; i < rows.values.size(); ++i) {
        const std::size_t k = i % 4;
        long double expected = before.values[i] - moments.mean[k];
        if (variance) expected = k == 3 ? 0.0L : expected / std::sqrt(moments.variance[k]);
        const double size = std::abs(static_cast<double>(expected)) + 1e-3;
        ASSERT_NEAR(rows.values[i], static_cast<double>(expected), 1e-6 * size) << variance << ' ' << i;
      }
    }
  }
}

TEST(SpeakerNormalisation, KaldisFormComesBackToTheBit) {
  const TemporaryFolder folder;
  std::map<std::string, ColumnSums> sums;
  const auto all = utterances();
  for (std::size_t i = 0; i < all.size(); ++i) sums[i == 2 ? "ben" : "anna"].add(all[i]);
  const std::string archive = (folder / "cmvn.ark").string();
  const std::string list = (folder / "cmvn.scp").string();
  for (const std::string& name : {"ark,scp:" + archive + "," + list, "ark,t:" + archive}) {
    write_column_sums(name, sums);
    for (const std::string& place : {archive, list}) {
      const auto read = read_column_sums(place);
      ASSERT_EQ(read.size(), 2U);
      for (const auto& [speaker, entry] : sums) {
        EXPECT_EQ(read.at(speaker).count, entry.count);
        EXPECT_EQ(read.at(speaker).values, entry.values);
        EXPECT_EQ(read.at(speaker).squares, entry.squares);
      }
      if (name.starts_with("ark,t")) break;  // the places of the list are of the other archive
    }
  }
  // The order of the numbers in Kaldi's matrix: sums, rows, sums of squares, 0.
  folder.write("one.mat", " [\n 6 60 3\n 14 1400 0 ]\n");
  const ColumnSums one = read_column_sums((folder / "one.mat").string()).at("");
  EXPECT_EQ(one.count, 3);
  FeatureMatrix rows{2, {1, 10, 2, 20, 3, 30}};
  ColumnNormaliser(one, true).apply(rows);
  EXPECT_NEAR(rows.values[5], std::sqrt(1.5), 1e-6);
  EXPECT_EQ(one.matrix(), (std::vector<double>{6, 60, 3, 14, 1400, 0}));
}

TEST(SpeakerNormalisation, WhatCannotBeStatisticsIsAFault) {
  const TemporaryFolder folder;
  for (const char* text :
       {" [\n 1 2 3 ]\n", " [\n 1 0\n 1 0 ]\n", " [\n 1 nan 3\n 1 2 0 ]\n", " [\n 3\n 0 ]\n", " [\n 1 -3\n 2 0 ]\n"}) {
    EXPECT_THROW(read_column_sums(folder.write("a.mat", text).string()), Fault) << text;
  }
  EXPECT_THROW(read_column_sums(folder.write("a.ark", "a  [\n 1 3\n 2 0 ]\na  [\n 1 3\n 2 0 ]\n").string()), Fault);
  EXPECT_THROW(write_column_sums((folder / "a.npy").string(), {}), Fault);
  ColumnSums sums;
  sums.add(FeatureMatrix{2, {1, 2}});
  FeatureMatrix other{3, {1, 2, 3}};
  EXPECT_THROW(sums.add(other), Fault);
  EXPECT_THROW(ColumnNormaliser(sums, false).apply(other), Fault);
}

// Derivatives are those of the normalised rows, whatever the blocks.
TEST(SpeakerNormalisation, InFrontOfTheDerivativesOfAChain) {
  Recipe recipe = preset("htk-mfcc:MFCC_0");
  const std::vector<float> samples = noise(16000);
  const FeatureMatrix plain = FeatureChain(recipe).run(samples);
  ColumnSums sums;
  FeatureMatrix expected = plain;
  sums.add(plain);
  ColumnNormaliser(sums, true).apply(expected);
  for (const Dynamics dynamics : {Dynamics::kNone, Dynamics::kRegression, Dynamics::kWin2}) {
    recipe.dynamics = dynamics;
    Recipe behind = Recipe::of_features(plain.width);
    behind.dynamics = dynamics;
    const std::vector<float> wanted = FeatureChain(behind).run_rows(expected).values;
    for (const std::size_t block : {0, 77}) {
      FeatureChain chain(recipe);
      ColumnSums seen;
      chain.change_statics([&](FeatureMatrix& rows) {
        seen.add(rows);
        ColumnNormaliser(sums, true).apply(rows);
      });
      EXPECT_EQ(chain.run(samples, block).values, wanted);
      EXPECT_EQ(seen.matrix(), sums.matrix());
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
