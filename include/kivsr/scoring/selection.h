/* Mixture scores of selected components (Gaussian selection). */
#ifndef KIVSR_SCORING_SELECTION_H
#define KIVSR_SCORING_SELECTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup selection Scores of a block of frames under the selected components of one mixture
 *
 * pSign selects, frame by frame, the components that are worth scoring (E. Bocchieri, "Vector quantization for the
 * efficient computation of continuous density likelihoods", ICASSP 1993); vq/shortlist.h makes such tables.
 *
 *     pDst[f] = log-addition, in increasing j, of the scores of frame f under the selected components j
 *
 * A score is that of kivsLogGaussSingle_32f (kivsLogGaussSingle_Scaled_16s32f with the scale factor, and their IdVar
 * forms) with the constant pVal[j]; log-addition is that of kivsLogAdd_32f with kivLogAddHintAc. A frame with one
 * selected component gets its score unchanged; a frame with none gets noneValue. Results do not depend on the block of
 * frames, on layout or alignment. The destination may not overlap the sources.
 *
 * @code{.c}
 * const Kiv32f frames[3] = {0, 2, 9}, mean[3] = {0, 2, 4}, precision[3] = {1, 1, 1}, val[3] = {-1, -2, -3};
 * const Kiv8u sign[3] = {0x80, 0x60, 0x00};  // component 0; 1 and 2; none
 * Kiv32f score[3];
 * assert(kivsLogGaussMixture_Select_32f_D2(frames, mean, precision, 1, 1, val, sign, 3, score, 3, -99) == kivStatusOk);
 * assert(score[0] == -1 && score[2] == -99);
 * assert(fabs(score[1] - log(exp(-2.0) + exp(-5.0))) < 1e-6);  // distance 0 from component 1, 2 from component 2
 * @endcode
 * @{ */

/** @name Select
 * @{ */
/** Scores nFrames vectors under the components that pSign selects for each.
 *
 * | types        | vectors, means, pVar | weights  | layouts |
 * |--------------|----------------------|----------|---------|
 * | 32f          | Kiv32f               | pVar, or 1 (IdVar) | D2, D2L |
 * | Scaled_16s32f | Kiv16s, scores as in gaussian_16s.h | pVar, or 1 (IdVar) | D2, D2L |
 *
 * @param[in] pSrc nFrames vectors, step elements apart
 * @param[in] pMean nMix means, step elements apart
 * @param[in] pVar nMix vectors of inverse variances, step elements apart
 * @param[in] ppSrc pointers to nFrames vectors
 * @param[in] ppMean pointers to nMix means
 * @param[in] ppVar pointers to nMix vectors of inverse variances
 * @param[in] step elements from one row to the next of all three matrices, at least len
 * @param[in] len features of a vector
 * @param[in] pVal nMix constants, log weights included
 * @param[in] pSign a row of (nMix + 7) / 8 bytes for each frame: component j is selected when bit 0x80 >> (j mod 8) of
 * byte j / 8 is set; bits behind the last component are ignored
 * @param[in] nMix number of components
 * @param[out] pDst nFrames scores
 * @param[in] nFrames number of vectors
 * @param[in] noneValue the score of a frame without a component, such as kivLogZero
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusNullPointer; kivStatusBadSize: len, nMix or nFrames < 1; kivStatusBadStep: D2, step < len (the step
 * comes last here); kivStatusNoMemory: no room for a counter of each frame. Errors write nothing */
KIVSR_API KivStatus kivsLogGaussMixture_Select_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                      int step, int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                      int nMix, Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_Select_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* const* ppMean,
                                                       const Kiv32f* const* ppVar, int len, const Kiv32f* pVal,
                                                       const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                                       Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int step, int len,
                                                           const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                           Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* const* ppMean,
                                                            int len, const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                            Kiv32f* pDst, int nFrames, Kiv32f noneValue);
KIVSR_API KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                               const Kiv16s* pVar, int step, int len,
                                                               const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                               Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                               int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* const* ppMean,
                                                                const Kiv16s* const* ppVar, int len, const Kiv32f* pVal,
                                                                const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                                                Kiv32f noneValue, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int step,
                                                                    int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                                    int nMix, Kiv32f* pDst, int nFrames,
                                                                    Kiv32f noneValue, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Kiv16s* const* ppSrc,
                                                                     const Kiv16s* const* ppMean, int len,
                                                                     const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                                     Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                                     int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
