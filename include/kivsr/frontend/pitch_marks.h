/* Pitch marks. */
#ifndef KIVSR_FRONTEND_PITCH_MARKS_H
#define KIVSR_FRONTEND_PITCH_MARKS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup pitchmarks Pitch marks
 *
 * Instants of glottal closure, one a period, as a laryngograph or a synthesiser gives them.
 *
 * @code{.c}
 * const Kiv32s marks[4] = {100, 200, 300, 800};  // two periods of 100 samples, then a pause
 * Kiv32f f0[10];
 * assert(kivsPitchmarkToF0_32s32f(marks, 4, f0, 10, 80, 16000.0F, 320) == kivStatusOk);
 * assert(f0[0] == 0.0F && f0[2] == 160.0F && f0[3] == 160.0F && f0[4] == 0.0F);
 * @endcode
 * @{ */

/** @name Fundamental frequency from pitch marks
 * @{ */
/** Fundamental frequency of frames from pitch marks. Frame t stands at sample T = t shift; with m[k] <= T < m[k+1] its
 * period is m[k+1] - m[k], and
 *
 *     f0[t] = sampFreq / period,    0 where the period is above maxPeriod or T is not between two marks
 *
 * One rounding. Marks of 32f may stand between samples.
 * @param[in] pSrc len marks in samples, each greater than the one before
 * @param[in] len number of marks, at least 2
 * @param[out] pDst dstLen frequencies, in the unit of sampFreq
 * @param[in] dstLen number of frames
 * @param[in] shift samples from frame to frame
 * @param[in] sampFreq sampling frequency, above 0
 * @param[in] maxPeriod longest period of voiced speech, in samples
 * @return kivStatusNullPointer; kivStatusBadSize: len < 2, dstLen or shift < 1; kivStatusBadArgument: sampFreq is not
 * greater than 0, or maxPeriod < 1; kivStatusOutOfRange: marks that do not increase, NaN included. Nothing is written
 * then */
KIVSR_API KivStatus kivsPitchmarkToF0_32s32f(const Kiv32s* pSrc, int len, Kiv32f* pDst, int dstLen, int shift,
                                             Kiv32f sampFreq, int maxPeriod);
KIVSR_API KivStatus kivsPitchmarkToF0_32f(const Kiv32f* pSrc, int len, Kiv32f* pDst, int dstLen, int shift,
                                          Kiv32f sampFreq, int maxPeriod);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
