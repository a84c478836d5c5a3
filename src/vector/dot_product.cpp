// Dot products of vectors and of the columns of a matrix.
#include "dot_product.h"

#include "exact_sums.h"
#include "frame/rounding_mode.h"
#include "frame/status.h"
#include "kivsr/vector/dot_product.h"

namespace kivsr {

// Sums of two products fill -2^31 + 2^16 .. 2^31, the last of them wrapped to -2^31: a bias of 2^31 - 1 puts all of
// them in order.
std::int64_t exact_dot_product(const Kiv16s* a, const Kiv16s* b, std::ptrdiff_t len) {
  constexpr std::ptrdiff_t W = 2 * simd::Vec<Kiv32s>::width;
  std::int64_t total = sum_lanes_exactly(
      len / W, 0x7FFFFFFF, [=](std::ptrdiff_t i) { return simd::products_of_pairs(a + i * W, b + i * W); });
  for (std::ptrdiff_t i = len - len % W; i < len; ++i) total += a[i] * b[i];
  return total;
}

namespace {

template <class T, class S, class Product>
KivStatus product(const S* a, const S* b, int len, T* result, Product compute) {
  return run(first_failure(not_null(a, b, result), positive(len)),
             [&] { *result = static_cast<T>(compute(a, b, static_cast<std::ptrdiff_t>(len))); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

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

KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f** ppSrc, int column1, int column2, int height, Kiv64f* pDp) {
  const bool columns = column1 >= 0 && column2 >= 0;
  return run(first_failure(not_null(ppSrc, pDp), positive(height), require(columns, kivStatusBadArgument)), [&] {
    double total = 0.0;
    for (int r = 0; r < height; ++r) total += ppSrc[r][column1] * ppSrc[r][column2];
    *pDp = total;
  });
}
}
