/* Blind equalisation of cepstra. */
#ifndef KIVSR_AURORA_EQUALISATION_H
#define KIVSR_AURORA_EQUALISATION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup equalisation Blind equalisation of cepstra
 *
 * Removes a slowly varying channel from cepstra, frame by frame (ETSI ES 202 050, clause 5.4). The caller keeps the
 * bias vector between frames, usually from zero. For each coefficient i, in order:
 *
 *   c = pSrcDst[i] - pBias[i];  pSrcDst[i] = c;  pBias[i] += mu (c - pRef[i])
 *   mu = min(max(energy - 211/64, 0), 1) * 9/1024
 *
 * pRef (in), pSrcDst (in and out), pBias (in and out): len coefficients each; energy: the frame's log energy.
 *
 * 32f: single precision, rounded after each operation. A NaN energy gives mu = 0.
 * 16s: energy in 1/64 steps; mu = 9 (clamp(energy, 211, 275) - 211) as a fraction of 2^16; the difference is formed in
 * 32 bits and saturates in pSrcDst only; the product is 64 bits wide, shifted right by 16 without rounding, and the new
 * bias saturates.
 *
 * Accuracy: exact. Statuses: -8 a null array; -6 len < 1. The three arrays must not overlap.
 * @{ */
KIVSR_API KivStatus kivsBlindEqualization_Aurora_32f(const Kiv32f* pRef, Kiv32f* pSrcDst, Kiv32f* pBias, int len,
                                                     Kiv32f energy);
KIVSR_API KivStatus kivsBlindEqualization_Aurora_16s(const Kiv16s* pRef, Kiv16s* pSrcDst, Kiv16s* pBias, int len,
                                                     int energy);
/** @} */

KIVSR_END_DECLS

#endif
