/* Blind equalisation of cepstra. */
#ifndef KIVSR_AURORA_EQUALISATION_H
#define KIVSR_AURORA_EQUALISATION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup equalisation Blind equalisation of cepstra
 *
 * Removes a slowly varying channel from cepstra, frame by frame (ETSI ES 202 050, clause 5.4). For each coefficient i,
 * in order:
 *
 *   c = pSrcDst[i] - pBias[i];  pSrcDst[i] = c;  pBias[i] += mu (c - pRef[i])
 *   mu = min(max(energy - 211/64, 0), 1) * 9/1024
 *
 * The threshold 211/64 is the natural logarithm of a frame's energy in units of 16-bit samples: the front end must take
 * samples as integers (-32768 .. 32767, as floats in the 32f form), not scaled to -1 .. 1, where nothing would ever
 * exceed it and the bias would stay where it is.
 *
 * | form | cepstra                | energy            | mu                                              |
 * |------|------------------------|-------------------|-------------------------------------------------|
 * | 32f  | natural units          | natural logarithm | single precision; a NaN energy gives 0          |
 * | 16s  | any one Q format       | 64 times that     | 9 (clamp(energy, 211, 275) - 211), units of 2^-16 |
 *
 * 32f: rounded after each operation. 16s: the difference is formed in 32 bits and saturates in pSrcDst only; the
 * product is 64 bits wide, shifted right by 16 without rounding, and the new bias saturates. Accuracy: exact.
 *
 * @code{.c}
 * const Kiv32f reference[12] = {-6.618909F, 0.198269F, -0.740308F, 0.055132F, -0.227086F, 0.144280F,
 *                               -0.112451F, -0.146940F, -0.327466F, 0.134571F, 0.027884F, -0.114905F};  // clause 5.4
 * Kiv32f bias[12] = {0}, cepstrum[12];
 * int frame, i;
 * for (frame = 0; frame < 3000; ++frame) {  // a microphone that adds 2 to every coefficient
 *   for (i = 0; i < 12; ++i) cepstrum[i] = reference[i] + 2;
 *   assert(kivsBlindEqualization_Aurora_32f(reference, cepstrum, bias, 12, 10.0F) == kivStatusOk);
 * }
 * for (i = 0; i < 12; ++i) assert(fabs(cepstrum[i] - reference[i]) < 0.01 && fabs(bias[i] - 2) < 0.01);
 * @endcode
 * @{ */

/** @name Equalisation
 * @{ */
/** Corrects a cepstrum in place and moves the bias.
 * @param[in] pRef len coefficients, the cepstrum of the reference channel
 * @param[in,out] pSrcDst len coefficients of the frame
 * @param[in,out] pBias len coefficients, kept by the caller from frame to frame, zeros at first
 * @param[in] len number of coefficients, 12 in the standard
 * @param[in] energy the frame's log energy
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. The arrays must not overlap. */
KIVSR_API KivStatus kivsBlindEqualization_Aurora_32f(const Kiv32f* pRef, Kiv32f* pSrcDst, Kiv32f* pBias, int len,
                                                     Kiv32f energy);
KIVSR_API KivStatus kivsBlindEqualization_Aurora_16s(const Kiv16s* pRef, Kiv16s* pSrcDst, Kiv16s* pBias, int len,
                                                     int energy);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
