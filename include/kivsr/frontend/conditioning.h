/* Energy normalisation and signal conditioning. */
#ifndef KIVSR_FRONTEND_CONDITIONING_H
#define KIVSR_FRONTEND_CONDITIONING_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup conditioning Energy normalisation and signal conditioning
 *
 * Steps per frame and per utterance. No function keeps state or allocates. Accuracy: single precision in the order of
 * the formulas, except where a function says otherwise.
 * @{ */

/** Normalises the log energies E[k] = pSrcDst[k * step], k < height, in place against their maximum:
 *
 *     E[k] = 1 - (E_max - max(E[k], E_max - silFloor * c)) * enScale
 *
 * silFloor is in decibels; c is the single-precision value 0.230259, close to ln(10)/10. The maximum becomes 1, what
 * lies more than silFloor below it is clamped. NormEnergy searches E_max from -3.4028235e38 on, a NaN is passed over;
 * RT takes the caller's maxE, and values above it become greater than 1. A NaN becomes the floor.
 *
 * Statuses in order: -8 null; -6 step or height < 1. */
KIVSR_API KivStatus kivsNormEnergy_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f enScale);
KIVSR_API KivStatus kivsNormEnergy_RT_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f maxE,
                                          Kiv32f enScale);

/** Removes the offset of sampled speech by a first-order high pass that continues from frame to frame:
 *
 *     y[n] = x[n] - x[n-1] + val * y[n-1]
 *
 * x[-1] = *pAddPrevFrameSample, which is replaced by x[len-1] for the next frame, and y[-1] = prevFrameOut, the last
 * output of the frame before; both 0 for the first frame. val is close to 1, for example 0.999. The 32f forms compute
 * y[0] = (val * prevFrameOut + x[0]) - x[-1] and the others as val * y[n-1] + (x[n] - x[n-1]).
 *
 * Q15: val is a fraction 0 .. 32767 of 2^15. (x[n] - x[n-1]) * 2^15 + y[n-1] * val is formed in 64 bits, divided by
 * 2^15 with truncation toward zero and saturated; the saturated value is the y[n-1] of the next step. Exact.
 *
 * Statuses in order: -8 a null pointer; -6 len < 1, Q15 also len > 65535; -5 (Q15) val < 0. */
KIVSR_API KivStatus kivsCompensateOffset_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f* pAddPrevFrameSample,
                                             Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffset_32f_I(Kiv32f* pSrcDst, int len, Kiv32f* pAddPrevFrameSample,
                                               Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s* pAddPrevFrameSample,
                                                Kiv16s prevFrameOut, Kiv16s val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s_I(Kiv16s* pSrcDst, int len, Kiv16s* pAddPrevFrameSample,
                                                  Kiv16s prevFrameOut, Kiv16s val);

/** Number of neighbours x[i], x[i+1] in a frame with a change of sign. 16s: a negative product; zero is no change.
 * 32f: a single-precision product that is not >= 0, so that NaN counts and an underflow to -0 does not; the count is
 * written as a float. Exact. A length of 1 gives 0.
 *
 * Statuses in order: -8 a null pointer; -6 len < 1. */
KIVSR_API KivStatus kivsSignChangeRate_16s(const Kiv16s* pSrc, int len, Kiv32s* pRes);
KIVSR_API KivStatus kivsSignChangeRate_32f(const Kiv32f* pSrc, int len, Kiv32f* pRes);

/** @name Normalisation into a range
 *
 * Cuts a window out of the values and stretches it to 0 .. range. With d = valMax - valMin:
 *
 *     hi = highCoef * d + valMin,    lo = d * lowCoef + valMin,    scale = range / (highCoef * d - d * lowCoef)
 *     dst[i] = max(min(src[i], hi) - lo, 0) * scale
 *
 * MinMax takes valMin and valMax from the caller, in the type of the source; the others take the extrema of pSrc (a NaN
 * is passed over) and form scale by a reciprocal estimate with one correction, so that their results may differ from
 * those of MinMax in the last bits. `range` has the type of the destination. Integer results are rounded to nearest
 * (ties to even) and saturated.
 *
 * If valMin = valMax every result is 0 and the status 4.
 *
 * Statuses in order: -8 a null pointer; -6 len < 1; -5 unless 0 <= lowCoef < highCoef <= 1, range >= 0 and, in MinMax,
 * valMin <= valMax; 4 an empty range.
 * @{ */
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f valMin,
                                                   Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f_I(Kiv32f* pSrcDst, int len, Kiv32f valMin, Kiv32f valMax,
                                                     Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f valMin,
                                                      Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f valMin,
                                                     Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s valMin,
                                                   Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s_I(Kiv16s* pSrcDst, int len, Kiv16s valMin, Kiv16s valMax,
                                                     Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv16s valMin,
                                                     Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRange_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                             Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_32f_I(Kiv32f* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef,
                                                Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef,
                                               Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRange_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                             Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_16s_I(Kiv16s* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef,
                                               Kiv32f highCoef, Kiv8u range);
/** @} */

/** Copies lenSrc elements and appends zeros up to lenDst. pDst must not overlap pSrc.
 *
 * Statuses, in order: -8 null; -6 lenSrc < 1, lenDst < 1 or lenDst < lenSrc. */
KIVSR_API KivStatus kivsCopyWithPadding_32f(const Kiv32f* pSrc, int lenSrc, Kiv32f* pDst, int lenDst);
KIVSR_API KivStatus kivsCopyWithPadding_16s(const Kiv16s* pSrc, int lenSrc, Kiv16s* pDst, int lenDst);

/** @} */

KIVSR_END_DECLS

#endif
