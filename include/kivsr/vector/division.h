/* Division. */
#ifndef KIVSR_VECTOR_DIVISION_H
#define KIVSR_VECTOR_DIVISION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise_division Division
 *
 * Div: pDst[i] = pSrc2[i] / pSrc1[i]: the FIRST source holds the divisors. In place pSrcDst[i] = pSrcDst[i] / pSrc[i].
 * Where the divisor is zero (of either sign) the result is +inf for a positive numerator, -inf for a negative one and
 * NaN for a zero or a NaN; all elements are written and the call returns the warning 6.
 *
 * DivC: pDst[i] = pSrc[i] * (1 / val), the reciprocal rounded once; in place pSrcDst[i] likewise, where a val of 1
 * leaves the data untouched and an infinite one fills with +0. The reciprocal of a subnormal val is infinite.
 *
 * Accuracy: kivsDiv_32f and kivsDiv_32f_I correct the processor's estimate of 1/d once, n r (1 + e + e^2) with
 * e = 1 - d r: estimate, about 22 bits, not the same bits on every processor. A divisor whose estimate is of no use
 * (subnormal, above 2^126 or infinite) is divided exactly, and so are its neighbours where a divisor is zero.
 * kivsDiv_64f is exact (correctly rounded). DivC: within 1 unit in the last place, two roundings.
 *
 * Further statuses: Div 6, a zero divisor was met (warning). DivC -10, val is zero or NaN.
 * @{ */
KIVSR_API KivStatus kivsDiv_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDiv_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDiv_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDivC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDivC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
/** @} */

KIVSR_END_DECLS

#endif
