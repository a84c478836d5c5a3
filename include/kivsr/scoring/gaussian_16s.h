/* Gaussian log-likelihoods of 16-bit vectors.
 *
 * Vectors, means and integer inverse variances are Kiv16s; the operations, argument orders and layouts are those of the
 * floating-point scores (gaussian.h), with the scale factor as the last argument. Results are Kiv32f, or Kiv32s in the
 * names that end in Sfs. With D the weighted squared distance
 *
 *     D = sum over i < len of (x[i] - m[i])^2 w[i]          (w[i] = 1 in the IdVar forms)
 *     score = val - D 2^-(scaleFactor + 1)
 *
 * in the units of val: scaleFactor = 0 gives val - D/2. The multiplier is exact; beyond the range of single precision
 * it is 0 or infinite.
 *
 * Arithmetic, the same bits on every processor:
 * - whole groups of eight elements: differences saturate to 16 bits. Their squares are exact integers that are then
 *   rounded to single precision (Scaled, and the 16s32s names without Low), or are formed in single precision (Low,
 *   LowScaled). Each is multiplied by the weight, the lanes of a group are added, and the groups in their order, all in
 *   single precision;
 * - the len % 8 elements behind them: the difference does not saturate, the square is formed in single precision, and
 *   terms are added one after the other. An element may therefore count differently in vectors of 7 and of 8 elements
 *   when its difference leaves 16 bits.
 * Accuracy of D: reduction(len). Integer results are single-precision scores truncated toward zero; a score that does
 * not fit and a NaN give -2147483648. val and old destination values are rounded to single precision first.
 *
 * Statuses, first failure wins, nothing written: frames and MultiMix forms in D2: kivStatusBadStep (len > step),
 * kivStatusNullPointer, kivStatusBadSize (len or height < 1); Mixture D2: null, step, size; the others: null, size.
 * Destinations may not overlap sources. */
#ifndef KIVSR_SCORING_GAUSSIAN_16S_H
#define KIVSR_SCORING_GAUSSIAN_16S_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup gaussian_16s_frames Frames under one Gaussian
 *  pDst[j] = score of frame row j, j < height. @{ */
KIVSR_API KivStatus kivsLogGauss_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Scaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                   int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pDst, int height, Kiv32f val,
                                                     int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_LowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                      int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                               int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                                Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                    Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len, Kiv32f* pDst,
                                                     int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                              int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                               Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                   int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVar_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                    Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVar_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, int len, Kiv32s* pDst,
                                                     int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_maximum Frames under one Gaussian, maximum
 *  pSrcDst[j] = max(score of frame row j, pSrcDst[j]); a NaN score keeps the old value. @{ */
KIVSR_API KivStatus kivsLogGaussMax_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                     Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Scaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                      int len, Kiv32f* pSrcDst, int height, Kiv32f val,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                        const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                        Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_LowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                         int len, Kiv32f* pSrcDst, int height, Kiv32f val,
                                                         int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                             Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                              Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                 int len, Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Low_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32s* pSrcDst, int height,
                                                     Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Low_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                      int len, Kiv32s* pSrcDst, int height, Kiv32s val,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_log_add Frames under one Gaussian, log-addition
 *  pSrcDst[j] = ln(exp(pSrcDst[j]) + exp(score of frame row j)) as kivsLogAdd_32f with hint 0. @{ */
KIVSR_API KivStatus kivsLogGaussAdd_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                     Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_Scaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                      int len, Kiv32f* pSrcDst, int height, Kiv32f val,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                        const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                        Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_LowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                         int len, Kiv32f* pSrcDst, int height, Kiv32f val,
                                                         int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                             Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s* pMean, int len,
                                                              Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_multi_mix One vector under many Gaussians
 *  pSrcDst[j] holds the constant of Gaussian row j and receives its score. @{ */
KIVSR_API KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                          const Kiv16s* pSrc, int len, Kiv32f* pSrcDst, int height,
                                                          int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2L(const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                           const Kiv16s* pSrc, int len, Kiv32f* pSrcDst, int height,
                                                           int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                      const Kiv16s* pSrc, int len, Kiv32s* pSrcDst, int height,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_16s32s_D2LSfs(const Kiv16s** ppMean, const Kiv16s** ppVar, const Kiv16s* pSrc,
                                                       int len, Kiv32s* pSrcDst, int height, int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_max_mix One vector under many Gaussians, maximum or log-addition
 *  pSrcDst[j] = maximum or log-addition of the score of Gaussian row j, with the constant pVal[j], and pSrcDst[j]. @{
 */
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                             const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                             Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                              const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                              Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                         const Kiv16s* pSrc, int len, const Kiv32s* pVal,
                                                         Kiv32s* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_16s32s_D2LSfs(const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                          const Kiv16s* pSrc, int len, const Kiv32s* pVal,
                                                          Kiv32s* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                             const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                             Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                              const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                              Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                                const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                                Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                                 const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                                 Kiv32f* pSrcDst, int height, int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_mixture Mixtures
 *  *pResult = log-sum of the scores of all Gaussian rows, with the constants pVal, as kivsLogSum_32f in blocks of 100
 *  rows. @{ */
KIVSR_API KivStatus kivsLogGaussMixture_Scaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                         int height, int step, int len, const Kiv32f* pVal,
                                                         Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_Scaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s** ppMean,
                                                          const Kiv16s** ppVar, int height, int len, const Kiv32f* pVal,
                                                          Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                            int height, int step, int len, const Kiv32f* pVal,
                                                            Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s** ppMean,
                                                             const Kiv16s** ppVar, int height, int len,
                                                             const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height,
                                                              int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                              int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s** ppMean, int height,
                                                               int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                               int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height,
                                                                 int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                                 int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s** ppMean, int height,
                                                                  int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                                  int scaleFactor);
/** @} */

/** @defgroup gaussian_16s_single One vector under one Gaussian
 *
 * DirectVar takes variances and divides 1 by each in single precision; a zero variance is the division's warning
 * kivStatusDivByZero, and the score is written as the arithmetic gives it. BlockDVar takes a block-diagonal inverse
 * covariance (kivsBlockDMatrixInitAlloc_16s): D = d^T B d in double precision, d = x - m saturating in whole groups as
 * above. Further statuses: BlockDVar kivStatusBadSize when len is not the dimension of the matrix; DirectVar, and
 * BlockDVar from 112 elements on, kivStatusNoMemory. @{ */
KIVSR_API KivStatus kivsLogGaussSingle_Scaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                     int len, Kiv32f* pResult, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_LowScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                        int len, Kiv32f* pResult, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_IdVarScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, int len,
                                                          Kiv32f* pResult, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_IdVarLowScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, int len,
                                                             Kiv32f* pResult, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVarScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                              const Kiv16s* pVar, int len, Kiv32f* pResult, Kiv32f val,
                                                              int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVarScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                              const Kiv16s** pBlockDVar, int len, Kiv32f* pResult,
                                                              Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                                  Kiv32s* pResult, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_Low_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                      int len, Kiv32s* pResult, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, int len,
                                                        Kiv32s* pResult, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_IdVarLow_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, int len,
                                                           Kiv32s* pResult, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                            int len, Kiv32s* pResult, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                            const Kiv16s** pBlockDVar, int len, Kiv32s* pResult,
                                                            Kiv32s val, int scaleFactor);
/** @} */

/** @defgroup mahalanobis_16s Weighted squared distance of 16-bit vectors
 *  *pResult = D, or D 2^-scaleFactor truncated toward zero. Statuses: null pointer, size. @{ */
KIVSR_API KivStatus kivsMahDistSingle_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                             Kiv32f* pResult);
KIVSR_API KivStatus kivsMahDistSingle_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                                 Kiv32s* pResult, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
