/* Cosine transform of log filter-bank energies with a lifter. */
#ifndef KIVSR_FRONTEND_DCT_LIFTER_H
#define KIVSR_FRONTEND_DCT_LIFTER_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dctlifter DCT lifter
 *
 * Cepstral coefficients of one frame of lenDCT log energies: an unnormalised cosine transform (type II; there is no
 * factor sqrt(2 / lenDCT)), each coefficient weighted by a lifter.
 *
 *     c[k] = w[k] * sum over n of x[n] cos(pi k (n + 1/2) / lenDCT),    k = 1 .. lenCep
 *
 * Variants, by name:
 * - (none): sine lifter w[k] = (1 + L/2 sin(pi k / L)) * scale with L = nLifter.
 * - C0: sine lifter, and the zeroth coefficient w[0] * sum of x behind the others; w[0] = scale.
 * - Mul: the caller's weights, w[k] = pLifter[k-1], lenCep values.
 * - MulC0: the caller's weights, and the zeroth coefficient behind the others, weighted by the last value,
 *   pLifter[lenCep-1], a second time.
 *
 * Matrix and lifter are computed in double precision and kept as floats; 16s states compute in float as well.
 *
 * GetSize, then Init in a block of that size (any alignment), or InitAlloc instead of both, and Free for it alone.
 * A state belongs to its type, not to its variant: one processing function serves all four. The MulC0 variant of the
 * 16s type differs from its siblings: its Init takes integer weights (its InitAlloc floats), its GetSize counts a
 * little more and refuses lenDCT above 8192.
 *
 * Bytes on a 32-bit system, with R = lenDCT rounded up to a multiple of 8:
 * - 32f: 4 lenCep + 92 + 4 (lenCep R + lenCep + R + 8)
 * - 16s: 8 lenCep + 132 + 4 (lenCep R + lenCep + R + 8)
 * - 16s MulC0: 8 lenCep + 100 + (4 lenCep + 4) + 32 (lenCep + 1) + 4 lenDCT (lenCep + 1) + 32
 * On a 64-bit system pointers are counted with 8 bytes.
 *
 * Statuses, in order:
 * - GetSize: -8 null pSize; -6 lenDCT < 1, lenCep < 1 or lenDCT < lenCep, or more than int holds; 16s MulC0: -6 lenDCT
 * > 8192.
 * - Init, InitAlloc: -8 a null argument; -6 lenDCT < 1, lenCep < 1, nLifter < 1 or lenDCT < lenCep; InitAlloc: -9 no
 *   memory or a matrix larger than int counts (*ppState unchanged). The scale is not tested.
 * - Free: -8 null.
 * @{ */
KIVSR_API KivStatus kivsDCTLifterGetSize_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterInit_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter,
                                          Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter,
                                             Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_Mul_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter,
                                              int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter,
                                                int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter,
                                          Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter,
                                             Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_Mul_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32f* pLifter,
                                              int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32s* pLifter,
                                                int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                               Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                                  Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter,
                                                   int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_32f(KivsDCTLifterState_32f** ppState, int lenDCT,
                                                     const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                               Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                                  Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter,
                                                   int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_16s(KivsDCTLifterState_16s** ppState, int lenDCT,
                                                     const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterFree_32f(KivsDCTLifterState_32f* pState);
KIVSR_API KivStatus kivsDCTLifterFree_16s(KivsDCTLifterState_16s* pState);
/** @} */

/** @defgroup dctlifterframe Cepstra of one frame
 *
 * Reads lenDCT values from pSrc and writes c[1] .. c[lenCep] to pDst, then the zeroth coefficient where the state's
 * variant has one: it is the last, not the first. pDst must not overlap pSrc, except in the integer forms.
 *
 * Sums are in single precision, reduction(lenDCT); the zeroth coefficient is summed from the first to the last value.
 * The integer forms convert their input to float, and their results times 2^-scaleFactor to the nearest integer (ties
 * to even), saturated. They use a work area of the state: one thread at a time. 32f states may be shared.
 *
 * Statuses: -8 null. Every scale factor is accepted.
 * @{ */
KIVSR_API KivStatus kivsDCTLifter_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDCTLifterState_32f* pState);
KIVSR_API KivStatus kivsDCTLifter_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                          int scaleFactor);
KIVSR_API KivStatus kivsDCTLifter_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                             int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
