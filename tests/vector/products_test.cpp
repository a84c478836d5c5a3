// Products of matrices with vectors.
#include "matrix_cases.h"

namespace kivsr::test {
namespace {

// Matrix times vector and vector times matrix; judge(sum) makes the expected result of the sum of products.
template <class T, class D, class Judge, class MatVec, class MatVecL, class VecMat, class VecMatL, class... Scale>
void check_products(Judge judge, MatVec mat_vec, MatVecL mat_vec_l, VecMat vec_mat, VecMatL vec_mat_l, Scale... scale) {
  check<T, D>(
      Results::kByRow, kStepLast, 1,
      [=](auto& c, int r) {
        Sum<D> sum;
        for (int k = 0; k < c.width; ++k) sum.add(1.0 * c.matrix.at(r, k) * c.columns[k]);
        return std::pair(judge(sum), c.second[r]);
      },
      with(mat_vec, matrix, step, columns, width, first, height, value(scale)...),
      with(mat_vec_l, matrix_rows, columns, width, first, height, value(scale)...));
  check<T, D>(
      Results::kByColumn, kStepLast, 1,
      [=](auto& c, int k) {
        Sum<D> sum;
        for (int r = 0; r < c.height; ++r) sum.add(1.0 * c.matrix.at(r, k) * c.rows[r]);
        return std::pair(judge(sum), c.second[k]);
      },
      with(vec_mat, rows, matrix, step, height, first, width, value(scale)...),
      with(vec_mat_l, rows, matrix_rows, height, first, width, value(scale)...));
}

TEST(Products, SingleAgreesWithDouble) {
  check_products<Kiv32f, Kiv32f>([](auto sum) { return sum; }, kivsMatVecMul_32f_D2, kivsMatVecMul_32f_D2L,
                                 kivsVecMatMul_32f_D2, kivsVecMatMul_32f_D2L);
}

TEST(Products, WordsAreExactThenScaled) {
  for (int scale : {-33, -2, 0, 1, 17, 40}) {
    check_products<Kiv16s, Kiv16s>([=](auto sum) { return rounded<Kiv16s>(sum.sum, scale); }, kivsMatVecMul_16s_D2Sfs,
                                   kivsMatVecMul_16s_D2LSfs, kivsVecMatMul_16s_D2Sfs, kivsVecMatMul_16s_D2LSfs, scale);
    check_products<Kiv16s, Kiv32s>([=](auto sum) { return rounded<Kiv32s>(sum.sum, scale); },
                                   kivsMatVecMul_16s32s_D2Sfs, kivsMatVecMul_16s32s_D2LSfs, kivsVecMatMul_16s32s_D2Sfs,
                                   kivsVecMatMul_16s32s_D2LSfs, scale);
  }
  // Lowest words throughout, beyond what 32-bit halves can hold in one go.
  const int n = (1 << 20) + 3;
  const std::vector<Kiv16s> lowest(static_cast<std::size_t>(n), -32768);
  Kiv32s sum = 0;
  EXPECT_EQ(kivsMatVecMul_16s32s_D2Sfs(lowest.data(), n, lowest.data(), n, &sum, 1, 30), kivStatusOk);
  EXPECT_EQ(sum, n);
  EXPECT_EQ(kivsVecMatMul_16s32s_D2Sfs(lowest.data(), lowest.data(), 1, n, &sum, 1, 30), kivStatusOk);
  EXPECT_EQ(sum, n);
}

TEST(Products, LongWordsAreSummedExactly) {
  // Results of large sums are compared to the last bits of a double; a scale that takes them into the 32-bit range.
  for (int scale : {-3, 45, 70}) {
    check_products<Kiv32s, Kiv32s>([=](auto sum) { return rounded<Kiv32s>(sum.sum, scale); }, kivsMatVecMul_32s_D2Sfs,
                                   kivsMatVecMul_32s_D2LSfs, kivsVecMatMul_32s_D2Sfs, kivsVecMatMul_32s_D2LSfs, scale);
  }
  // Six times 2^62 leaves 64 bits; the products cancel to an odd remainder that a double cannot hold beside them.
  const Kiv32s lowest = std::numeric_limits<Kiv32s>::min();
  const std::vector<Kiv32s> row = {lowest, lowest, lowest, lowest, lowest, lowest, 3};
  const std::vector<Kiv32s> same = {lowest, lowest, lowest, lowest, lowest, lowest, 7};
  const std::vector<Kiv32s> mixed = {lowest, lowest, lowest, 0, 0, 0, 7};
  std::vector<Kiv32s> opposite = row;
  Kiv32s sum = 0;
  EXPECT_EQ(kivsMatVecMul_32s_D2Sfs(row.data(), 7, same.data(), 7, &sum, 1, 62), kivStatusOk);
  EXPECT_EQ(sum, 6);
  EXPECT_EQ(kivsMatVecMul_32s_D2Sfs(row.data(), 7, same.data(), 7, &sum, 1, 0), kivStatusOk);
  EXPECT_EQ(sum, std::numeric_limits<Kiv32s>::max());
  EXPECT_EQ(kivsMatVecMul_32s_D2Sfs(row.data(), 7, same.data(), 7, &sum, 1, 2000), kivStatusOk);
  EXPECT_EQ(sum, 0);
  for (int k = 3; k < 6; ++k) opposite[k] = std::numeric_limits<Kiv32s>::max();
  std::vector<Kiv32s> cancelling = same;  // 3 * 2^62 - 3 * 2^31 * (2^31 - 1) + 21 = 3 * 2^31 + 21
  EXPECT_EQ(kivsVecMatMul_32s_D2Sfs(opposite.data(), cancelling.data(), 1, 7, &sum, 1, 3), kivStatusOk);
  EXPECT_EQ(sum, 805306368 + 3);  // 21 / 8 rounds to 3
  EXPECT_EQ(kivsMatVecMul_32s_D2Sfs(row.data(), 7, mixed.data(), 7, &sum, 1, 61), kivStatusOk);
  EXPECT_EQ(sum, 6);
  EXPECT_EQ(kivsMatVecMul_32s_D2Sfs(row.data() + 6, 1, row.data() + 6, 1, &sum, 1, -2000), kivStatusOk);
  EXPECT_EQ(sum, std::numeric_limits<Kiv32s>::max());
}

}  // namespace
}  // namespace kivsr::test
