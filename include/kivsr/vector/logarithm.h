/* Natural logarithms and their sums. */
#ifndef KIVSR_VECTOR_LOGARITHM_H
#define KIVSR_VECTOR_LOGARITHM_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise_logarithm Natural logarithm
 *
 * pSrcDst[i] = ln(pSrcDst[i]); the integer forms ln(x) * 2^-scaleFactor to nearest and saturated (scaleFactor -16
 * gives Q16).
 *
 * Zero (and -0) gives -inf, a negative number or NaN gives NaN, +inf stays; in the integer forms zero and negative
 * numbers give -2147483648. A call that met a zero returns the warning 7; else one that met a negative or a NaN
 * returns 8. All elements are computed.
 *
 * Accuracy: last-bit(1) in 32f, subnormals included. The integer forms round the double-precision product.
 * Source: polynomial of the Cephes library, logf.
 *
 * Further statuses: 7, a zero was met (warning); 8, a negative or NaN and no zero (warning).
 * @{ */
KIVSR_API KivStatus kivsLn_32f_I(Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLn_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLn_32s_ISfs(Kiv32s* pSrcDst, int len, int scaleFactor);
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

KIVSR_END_DECLS

#endif
