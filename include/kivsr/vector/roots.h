/* Square roots and their reciprocals. */
#ifndef KIVSR_VECTOR_ROOTS_H
#define KIVSR_VECTOR_ROOTS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise_roots Square roots
 *
 * Sqrt: pSrcDst[i] = sqrt(pSrcDst[i]); negative elements give NaN and the warning 3, -0 stays, NaN stays without a
 * warning. Exact (correctly rounded).
 *
 * RecSqrt: 1 / sqrt(x) where x > val, val elsewhere (NaN included): the inverse root of a spectrum or variance with a
 * floor. The call returns the warning 4 when every element was replaced by val.
 * - 32f, in place: estimate, one Newton step r (3 - x r r) / 2 on the processor's estimate r, about 22 bits. Infinite x
 *   gives 0, subnormal x (above a subnormal val) its true value.
 * - 32s_Sfs, in place, and 32s16s_Sfs: 2^-scaleFactor / sqrt(x) to nearest with ties to even and saturated; val is
 *   stored as it is (32s16s: saturated). Take scaleFactor negative, to get fractional bits.
 *
 * Further statuses: Sqrt 3, a negative element (warning). RecSqrt -5, val is not above 0 (or NaN); 4, every element
 * was replaced (warning).
 * @{ */
KIVSR_API KivStatus kivsSqrt_64f_I(Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsRecSqrt_32f(Kiv32f* pSrcDst, int len, Kiv32f val);
KIVSR_API KivStatus kivsRecSqrt_32s_Sfs(Kiv32s* pSrcDst, int len, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsRecSqrt_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, Kiv32s val, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
