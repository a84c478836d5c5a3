// Sums of vectors and of the rows and columns of a matrix.
#include "sums.h"

#include "exact_sums.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/sums.h"

namespace kivsr {
namespace {

template <class S>
std::int64_t sum_integers(const S* src, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = simd::Vec<Kiv32s>::width;
  std::int64_t total =
      sum_lanes_exactly<W>(len, 0x80000000, [=](std::ptrdiff_t i) { return simd::load<Kiv32s>(src + i); });
  for (std::ptrdiff_t i = len & -W; i < len; ++i) total += src[i];
  return total;
}

}  // namespace

std::int64_t exact_sum(const Kiv16s* src, std::ptrdiff_t len) { return sum_integers(src, len); }
std::int64_t exact_sum(const Kiv32s* src, std::ptrdiff_t len) { return sum_integers(src, len); }

namespace {

template <class S>
KivStatus sum_scaled(const S* src, int len, Kiv32s* result, int scale_factor) {
  return run(first_failure(not_null(src, result), positive(len)),
             [&] { *result = scaled<Kiv32s>(exact_sum(src, len), scale_factor); });
}

template <class Term>
KivStatus row_sum(const double* src, int len, double* result, Term term) {
  return run(first_failure(not_null(src, result), positive(len)), [&] {
    *result = reduce_sum<double>(
        len, [=](auto total, auto x) { return total + term(x); }, src);
  });
}

// Sum over the rows of term(element of the column), in the order of the rows.
template <class Term>
KivStatus column_sum(const double* const* rows, int column, int height, double* result, Term term) {
  return run(first_failure(not_null(rows, result), positive(height), require(column >= 0, kivStatusBadArgument)), [&] {
    double total = 0.0;
    for (int r = 0; r < height; ++r) total += term(rows[r][column]);
    *result = total;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSum_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum, int) {
  return run(first_failure(not_null(pSrc, pSum), positive(len)), [&] { *pSum = sum(pSrc, len); });
}
KivStatus kivsSum_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pSum, int scaleFactor) {
  return sum_scaled(pSrc, len, pSum, scaleFactor);
}
KivStatus kivsSum_32s_Sfs(const Kiv32s* pSrc, int len, Kiv32s* pSum, int scaleFactor) {
  return sum_scaled(pSrc, len, pSum, scaleFactor);
}

KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum) {
  return row_sum(pSrc, len, pSum, [](auto x) { return simd::abs(x); });
}
KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum) {
  return row_sum(pSrc, len, pSum, [](auto x) { return x * x; });
}
KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f* const* ppSrc, int column, int height, Kiv64f* pSum) {
  return column_sum(ppSrc, column, height, pSum, [](double x) { return x < 0.0 ? -x : x; });
}
KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f* const* ppSrc, int column, int height, Kiv64f* pSum) {
  return column_sum(ppSrc, column, height, pSum, [](double x) { return x * x; });
}
}
