// Gaussian log-likelihoods, floating point, of one vector: weights, variances, block-diagonal matrices.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "gaussian_members.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

KivStatus init_blocks(float*** m, const float** rows, const int* sizes, int n) {
  return kivsBlockDMatrixInitAlloc_32f(m, rows, sizes, n);
}
KivStatus init_blocks(double*** m, const double** rows, const int* sizes, int n) {
  return kivsBlockDMatrixInitAlloc_64f(m, rows, sizes, n);
}
void free_blocks(float** m) { kivsBlockDMatrixFree_32f(m); }
void free_blocks(double** m) { kivsBlockDMatrixFree_64f(m); }

template <class Code>
class GaussianSingle : public ::testing::Test {};
TYPED_TEST_SUITE(GaussianSingle, Codes);

TYPED_TEST(GaussianSingle, AgreesWithTheDefinition) {
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const int len : test_lengths()) {
    Problem<TypeParam> p(1, len, len, static_cast<unsigned>(len));
    const R val = p.vals[0];
    for (const bool weighted : {true, false}) {
      Guarded<R> score(1);
      ASSERT_EQ(weighted ? M::single(p.x.data(), p.m.data(), p.w.data(), len, score.data(), val)
                         : M::single_identity(p.x.data(), p.m.data(), len, score.data(), val),
                kivStatusOk);
      const long double d = distance(p.x.data(), p.m.data(), weighted ? p.w.data() : nullptr, len);
      ASSERT_TRUE(within_reduction<R>(score[0], static_cast<double>(val - d / 2),
                                      std::abs(static_cast<double>(val)) + static_cast<double>(d) / 2,
                                      static_cast<std::size_t>(len)))
          << len;
    }
  }
}

TYPED_TEST(GaussianSingle, DirectVariances) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const int len : {1, 3, 4, 39, 200}) {
    Problem<TypeParam> p(1, len, len, 9);
    std::vector<E> inverse;
    for (int i = 0; i < len; ++i) {
      p.w.at(0, i) += E{0.25};
      inverse.push_back(1 / p.w.at(0, i));
    }
    const long double d = distance(p.x.data(), p.m.data(), inverse.data(), len);
    Guarded<R> score(1);
    expect_survives_failed_allocations(
        [&] { return M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}); });
    EXPECT_NEAR(score[0], static_cast<double>(-3 - d / 2), 1e-6 * static_cast<double>(d + 10));
    // A zero variance: minus infinity, or a NaN where the vector equals the mean, with the division's warning.
    p.w.at(0, len - 1) = 0;
    EXPECT_EQ(M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}), kivStatusDivByZero);
    EXPECT_EQ(score[0], -kInfinity);
    p.m.at(0, len - 1) = p.x.at(0, len - 1);
    EXPECT_EQ(M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}), kivStatusDivByZero);
    EXPECT_TRUE(std::isnan(score[0]));
  }
}

TYPED_TEST(GaussianSingle, BlockDiagonalWeights) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const std::vector<int>& sizes : {std::vector<int>{1}, {3, 2}, {13, 13, 13}, {100, 11}, {100, 12}, {9, 150}}) {
    int len = 0;
    for (const int b : sizes) len += b;
    Problem<TypeParam> p(1, len, len, 11);
    GuardedMatrix<E> cells(len, len, len);
    Random random(3);
    cells.fill([&] { return random.value<E>(-1, 1); });
    E** matrix = nullptr;
    ASSERT_EQ(init_blocks(&matrix, cells.const_rows(), sizes.data(), static_cast<int>(sizes.size())), kivStatusOk);
    const E* const* const handle = matrix;
    long double form = 0;
    long double magnitude = 0;
    int first = 0;
    for (const int b : sizes) {
      for (int r = first; r < first + b; ++r) {
        for (int c = first; c < first + b; ++c) {
          const long double left = static_cast<long double>(p.x.at(0, r)) - p.m.at(0, r);
          const long double right = static_cast<long double>(p.x.at(0, c)) - p.m.at(0, c);
          const long double term = left * cells.at(r, c - first) * right;
          form += term;
          magnitude += std::abs(term);
        }
      }
      first += b;
    }
    Guarded<R> score(1);
    const auto call = [&] { return M::single_block(p.x.data(), p.m.data(), handle, len, score.data(), R{-3}); };
    expect_survives_failed_allocations(call, len < 112 ? 0 : 1);
    {
      const AllocationWatch watch;
      EXPECT_EQ(call(), kivStatusOk);
      EXPECT_EQ(AllocationWatch::calls(), len < 112 ? 0 : 1) << len;
    }
    const double truth = static_cast<double>(-3 - form / 2);
    EXPECT_NEAR(score[0], truth, unit<R>(truth) + 1e-14 * static_cast<double>(magnitude)) << "computed in double";
    score[0] = 8;
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), handle, len + 1, score.data(), R{-3}), kivStatusBadSize);
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), handle, 0, score.data(), R{-3}), kivStatusBadSize);
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), nullptr, 0, score.data(), R{-3}), kivStatusNullPointer);
    EXPECT_EQ(score[0], 8);
    free_blocks(matrix);
  }
}

TYPED_TEST(GaussianSingle, PointersAreCheckedBeforeSizes) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  const E x[1] = {1};
  R out[1] = {5};
  for (int k = 0; k < 5; ++k) {
    const auto e = [&](int i) { return i == k ? nullptr : x; };
    const KivStatus expected = k == 4 ? kivStatusBadSize : kivStatusNullPointer;
    R* const o = k == 3 ? nullptr : out;
    EXPECT_EQ(M::single(e(0), e(1), e(2), 0, o, R{2}), expected) << k;
    EXPECT_EQ(M::single_direct(e(0), e(1), e(2), 0, o, R{2}), expected) << k;
    if (k != 2) {
      EXPECT_EQ(M::single_identity(e(0), e(1), 0, o, R{2}), expected) << k;
    }
  }
  EXPECT_EQ(out[0], 5);
}

}  // namespace
}  // namespace kivsr::test
