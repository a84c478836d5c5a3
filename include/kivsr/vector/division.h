/* Division. */
#ifndef KIVSR_VECTOR_DIVISION_H
#define KIVSR_VECTOR_DIVISION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup division Division
 *
 * | operation | result            | separate | in place |
 * |-----------|-------------------|----------|----------|
 * | Div       | pSrc2[i]/pSrc1[i] | 32f, 64f | 32f      |
 * | DivC      | pSrc[i] * (1/val) | 32f, 64f | 32f, 64f |
 *
 * Nothing is written on an error; a warning comes with every element written.
 *
 * @code{.c}
 * const Kiv32f counts[3] = {4.0F, 0.0F, 8.0F}, totals[3] = {6.0F, -1.0F, 4.0F};
 * Kiv32f means[3];
 * assert(kivsDiv_32f(counts, totals, means, 3) == kivStatusDivByZero);  // the divisors come first
 * assert(fabs(means[0] - 1.5) < 1e-6 && means[1] < 0 && isinf(means[1]) && fabs(means[2] - 0.5) < 1e-6);
 * assert(kivsDivC_32f_I(2.0F, means, 3) == kivStatusOk);
 * assert(fabs(means[0] - 0.75) < 1e-6);
 * @endcode
 * @{ */

/** @name Quotients of two vectors
 * @{ */
/** pDst[i] = pSrc2[i] / pSrc1[i]: the FIRST source holds the divisors. In place pSrcDst[i] = pSrcDst[i] / pSrc[i],
 * where pSrc may be pSrcDst. Where the divisor is zero, of either sign, the result is +inf for a positive numerator,
 * -inf for a negative one and NaN for a zero or a NaN.
 *
 * Accuracy: 64f is exact (correctly rounded), and so is 32f in the AVX2 library. In the baseline 32f corrects the
 * processor's estimate r of 1/d once, n (r (1 + e + e^2)) with e = 1 - d r: estimate, about 22 bits, not the same bits
 * on every processor. A divisor whose estimate is of no use (subnormal, above 2^126 or infinite) is divided exactly
 * there, and so are the elements that stand with a zero divisor in one group of four.
 * @param[in] pSrc1,pSrc len divisors
 * @param[in] pSrc2 len numerators
 * @param[out] pDst len quotients
 * @param[in,out] pSrcDst len numerators, which become quotients
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Warning: kivStatusDivByZero, a divisor is zero */
KIVSR_API KivStatus kivsDiv_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDiv_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDiv_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
/** @} */

/** @name Quotients with a constant
 * @{ */
/** pDst[i] = pSrc[i] * (1 / val), the reciprocal rounded once; in place pSrcDst[i] likewise, where a val of 1 leaves
 * the data untouched and an infinite one fills with +0. The reciprocal of a subnormal val is infinite.
 *
 * Accuracy: within 1 unit in the last place, two roundings.
 * @param[in] pSrc len elements
 * @param[in] val the divisor
 * @param[out] pDst len quotients
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusDivByZeroErr: val is zero or NaN */
KIVSR_API KivStatus kivsDivC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDivC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDivC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
