/* Sums. */
#ifndef KIVSR_VECTOR_SUMS_H
#define KIVSR_VECTOR_SUMS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup sums Sums
 *
 * Any alignment serves and no result depends on it. Sums in floating point may differ between the baseline library and
 * the AVX2 one within reduction(len), which is (len / 2 + 2) roundings of the sum of magnitudes. Nothing is written on
 * an error.
 *
 * @code{.c}
 * const Kiv16s samples[4] = {30000, 30000, 30000, 1};
 * const Kiv64f row0[2] = {3.0, -1.0}, row1[2] = {4.0, 2.0};
 * const Kiv64f* const rows[2] = {row0, row1};
 * Kiv32s sum;
 * Kiv64f total;
 * assert(kivsSum_16s32s_Sfs(samples, 4, &sum, 1) == kivStatusOk && sum == 45000);  // 45000.5 goes to even
 * assert(kivsSumColumnSqr_64f_D2L(rows, 0, 2, &total) == kivStatusOk && total == 25.0);
 * assert(kivsSumRowAbs_64f(row0, 2, &total) == kivStatusOk && total == 4.0);
 * @endcode
 * @{ */

/** @name Sums of elements
 * @{ */
/** *pSum = sum of pSrc[i].
 * - 32f: the order of the additions (several running vectors, folded in halves) depends on len alone. Accuracy:
 *   reduction(len).
 * - 16s32s and 32s: exact in 64 bits for every len, then scaled by 2^-scaleFactor once, to nearest with ties to even,
 *   and saturated to 32 bits. Accuracy: exact.
 * @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[out] pSum one sum
 * @param[in] hint a wish for accuracy or speed; every value gives the same sum
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsSum_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum, int hint);
KIVSR_API KivStatus kivsSum_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
KIVSR_API KivStatus kivsSum_32s_Sfs(const Kiv32s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
/** @} */

/** @name Sums of a row
 * @{ */
/** *pSum = sum of |pSrc[i]| (Abs) or of pSrc[i]^2 (Sqr), as a singular value decomposition takes them. Accuracy:
 * reduction(len).
 * @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[out] pSum one sum
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
/** @} */

/** @name Sums of a column
 * @{ */
/** The same of column elements ppSrc[r][column], added from the first row to the last. Accuracy: reduction(height).
 * @param[in] ppSrc height row pointers, which are not checked
 * @param[in] column place of the column, from 0
 * @param[in] height number of rows
 * @param[out] pSum one sum
 * @return kivStatusNullPointer; kivStatusBadSize: height < 1; kivStatusBadArgument: column < 0 */
KIVSR_API KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f* const* ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f* const* ppSrc, int column, int height, Kiv64f* pSum);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
