#include "kivsr/speech/quantise/k_means.h"

#include <algorithm>
#include <limits>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "kivsr/speech/quantise/split_codebook.h"

namespace kivsr::speech::test {
namespace {

// Rows around so many centres, which lie far from each other.
FeatureMatrix rows_around(int centres, int height, int width, float spread) {
  std::mt19937 generator(3);
  std::normal_distribution<float> normal;
  std::vector<float> centre(static_cast<std::size_t>(centres * width));
  for (float& value : centre) value = 100.0F * normal(generator);
  FeatureMatrix rows{width, {}};
  for (int i = 0; i < height * width; ++i) {
    rows.values.push_back(centre[static_cast<std::size_t>(i / width % centres * width + i % width)] +
                          spread * normal(generator));
  }
  return rows;
}

double distortion(const FeatureMatrix& rows, const std::vector<float>& codewords, const std::vector<float>& weights) {
  double sum = 0.0;
  for (int i = 0; i < rows.height(); ++i) {
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < codewords.size(); k += weights.size()) {
      double distance = 0.0;
      for (std::size_t j = 0; j < weights.size(); ++j) {
        const double d = static_cast<double>(rows.row(i)[j]) - static_cast<double>(codewords[k + j]);
        distance += static_cast<double>(weights[j]) * d * d;
      }
      least = std::min(least, distance);
    }
    sum += least;
  }
  return sum / rows.height();
}

// A codeword drawn at random would miss a centre and cost ten thousand times as much.
TEST(KMeans, FindsEveryCentre) {
  const FeatureMatrix rows = rows_around(30, 3000, 5, 1.0F);
  const std::vector<float> weights(5, 1.0F);
  const auto codewords = k_means(rows, weights, 30);
  ASSERT_EQ(codewords.size(), 150U);
  EXPECT_LT(distortion(rows, codewords, weights), 5.0);  // of the centres: 5
  EXPECT_EQ(codewords, k_means(rows, weights, 30));
}

// Without clusters it is as good as splitting with a k-means after every split, and far better than rows.
TEST(KMeans, IsAsGoodAsSplitting) {
  const FeatureMatrix rows = rows_around(1, 2000, 3, 1.0F);
  const std::vector<float> weights{1.0F, 4.0F, 0.25F};
  const SplitGroup group{{0, 1, 2}, 6};
  const auto split = train_group(rows, group, weights, *find_codebook_rule("widest"));
  const auto whole = train_group(rows, group, weights, *find_codebook_rule("k-means"));
  EXPECT_EQ(whole.count(), 64);
  const double least = distortion(rows, split.codewords, weights);
  EXPECT_LT(distortion(rows, whole.codewords, weights), 1.03 * least);
  EXPECT_GT(distortion(rows, {rows.values.begin(), rows.values.begin() + 3 * 64}, weights), 1.1 * least);
}

TEST(KMeans, FewDifferentRowsGiveAsManyCodewords) {
  FeatureMatrix rows{2, {}};
  for (int i = 0; i < 100; ++i) rows.values.insert(rows.values.end(), {static_cast<float>(i % 5), 1.0F});
  const auto codewords = k_means(rows, std::vector<float>{1.0F, 1.0F}, 8);
  ASSERT_EQ(codewords.size(), 10U);
  std::set<float> values;
  for (std::size_t k = 0; k < codewords.size(); k += 2) values.insert(codewords[k]);
  EXPECT_EQ(values, (std::set<float>{0.0F, 1.0F, 2.0F, 3.0F, 4.0F}));
  EXPECT_FALSE(find_codebook_rule("k").has_value());
}

}  // namespace
}  // namespace kivsr::speech::test
