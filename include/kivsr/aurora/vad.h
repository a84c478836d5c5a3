/* Voice activity detection of the advanced front end. */
#ifndef KIVSR_AURORA_VAD_H
#define KIVSR_AURORA_VAD_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup vad Voice activity detection
 *
 * A speech decision per frame (ETSI ES 202 050, annex A) from what the first stage of the two-stage Wiener filter knows
 * about it. Feed it gains of that stage, not samples, spectra or band energies: its constants are made for values
 * between the floored gain 0.0736 (0.07943282 / 1.07943282, clause 5.1.5) and 1.
 *
 * Three detectors compare a measure with an adaptive floor F; a frame is active if one fires or the caller says so:
 *
 * | measure                                                                  | from    | fires above |
 * |--------------------------------------------------------------------------|---------|-------------|
 * | variance of the 64 gains                                                 | pFrame  | 1.65 F      |
 * | squared sum of the 25 band gains, less 3                                 | pBands  | 1.65 F      |
 * | mean m of band gains 1, 2, 3, smoothed: 0.75 m + 0.25 of the frame before | pBands  | 3.25 F      |
 *
 * During the first 14 frames floors follow their maxima (that of the squared sum only until it exceeds 2.5 times its
 * running mean); later they follow near values with 0.8/0.2 and much lower ones with 0.97/0.03. Floored gains alone
 * make a squared sum of 3.386, so that digital silence measures 0.386; band values whose sum is below 1.73 measure less
 * than nothing, and every frame would count as active.
 *
 * Of the last seven frames the longest run R of active ones decides: R >= 4 loads the hangover (23 frames; 40 for good
 * once a run was seen before frame 36), R >= 3 the short hangover (5 frames); speech while R >= 3 or a hangover lasts.
 * So a decision looks six frames ahead: call c, counted from 1, decides about the frame of call c - 6. Calls 1 to 10
 * are undecided, call 11 decides about frame 5, and after N calls six calls of Flush decide about the last six frames.
 * In the standard's chain call 5 comes with the first row of features.
 *
 * @code{.c}
 * KivsVADState_Aurora* vad;
 * Kiv32s block[16];
 * Kiv32f bands[25], gains[64];
 * int size, frame, i, result = 0, speech = 0;
 * kivsVADGetBufSize_Aurora_32f(&size);
 * assert(size == (int)sizeof block);
 * vad = (KivsVADState_Aurora*)block;
 * kivsVADInit_Aurora_32f(vad);
 * for (frame = 1; frame <= 100; ++frame) {  // gains at their floor, and of a sound in frames 51 to 70
 *   int loud = frame > 50 && frame <= 70;
 *   for (i = 0; i < 25; ++i) bands[i] = loud && i < 12 ? 0.9F : 0.0736F;
 *   for (i = 0; i < 64; ++i) gains[i] = loud && i < 24 ? 0.9F : 0.0736F;
 *   assert(kivsVADDecision_Aurora_32f(bands, gains, 0, &result, vad) == kivStatusOk);
 *   assert((result == kivVadUndecided) == (frame <= 10));
 *   if (frame == 51 + 6) assert(result == kivVadSpeech);  // about frame 51
 *   speech += result == kivVadSpeech;
 * }
 * for (i = 0; i < 6; ++i) {
 *   kivsVADFlush_Aurora_32f(&result, vad);  // about frames 95 to 100
 *   assert(result == kivVadNoSpeech);
 * }
 * assert(speech > 20 && speech < 70);
 * @endcode
 * @{ */

/** @name Size
 * @{ */
/** The size of the state, which the caller provides: 64 bytes, aligned to 4. One state serves one stream; calls on
 * different states may run at once.
 * @param[out] pSize 64
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsVADGetBufSize_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsVADGetBufSize_Aurora_16s(int* pSize);
/** @} */

/** @name Initialisation
 * @{ */
/** Makes the state ready for a new stream. A state serves the form that initialised it, 32f or 16s.
 * @param[out] pState 64 bytes
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsVADInit_Aurora_32f(KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADInit_Aurora_16s(KivsVADState_Aurora* pState);
/** @} */

/** @name Decision
 * @{ */
/** Takes the gains of one frame, decides about the frame of six calls before.
 *
 * 32f computes in single precision in the order of the annex. 16s takes fractions of 1/32 with arithmetic shifts,
 * multiplies and compares in 64 bits and saturates what it stores; the variance is kept 4096-fold. Stored floors end at
 * 2147483647: a frame of a standard deviation above 932 or a sum of bands above 59640 is active whatever went before.
 * Q10 gains (1024 = 1.0) stay below that; the 3 is subtracted in their units all the same and vanishes, which leaves
 * the squared sum a less sensitive measure than in the 32f form. Who wants its sensitivity lowers band 0, which only
 * the sum reads, until the sum of all is sqrt(sum^2 - 3 * 1024^2).
 *
 * @param[in] pBands 25 values: the gains of the first Wiener stage smoothed by its mel bank (clause 5.1.7), bands 0 to
 * 24
 * @param[in] pFrame 64 values: the gains behind them (clause 5.1.5), bins 0 to 63 of the 65
 * @param[in] activity frames in a row, this one included, that the detector of the noise estimate (VADNest,
 * clause 5.1.6) found above its energy threshold, its hangover not counted; 5 or more marks the frame active, 0 leaves
 * it to the gains
 * @param[out] pResult kivVadUndecided, kivVadNoSpeech or kivVadSpeech
 * @param[in,out] pState an initialised state
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsVADDecision_Aurora_32f(const Kiv32f* pBands, const Kiv32f* pFrame, int activity, int* pResult,
                                               KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADDecision_Aurora_16s(const Kiv16s* pBands, const Kiv16s* pFrame, int activity, int* pResult,
                                               KivsVADState_Aurora* pState);
/** @} */

/** @name Flush
 * @{ */
/** Called six times after the last frame: decides about the frames that Decision has not come to. Each call turns the
 * history on by one, its oldest entry becoming the newest, with counters that may fall below zero and a short hangover
 * of
 * 4. The seventh call and every later one are undecided.
 * @param[out] pResult kivVadUndecided, kivVadNoSpeech or kivVadSpeech
 * @param[in,out] pState an initialised state; after Init it serves a new stream
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsVADFlush_Aurora_32f(int* pResult, KivsVADState_Aurora* pState);
KIVSR_API KivStatus kivsVADFlush_Aurora_16s(int* pResult, KivsVADState_Aurora* pState);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
