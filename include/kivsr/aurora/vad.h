/* Voice activity detection of the advanced front end. */
#ifndef KIVSR_AURORA_VAD_H
#define KIVSR_AURORA_VAD_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup vad Voice activity detection
 * A speech decision per frame (ETSI ES 202 050, annex A). The caller provides the 64-byte state, aligned to 4 bytes;
 * one state serves one stream, calls on different states may run at once. Statuses: -8 a null argument.
 * @{ */

/** @name State
 * GetBufSize reports 64. Init makes the state ready for a new stream. The 32f and 16s states are not interchangeable.
 * @{ */
KIVSR_API KivStatus kivsVADGetBufSize_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsVADGetBufSize_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsVADInit_Aurora_32f(KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADInit_Aurora_16s(KivsVADState_Aurora* pState);
/** @} */

/** @name Decision
 * pBands: the 25 band values of the frame; pFrame: 64 samples; activity: an external count, 5 or more marks the frame
 * active. *pResult: 4 undecided (the first ten frames), 2 no speech, 1 speech.
 *
 * Three detectors compare a measure with an adaptive floor F: the frame variance (F times 1.65), the squared sum of the
 * bands less 3 (F times 1.65) and the mean of bands 1..3, smoothed with the previous frame's (F times 3.25). During the
 * first 14 frames floors follow their maxima (that of the energy only until the energy exceeds 2.5 times its running
 * mean); later they follow near values with 0.8/0.2 and much lower ones with 0.97/0.03. A frame is active if a detector
 * fires. Of the last seven frames the longest run R of active ones decides: R >= 4 loads the hangover (23 frames; 40
 * for good once a run was seen before frame 36), R >= 3 the short hangover (5 frames); speech while R >= 3 or a
 * hangover lasts.
 *
 * 32f computes in single precision in the order of the annex. 16s takes fractions of 1/32 with arithmetic shifts,
 * multiplies and compares in 64 bits and saturates what it stores; the variance is kept 4096-fold. Stored floors end
 * at 2147483647: a frame of a standard deviation above 932 or a sum of bands above 59640 is active whatever went
 * before.
 * @{ */
KIVSR_API KivStatus kivsVADDecision_Aurora_32f(const Kiv32f* pBands, const Kiv32f* pFrame, int activity, int* pResult,
                                               KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADDecision_Aurora_16s(const Kiv16s* pBands, const Kiv16s* pFrame, int activity, int* pResult,
                                               KivsVADState_Aurora* pState);
/** @} */

/** @name Flush
 * Once per frame after the input has ended: drains the history, its oldest entry becoming the newest, with counters
 * that may fall below zero and a short hangover of 4. Returns 4 when all seven entries are drained, and on every later
 * call.
 * @{ */
KIVSR_API KivStatus kivsVADFlush_Aurora_32f(int* pResult, KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADFlush_Aurora_16s(int* pResult, KivsVADState_Aurora* pState);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
