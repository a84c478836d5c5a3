/* Mixture scores of selected components (Gaussian selection). */
#ifndef KIVSR_SCORING_SELECTION_H
#define KIVSR_SCORING_SELECTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup selection Scores of a block of frames under the selected components of one mixture
 *
 * pSign selects, frame by frame, the components that are worth scoring (E. Bocchieri, "Vector quantization for the
 * efficient computation of continuous density likelihoods", ICASSP 1993): a row of (nMix + 7) / 8 bytes for each frame,
 * component j selected when bit 0x80 >> (j mod 8) of byte j / 8 is set. Bits behind the last component are ignored.
 *
 *     pDst[f] = log-addition, in increasing j, of the scores of frame f under the selected components j
 *
 * A score is that of kivsLogGaussSingle_32f (kivsLogGaussSingle_Scaled_16s32f with the scale factor, and their IdVar
 * forms) with the constant pVal[j]; log-addition is that of kivsLogAdd_32f with hint 0. A frame with one selected
 * component gets its score unchanged; a frame with none gets noneValue. Results do not depend on the block of frames,
 * on layout or alignment.
 *
 * Frames (nFrames rows), means and inverse variances (nMix rows each, none in the IdVar forms) are rows of len
 * elements, in D2 all at the same step. The destination may not overlap the sources.
 *
 * Statuses, first failure wins, nothing written: kivStatusNullPointer; kivStatusBadSize (len, nMix or nFrames < 1);
 * kivStatusBadStep (step < len, D2: here the step comes last); kivStatusNoMemory (a counter for each frame comes from
 * the allocator). @{ */
KIVSR_API KivStatus kivsLogGaussMixture_Select_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                      int step, int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                      int nMix, Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_Select_32f_D2L(const Kiv32f** ppSrc, const Kiv32f** ppMean,
                                                       const Kiv32f** ppVar, int len, const Kiv32f* pVal,
                                                       const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                                       Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int step, int len,
                                                           const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                           Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f** ppMean, int len,
                                                            const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                            Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                               const Kiv16s* pVar, int step, int len,
                                                               const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                               Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                               int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s** ppMean,
                                                                const Kiv16s** ppVar, int len, const Kiv32f* pVal,
                                                                const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                                                Kiv32f noneValue, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int step,
                                                                    int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                                    int nMix, Kiv32f* pDst, int nFrames,
                                                                    Kiv32f noneValue, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s** ppMean,
                                                                     int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                                     int nMix, Kiv32f* pDst, int nFrames,
                                                                     Kiv32f noneValue, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
