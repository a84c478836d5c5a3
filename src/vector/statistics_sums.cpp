// Plain sums of columns and rows, sums for moments, sums of chosen rows.
#include "copy.h"
#include "frame/matrix_checks.h"
#include "frame/scale.h"
#include "kivsr/vector/statistics.h"
#include "statistics_column_sums.h"
#include "sums.h"

namespace kivsr {
namespace {

// --- sums of columns ------------------------------------------------------------

template <class T, class Rows>
KivStatus sum_column(Rows rows, int height, T* dst, int width) {
  return run(matrix_checks(rows, height, width, dst), [&] {
    sum_columns(Values<T>{}, rows, height, width, FromZero{},
                [&](auto first, auto count, const auto* sum) { copy(dst + first, sum, count); });
  });
}

template <class Rows>
KivStatus sum_column_scaled(Rows rows, int height, Kiv32s* dst, int width, int scale_factor) {
  return run(matrix_checks(rows, height, width, dst), [&] {
    sum_columns_exactly(Values<double>{}, rows, height, width, [&](auto first, auto count, const std::int64_t* sum) {
      for (std::ptrdiff_t c = 0; c < count; ++c) dst[first + c] = scaled<Kiv32s>(sum[c], scale_factor);
    });
  });
}

template <class Rows>
KivStatus add_all_rows(Rows rows, int height, Kiv32f* src_dst, int width) {
  return run(matrix_checks(rows, height, width, src_dst), [&] {
    sum_columns(
        Values<float>{}, rows, height, width,
        [&](auto first, auto count, auto* sum) { copy(sum, src_dst + first, count); },
        [&](auto first, auto count, auto* sum) { copy(src_dst + first, sum, count); });
  });
}

// --- sums of rows -----------------------------------------------------------------

template <class T, class Rows>
KivStatus sum_row(Rows rows, int width, T* dst, int height) {
  return run(matrix_checks(rows, height, width, dst), [&] {
    for (std::ptrdiff_t r = 0; r < height; ++r) {
      dst[r] = reduce_sum<T>(
          width, [](auto total, auto x) { return total + x; }, rows.row(r));
    }
  });
}

template <class Rows>
KivStatus sum_row_scaled(Rows rows, int width, Kiv32s* dst, int height, int scale_factor) {
  return run(matrix_checks(rows, height, width, dst), [&] {
    for (std::ptrdiff_t r = 0; r < height; ++r) dst[r] = scaled<Kiv32s>(exact_sum(rows.row(r), width), scale_factor);
  });
}

// --- sums and sums of squares -------------------------------------------------------

enum class Onto { kZero, kOldValues };

template <Onto kOnto, class S>
KivStatus sums_for_moments(StepRows<S> rows, int height, Kiv32f* sum, Kiv32f* squares, int width) {
  return run(matrix_checks(rows, height, width, sum, squares), [&] {
    const auto start = [&](auto first, auto count, auto* panel_sum, auto* panel_squares) {
      if constexpr (kOnto == Onto::kOldValues) {
        copy(panel_sum, sum + first, count);
        copy(panel_squares, squares + first, count);
      }
    };
    sum_columns(ValuesAndSquares<float>{}, rows, height, width, start,
                [&](auto first, auto count, auto* panel_sum, auto* panel_squares) {
                  copy(sum + first, panel_sum, count);
                  copy(squares + first, panel_squares, count);
                });
  });
}

// Scales first, then adds the old value; saturates once.
template <Onto kOnto>
Kiv32s scaled_onto(Kiv32s old, std::int64_t sum, int scale_factor) {
  if constexpr (kOnto == Onto::kZero) return scaled<Kiv32s>(sum, scale_factor);
  constexpr std::int64_t kBeyondAnyOld = std::int64_t{1} << 62;
  return saturate<Kiv32s>(std::clamp(scaled<std::int64_t>(sum, scale_factor), -kBeyondAnyOld, kBeyondAnyOld) + old);
}

template <Onto kOnto>
KivStatus scaled_sums_for_moments(StepRows<const Kiv16s> rows, int height, Kiv32s* sum, Kiv32s* squares, int width,
                                  int scale_factor) {
  return run(matrix_checks(rows, height, width, sum, squares), [&] {
    sum_columns_exactly(ValuesAndSquares<double>{}, rows, height, width,
                        [&](auto first, auto count, const std::int64_t* total, const std::int64_t* total_squares) {
                          for (std::ptrdiff_t c = 0; c < count; ++c) {
                            Kiv32s& s = sum[first + c];
                            Kiv32s& q = squares[first + c];
                            s = scaled_onto<kOnto>(s, total[c], scale_factor);
                            q = scaled_onto<kOnto>(q, total_squares[c], scale_factor);
                          }
                        });
  });
}

// --- sums of chosen rows --------------------------------------------------------------

// Row r of the view is row index[r] + add_index[r] of the matrix.
struct ChosenRows {
  StepRows<const Kiv32f> matrix;
  const Kiv32s* index;
  const Kiv32s* add_index;
  std::int64_t number(std::ptrdiff_t r) const { return std::int64_t{index[r]} + add_index[r]; }
  const Kiv32f* row(std::ptrdiff_t r) const { return matrix.row(static_cast<std::ptrdiff_t>(number(r))); }
};

bool every_row_exists(const ChosenRows& rows, int chosen, int count) {
  for (std::ptrdiff_t r = 0; r < chosen; ++r) {
    if (rows.number(r) < 0 || rows.number(r) >= count) return false;
  }
  return true;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSumColumn_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pDst, int width) {
  return sum_column(StepRows{pSrc, step}, height, pDst, width);
}
KivStatus kivsSumColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDst, int width) {
  return sum_column(PointerRows{ppSrc}, height, pDst, width);
}
KivStatus kivsSumColumn_64f_D2(const Kiv64f* pSrc, int step, int height, Kiv64f* pDst, int width) {
  return sum_column(StepRows{pSrc, step}, height, pDst, width);
}
KivStatus kivsSumColumn_64f_D2L(const Kiv64f* const* ppSrc, int height, Kiv64f* pDst, int width) {
  return sum_column(PointerRows{ppSrc}, height, pDst, width);
}
KivStatus kivsSumColumn_16s32f_D2(const Kiv16s* pSrc, int step, int height, Kiv32f* pDst, int width) {
  return sum_column(StepRows{pSrc, step}, height, pDst, width);
}
KivStatus kivsSumColumn_16s32f_D2L(const Kiv16s* const* ppSrc, int height, Kiv32f* pDst, int width) {
  return sum_column(PointerRows{ppSrc}, height, pDst, width);
}
KivStatus kivsSumColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDst, int width,
                                     int scaleFactor) {
  return sum_column_scaled(StepRows{pSrc, step}, height, pDst, width, scaleFactor);
}
KivStatus kivsSumColumn_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv32s* pDst, int width,
                                      int scaleFactor) {
  return sum_column_scaled(PointerRows{ppSrc}, height, pDst, width, scaleFactor);
}

KivStatus kivsSumRow_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int height) {
  return sum_row(StepRows{pSrc, step}, width, pDst, height);
}
KivStatus kivsSumRow_32f_D2L(const Kiv32f* const* ppSrc, int width, Kiv32f* pDst, int height) {
  return sum_row(PointerRows{ppSrc}, width, pDst, height);
}
KivStatus kivsSumRow_64f_D2(const Kiv64f* pSrc, int width, int step, Kiv64f* pDst, int height) {
  return sum_row(StepRows{pSrc, step}, width, pDst, height);
}
KivStatus kivsSumRow_64f_D2L(const Kiv64f* const* ppSrc, int width, Kiv64f* pDst, int height) {
  return sum_row(PointerRows{ppSrc}, width, pDst, height);
}
KivStatus kivsSumRow_16s32f_D2(const Kiv16s* pSrc, int width, int step, Kiv32f* pDst, int height) {
  return sum_row(StepRows{pSrc, step}, width, pDst, height);
}
KivStatus kivsSumRow_16s32f_D2L(const Kiv16s* const* ppSrc, int width, Kiv32f* pDst, int height) {
  return sum_row(PointerRows{ppSrc}, width, pDst, height);
}
KivStatus kivsSumRow_16s32s_D2Sfs(const Kiv16s* pSrc, int width, int step, Kiv32s* pDst, int height, int scaleFactor) {
  return sum_row_scaled(StepRows{pSrc, step}, width, pDst, height, scaleFactor);
}
KivStatus kivsSumRow_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int width, Kiv32s* pDst, int height, int scaleFactor) {
  return sum_row_scaled(PointerRows{ppSrc}, width, pDst, height, scaleFactor);
}

KivStatus kivsSumMeanVar_32f(const Kiv32f* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq, int width) {
  return sums_for_moments<Onto::kZero>(StepRows{pSrc, step}, height, pDstSum, pDstSumSq, width);
}
KivStatus kivsSumMeanVar_32f_I(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDstSum, Kiv32f* pSrcDstSumSq,
                               int width) {
  return sums_for_moments<Onto::kOldValues>(StepRows{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width);
}
KivStatus kivsSumMeanVar_16s32f(const Kiv16s* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq,
                                int width) {
  return sums_for_moments<Onto::kZero>(StepRows{pSrc, step}, height, pDstSum, pDstSumSq, width);
}
KivStatus kivsSumMeanVar_16s32f_I(const Kiv16s* pSrc, int step, int height, Kiv32f* pSrcDstSum, Kiv32f* pSrcDstSumSq,
                                  int width) {
  return sums_for_moments<Onto::kOldValues>(StepRows{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width);
}
KivStatus kivsSumMeanVar_16s32s_Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDstSum, Kiv32s* pDstSumSq,
                                    int width, int scaleFactor) {
  return scaled_sums_for_moments<Onto::kZero>(StepRows{pSrc, step}, height, pDstSum, pDstSumSq, width, scaleFactor);
}
KivStatus kivsSumMeanVar_16s32s_ISfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pSrcDstSum, Kiv32s* pSrcDstSumSq,
                                     int width, int scaleFactor) {
  return scaled_sums_for_moments<Onto::kOldValues>(StepRows{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width,
                                                   scaleFactor);
}

KivStatus kivsAddAllRowSum_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDst, int width) {
  return add_all_rows(StepRows{pSrc, step}, height, pSrcDst, width);
}
KivStatus kivsAddAllRowSum_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pSrcDst, int width) {
  return add_all_rows(PointerRows{ppSrc}, height, pSrcDst, width);
}

KivStatus kivsAddNRows_32f_D2(const Kiv32f* pSrc, int count, int offset, int step, const Kiv32s* pIndx,
                              const Kiv32s* pAddIndx, int nRows, Kiv32f* pDst, int width) {
  const KivStatus checks =
      first_failure(not_null(pSrc, pIndx, pAddIndx, pDst), positive(nRows, count, width),
                    require(offset >= 0, kivStatusBadSize), step_covers(step, std::int64_t{offset} + width));
  if (checks != kivStatusOk) return checks;
  const ChosenRows rows{{pSrc + offset, step}, pIndx, pAddIndx};
  return run(require(every_row_exists(rows, nRows, count), kivStatusBadSize), [&] {
    sum_columns(Values<float>{}, rows, nRows, width, FromZero{},
                [&](auto first, auto panel, const auto* sum) { copy(pDst + first, sum, panel); });
  });
}
}
