// Sums and dot products.
#include "reductions.h"

#include <algorithm>
#include <limits>

#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/reductions.h"

namespace kivsr {
namespace {

using simd::Vec;

// Lanes x + bias are not negative when read as unsigned numbers; the biases are taken off at the end.
class BiasedSum {
 public:
  explicit BiasedSum(Kiv32s bias) : bias_(bias) {}
  void add(Vec<Kiv32s> x) {
    total_ = add_unsigned(total_, x + Vec<Kiv32s>::broadcast(bias_));
    lanes_ += Vec<Kiv32s>::width;
  }
  std::int64_t total() const {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(sum_lanes(total_)) -
                                     lanes_ * static_cast<Kiv32u>(bias_));
  }

 private:
  Vec<std::int64_t> total_ = Vec<std::int64_t>::zero();
  std::uint64_t lanes_ = 0;
  Kiv32s bias_;
};

template <class S>
std::int64_t sum_integers(const S* src, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = Vec<Kiv32s>::width;
  BiasedSum sum(std::numeric_limits<Kiv32s>::min());
  std::ptrdiff_t i = 0;
  for (; i + W <= len; i += W) sum.add(simd::load<Kiv32s>(src + i));
  if (i < len) sum.add(simd::load_some<Kiv32s>(src + i, static_cast<int>(len - i)));
  return sum.total();
}

}  // namespace

std::int64_t exact_sum(const Kiv16s* src, std::ptrdiff_t len) { return sum_integers(src, len); }
std::int64_t exact_sum(const Kiv32s* src, std::ptrdiff_t len) { return sum_integers(src, len); }

// Sums of two products fill -2^31 + 2^16 .. 2^31, the last of them wrapped to -2^31: a bias of 2^31 - 1 puts all of
// them in order.
std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = 2 * Vec<Kiv32s>::width;
  BiasedSum sum(std::numeric_limits<Kiv32s>::max());
  std::ptrdiff_t i = 0;
#pragma GCC unroll 4
  for (; i + W <= len; i += W) sum.add(simd::products_of_pairs(a + i, b + i));
  if (i < len) {
    Kiv16s a_tail[W] = {};
    Kiv16s b_tail[W] = {};
    std::copy_n(a + i, len - i, a_tail);
    std::copy_n(b + i, len - i, b_tail);
    sum.add(simd::products_of_pairs(a_tail, b_tail));
  }
  return sum.total();
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
