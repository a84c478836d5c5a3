/* Energy normalisation and signal conditioning. */
#ifndef KIVSR_FRONTEND_CONDITIONING_H
#define KIVSR_FRONTEND_CONDITIONING_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup conditioning Energy normalisation and signal conditioning
 *
 * Steps per frame and per utterance. No function keeps state or allocates. Accuracy: single precision in the order of
 * the formulas, except where a function says otherwise. A destination may be the source, element for element, unless
 * the function says otherwise.
 *
 * @code{.c}
 * Kiv32f energy[2] = {10.0F, 0.0F};
 * Kiv32f x[4] = {5.0F, 5.0F, 5.0F, 5.0F};
 * Kiv32f previous = 5.0F, changes;
 * const Kiv32f wave[3] = {1.0F, -1.0F, 1.0F};
 * Kiv8u grey[3];
 * assert(kivsNormEnergy_32f(energy, 1, 2, 50.0F, 0.1F) == kivStatusOk && energy[0] == 1.0F && energy[1] == 0.0F);
 * assert(kivsCompensateOffset_32f_I(x, 4, &previous, 0.0F, 0.999F) == kivStatusOk && x[3] == 0.0F);
 * assert(kivsSignChangeRate_32f(wave, 3, &changes) == kivStatusOk && changes == 2.0F);
 * assert(kivsNormalizeInRange_32f8u(wave, grey, 3, 0.0F, 1.0F, 255) == kivStatusOk && grey[0] == 255 && grey[1] == 0);
 * @endcode
 * @{ */

/** @defgroup conditioning_energy Log energies against their maximum
 *
 * In place, for k < height:
 *
 *     E[k] = 1 - (E_max - max(E[k], E_max - silFloor * c)) * enScale,    c = 0.230259 in single precision
 *
 * c is close to ln(10)/10. The maximum becomes 1, what lies more than silFloor below it is clamped. A NaN becomes the
 * floor.
 * @{ */
/** E_max is searched, from -3.4028235e38 on; a NaN is passed over.
 * @param[in,out] pSrcDst natural logarithms of energies, E[k] = pSrcDst[k * step]
 * @param[in] step elements from one energy to the next
 * @param[in] height number of energies
 * @param[in] silFloor floor below the maximum, in decibels
 * @param[in] enScale scale of the result
 * @return kivStatusNullPointer; kivStatusBadSize: step or height < 1 */
KIVSR_API KivStatus kivsNormEnergy_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f enScale);
/** E_max is the caller's; energies above it become greater than 1.
 * @param[in,out] pSrcDst natural logarithms of energies, E[k] = pSrcDst[k * step]
 * @param[in] step elements from one energy to the next
 * @param[in] height number of energies
 * @param[in] silFloor floor below the maximum, in decibels
 * @param[in] maxE E_max
 * @param[in] enScale scale of the result
 * @return kivStatusNullPointer; kivStatusBadSize: step or height < 1 */
KIVSR_API KivStatus kivsNormEnergy_RT_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f maxE,
                                          Kiv32f enScale);
/** @} */

/** @defgroup conditioning_offset Offset compensation
 *
 * Removes the offset of sampled speech by a first-order high pass that continues from frame to frame:
 *
 *     y[n] = x[n] - x[n-1] + val * y[n-1]
 *
 * The 32f forms compute y[0] = (val * prevFrameOut + x[0]) - x[-1] and the others as val * y[n-1] + (x[n] - x[n-1]).
 * Q15: (x[n] - x[n-1]) * 2^15 + y[n-1] * val is formed in 64 bits, divided by 2^15 with truncation toward zero and
 * saturated; the saturated value is the y[n-1] of the next step. Exact.
 * @{ */
/** @name One frame
 * @{ */
/** One frame.
 * @param[in] pSrc len samples
 * @param[out] pDst len samples
 * @param[in] len number of samples, Q15 at most 65535
 * @param[in,out] pAddPrevFrameSample x[-1], 0 for the first frame; replaced by x[len-1] for the next
 * @param[in] prevFrameOut y[-1], the last output of the frame before; 0 for the first
 * @param[in] val close to 1, for example 0.999; Q15 as a fraction 0 .. 32767 of 2^15
 * @return kivStatusNullPointer; kivStatusBadSize: len; kivStatusBadArgument (Q15): val < 0 */
KIVSR_API KivStatus kivsCompensateOffset_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f* pAddPrevFrameSample,
                                             Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s* pAddPrevFrameSample,
                                                Kiv16s prevFrameOut, Kiv16s val);
/** @} */
/** @name One frame in place
 * @{ */
/** One frame in place.
 * @param[in,out] pSrcDst len samples
 * @param[in] len number of samples, Q15 at most 65535
 * @param[in,out] pAddPrevFrameSample x[-1], 0 for the first frame; replaced by x[len-1] for the next
 * @param[in] prevFrameOut y[-1], the last output of the frame before; 0 for the first
 * @param[in] val close to 1, for example 0.999; Q15 as a fraction 0 .. 32767 of 2^15
 * @return kivStatusNullPointer; kivStatusBadSize: len; kivStatusBadArgument (Q15): val < 0 */
KIVSR_API KivStatus kivsCompensateOffset_32f_I(Kiv32f* pSrcDst, int len, Kiv32f* pAddPrevFrameSample,
                                               Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s_I(Kiv16s* pSrcDst, int len, Kiv16s* pAddPrevFrameSample,
                                                  Kiv16s prevFrameOut, Kiv16s val);
/** @} */
/** @} */

/** @name Changes of sign
 * @{ */
/** Number of neighbours x[i], x[i+1] in a frame with a change of sign. 16s: a negative product; zero is no change.
 * 32f: a single-precision product that is not >= 0, so that NaN counts and an underflow to -0 does not. Exact.
 * @param[in] pSrc len samples
 * @param[in] len number of samples; 1 gives 0
 * @param[out] pRes the count
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsSignChangeRate_16s(const Kiv16s* pSrc, int len, Kiv32s* pRes);
KIVSR_API KivStatus kivsSignChangeRate_32f(const Kiv32f* pSrc, int len, Kiv32f* pRes);
/** @} */

/** @defgroup conditioning_range Normalisation into a range
 *
 * Cuts a window out of the values and stretches it to 0 .. range. With d = valMax - valMin:
 *
 *     hi = highCoef * d + valMin,    lo = d * lowCoef + valMin,    scale = range / (highCoef * d - d * lowCoef)
 *     dst[i] = max(min(src[i], hi) - lo, 0) * scale
 *
 * Integer results are rounded to nearest (ties to even) and saturated. If valMin = valMax every result is 0.
 *
 * | extrema                  | 32f, in place | 32f to 16s | 32f to 8u | 16s, in place | 16s to 8u |
 * |--------------------------|---------------|------------|-----------|---------------|-----------|
 * | the caller's: MinMax     | _32f, _32f_I  | _32f16s    | _32f8u    | _16s, _16s_I  | _16s8u    |
 * | those of pSrc            | _32f, _32f_I  | _32f16s    | _32f8u    | _16s, _16s_I  | _16s8u    |
 * @{ */
/** @name With the caller's extrema
 * @{ */
/** With the caller's extrema.
 * @param[in] pSrc len values
 * @param[out] pDst len results
 * @param[in] len number of values
 * @param[in] valMin,valMax the extrema of the values, in the type of the source
 * @param[in] lowCoef,highCoef the window as fractions of the extrema, 0 <= lowCoef < highCoef <= 1
 * @param[in] range the result of the upper bound, at least 0, in the type of the destination
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: the coefficients, range or valMin >
 * valMax; warning kivStatusNoOperation: an empty range */
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f valMin,
                                                   Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f valMin,
                                                      Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f valMin,
                                                     Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s valMin,
                                                   Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv16s valMin,
                                                     Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
/** @} */
/** @name With the caller's extrema, in place
 * @{ */
/** With the caller's extrema, in place.
 * @param[in,out] pSrcDst len values
 * @param[in] len number of values
 * @param[in] valMin,valMax the extrema of the values, in the type of the source
 * @param[in] lowCoef,highCoef the window as fractions of the extrema, 0 <= lowCoef < highCoef <= 1
 * @param[in] range the result of the upper bound, at least 0, in the type of the destination
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: the coefficients, range or valMin >
 * valMax; warning kivStatusNoOperation: an empty range */
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f_I(Kiv32f* pSrcDst, int len, Kiv32f valMin, Kiv32f valMax,
                                                     Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s_I(Kiv16s* pSrcDst, int len, Kiv16s valMin, Kiv16s valMax,
                                                     Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
/** @} */
/** @name With the extrema of the source
 * @{ */
/** With the extrema of pSrc (a NaN is passed over). scale is formed by a reciprocal estimate with one correction: the
 * results may differ from those of MinMax in the last bits.
 * @param[in] pSrc len values
 * @param[out] pDst len results
 * @param[in] len number of values
 * @param[in] lowCoef,highCoef the window as fractions of the extrema, 0 <= lowCoef < highCoef <= 1
 * @param[in] range the result of the upper bound, at least 0, in the type of the destination
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: the coefficients, range;
 * warning kivStatusNoOperation: an empty range */
KIVSR_API KivStatus kivsNormalizeInRange_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                             Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef,
                                                Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef,
                                               Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRange_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                             Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef,
                                               Kiv32f highCoef, Kiv8u range);
/** @} */
/** @name With the extrema of the values, in place; as the forms with a destination
 * @{ */
/** With the extrema of the values, in place; as the forms with a destination.
 * @param[in,out] pSrcDst len values
 * @param[in] len number of values
 * @param[in] lowCoef,highCoef the window as fractions of the extrema, 0 <= lowCoef < highCoef <= 1
 * @param[in] range the result of the upper bound, at least 0, in the type of the destination
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: the coefficients, range;
 * warning kivStatusNoOperation: an empty range */
KIVSR_API KivStatus kivsNormalizeInRange_32f_I(Kiv32f* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_16s_I(Kiv16s* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
/** @} */
/** @} */

/** @name Copies a frame and appends zeros
 * @{ */
/** Copies a frame and appends zeros.
 * @param[in] pSrc lenSrc elements
 * @param[in] lenSrc number of elements
 * @param[out] pDst lenDst elements; must not overlap pSrc
 * @param[in] lenDst number of elements with the zeros, at least lenSrc
 * @return kivStatusNullPointer; kivStatusBadSize: lenSrc or lenDst < 1, or lenDst < lenSrc */
KIVSR_API KivStatus kivsCopyWithPadding_32f(const Kiv32f* pSrc, int lenSrc, Kiv32f* pDst, int lenDst);
KIVSR_API KivStatus kivsCopyWithPadding_16s(const Kiv16s* pSrc, int lenSrc, Kiv16s* pDst, int lenDst);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
