/* Dot products. */
#ifndef KIVSR_VECTOR_DOT_PRODUCT_H
#define KIVSR_VECTOR_DOT_PRODUCT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reductions_dot Dot products
 *
 * *pDp = sum of pSrc1[i] * pSrc2[i]. The sources may be the same array.
 * - 32f and 64f accumulate in their type; 32f64f widens each element and accumulates in double precision.
 *   Accuracy: reduction(len) of the type of the result.
 * - 16s64s is the exact integer sum, also where every product is 2^30.
 * - 16s32f is the same exact sum, rounded to 32f once at the end: it cannot overflow for any len.
 * @{ */
KIVSR_API KivStatus kivsDotProd_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pDp);
KIVSR_API KivStatus kivsDotProd_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_32f64f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_16s64s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv64s* pDp);
KIVSR_API KivStatus kivsDotProd_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pDp);
KIVSR_API KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f** ppSrc, int column1, int column2, int height, Kiv64f* pDp);
/** @} */

KIVSR_END_DECLS

#endif
