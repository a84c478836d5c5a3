// Statistics of the columns and rows of matrices.
#include <array>

#include "matrix_cases.h"
#include "support/failed_allocations.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr Results kByColumn = Results::kByColumn;

// Sum and sum of squares of a column in row order, in the precision of T.
template <class T, class C>
std::pair<T, T> moments(C& c, int column, T sum = 0, T squares = 0) {
  for (int r = 0; r < c.height; ++r) {
    const T x = static_cast<T>(c.matrix.at(r, column));
    sum += x;
    squares += x * x;
  }
  return {sum, squares};
}

TEST(ColumnMean, SumsInRowOrder) {
  check<Kiv32f, Kiv32f>(
      kByColumn, kStepFirst, 1,
      [](auto& c, int k) {
        return std::pair(moments<float>(c, k).first * static_cast<float>(1.0 / c.height), c.second[k]);
      },
      with(kivsMeanColumn_32f_D2, matrix, height, step, first, width),
      with(kivsMeanColumn_32f_D2L, matrix_rows, height, first, width));
  check<Kiv16s, Kiv16s>(
      kByColumn, kStepFirst, 1,
      [](auto& c, int k) {
        const float mean = moments<float>(c, k).first * (1.0F / static_cast<float>(c.height));
        return std::pair(rounded<Kiv16s>(mean, 0), c.second[k]);
      },
      with(kivsMeanColumn_16s_D2, matrix, height, step, first, width),
      with(kivsMeanColumn_16s_D2L, matrix_rows, height, first, width));
}

TEST(ColumnMean, RoundsTiesToEvenAndReportsMemory) {
  const Kiv16s data[] = {1, 2, 2, 3};
  Kiv16s mean[2] = {};
  expect_survives_failed_allocations([&] { return kivsMeanColumn_16s_D2(data, 2, 2, mean, 2); });
  EXPECT_EQ(mean[0], 2);  // 1.5
  EXPECT_EQ(mean[1], 2);  // 2.5
  const AllocationWatch watch(1);
  mean[0] = 77;
  EXPECT_EQ(kivsMeanColumn_16s_D2(data, 0, 2, mean, 2), kivStatusBadSize);
  EXPECT_EQ(kivsMeanColumn_16s_D2(data, 2, 2, mean, 2), kivStatusNoMemory);
  EXPECT_EQ(mean[0], 77);
}

TEST(ColumnMean, OfIntegersIgnoresTheRoundingMode) {
  // 9 / 6 and 3 / 6: the reciprocal of 6 rounds up or down.
  const Kiv16s data[6][2] = {{9, 3}};
  const auto means = under_rounding_modes([&] {
    std::array<Kiv16s, 2> mean{};
    kivsMeanColumn_16s_D2(&data[0][0], 6, 2, mean.data(), 2);
    return mean;
  });
  for (const auto& mean : means) EXPECT_EQ(mean, (std::array<Kiv16s, 2>{2, 0}));
}

TEST(ColumnVariance, IsTakenAboutTheGivenMean) {
  check<Kiv32f, Kiv32f>(
      kByColumn, kStepFirst, 2,
      [](auto& c, int k) {
        const float m = c.columns[k];
        const float start = -static_cast<float>(c.height) * m * m;
        return std::pair(moments<float>(c, k, 0, start).second * static_cast<float>(1.0 / (c.height - 1)), c.second[k]);
      },
      with(kivsVarColumn_32f_D2, matrix, height, step, columns, first, width),
      with(kivsVarColumn_32f_D2L, matrix_rows, height, columns, first, width));
  for (int scale : {-3, 0, 17, 40}) {
    check<Kiv16s, Kiv16s>(
        kByColumn, kStepFirst, 2,
        [=](auto& c, int k) {
          const double deviations = moments<double>(c, k).second - 1.0 * c.height * c.columns[k] * c.columns[k];
          return std::pair(rounded<Kiv16s>(deviations / (c.height - 1), scale), c.second[k]);
        },
        with(kivsVarColumn_16s_D2Sfs, matrix, height, step, columns, first, width, value(scale)),
        with(kivsVarColumn_16s_D2LSfs, matrix_rows, height, columns, first, width, value(scale)));
  }
}

TEST(ColumnVariance, IsExactOverMoreRowsThanDoublesCanSum) {
  const int rows = (1 << 23) + 5;
  const std::vector<Kiv16s> data(static_cast<std::size_t>(rows), 32767);
  const Kiv16s mean = 32767;
  Kiv16s variance = 1;
  EXPECT_EQ(kivsVarColumn_16s_D2Sfs(data.data(), rows, 1, &mean, &variance, 1, -30), kivStatusOk);
  EXPECT_EQ(variance, 0);
  Kiv32s means = 0;
  Kiv32s variances = 1;
  EXPECT_EQ(kivsMeanVarColumn_16s32s_D2Sfs(data.data(), rows, 1, &means, &variances, 1, -30), kivStatusOk);
  EXPECT_EQ(means, 32767);
  EXPECT_EQ(variances, 0);
}

TEST(ColumnMeanVariance, FollowsItsOwnRounding) {
  check<Kiv32f, Kiv32f>(
      kByColumn, kStepLast, 2,
      [](auto& c, int k) {
        const auto [sum, squares] = moments<float>(c, k);
        const float mean = sum * static_cast<float>(1.0 / c.height);
        const float about = static_cast<float>(c.height) * mean * mean;
        return std::pair(mean, (squares - about) * static_cast<float>(1.0 / (c.height - 1)));
      },
      with(kivsMeanVarColumn_32f_D2, matrix, height, step, first, second, width),
      with(kivsMeanVarColumn_32f_D2L, matrix_rows, height, first, second, width));
}

template <class Mean, class Variance, class... Call>
void check_integer_mean_variance(int scale, Call... calls) {
  check<Kiv16s, Mean, Variance>(
      kByColumn, kStepLast, 2,
      [=](auto& c, int k) {
        const auto [sum, squares] = moments<double>(c, k);
        const double deviations = (c.height * squares - sum * sum) / c.height;  // integers below 2^53
        return std::pair(rounded<Mean>(sum * (1.0 / c.height), 0),
                         rounded<Variance>(deviations * (1.0 / (c.height - 1)), scale));
      },
      calls...);
}

TEST(ColumnMeanVariance, ScalesTheVarianceOfIntegersOnly) {
  for (int scale : {-2, 0, 15, 31}) {
    check_integer_mean_variance<Kiv16s, Kiv16s>(
        scale, with(kivsMeanVarColumn_16s_D2Sfs, matrix, height, step, first, second, width, value(scale)),
        with(kivsMeanVarColumn_16s_D2LSfs, matrix_rows, height, first, second, width, value(scale)));
    check_integer_mean_variance<Kiv32s, Kiv32s>(
        scale, with(kivsMeanVarColumn_16s32s_D2Sfs, matrix, height, step, first, second, width, value(scale)),
        with(kivsMeanVarColumn_16s32s_D2LSfs, matrix_rows, height, first, second, width, value(scale)));
  }
  check_integer_mean_variance<Kiv16s, Kiv32s>(
      0, with(kivsMeanVarColumn_16s16s32s_D2, matrix, height, step, first, second, width),
      with(kivsMeanVarColumn_16s16s32s_D2L, matrix_rows, height, first, second, width));
}

// Pairs of rows from the top, a last single row; the weights are c.rows.
template <class T>
std::pair<T, T> weighted_moments(Case<T, T, T>& c, int column) {
  const auto sum = [&](auto term) {
    T total = 0;
    const auto at = [&](int r) { return term(c.matrix.at(r, column), c.rows[r]); };
    int r = 0;
    for (; r + 1 < c.height; r += 2) total += at(r) + at(r + 1);
    return r < c.height ? total + at(r) : total;
  };
  return {sum([](T x, T w) { return x * w; }), sum([](T x, T w) { return x * w * x; })};
}

template <class T, class F1, class F2, class F3, class F4, class F5, class F6>
void check_weighted(F1 mean_d2, F2 mean_d2l, F3 variance_d2, F4 variance_d2l, F5 both_d2, F6 both_d2l) {
  check<T, T>(
      kByColumn, kStepSecond, 1, [](auto& c, int k) { return std::pair(weighted_moments(c, k).first, c.second[k]); },
      with(mean_d2, matrix, step, rows, height, first, width), with(mean_d2l, matrix_rows, rows, height, first, width));
  check<T, T>(
      kByColumn, kStepSecond, 1,
      [](auto& c, int k) {
        return std::pair(weighted_moments(c, k).second - c.columns[k] * c.columns[k], c.second[k]);
      },
      with(variance_d2, matrix, step, rows, height, columns, first, width),
      with(variance_d2l, matrix_rows, rows, height, columns, first, width));
  check<T, T>(
      kByColumn, kStepSecond, 1,
      [](auto& c, int k) {
        const auto [mean, squares] = weighted_moments(c, k);
        return std::pair(mean, squares - mean * mean);
      },
      with(both_d2, matrix, step, rows, height, first, second, width),
      with(both_d2l, matrix_rows, rows, height, first, second, width));
}

TEST(WeightedMoments, AddRowsInPairsWithoutNormalising) {
  check_weighted<Kiv32f>(kivsWeightedMeanColumn_32f_D2, kivsWeightedMeanColumn_32f_D2L, kivsWeightedVarColumn_32f_D2,
                         kivsWeightedVarColumn_32f_D2L, kivsWeightedMeanVarColumn_32f_D2,
                         kivsWeightedMeanVarColumn_32f_D2L);
  check_weighted<Kiv64f>(kivsWeightedMeanColumn_64f_D2, kivsWeightedMeanColumn_64f_D2L, kivsWeightedVarColumn_64f_D2,
                         kivsWeightedVarColumn_64f_D2L, kivsWeightedMeanVarColumn_64f_D2,
                         kivsWeightedMeanVarColumn_64f_D2L);
}

template <class S, class D, class F, class FL, class... More>
void check_column_sums(F d2, FL d2l, More... more) {
  check<S, D>(
      kByColumn, kStepLast, 1, [](auto& c, int k) { return std::pair(moments<D>(c, k).first, c.second[k]); },
      with(d2, matrix, step, height, first, width), with(d2l, matrix_rows, height, first, width), more...);
}

TEST(ColumnSums, AddInRowOrder) {
  check_column_sums<Kiv32f, Kiv32f>(kivsSumColumn_32f_D2, kivsSumColumn_32f_D2L);
  check_column_sums<Kiv64f, Kiv64f>(kivsSumColumn_64f_D2, kivsSumColumn_64f_D2L);
  check_column_sums<Kiv16s, Kiv32f>(kivsSumColumn_16s32f_D2, kivsSumColumn_16s32f_D2L);
  for (int scale : {-20, 0, 2, 40}) {
    check<Kiv16s, Kiv32s>(
        kByColumn, kStepLast, 1,
        [=](auto& c, int k) { return std::pair(rounded<Kiv32s>(moments<double>(c, k).first, scale), c.second[k]); },
        with(kivsSumColumn_16s32s_D2Sfs, matrix, step, height, first, width, value(scale)),
        with(kivsSumColumn_16s32s_D2LSfs, matrix_rows, height, first, width, value(scale)));
  }
  check<Kiv32f, Kiv32f>(
      kByColumn, kStepLast, 1,
      [](auto& c, int k) { return std::pair(moments<float>(c, k, c.first[k]).first, c.second[k]); },
      with(kivsAddAllRowSum_32f_D2, matrix, step, height, first, width),
      with(kivsAddAllRowSum_32f_D2L, matrix_rows, height, first, width));
}

TEST(SumsForMoments, StartFromZeroOrFromTheOldValues) {
  const auto fresh = [](auto& c, int k) { return moments<float>(c, k); };
  const auto onto = [](auto& c, int k) { return moments<float>(c, k, c.first[k], c.second[k]); };
  const auto call = [](auto function, auto... scale) {
    return with(function, matrix, step, height, first, second, width, scale...);
  };
  check<Kiv32f, Kiv32f>(kByColumn, kStepLast, 1, fresh, call(kivsSumMeanVar_32f));
  check<Kiv32f, Kiv32f>(kByColumn, kStepLast, 1, onto, call(kivsSumMeanVar_32f_I));
  check<Kiv16s, Kiv32f>(kByColumn, kStepLast, 1, fresh, call(kivsSumMeanVar_16s32f));
  check<Kiv16s, Kiv32f>(kByColumn, kStepLast, 1, onto, call(kivsSumMeanVar_16s32f_I));
  for (int scale : {-40, -3, 0, 6, 31, 70}) {
    for (const bool add_old : {false, true}) {
      check<Kiv16s, Kiv32s>(
          kByColumn, kStepLast, 1,
          [=](auto& c, int k) {
            const auto [sum, squares] = moments<double>(c, k);
            const auto scaled = [&](double x, Kiv32s old) {
              return rounded<Kiv32s>(std::nearbyint(std::ldexp(x, -scale)) + (add_old ? old : 0), 0);
            };
            return std::pair(scaled(sum, c.first[k]), scaled(squares, c.second[k]));
          },
          call(add_old ? kivsSumMeanVar_16s32s_ISfs : kivsSumMeanVar_16s32s_Sfs, value(scale)));
    }
  }
}

template <class S, class D, class F, class FL>
void check_row_sums(F d2, FL d2l) {
  check<S, D>(
      Results::kByRow, kStepLast, 1,
      [](auto& c, int r) {
        Sum<D> sum;
        for (int k = 0; k < c.width; ++k) sum.add(c.matrix.at(r, k));
        return std::pair(sum, c.second[r]);
      },
      with(d2, matrix, width, step, first, height), with(d2l, matrix_rows, width, first, height));
}

TEST(RowSums, AgreeWithWiderSums) {
  check_row_sums<Kiv32f, Kiv32f>(kivsSumRow_32f_D2, kivsSumRow_32f_D2L);
  check_row_sums<Kiv64f, Kiv64f>(kivsSumRow_64f_D2, kivsSumRow_64f_D2L);
  check_row_sums<Kiv16s, Kiv32f>(kivsSumRow_16s32f_D2, kivsSumRow_16s32f_D2L);
  for (int scale : {-40, -17, 0, 3, 33}) {
    check<Kiv16s, Kiv32s>(
        Results::kByRow, kStepLast, 1,
        [=](auto& c, int r) {
          double sum = 0;
          for (int k = 0; k < c.width; ++k) sum += c.matrix.at(r, k);
          return std::pair(rounded<Kiv32s>(sum, scale), c.second[r]);
        },
        with(kivsSumRow_16s32s_D2Sfs, matrix, width, step, first, height, value(scale)),
        with(kivsSumRow_16s32s_D2LSfs, matrix_rows, width, first, height, value(scale)));
  }
  const std::vector<Kiv16s> lowest(1 << 17, -32768);
  Kiv32s sum = 0;
  EXPECT_EQ(kivsSumRow_16s32s_D2Sfs(lowest.data(), 1 << 17, 1 << 17, &sum, 1, 2), kivStatusOk);
  EXPECT_EQ(sum, -(1 << 30));
}

// Operations that change the matrix: expected(x, column vector, first) by element.
template <class T, class Expected, class... Call>
void check_rows(Expected expected, Call... calls) {
  for_shapes(1, [&](int h, int w, unsigned seed) {
    Case<T, T, T> before(kByColumn, h, w, w, seed);
    const auto run = [&](auto call) {
      for (int padding : {0, 1, 3}) {
        Case<T, T, T> c(kByColumn, h, w, w + padding, seed);
        ASSERT_EQ(call(c), kivStatusOk);
        for (int r = 0; r < h; ++r) {
          for (int k = 0; k < w; ++k) {
            ASSERT_TRUE(same_bits(c.matrix.at(r, k), expected(before.matrix.at(r, k), c.columns[k], c.first[k])))
                << h << " x " << w << " at " << r << ", " << k;
          }
        }
        if (h == 4 && w == 3) expect_order(c, kStepLast, call);
      }
    };
    (run(calls), ...);
  });
}

TEST(RowOperations, SubtractAndNormalize) {
  check_rows<Kiv32f>([](float x, float m, float) { return x - m; },
                     with(kivsSubRow_32f_D2, columns, width, matrix, step, height),
                     with(kivsSubRow_32f_D2L, columns, width, changed_rows, height));
  check_rows<Kiv16s>([](Kiv16s x, Kiv16s m, Kiv16s) { return rounded<Kiv16s>(x - m, 0); },
                     with(kivsSubRow_16s_D2, columns, width, matrix, step, height),
                     with(kivsSubRow_16s_D2L, columns, width, changed_rows, height));
  check_rows<Kiv32f>([](float x, float m, float f) { return (x - m) * f; },
                     with(kivsNormalizeColumn_32f_D2, matrix, step, height, columns, first, width),
                     with(kivsNormalizeColumn_32f_D2L, changed_rows, height, columns, first, width));
  for (int scale : {-40, -16, -15, -1, 0, 1, 15, 31, 32, 99}) {
    check_rows<Kiv16s>([=](Kiv16s x, Kiv16s m, Kiv16s f) { return rounded<Kiv16s>((1.0 * x - m) * f, scale); },
                       with(kivsNormalizeColumn_16s_D2Sfs, matrix, step, height, columns, first, width, value(scale)),
                       with(kivsNormalizeColumn_16s_D2LSfs, changed_rows, height, columns, first, width, value(scale)));
  }
  Kiv16s x = 32767;
  const Kiv16s lowest = -32768;
  EXPECT_EQ(kivsNormalizeColumn_16s_D2Sfs(&x, 1, 1, &lowest, &lowest, 1, 17), kivStatusOk);
  EXPECT_EQ(x, -16384);  // 65535 * -32768 / 2^17 = -16383.75
}

template <class T, class F, class FL>
void check_gather(F d2, FL d2l) {
  for (int w : {1, 4, 13, 39}) {
    Random random(static_cast<unsigned>(w));
    const int h = 5;
    const int dst_width = 2 * w + 1;
    GuardedMatrix<T> src(h, w, w + 2), dst(h, dst_width, dst_width + 1);
    src.fill([&] { return any_value<T>(random, 2); });
    const Guarded<Kiv32s> index(random.values<Kiv32s>(static_cast<std::size_t>(dst_width), 0, w - 1));
    const auto gather = [&](bool pointers) {
      return pointers ? d2l(src.const_rows(), w, dst.rows(), index.data(), dst_width, h)
                      : d2(src.data(), w, src.step(), dst.data(), index.data(), dst_width, dst.step(), h);
    };
    for (const bool pointers : {false, true}) {
      dst.fill([] { return T{}; });
      ASSERT_EQ(gather(pointers), kivStatusOk);
      for (int r = 0; r < h; ++r) {
        for (int k = 0; k < dst_width; ++k) ASSERT_EQ(dst.at(r, k), src.at(r, index[k]));
      }
    }
    // An index out of range ends the call in row 0, the elements before it written.
    dst.fill([] { return T{77}; });
    src.at(0, 0) = 5;
    const Kiv32s beyond[] = {0, w, 0};
    const Kiv32s negative[] = {0, -1, 0};
    EXPECT_EQ(d2(src.data(), w, src.step(), dst.data(), beyond, 3, dst.step(), h), kivStatusBadSize);
    EXPECT_EQ(d2l(src.const_rows(), w, dst.rows() + 1, negative, 3, h - 1), kivStatusBadSize);
    for (int r : {0, 1, 2}) {
      for (int k : {0, 1, 2}) EXPECT_EQ(dst.at(r, k), k == 0 && r < 2 ? 5 : 77);
    }
  }
  T data[4] = {};
  const Kiv32s index[] = {0, 0};
  const auto status = [&](int src_width, int src_step, int dst_width, int dst_step, int h) {
    return d2(data, src_width, src_step, data + 2, index, dst_width, dst_step, h);
  };
  EXPECT_EQ(d2(nullptr, 0, 1, data, index, 1, 1, 1), kivStatusNullPointer);
  EXPECT_EQ(d2l(nullptr, 0, nullptr, index, 1, 1), kivStatusNullPointer);
  EXPECT_EQ(status(0, -1, 0, 0, 0), kivStatusBadSize);
  EXPECT_EQ(status(2, 1, 0, 0, 0), kivStatusBadStep);
  EXPECT_EQ(status(1, 1, 0, -1, 0), kivStatusBadSize);
  EXPECT_EQ(status(1, 1, 2, 1, 0), kivStatusBadStep);
  EXPECT_EQ(status(1, 1, 1, 1, 0), kivStatusBadSize);
}

TEST(ColumnCopies, GatherByIndex) {
  check_gather<Kiv32f>(kivsCopyColumn_Indirect_32f_D2, kivsCopyColumn_Indirect_32f_D2L);
  check_gather<Kiv64f>(kivsCopyColumn_Indirect_64f_D2, kivsCopyColumn_Indirect_64f_D2L);
  check_gather<Kiv16s>(kivsCopyColumn_Indirect_16s_D2, kivsCopyColumn_Indirect_16s_D2L);
}

template <class T, class Copy>
void check_column_range(Copy copy) {
  GuardedMatrix<T> src(3, 7, 8), dst(3, 4, 5);
  T next = 0;
  src.fill([&] { return next++; });
  ASSERT_EQ(copy(src.data(), 7, 8, dst.data(), 3, 4, 5, 3), kivStatusOk);
  for (int r = 0; r < 3; ++r) {
    for (int k = 0; k < 4; ++k) EXPECT_EQ(dst.at(r, k), src.at(r, k + 3));
  }
  const auto status = [&](int w, int src_step, int from, int dst_step, int h) {
    return copy(src.data(), w, src_step, dst.data(), from, 4, dst_step, h);
  };
  EXPECT_EQ(copy(nullptr, 7, 6, dst.data(), 3, 4, 5, 0), kivStatusNullPointer);
  EXPECT_EQ(status(7, 6, 4, 5, 3), kivStatusBadSize);
  EXPECT_EQ(status(7, 8, -1, 5, 3), kivStatusBadSize);
  EXPECT_EQ(status(7, 8, std::numeric_limits<int>::max(), 5, 3), kivStatusBadSize);
  EXPECT_EQ(status(7, 6, 3, 5, 0), kivStatusBadSize);
  EXPECT_EQ(status(7, 6, 3, 5, 3), kivStatusBadStep);
  EXPECT_EQ(status(7, 8, 3, 3, 3), kivStatusBadStep);
}

TEST(ColumnCopies, CopyARange) {
  check_column_range<Kiv32f>(kivsCopyColumn_32f_D2);
  check_column_range<Kiv16s>(kivsCopyColumn_16s_D2);
}

TEST(ChosenRows, AreSummedInOrderAfterChecks) {
  const Kiv32f data[] = {1, 1e8F, 3, 4, 5, -1e8F, 7, 8, 1};
  const Kiv32s index[] = {0, 1, 7};
  const Kiv32s add[] = {0, 0, -5};
  Kiv32f sum[2] = {9, 9};
  const auto status = [&](int count, int offset, int row_step, const Kiv32s* i, const Kiv32s* a, int n, int w) {
    return kivsAddNRows_32f_D2(data, count, offset, row_step, i, a, n, sum, w);
  };
  constexpr int kMost = std::numeric_limits<int>::max();
  const Kiv32s most[] = {kMost, 1, 1};
  EXPECT_EQ(status(0, 0, 3, nullptr, add, 3, 2), kivStatusNullPointer);
  EXPECT_EQ(status(3, 0, 1, index, add, 0, 2), kivStatusBadSize);
  EXPECT_EQ(status(0, 0, 1, index, add, 3, 2), kivStatusBadSize);
  EXPECT_EQ(status(3, -1, 0, index, add, 3, 2), kivStatusBadSize);
  EXPECT_EQ(status(3, 0, 0, index, add, 3, 0), kivStatusBadSize);
  EXPECT_EQ(status(1, 2, 3, index, add, 3, 2), kivStatusBadStep);
  EXPECT_EQ(status(3, kMost, 3, index, add, 3, 2), kivStatusBadStep);
  EXPECT_EQ(status(2, 1, 3, index, add, 3, 2), kivStatusBadSize);
  EXPECT_EQ(status(3, 1, 3, most, most, 3, 2), kivStatusBadSize);
  EXPECT_EQ(sum[0], 9);
  EXPECT_EQ(status(3, 1, 3, index, add, 3, 2), kivStatusOk);
  EXPECT_EQ(sum[0], 1e8F + 5 + 8);
  EXPECT_EQ(sum[1], (3 + -1e8F) + 1);
}

}  // namespace
}  // namespace kivsr::test
