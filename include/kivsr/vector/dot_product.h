/* Dot products. */
#ifndef KIVSR_VECTOR_DOT_PRODUCT_H
#define KIVSR_VECTOR_DOT_PRODUCT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dotproduct Dot products
 *
 * | sources | result | arithmetic                                                    | accuracy                   |
 * |---------|--------|---------------------------------------------------------------|----------------------------|
 * | 32f     | 32f    | single precision                                              | reduction(len)             |
 * | 64f     | 64f    | double precision                                              | reduction(len)             |
 * | 32f     | 64f    | each element widened, double precision                        | reduction(len) of 64f      |
 * | 16s     | 64s    | integers                                                      | exact, for every len       |
 * | 16s     | 32f    | integers, the sum rounded to nearest once                     | exact, rounded once        |
 *
 * Any alignment serves and no result depends on it. Sums in floating point may differ between the baseline library and
 * the AVX2 one within reduction(len), which is (len / 2 + 2) roundings of the sum of magnitudes. Nothing is written on
 * an error.
 *
 * @code{.c}
 * const Kiv16s frame[2] = {-32768, -32768};
 * const Kiv32f weights[3] = {0.5F, 0.25F, 0.25F}, scores[3] = {2.0F, 4.0F, -8.0F};
 * Kiv64s energy;
 * Kiv32f mean;
 * assert(kivsDotProd_16s64s(frame, frame, 2, &energy) == kivStatusOk && energy == 2147483648.0);
 * assert(kivsDotProd_32f(weights, scores, 3, &mean) == kivStatusOk && mean == 0.0F);
 * @endcode
 * @{ */

/** @name Of two vectors
 * @{ */
/** *pDp = sum of pSrc1[i] * pSrc2[i]. The sources may be the same array.
 * @param[in] pSrc1,pSrc2 len elements each
 * @param[in] len number of elements
 * @param[out] pDp one product
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsDotProd_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pDp);
KIVSR_API KivStatus kivsDotProd_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_32f64f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_16s64s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv64s* pDp);
KIVSR_API KivStatus kivsDotProd_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pDp);
/** @} */

/** @name Of two columns
 * @{ */
/** *pDp = sum of ppSrc[r][column1] * ppSrc[r][column2], added from the first row to the last; the columns may be the
 * same. Accuracy: reduction(height).
 * @param[in] ppSrc height row pointers, which are not checked
 * @param[in] column1,column2 places of the columns, from 0
 * @param[in] height number of rows
 * @param[out] pDp one product
 * @return kivStatusNullPointer; kivStatusBadSize: height < 1; kivStatusBadArgument: a column < 0 */
KIVSR_API KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f* const* ppSrc, int column1, int column2, int height,
                                              Kiv64f* pDp);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
