/* Hertz and mel. */
#ifndef KIVSR_FRONTEND_MEL_SCALE_H
#define KIVSR_FRONTEND_MEL_SCALE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melscale Hertz and mel
 *
 *     mel(f) = melMul ln(1 + f / melDiv)        f = melDiv (exp(mel / melMul) - 1)
 *
 * With melMul 1127 (or 2595 / ln 10) and melDiv 700 this is the usual mel scale; a different melMul scales the mel axis
 * without moving a filter of a bank.
 *
 * Accuracy: last-bit (1 unit of the exact value for the given constants). An argument below -melDiv gives NaN, a result
 * too large for a float infinity; both with kivStatusOk.
 *
 * @code{.c}
 * const Kiv32f hertz[2] = {0.0F, 1000.0F};
 * Kiv32f mel[2];
 * assert(kivsLinearToMel_32f(hertz, mel, 2, 1127.0F, 700.0F) == kivStatusOk);
 * assert(mel[0] == 0.0F && fabs(mel[1] - 1000.0F) < 0.1F);
 * assert(kivsMelToLinear_32f(mel, mel, 2, 1127.0F, 700.0F) == kivStatusOk);
 * assert(fabs(mel[1] - 1000.0F) < 0.001F);
 * @endcode
 * @{ */

/** Hertz to mel.
 * @param[in] pSrc len frequencies in hertz
 * @param[out] pDst len mel values; may be pSrc
 * @param[in] len number of values
 * @param[in] melMul,melDiv the constants of the formula, greater than 0 (a NaN passes)
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1, melMul <= 0 or melDiv <= 0 */
KIVSR_API KivStatus kivsLinearToMel_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);

/** Mel to hertz.
 * @param[in] pSrc len mel values
 * @param[out] pDst len frequencies in hertz; may be pSrc
 * @param[in] len number of values
 * @param[in] melMul,melDiv the constants of the formula, greater than 0 (a NaN passes)
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1, melMul <= 0 or melDiv <= 0 */
KIVSR_API KivStatus kivsMelToLinear_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);
/** @} */

KIVSR_END_DECLS

#endif
