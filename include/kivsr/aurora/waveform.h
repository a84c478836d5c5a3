/* Waveform processing of the advanced front end. */
#ifndef KIVSR_AURORA_WAVEFORM_H
#define KIVSR_AURORA_WAVEFORM_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup waveform Waveform processing
 *
 * Weighs a frame of speech by what is left of noise in it (ETSI ES 202 050, clause 5.2): the signal-to-noise ratio is
 * better right behind each pulse of the glottis than before the next one. A frame x of 200 samples at 8 kHz, in units
 * of a 16-bit integer, which the noise reduction has left, becomes y:
 *
 * 1. A frame whose energy, the sum of x(i)^2, is below 100 stays as it is.
 * 2. Teager energies e(i) = |x(i)^2 - x(i-1) x(i+1)|; at both ends the end itself stands for the neighbour that is
 *    missing. q(i) = floor(e(i) / 4 + 1/2), at most 2^50.
 * 3. s(i): the sum of q(i-4) .. q(i+4), the ends repeated.
 * 4. Pulses: the first maximum of s, if that is above 0. To the right of a pulse p the next one is the largest s in
 *    p + 25 .. p + 79, the last of equals, as long as p + 25 < 200; to the left in p - 25 .. p - 79, the first of equals,
 *    as long as p > 25.
 * 5. Weights w: 0.6 from p - 4 on for 0.8 of the way from a pulse p to the next one (the last pulse takes the way
 * before
 *    it), rounded up; 0.4 elsewhere, and everywhere with fewer than two pulses.
 * 6. y(i) = x(i) (w(i) + w(i+1)), w(200) = w(199): factors 0.8, 1 and 1.2.
 *
 * Steps 1 to 5 are exact but for one rounding of e(i) to double precision; 32-bit integers would overflow near full
 * scale. Both libraries find the same pulses. A frame with an element that is not finite stays as it is.
 *
 * @code{.c}
 * Kiv32f frame[200], weighed[200];
 * int i;
 * for (i = 0; i < 200; ++i) frame[i] = (Kiv32f)(1000 * sin(0.7 * i) * exp(-0.05 * (i % 60)));  // pulses every 60
 * assert(kivsWaveProcessing_Aurora_32f(frame, weighed) == kivStatusOk);
 * assert(weighed[65] == 1.2F * frame[65]);    // behind a pulse
 * assert(weighed[115] == 0.8F * frame[115]);  // before the next one
 * @endcode
 * @{ */

/** @name Waveform processing
 * @{ */
/** Steps 1 to 6. 32f: the product with 0.8F, 1 or 1.2F, rounded once. 16s: 4/5, 1 or 6/5 of the sample to nearest,
 * saturated. Accuracy: exact.
 * @param[in] pSrc 200 samples
 * @param[out] pDst 200 samples; may be pSrc
 * @param[in,out] pSrcDst 200 samples
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsWaveProcessing_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDst);
KIVSR_API KivStatus kivsWaveProcessing_Aurora_32f_I(Kiv32f* pSrcDst);
KIVSR_API KivStatus kivsWaveProcessing_Aurora_16s(const Kiv16s* pSrc, Kiv16s* pDst);
KIVSR_API KivStatus kivsWaveProcessing_Aurora_16s_I(Kiv16s* pSrcDst);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
