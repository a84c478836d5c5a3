/* Conversions between element types. */
#ifndef KIVSR_VECTOR_CONVERSION_H
#define KIVSR_VECTOR_CONVERSION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup conversion Conversion between element types
 *
 * Codes of source and destination, with a scale factor or without:
 *
 * | source | to 32f       | to 64f | to 16s | to 32s |
 * |--------|--------------|--------|--------|--------|
 * | 8u     | plain        |        |        |        |
 * | 16s    | plain, Sfs   | Sfs    |        |        |
 * | 32s    | plain, Sfs   |        | Sfs    |        |
 * | 32f    |              |        | Sfs    | Sfs    |
 * | 64f    | plain        |        |        | Sfs    |
 *
 * Results do not depend on the caller's rounding mode, which is in force again on return. pSrc and pDst do not overlap.
 * Nothing is written on an error.
 *
 * @code{.c}
 * const Kiv16s samples[3] = {-32768, 16384, 1};
 * Kiv32f values[3];
 * Kiv16s back[3];
 * assert(kivsConvert_16s32f_Sfs(samples, values, 3, 15) == kivStatusOk);  // Q15 to [-1, 1)
 * assert(values[0] == -1.0F && values[1] == 0.5F);
 * values[0] = 1.5F;
 * assert(kivsConvert_32f16s_Sfs(values, back, 3, kivRndNear, -15) == kivStatusOk);
 * assert(back[0] == 32767 && back[1] == 16384 && back[2] == 1);
 * @endcode
 * @{ */

/** @name To floating point
 * @{ */
/** pDst[i] = pSrc[i], with Sfs pSrc[i] * 2^-scaleFactor; scaleFactor 15 turns Q15 into numbers in [-1, 1).
 *
 * Accuracy: exact where the destination can hold the value (8u, 16s); 32s and 64f sources round to nearest with ties to
 * even. A 64f beyond the range of 32f gives an infinity.
 * @param[in] pSrc len elements
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @param[in] scaleFactor clamped to -112..126
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsConvert_8u32f(const Kiv8u* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f(const Kiv16s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_32s32f(const Kiv32s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_64f32f(const Kiv64f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f_Sfs(const Kiv16s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32s32f_Sfs(const Kiv32s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_16s64f_Sfs(const Kiv16s* pSrc, Kiv64f* pDst, int len, int scaleFactor);
/** @} */

/** @name To fewer bits
 * @{ */
/** pDst[i] = pSrc[i] * 2^-scaleFactor, saturated: shifted right to nearest with ties to even, or left.
 *
 * Accuracy: exact.
 * @param[in] pSrc len elements
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @param[in] scaleFactor clamped to -15..31
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsConvert_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
/** @} */

/** @name To integers
 * @{ */
/** pDst[i] = pSrc[i] * 2^-scaleFactor, rounded and saturated. NaN, and 0 times an infinite factor, give the lowest
 * value of the destination.
 *
 * Accuracy: exact but for the product, which is rounded to the type of the source.
 * @param[in] pSrc len elements
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @param[in] rndMode kivRndZero truncates, every other value (kivRndNear) rounds to nearest with ties to even
 * @param[in] scaleFactor any int; the factor is formed in single precision, also for 64f data, 0 for a scaleFactor
 * above 149 and infinite for one below -127
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsConvert_32f16s_Sfs(const Kiv32f* pSrc, Kiv16s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f32s_Sfs(const Kiv32f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_64f32s_Sfs(const Kiv64f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
