/* Hertz and mel. */
#ifndef KIVSR_FRONTEND_MEL_SCALE_H
#define KIVSR_FRONTEND_MEL_SCALE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melscale Hertz and mel
 *
 *     mel(f) = melMul ln(1 + f / melDiv)        f = melDiv (exp(mel / melMul) - 1)
 *
 * kivsLinearToMel_32f and kivsMelToLinear_32f convert len values, from hertz to mel and back. pDst may be pSrc.
 * With melMul 1127 (or 2595 / ln 10) and melDiv 700 this is the usual mel scale; a different melMul scales the mel axis
 * without moving a filter.
 *
 * Accuracy: last-bit (1 unit of the exact value for the given constants). An argument below -melDiv gives NaN, a result
 * too large for a float infinity; both with status 0.
 *
 * Statuses, in order: -8 a null pointer; -6 len < 1, melMul <= 0 or melDiv <= 0 (a NaN constant passes).
 * @{ */
KIVSR_API KivStatus kivsLinearToMel_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);
KIVSR_API KivStatus kivsMelToLinear_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);
/** @} */

KIVSR_END_DECLS

#endif
