/* Reductions and searches. */
#ifndef KIVSR_VECTOR_REDUCTIONS_H
#define KIVSR_VECTOR_REDUCTIONS_H

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
/** @} */

/** @defgroup reductions_extrema Extrema
 *
 * The largest (smallest) element, in MinMax both, and in the Indx forms its place counted from 0.
 *
 * The search begins with element 0, and element i replaces the best so far only if it is strictly greater (smaller):
 * the FIRST of equal elements wins (0 and -0 are equal), a NaN inside is passed over, and a NaN in element 0 stays,
 * with index 0. All functions, at every length, agree on this. pIndx may be null: then the value alone is written.
 *
 * Accuracy: exact. *pMax is an element of pSrc, bit for bit.
 * @{ */
KIVSR_API KivStatus kivsMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax);
KIVSR_API KivStatus kivsMax_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax);
KIVSR_API KivStatus kivsMin_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin);
KIVSR_API KivStatus kivsMin_64f(const Kiv64f* pSrc, int len, Kiv64f* pMin);
KIVSR_API KivStatus kivsMinMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, Kiv32f* pMax);
KIVSR_API KivStatus kivsMaxIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMaxIndx_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMinIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, int* pIndx);
/** @} */

/** @defgroup reductions_order N-th largest element
 *
 * *pRes = the element at position N, counted from 0, of the vector sorted in DEcreasing order: N = 0 is the maximum,
 * N = len - 1 the minimum, N = len / 2 a median. NaN sorts behind all numbers. pSrc is left as it is: the selection
 * works on a copy in a block from the library's allocator.
 *
 * Time is linear in len on average and len log len at worst (sorted, equal and adversarial data included).
 *
 * Further statuses: -5, N is not in [0, len); -9, the copy could not be allocated.
 * @{ */
KIVSR_API KivStatus kivsNthMaxElement_32s(const Kiv32s* pSrc, int len, int N, Kiv32s* pRes);
KIVSR_API KivStatus kivsNthMaxElement_32f(const Kiv32f* pSrc, int len, int N, Kiv32f* pRes);
KIVSR_API KivStatus kivsNthMaxElement_64f(const Kiv64f* pSrc, int len, int N, Kiv64f* pRes);
/** @} */

/** @defgroup reductions_entropy Entropy
 *
 * *pResult = sum of p log2(p) over the elements p > 0; zeros add nothing. There is NO minus sign: the result is zero or
 * negative for a probability vector, the entropy in bits with its sign reversed.
 *
 * - 32f: terms p ln(p) are added one after the other in single precision, the sum divided by ln 2 = 0.6931472F. A
 *   negative or NaN element stops the loop: the result is NaN, with the warning 8. Accuracy: reduction(2 len).
 * - 16s32s_Sfs: probabilities in Q15 (32768 would be 1). The sum is formed in double precision, multiplied by
 *   2^-scaleFactor, rounded to nearest with ties to even and saturated: scaleFactor -15 gives Q15 bits. A negative
 *   element gives -2147483648 and the warning 8.
 *
 * Further statuses: 8, a negative (32f: or NaN) element (warning).
 * @{ */
KIVSR_API KivStatus kivsEntropy_32f(const Kiv32f* pSrc, int len, Kiv32f* pResult);
KIVSR_API KivStatus kivsEntropy_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pResult, int scaleFactor);
/** @} */

/** @defgroup reductions_logarithms Sum of logarithms
 *
 * *pSum = sum of ln(pSrc[i]), the logarithm of a product that cannot overflow (of the variances of a Gaussian, say).
 *
 * The vector is taken in chunks of 512 elements. The first chunk with a zero (or -0) ends the sum: the result is +inf,
 * positive on purpose, with the warning 7. The first chunk with a negative or NaN element and no zero ends it too: NaN,
 * with the warning 8. An element +inf makes the sum +inf without a warning; subnormals count as what they are.
 *
 * Accuracy: the product is kept to double precision (64f: twice that) with its exponent apart, and one logarithm is
 * taken of it: at least as accurate as adding correctly rounded logarithms in double precision.
 *
 * Further statuses: 7, 8 as above (warnings).
 * @{ */
KIVSR_API KivStatus kivsSumLn_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum);
KIVSR_API KivStatus kivsSumLn_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
/** @} */

/** @defgroup reductions_magnitude Magnitudes of complex vectors
 *
 * pDst[i] = sqrt(re^2 + im^2) of pSrc[i]; len complex numbers give len results. pSrc and pDst do not overlap.
 * - 32fc: no square overflows or underflows, so that the result is finite and accurate wherever it fits 32f. NaN in
 *   either part gives NaN. Accuracy: last-bit(1.5).
 * - 32sc_Sfs: the true root times 2^-scaleFactor, to nearest with ties to even and saturated. Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsMagnitude_32fc(const Kiv32fc* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMagnitude_32sc_Sfs(const Kiv32sc* pSrc, Kiv32s* pDst, int len, int scaleFactor);
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
KIVSR_API KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f** ppSrc, int column1, int column2, int height, Kiv64f* pDp);
KIVSR_API KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
/** @} */

KIVSR_END_DECLS

#endif
