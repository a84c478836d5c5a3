/* Sums. */
#ifndef KIVSR_VECTOR_SUMS_H
#define KIVSR_VECTOR_SUMS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reductions Reductions and searches
 *
 * One result, or a few, from a vector pSrc of len elements.
 *
 * Statuses, in order: -8 a null pointer; -6 len < 1; then what each group names. Nothing is written on an error; a
 * warning (positive) comes with its special result written.
 *
 * Any alignment serves and no result depends on it. Sums in floating point may differ between the baseline library and
 * the AVX2 one within reduction(len), which is (len / 2 + 2) roundings of the sum of magnitudes. A scaleFactor may be
 * any int.
 */

/** @defgroup reductions_sum Sums
 *
 * *pSum = sum of pSrc[i].
 * - 32f: the order of the additions (several running vectors, folded in halves) depends on len alone. hint is a
 *   wish for accuracy or speed; every value gives the same sum. Accuracy: reduction(len).
 * - 16s32s_Sfs and 32s_Sfs: exact in 64 bits for every len, then scaled by 2^-scaleFactor once, to nearest with ties to
 *   even, and saturated to 32 bits. Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsSum_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum, int hint);
KIVSR_API KivStatus kivsSum_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
KIVSR_API KivStatus kivsSum_32s_Sfs(const Kiv32s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
/** @} */

/** @defgroup reductions_matrix Row and column sums
 *
 * The sums that a singular value decomposition takes of a matrix, in double precision: of the absolute values (Abs) or
 * the squares (Sqr) of a row of len elements or of a column over height rows, and the dot product of two columns, which
 * may be the same. Columns count from 0; the row pointers are not checked.
 *
 * Accuracy: reduction(len) or reduction(height); columns are added from the first row to the last.
 *
 * Statuses of the column forms, in order: -8 a null pointer; -6 height < 1; -5 a column < 0.
 * @{ */
KIVSR_API KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
/** @} */

KIVSR_END_DECLS

#endif
