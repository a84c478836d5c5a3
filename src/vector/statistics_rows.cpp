// Operations on every row of a matrix: subtraction of a vector, normalisation of columns, copies of columns.
#include "copy.h"
#include "frame/matrix_checks.h"
#include "frame/scale.h"
#include "frame/transform.h"
#include "kivsr/vector/statistics.h"

namespace kivsr {
namespace {

using simd::Vec;

// row[c] = op(row[c], vectors[c]...) in lanes of T.
template <class T, class Op, class Rows, class... S>
void transform_rows(Rows rows, std::ptrdiff_t height, std::ptrdiff_t width, Op op, const S*... vectors) {
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    auto* const row = rows.row(r);
    transform<T>(width, op, row, static_cast<const std::remove_pointer_t<decltype(row)>*>(row), vectors...);
  }
}

// 16-bit rows subtract in 32-bit lanes and saturate when stored.
template <class Lanes, class T, class Rows>
KivStatus subtract_row(const T* src, int width, Rows rows, int height) {
  return run(matrix_checks(rows, height, width, src), [&] {
    transform_rows<Lanes>(
        rows, height, width, [](auto x, auto y) { return x - y; }, src);
  });
}

template <class Rows>
KivStatus normalize(Rows rows, int height, const Kiv32f* mean, const Kiv32f* factor, int width) {
  return run(matrix_checks(rows, height, width, mean, factor), [&] {
    transform_rows<float>(
        rows, height, width, [](auto x, auto m, auto f) { return (x - m) * f; }, mean, factor);
  });
}

template <class Rows>
KivStatus normalize_scaled(Rows rows, int height, const Kiv16s* mean, const Kiv16s* factor, int width,
                           int scale_factor) {
  return run(matrix_checks(rows, height, width, mean, factor), [&] {
    // |x - m| * |f| <= 65535 * 32768 fits 32 bits, and so do the two products of 16-bit words that make it.
    scale_to_16_bits(scale_factor, [&](auto scale) {
      transform_rows<Kiv32s>(
          rows, height, width,
          [&](auto x, auto m, auto f) { return scale(multiply_words(x, f) - multiply_words(m, f)); }, mean, factor);
    });
  });
}

template <class T>
KivStatus copy_columns(StepRows<const T> src, int width, StepRows<T> dst, int first_column, int columns, int height) {
  const KivStatus checks =
      first_failure(not_null(src.base, dst.base), positive(width, columns, height),
                    require(first_column >= 0 && std::int64_t{first_column} + columns <= width, kivStatusBadSize),
                    step_covers(src, width), step_covers(dst, columns));
  return run(checks, [&] {
    for (std::ptrdiff_t r = 0; r < height; ++r) copy(dst.row(r), src.row(r) + first_column, columns);
  });
}

// An index out of range stops the first row where it stands: what precedes it has been written.
template <class Source, class Destination>
KivStatus gather_columns(Source src, int src_width, Destination dst, const Kiv32s* index, int dst_width, int height) {
  const KivStatus checks =
      first_failure(not_null(array_of(src), array_of(dst), index), positive(src_width), step_covers(src, src_width),
                    positive(dst_width), step_covers(dst, dst_width), positive(height));
  return run(checks, [&] {
    for (std::ptrdiff_t c = 0; c < dst_width; ++c) {
      if (index[c] < 0 || index[c] >= src_width) return kivStatusBadSize;
      dst.row(0)[c] = src.row(0)[index[c]];
    }
    for (std::ptrdiff_t r = 1; r < height; ++r) {
      const auto* const from = src.row(r);
      auto* const to = dst.row(r);
      for (std::ptrdiff_t c = 0; c < dst_width; ++c) to[c] = from[index[c]];
    }
    return kivStatusOk;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSubRow_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pSrcDst, int step, int height) {
  return subtract_row<Kiv32f>(pSrc, width, StepRows{pSrcDst, step}, height);
}
KivStatus kivsSubRow_32f_D2L(const Kiv32f* pSrc, int width, Kiv32f** ppSrcDst, int height) {
  return subtract_row<Kiv32f>(pSrc, width, PointerRows{ppSrcDst}, height);
}
KivStatus kivsSubRow_16s_D2(const Kiv16s* pSrc, int width, Kiv16s* pSrcDst, int step, int height) {
  return subtract_row<Kiv32s>(pSrc, width, StepRows{pSrcDst, step}, height);
}
KivStatus kivsSubRow_16s_D2L(const Kiv16s* pSrc, int width, Kiv16s** ppSrcDst, int height) {
  return subtract_row<Kiv32s>(pSrc, width, PointerRows{ppSrcDst}, height);
}

KivStatus kivsNormalizeColumn_32f_D2(Kiv32f* pSrcDst, int step, int height, const Kiv32f* pMean, const Kiv32f* pFactor,
                                     int width) {
  return normalize(StepRows{pSrcDst, step}, height, pMean, pFactor, width);
}
KivStatus kivsNormalizeColumn_32f_D2L(Kiv32f** ppSrcDst, int height, const Kiv32f* pMean, const Kiv32f* pFactor,
                                      int width) {
  return normalize(PointerRows{ppSrcDst}, height, pMean, pFactor, width);
}
KivStatus kivsNormalizeColumn_16s_D2Sfs(Kiv16s* pSrcDst, int step, int height, const Kiv16s* pMean,
                                        const Kiv16s* pFactor, int width, int scaleFactor) {
  return normalize_scaled(StepRows{pSrcDst, step}, height, pMean, pFactor, width, scaleFactor);
}
KivStatus kivsNormalizeColumn_16s_D2LSfs(Kiv16s** ppSrcDst, int height, const Kiv16s* pMean, const Kiv16s* pFactor,
                                         int width, int scaleFactor) {
  return normalize_scaled(PointerRows{ppSrcDst}, height, pMean, pFactor, width, scaleFactor);
}

KivStatus kivsCopyColumn_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int firstColumn, int nColumns,
                                int dstStep, int height) {
  return copy_columns(StepRows{pSrc, step}, width, StepRows{pDst, dstStep}, firstColumn, nColumns, height);
}
KivStatus kivsCopyColumn_16s_D2(const Kiv16s* pSrc, int width, int step, Kiv16s* pDst, int firstColumn, int nColumns,
                                int dstStep, int height) {
  return copy_columns(StepRows{pSrc, step}, width, StepRows{pDst, dstStep}, firstColumn, nColumns, height);
}

KivStatus kivsCopyColumn_Indirect_32f_D2(const Kiv32f* pSrc, int srcWidth, int srcStep, Kiv32f* pDst,
                                         const Kiv32s* pIndx, int dstWidth, int dstStep, int height) {
  return gather_columns(StepRows{pSrc, srcStep}, srcWidth, StepRows{pDst, dstStep}, pIndx, dstWidth, height);
}
KivStatus kivsCopyColumn_Indirect_64f_D2(const Kiv64f* pSrc, int srcWidth, int srcStep, Kiv64f* pDst,
                                         const Kiv32s* pIndx, int dstWidth, int dstStep, int height) {
  return gather_columns(StepRows{pSrc, srcStep}, srcWidth, StepRows{pDst, dstStep}, pIndx, dstWidth, height);
}
KivStatus kivsCopyColumn_Indirect_16s_D2(const Kiv16s* pSrc, int srcWidth, int srcStep, Kiv16s* pDst,
                                         const Kiv32s* pIndx, int dstWidth, int dstStep, int height) {
  return gather_columns(StepRows{pSrc, srcStep}, srcWidth, StepRows{pDst, dstStep}, pIndx, dstWidth, height);
}
KivStatus kivsCopyColumn_Indirect_32f_D2L(const Kiv32f* const* ppSrc, int srcWidth, Kiv32f** ppDst, const Kiv32s* pIndx,
                                          int dstWidth, int height) {
  return gather_columns(PointerRows{ppSrc}, srcWidth, PointerRows{ppDst}, pIndx, dstWidth, height);
}
KivStatus kivsCopyColumn_Indirect_64f_D2L(const Kiv64f* const* ppSrc, int srcWidth, Kiv64f** ppDst, const Kiv32s* pIndx,
                                          int dstWidth, int height) {
  return gather_columns(PointerRows{ppSrc}, srcWidth, PointerRows{ppDst}, pIndx, dstWidth, height);
}
KivStatus kivsCopyColumn_Indirect_16s_D2L(const Kiv16s* const* ppSrc, int srcWidth, Kiv16s** ppDst, const Kiv32s* pIndx,
                                          int dstWidth, int height) {
  return gather_columns(PointerRows{ppSrc}, srcWidth, PointerRows{ppDst}, pIndx, dstWidth, height);
}
}
