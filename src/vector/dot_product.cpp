// Dot products of vectors and of the columns of a matrix.
#include "dot_product.h"

#include "frame/rounding_mode.h"
#include "frame/status.h"
#include "kivsr/vector/dot_product.h"

namespace kivsr {

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
  return product(pSrc1, pSrc2, len, pDp, [](auto... of) { return dot_product<Kiv32f>(of...); });
}
KivStatus kivsDotProd_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, int len, Kiv64f* pDp) {
  return product(pSrc1, pSrc2, len, pDp, [](auto... of) { return dot_product<Kiv64f>(of...); });
}
KivStatus kivsDotProd_32f64f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv64f* pDp) {
  return product(pSrc1, pSrc2, len, pDp, [](auto... of) { return dot_product<Kiv64f>(of...); });
}
KivStatus kivsDotProd_16s64s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv64s* pDp) {
  return product(pSrc1, pSrc2, len, pDp, [](auto... of) { return exact_dot_product(of...); });
}
KivStatus kivsDotProd_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pDp) {
  const NearestRounding nearest;  // of the one conversion
  return product(pSrc1, pSrc2, len, pDp, [](auto... of) { return exact_dot_product(of...); });
}

KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f* const* ppSrc, int column1, int column2, int height, Kiv64f* pDp) {
  const bool columns = column1 >= 0 && column2 >= 0;
  return run(first_failure(not_null(ppSrc, pDp), positive(height), require(columns, kivStatusBadArgument)), [&] {
    double total = 0.0;
    for (int r = 0; r < height; ++r) total += ppSrc[r][column1] * ppSrc[r][column2];
    *pDp = total;
  });
}
}
