// The analysis against its defining equation, the semi-tied transform against covariances whose common axes are known.
#include "kivsr/speech/train/discriminant_analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/train/small_matrix.h"

namespace kivsr::speech::test {
namespace {

using Matrix = std::vector<double>;

Matrix random_matrix(std::size_t values, std::mt19937& generator) {
  std::normal_distribution<double> normal;
  Matrix matrix(values);
  for (double& value : matrix) value = normal(generator);
  return matrix;
}

// factor diag(d) factor^T
Matrix product_of(const Matrix& factor, const Matrix& diagonal) {
  const std::size_t size = diagonal.size();
  Matrix result(size * size);
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t k = 0; k < size; ++k) {
      for (std::size_t j = 0; j < size; ++j) {
        result[i * size + k] += factor[i * size + j] * diagonal[j] * factor[k * size + j];
      }
    }
  }
  return result;
}

std::vector<ClassMoments> random_classes(std::size_t count, std::size_t size, unsigned seed) {
  std::mt19937 generator(seed);
  std::vector<ClassMoments> classes;
  for (std::size_t i = 0; i < count; ++i) {
    classes.push_back({100.0 + 50.0 * static_cast<double>(i), random_matrix(size, generator),
                       product_of(random_matrix(size * size, generator), Matrix(size, 0.5))});
  }
  return classes;
}

Matrix times(const Matrix& matrix, const double* vector, std::size_t size) {
  Matrix result(size);
  for (std::size_t i = 0; i < size; ++i) {
    result[i] = std::inner_product(vector, vector + size, matrix.begin() + static_cast<std::ptrdiff_t>(i * size), 0.0);
  }
  return result;
}

TEST(DiscriminantAnalysis, RowsSolveTheGeneralisedEigenproblem) {
  constexpr std::size_t kSize = 7;
  constexpr std::size_t kRows = 4;
  const Scatter scatter = scatter_of(random_classes(9, kSize, 3));
  const Matrix rows = discriminant_rows(scatter, kSize, kRows);
  ASSERT_EQ(rows.size(), kRows * kSize);
  double before = 1e9;
  for (std::size_t row = 0; row < kRows; ++row) {
    const double* const own = rows.data() + row * kSize;
    const Matrix within = times(scatter.within, own, kSize);
    const Matrix between = times(scatter.between, own, kSize);
    const double value = std::inner_product(own, own + kSize, between.begin(), 0.0);
    EXPECT_LT(value, before) << "the largest first";
    before = value;
    for (std::size_t i = 0; i < kSize; ++i) EXPECT_NEAR(between[i], value * within[i], 1e-10 * (1.0 + value));
    for (std::size_t other = 0; other < kRows; ++other) {
      const double* const second = rows.data() + other * kSize;
      EXPECT_NEAR(std::inner_product(second, second + kSize, within.begin(), 0.0), row == other ? 1.0 : 0.0, 1e-10);
    }
  }
  double trace = 0.0;  // of within^-1 between: the sum of all values
  for (std::size_t i = 0; i < kSize; ++i) {
    Matrix column(kSize);
    for (std::size_t k = 0; k < kSize; ++k) column[k] = scatter.between[k * kSize + i];
    trace += solve(scatter.within, column)[i];
  }
  const Matrix all = discriminant_rows(scatter, kSize, kSize);
  const Matrix values = congruence(all, scatter.between, kSize);
  double sum = 0.0;
  for (std::size_t i = 0; i < kSize; ++i) sum += values[i * (kSize + 1)];
  EXPECT_NEAR(sum, trace, 1e-9 * trace);
}

// Of two classes the one direction is within^-1 (difference of the means); units of the columns do not matter.
TEST(DiscriminantAnalysis, TwoClassesArePartedAsFisherSays) {
  const double units[] = {1.0, 1e5, 1e-4};
  ClassMoments one{300.0, {0.0, 0.0, 0.0}, {2.0, 1.0, 0.2, 1.0, 3.0, 0.1, 0.2, 0.1, 1.0}};
  ClassMoments two{300.0, {0.1, -0.2, 0.5}, one.covariance};
  const Matrix fisher = solve(one.covariance, two.mean);
  for (ClassMoments* const of : {&one, &two}) {
    for (std::size_t i = 0; i < 3; ++i) {
      of->mean[i] *= units[i];
      for (std::size_t k = 0; k < 3; ++k) of->covariance[i * 3 + k] *= units[i] * units[k];
    }
  }
  const Matrix row = discriminant_rows(scatter_of({one, two}), 3, 1);
  for (std::size_t i = 1; i < 3; ++i) {
    EXPECT_NEAR(row[i] * units[i] / (row[0] * units[0]), fisher[i] / fisher[0], 1e-9);
  }
}

TEST(DiscriminantAnalysis, ColumnsThatDependOnEachOtherAreAFault) {
  std::vector<ClassMoments> classes = random_classes(3, 3, 5);
  EXPECT_THROW(discriminant_rows(scatter_of(classes), 3, 4), Fault);
  for (ClassMoments& one : classes) {
    for (std::size_t i = 0; i < 3; ++i) one.covariance[6 + i] = one.covariance[i];
    for (std::size_t i = 0; i < 3; ++i) one.covariance[i * 3 + 2] = one.covariance[i * 3];
  }
  EXPECT_THROW(discriminant_rows(scatter_of(classes), 3, 2), Fault);
  EXPECT_THROW(SemiTiedCovariance{classes}, Fault);
  EXPECT_THROW(SemiTiedCovariance{{}}, Fault);
}

// What a diagonal Gaussian of each class gives its own frames, a frame, with rows as they are; from the definition.
double log_likelihood_of(const Matrix& rows, const std::vector<ClassMoments>& classes, double log_determinant) {
  const std::size_t size = classes.front().mean.size();
  double sum = 0.0;
  double frames = 0.0;
  for (const ClassMoments& one : classes) {
    frames += one.frames;
    sum += one.frames * log_determinant;
    for (std::size_t row = 0; row < size; ++row) {
      const double* const own = rows.data() + row * size;
      const Matrix half = times(one.covariance, own, size);
      sum -= 0.5 * one.frames * std::log(std::inner_product(own, own + size, half.begin(), 0.0));
    }
  }
  return sum / frames;
}

TEST(SemiTiedCovariance, EveryTurnGainsAndTheEndIsAMaximum) {
  constexpr std::size_t kSize = 5;
  std::vector<ClassMoments> classes = random_classes(6, kSize, 8);
  for (ClassMoments& one : classes) one.frames *= 1e9;  // so that the prior is nothing
  SemiTiedCovariance semi_tied(classes);
  Matrix diagonal(kSize * kSize);
  double log_determinant = 0.0;
  const Scatter scatter = scatter_of(classes);
  for (std::size_t i = 0; i < kSize; ++i) {
    diagonal[i * (kSize + 1)] = 1.0 / std::sqrt(scatter.within[i * (kSize + 1)]);
    log_determinant += std::log(diagonal[i * (kSize + 1)]);
  }
  EXPECT_NEAR(semi_tied.log_likelihood(), log_likelihood_of(diagonal, classes, log_determinant), 1e-6);
  double before = semi_tied.log_likelihood();
  EXPECT_GT(semi_tied.improve(), 0.01);
  before = semi_tied.log_likelihood();
  for (int turn = 0; turn < 30; ++turn) {
    const double gain = semi_tied.improve();
    EXPECT_GE(gain, -1e-12);
    EXPECT_NEAR(semi_tied.log_likelihood(), before + gain, 1e-9);
    before = semi_tied.log_likelihood();
  }
  semi_tied.find();
  EXPECT_LT(semi_tied.improve(), 1e-4);
  const Matrix rows = semi_tied.rows();
  for (std::size_t row = 0; row < kSize; ++row) {
    const double* const own = rows.data() + row * kSize;
    const Matrix half = times(scatter.within, own, kSize);
    EXPECT_NEAR(std::inner_product(own, own + kSize, half.begin(), 0.0), 1.0, 1e-9);
  }
}

// Covariances factor diag(d_c) factor^T have one transform that makes all of them diagonal: the inverse of the factor.
TEST(SemiTiedCovariance, FindsCommonAxes) {
  constexpr std::size_t kSize = 4;
  std::mt19937 generator(12);
  const Matrix factor = random_matrix(kSize * kSize, generator);
  std::uniform_real_distribution<double> spread(0.1, 4.0);
  std::vector<ClassMoments> classes;
  for (int i = 0; i < 8; ++i) {
    Matrix diagonal(kSize);
    for (double& value : diagonal) value = spread(generator);
    classes.push_back({1e9, Matrix(kSize), product_of(factor, diagonal)});
  }
  SemiTiedCovariance semi_tied(classes);
  for (int turn = 0; turn < 300; ++turn) semi_tied.improve();
  const Matrix rows = semi_tied.rows();
  for (const ClassMoments& one : classes) {
    const Matrix covariance = congruence(rows, one.covariance, kSize);
    for (std::size_t i = 0; i < kSize; ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        const double most = std::sqrt(covariance[i * (kSize + 1)] * covariance[k * (kSize + 1)]);
        EXPECT_LT(std::abs(covariance[i * kSize + k]), 1e-3 * most);
      }
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
