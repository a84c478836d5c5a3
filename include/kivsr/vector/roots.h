/* Square roots and their reciprocals. */
#ifndef KIVSR_VECTOR_ROOTS_H
#define KIVSR_VECTOR_ROOTS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup roots Square roots
 *
 * Nothing is written on an error; a warning comes with every element written. No result depends on alignment, length
 * or an element's position.
 *
 * @code{.c}
 * Kiv64f variances[2] = {2.25, -1.0};
 * Kiv32s energies[3] = {16, 100, 2};
 * assert(kivsSqrt_64f_I(variances, 2) == kivStatusSqrtNegArg);
 * assert(variances[0] == 1.5 && isnan(variances[1]));
 * assert(kivsRecSqrt_32s_Sfs(energies, 3, 4, -10) == kivStatusOk);  // ten fractional bits
 * assert(energies[0] == 256 && energies[1] == 102 && energies[2] == 4);  // what is not above 4 becomes 4
 * @endcode
 * @{ */

/** @name Square root
 * @{ */
/** pSrcDst[i] = sqrt(pSrcDst[i]); a negative element gives NaN, -0 stays, NaN stays without a warning.
 *
 * Accuracy: exact (correctly rounded).
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Warning: kivStatusSqrtNegArg, an element is negative */
KIVSR_API KivStatus kivsSqrt_64f_I(Kiv64f* pSrcDst, int len);
/** @} */

/** @name Reciprocal square root
 * @{ */
/** 1 / sqrt(x) where x > val, val elsewhere (NaN included): the inverse root of a spectrum or variance with a floor.
 *
 * - 32f: estimate, one Newton step r (3 - x r r) / 2 on the processor's estimate r, about 22 bits. Infinite x gives 0,
 *   subnormal x (above a subnormal val) its true value.
 * - 32s and 32s16s: 2^-scaleFactor / sqrt(x) to nearest with ties to even and saturated; val is stored as it is
 *   (32s16s: saturated). Take scaleFactor negative, to get fractional bits.
 * @param[in] pSrc len elements
 * @param[out] pDst len results
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @param[in] val threshold and replacement, above 0
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: val is not above 0, or NaN. Warning:
 * kivStatusNoOperation, every element was replaced */
KIVSR_API KivStatus kivsRecSqrt_32f(Kiv32f* pSrcDst, int len, Kiv32f val);
KIVSR_API KivStatus kivsRecSqrt_32s_Sfs(Kiv32s* pSrcDst, int len, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsRecSqrt_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, Kiv32s val, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
