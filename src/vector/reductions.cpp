// Sums and dot products.
#include "reductions.h"

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/reductions.h"

namespace kivsr {
namespace {

using simd::Vec;

// The sum of the lanes of vectors(0), vectors(1), ... vectors(count - 1). Lanes x + bias are taken as unsigned numbers;
// the biases come off at the end.
template <class Vectors>
std::int64_t sum_lanes_exactly(std::ptrdiff_t count, Kiv32u bias, Vectors vectors) {
  const auto offset = Vec<Kiv32s>::broadcast(static_cast<Kiv32s>(bias));
  auto even = Vec<std::int64_t>::zero();
  auto odd = even;
  std::ptrdiff_t i = 0;
  for (; i + 2 <= count; i += 2) {
    even = add_unsigned(even, vectors(i) + offset);
    odd = add_unsigned(odd, vectors(i + 1) + offset);
  }
  if (i < count) even = add_unsigned(even, vectors(i) + offset);
  const auto biases = static_cast<std::uint64_t>(count * Vec<Kiv32s>::width) * bias;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(sum_lanes(even + odd)) - biases);
}

template <class S>
std::int64_t sum_integers(const S* src, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = Vec<Kiv32s>::width;
  std::int64_t total =
      sum_lanes_exactly(len / W, 0x80000000, [=](std::ptrdiff_t i) { return simd::load<Kiv32s>(src + i * W); });
  for (std::ptrdiff_t i = len - len % W; i < len; ++i) total += src[i];
  return total;
}

}  // namespace

std::int64_t exact_sum(const Kiv16s* src, std::ptrdiff_t len) { return sum_integers(src, len); }
std::int64_t exact_sum(const Kiv32s* src, std::ptrdiff_t len) { return sum_integers(src, len); }

// Sums of two products fill -2^31 + 2^16 .. 2^31, the last of them wrapped to -2^31: a bias of 2^31 - 1 puts all of
// them in order.
std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = 2 * Vec<Kiv32s>::width;
  std::int64_t total = sum_lanes_exactly(
      len / W, 0x7FFFFFFF, [=](std::ptrdiff_t i) { return simd::products_of_pairs(a + i * W, b + i * W); });
  for (std::ptrdiff_t i = len - len % W; i < len; ++i) total += a[i] * b[i];
  return total;
}

namespace {

template <class S>
KivStatus sum_scaled(const S* src, int len, Kiv32s* result, int scale_factor) {
  return run(first_failure(not_null(src, result), positive(len)),
             [&] { *result = scaled<Kiv32s>(exact_sum(src, len), scale_factor); });
}

template <class T, class S, class Product>
KivStatus product(const S* a, const S* b, int len, T* result, Product compute) {
  return run(first_failure(not_null(a, b, result), positive(len)),
             [&] { *result = static_cast<T>(compute(a, b, static_cast<std::ptrdiff_t>(len))); });
}

template <class Term>
KivStatus row_sum(const double* src, int len, double* result, Term term) {
  return run(first_failure(not_null(src, result), positive(len)), [&] {
    *result = reduce_sum<double>(
        len, [=](auto total, auto x) { return total + term(x); }, src);
  });
}

// Sum over the rows of term(row), in the order of the rows.
template <class Term>
KivStatus column_sum(const double** rows, int first_column, int second_column, int height, double* result, Term term) {
  const bool columns = first_column >= 0 && second_column >= 0;
  return run(first_failure(not_null(rows, result), positive(height), require(columns, kivStatusBadArgument)), [&] {
    double total = 0.0;
    for (int r = 0; r < height; ++r) total += term(rows[r][first_column], rows[r][second_column]);
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

KivStatus kivsDotProd_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pDp) {
  return product(pSrc1, pSrc2, len, pDp, dot_product<Kiv32f, Kiv32f>);
}
KivStatus kivsDotProd_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, int len, Kiv64f* pDp) {
  return product(pSrc1, pSrc2, len, pDp, dot_product<Kiv64f, Kiv64f>);
}
KivStatus kivsDotProd_32f64f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv64f* pDp) {
  return product(pSrc1, pSrc2, len, pDp, dot_product<Kiv64f, Kiv32f>);
}
KivStatus kivsDotProd_16s64s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv64s* pDp) {
  return product(pSrc1, pSrc2, len, pDp, exact_dot_product);
}
KivStatus kivsDotProd_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pDp) {
  const NearestRounding nearest;  // of the one conversion
  return product(pSrc1, pSrc2, len, pDp, exact_dot_product);
}

KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum) {
  return row_sum(pSrc, len, pSum, [](auto x) { return simd::abs(x); });
}
KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum) {
  return row_sum(pSrc, len, pSum, [](auto x) { return x * x; });
}
KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum) {
  return column_sum(ppSrc, column, column, height, pSum, [](double x, double) { return x < 0.0 ? -x : x; });
}
KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum) {
  return column_sum(ppSrc, column, column, height, pSum, [](double x, double) { return x * x; });
}
KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f** ppSrc, int column1, int column2, int height, Kiv64f* pDp) {
  return column_sum(ppSrc, column1, column2, height, pDp, [](double x, double y) { return x * y; });
}
}
