/* Natural logarithms and their sums. */
#ifndef KIVSR_VECTOR_LOGARITHM_H
#define KIVSR_VECTOR_LOGARITHM_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup logarithm Natural logarithm
 *
 * Nothing is written on an error; a warning comes with all results written.
 *
 * @code{.c}
 * Kiv32f energies[2] = {1.0F, 2.718281828F};
 * const Kiv32f variances[3] = {1e-30F, 1e20F, 1e10F};
 * const Kiv32s counts[2] = {1000, 0};
 * Kiv32s logarithms[2];
 * Kiv32f total;
 * assert(kivsLn_32f_I(energies, 2) == kivStatusOk);
 * assert(energies[0] == 0.0F && fabs(energies[1] - 1.0) < 1e-6);
 * assert(kivsLn_32s_Sfs(counts, logarithms, 2, -16) == kivStatusInfResult);  // Q16, and a zero was met
 * assert(logarithms[0] == 452706 && logarithms[1] == -2147483647 - 1);
 * assert(kivsSumLn_32f(variances, 3, &total) == kivStatusOk && fabs(total) < 1e-5);
 * @endcode
 * @{ */

/** @name Elementwise
 * @{ */
/** pSrcDst[i] = ln(pSrcDst[i]); the integer forms ln(x) * 2^-scaleFactor to nearest and saturated (scaleFactor -16
 * gives Q16). Zero (and -0) gives -inf, a negative number or NaN gives NaN, +inf stays; in the integer forms zero and
 * negative numbers give -2147483648.
 *
 * Accuracy: last-bit(1) in 32f, subnormals included. The integer forms round the double-precision product.
 * Source: polynomial of the Cephes library, logf.
 * @param[in] pSrc len elements
 * @param[out] pDst len logarithms
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Warnings: kivStatusInfResult, a zero was met; else
 * kivStatusNanResult, a negative or a NaN was met */
KIVSR_API KivStatus kivsLn_32f_I(Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLn_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLn_32s_ISfs(Kiv32s* pSrcDst, int len, int scaleFactor);
/** @} */

/** @name Sum of logarithms
 * @{ */
/** *pSum = sum of ln(pSrc[i]), the logarithm of a product that cannot overflow (of the variances of a Gaussian, say).
 *
 * The vector is taken in chunks of 512 elements. The first chunk with a zero (or -0) ends the sum: the result is +inf,
 * positive on purpose. The first chunk with a negative or NaN element and no zero ends it too: NaN. An element +inf
 * makes the sum +inf without a warning; subnormals count as what they are.
 *
 * Accuracy: the product is kept to double precision (64f: twice that) with its exponent apart, and one logarithm is
 * taken of it: at least as accurate as adding correctly rounded logarithms in double precision.
 * @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[out] pSum one sum
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Warnings: kivStatusInfResult, a zero ended the sum;
 * kivStatusNanResult, a negative or a NaN did */
KIVSR_API KivStatus kivsSumLn_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum);
KIVSR_API KivStatus kivsSumLn_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
