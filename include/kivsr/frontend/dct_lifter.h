/* Cosine transform of log filter-bank energies with a lifter. */
#ifndef KIVSR_FRONTEND_DCT_LIFTER_H
#define KIVSR_FRONTEND_DCT_LIFTER_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dctlifter DCT lifter
 *
 * Cepstral coefficients of one frame of lenDCT log energies: an unnormalised cosine transform (type II; there is no
 * factor sqrt(2 / lenDCT): a scale of that value gives it), each coefficient weighted by a lifter.
 *
 *     c[k] = w[k] * sum over n of x[n] cos(pi k (n + 1/2) / lenDCT),    k = 1 .. lenCep
 *
 * | variant | lifter                                              | zeroth coefficient, behind the others        |
 * |---------|-----------------------------------------------------|----------------------------------------------|
 * | (none)  | w[k] = (1 + L/2 sin(pi k / L)) * scale, L = nLifter | none                                         |
 * | C0      | the same                                            | w[0] * sum of x, w[0] = scale                |
 * | Mul     | w[k] = pLifter[k-1]                                 | none                                         |
 * | MulC0   | w[k] = pLifter[k-1]                                 | w[0] * sum of x, w[0] = pLifter[lenCep-1]    |
 *
 * (MulC0 uses the last weight twice.)
 *
 * nLifter is the half period of the sine: weights rise to 1 + L/2 at k = L/2 and are back at 1 at k = L; beyond it they
 * fall below 1, so that L is taken above lenCep (22 for 12 coefficients). 1 gives no liftering, every w[k] = scale; 0,
 * which elsewhere means that, is refused.
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
 *
 * On a 64-bit system pointers are counted with 8 bytes.
 *
 * @code{.c}
 * KivsDCTLifterState_32f* state;
 * Kiv32f energies[23], cepstrum[13];
 * int n;
 * for (n = 0; n < 23; ++n) energies[n] = 2.0F;
 * assert(kivsDCTLifterInitAlloc_C0_32f(&state, 23, 12, 22, 1.0F) == kivStatusOk);
 * assert(kivsDCTLifter_32f(energies, cepstrum, state) == kivStatusOk);
 * assert(cepstrum[12] == 46.0F && fabs(cepstrum[0]) < 1e-4F);  // c0 is the last; a flat spectrum has nothing else
 * kivsDCTLifterFree_32f(state);
 * @endcode
 * @{ */

/** @name Bytes of a state
 * @{ */
/** Bytes of a state.
 * @param[in] lenDCT number of log energies
 * @param[in] lenCep number of coefficients without the zeroth, at most lenDCT
 * @param[out] pSize bytes
 * @return kivStatusNullPointer; kivStatusBadSize: lenDCT < 1, lenCep < 1 or lenDCT < lenCep, 16s MulC0 also
 * lenDCT > 8192; kivStatusBadSize: more than int holds */
KIVSR_API KivStatus kivsDCTLifterGetSize_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCep, int* pSize);
/** @} */

/** @name A state with a sine lifter in the caller's block
 * @{ */
/** A state with a sine lifter in the caller's block.
 * @param[out] pState a block of the bytes of GetSize
 * @param[in] lenDCT number of log energies
 * @param[in] lenCep number of coefficients without the zeroth, at most lenDCT
 * @param[in] nLifter L of the sine lifter, at least 1
 * @param[in] scale factor of every weight; not tested
 * @return kivStatusNullPointer; kivStatusBadSize: lenDCT, lenCep or nLifter < 1, or lenDCT < lenCep */
KIVSR_API KivStatus kivsDCTLifterInit_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter,
                                          Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter,
                                             Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter,
                                          Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter,
                                             Kiv32f scale);
/** @} */

/** @name A state with the caller's weights in the caller's block
 * @{ */
/** A state with the caller's weights in the caller's block.
 * @param[out] pState a block of the bytes of GetSize
 * @param[in] lenDCT number of log energies
 * @param[in] pLifter lenCep weights
 * @param[in] lenCep number of coefficients without the zeroth, at most lenDCT
 * @return kivStatusNullPointer; kivStatusBadSize: lenDCT or lenCep < 1, or lenDCT < lenCep */
KIVSR_API KivStatus kivsDCTLifterInit_Mul_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter,
                                              int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter,
                                                int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_Mul_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32f* pLifter,
                                              int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32s* pLifter,
                                                int lenCep);
/** @} */

/** @name A state with a sine lifter from the allocator
 * @{ */
/** A state with a sine lifter from the allocator.
 * @param[out] ppState the state; unchanged on a failure
 * @param[in] lenDCT number of log energies
 * @param[in] lenCep number of coefficients without the zeroth, at most lenDCT
 * @param[in] nLifter L of the sine lifter, at least 1
 * @param[in] scale factor of every weight; not tested
 * @return kivStatusNullPointer; kivStatusBadSize: lenDCT, lenCep or nLifter < 1, or lenDCT < lenCep;
 * kivStatusNoMemory: no memory, or a matrix larger than int counts */
KIVSR_API KivStatus kivsDCTLifterInitAlloc_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                               Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                                  Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                               Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                                  Kiv32f scale);
/** @} */

/** @name A state with the caller's weights from the allocator
 * @{ */
/** A state with the caller's weights from the allocator.
 * @param[out] ppState the state; unchanged on a failure
 * @param[in] lenDCT number of log energies
 * @param[in] pLifter lenCep weights
 * @param[in] lenCep number of coefficients without the zeroth, at most lenDCT
 * @return kivStatusNullPointer; kivStatusBadSize: lenDCT or lenCep < 1, or lenDCT < lenCep; kivStatusNoMemory: no
 * memory, or a matrix larger than int counts */
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter,
                                                   int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_32f(KivsDCTLifterState_32f** ppState, int lenDCT,
                                                     const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter,
                                                   int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_16s(KivsDCTLifterState_16s** ppState, int lenDCT,
                                                     const Kiv32f* pLifter, int lenCep);
/** @} */

/** @name Releases a state from the allocator
 * @{ */
/** Releases a state from the allocator.
 * @param[in] pState the state
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsDCTLifterFree_32f(KivsDCTLifterState_32f* pState);
KIVSR_API KivStatus kivsDCTLifterFree_16s(KivsDCTLifterState_16s* pState);
/** @} */
/** @} */

/** @defgroup dctlifterframe Cepstra of frames
 *
 * c[1] .. c[lenCep], then the zeroth coefficient where the state's variant has one: it is the last, not the first.
 * Sums are in single precision, reduction(lenDCT); the zeroth coefficient is summed from the first to the last value.
 * @{ */

/** Of floats.
 * @param[in] pSrc lenDCT log energies
 * @param[out] pDst lenCep coefficients, or lenCep + 1; must not overlap pSrc
 * @param[in] pState the state; threads may share it
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsDCTLifter_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDCTLifterState_32f* pState);

/** The same of several frames, the columns of a matrix: energy n of frame c stands at pSrc[n * columns + c],
 * coefficient k at pDst[(k - 1) * columns + c], the zeroth behind the last. A column has the same bits however many
 * stand beside it.
 * @param[in] pSrc lenDCT rows of log energies
 * @param[out] pDst lenCep rows, or lenCep + 1; must not overlap pSrc
 * @param[in] columns number of frames
 * @param[in] pState the state; threads may share it
 * @return kivStatusNullPointer; kivStatusBadSize: columns < 1 */
KIVSR_API KivStatus kivsDCTLifterColumns_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                             const KivsDCTLifterState_32f* pState);

/** @name Of integers
 * @{ */
/** Of integers: the input converted to float, the results times 2^-scaleFactor to the nearest integer (ties to even),
 * saturated.
 * @param[in] pSrc lenDCT log energies
 * @param[out] pDst lenCep coefficients, or lenCep + 1; may be pSrc
 * @param[in] pState the state; one thread at a time, as the call uses a work area of it
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsDCTLifter_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                          int scaleFactor);
KIVSR_API KivStatus kivsDCTLifter_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                             int scaleFactor);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
