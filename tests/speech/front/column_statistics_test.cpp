#include "kivsr/speech/front/column_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace kivsr::speech::test {
namespace {

// Correlated columns far from zero, at levels and spreads of their own.
std::vector<FeatureMatrix> random_files(int width, std::initializer_list<int> heights) {
  std::mt19937 generator(3);
  std::normal_distribution<float> normal;
  std::vector<FeatureMatrix> files;
  for (const int height : heights) {
    FeatureMatrix rows{width, {}};
    for (int t = 0; t < height; ++t) {
      const float common = normal(generator);
      for (int k = 0; k < width; ++k) {
        rows.values.push_back(1000.0F * static_cast<float>(k * k) + static_cast<float>(files.size()) +
                              (0.1F + static_cast<float>(k)) * (normal(generator) - common));
      }
    }
    files.push_back(rows);
  }
  return files;
}

// Two passes in double precision.
ColumnMoments reference(const std::vector<FeatureMatrix>& files) {
  const auto width = static_cast<std::size_t>(files[0].width);
  ColumnMoments moments;
  moments.mean.assign(width, 0.0);
  moments.covariance.assign(width * width, 0.0);
  for (const FeatureMatrix& rows : files) moments.frames += rows.height();
  const auto frames = static_cast<double>(moments.frames);
  for (const FeatureMatrix& rows : files) {
    for (int t = 0; t < rows.height(); ++t) {
      for (std::size_t k = 0; k < width; ++k) moments.mean[k] += rows.row(t)[k] / frames;
    }
  }
  for (const FeatureMatrix& rows : files) {
    for (int t = 0; t < rows.height(); ++t) {
      for (std::size_t i = 0; i < width; ++i) {
        for (std::size_t j = 0; j < width; ++j) {
          moments.covariance[i * width + j] +=
              (rows.row(t)[i] - moments.mean[i]) * (rows.row(t)[j] - moments.mean[j]) / (frames - 1.0);
        }
      }
    }
  }
  return moments;
}

ColumnMoments accumulated(const std::vector<FeatureMatrix>& files) {
  ColumnStatistics statistics;
  for (const FeatureMatrix& rows : files) {
    statistics.add(rows);
    statistics.end_file();
  }
  return statistics.moments();
}

TEST(ColumnStatistics, AgreesWithTwoPassesInDoublePrecision) {
  for (const int width : {1, 4, 39}) {
    const auto files = random_files(width, {100, 0, 1, 2000, 37});
    const ColumnMoments expected = reference(files);
    const ColumnMoments found = accumulated(files);
    EXPECT_EQ(found.files, 5);
    EXPECT_EQ(found.frames, 2138);
    for (std::size_t i = 0; i < expected.mean.size(); ++i) {
      EXPECT_NEAR(found.mean[i], expected.mean[i],
                  1e-12 * (std::abs(expected.mean[i]) + std::sqrt(expected.variance(i))));
      for (std::size_t j = 0; j < expected.mean.size(); ++j) {
        const std::size_t place = i * expected.mean.size() + j;
        const double spread = std::sqrt(expected.variance(i) * expected.variance(j));
        EXPECT_NEAR(found.covariance[place], expected.covariance[place], 1e-10 * spread) << i << ' ' << j;
        EXPECT_EQ(found.covariance[place], found.covariance[j * expected.mean.size() + i]) << "symmetric";
      }
    }
  }
}

// The first rows decide what the values are taken relative to; they may lie far from all others.
TEST(ColumnStatistics, AnOutlyingStartDoesNoHarm) {
  auto files = random_files(2, {1024, 9000});
  for (int t = 0; t < 1024; ++t) {
    files[0].row(t)[0] += 1e6F;
    files[0].row(t)[1] -= 3e5F;
  }
  const ColumnMoments expected = reference(files);
  const ColumnMoments found = accumulated(files);
  for (std::size_t place = 0; place < 4; ++place) {
    EXPECT_NEAR(found.covariance[place] / expected.covariance[place], 1.0, 1e-8);
  }
}

TEST(ColumnStatistics, BlocksOfRowsGiveTheSameBits) {
  const FeatureMatrix rows = random_files(5, {3000}).front();
  ColumnStatistics at_once;
  at_once.add(rows);
  for (const int block : {1, 7, 1023, 1025}) {
    ColumnStatistics cut;
    for (int first = 0; first < rows.height(); first += block) {
      const auto from = rows.values.begin() + first * 5;
      cut.add({5, {from, from + std::min(block, rows.height() - first) * 5}});
      if (first == 1400) cut.moments();  // which may be asked for in between
    }
    EXPECT_EQ(cut.moments().covariance, at_once.moments().covariance) << block;
    EXPECT_EQ(cut.moments().mean, at_once.moments().mean) << block;
  }
}

}  // namespace
}  // namespace kivsr::speech::test
