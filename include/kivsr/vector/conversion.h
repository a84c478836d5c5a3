/* Conversions between element types. */
#ifndef KIVSR_VECTOR_CONVERSION_H
#define KIVSR_VECTOR_CONVERSION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise_to_float Conversion to floating point
 *
 * pDst[i] = pSrc[i], with Sfs pSrc[i] * 2^-scaleFactor. scaleFactor is clamped to -112..126; scaleFactor 15 turns Q15
 * into numbers in [-1, 1).
 *
 * Accuracy: exact where the destination can hold the value (8u, 16s); 32s and 64f sources round to nearest with ties to
 * even, whatever rounding mode the caller has set. A 64f beyond the range of 32f gives an infinity.
 * @{ */
KIVSR_API KivStatus kivsConvert_8u32f(const Kiv8u* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f(const Kiv16s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_32s32f(const Kiv32s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_64f32f(const Kiv64f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f_Sfs(const Kiv16s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32s32f_Sfs(const Kiv32s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_16s64f_Sfs(const Kiv16s* pSrc, Kiv64f* pDst, int len, int scaleFactor);
/** @} */

/** @defgroup elementwise_to_integer Conversion to integers
 *
 * pDst[i] = pSrc[i] * 2^-scaleFactor, rounded and saturated to the destination.
 *
 * - From 32f and 64f: the factor is formed in single precision, also for 64f data; it is 0 for a scaleFactor above 149
 *   and infinite for one below -127. rndMode kivRndZero (0) truncates, every other value (kivRndNear) rounds to
 *   nearest with ties to even, whatever rounding mode the caller has set; the caller's mode is in force again on
 * return. NaN, and 0 times an infinite factor, give the lowest value of the destination.
 * - From 32s: a scaleFactor above 0 (31 at most counts) shifts right to nearest with ties to even, one below 0 (-15 at
 *   least counts) shifts left.
 *
 * Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsConvert_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f16s_Sfs(const Kiv32f* pSrc, Kiv16s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f32s_Sfs(const Kiv32f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_64f32s_Sfs(const Kiv64f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
