/* Gaussian log-likelihoods of 16-bit vectors: half the memory of the floating-point scores. */
#ifndef KIVSR_SCORING_GAUSSIAN_16S_H
#define KIVSR_SCORING_GAUSSIAN_16S_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup gaussian_16s Gaussian log-likelihoods of 16-bit vectors
 *
 * Vectors, means and integer inverse variances are Kiv16s. The operations, argument orders and layouts are those of the
 * floating-point scores (gaussian.h), with the scale factor as the last argument. With D the weighted squared distance
 *
 *     D = sum over i < len of (x[i] - m[i])^2 w[i]          (w[i] = 1 in the IdVar forms)
 *     score = val - D 2^-(scaleFactor + 1)
 *
 * in the units of val: scaleFactor = 0 gives val - D/2, and features and weights that are real numbers times 2^a and
 * 2^b take scaleFactor = 2 a + b. The multiplier is exact; beyond the range of single precision it is 0 or infinite.
 *
 * | names                           | results | plain | Max | Add | MultiMix | Max.. | Add.. | Mixture | Single |
 * |---------------------------------|---------|-------|-----|-----|----------|-------|-------|---------|--------|
 * | Scaled_16s32f                   | Kiv32f  | x     | x   | x   | x        | x     | x     | x       | x      |
 * | LowScaled_16s32f                | Kiv32f  | x     | x   | x   |          |       | x     | x       | x      |
 * | Low_, IdVarLow_16s32f           | Kiv32f  | x     |     |     |          |       |       |         |        |
 * | IdVarScaled_, IdVarLowScaled_.. | Kiv32f  | x     | x   | x   |          |       |       | x       | x      |
 * | 16s32s (names end in Sfs)       | Kiv32s  | x     | x   |     | x        | x     |       |         | x      |
 * | Low_, IdVar_, IdVarLow_16s32s   | Kiv32s  | x     | x   |     |          |       |       |         | x      |
 * | DirectVar, BlockDVar            | both    |       |     |     |          |       |       |         | x      |
 *
 * Max.. and Add.. are MaxMultiMix and AddMultiMix. All but Single have D2 and D2L forms. There is one arithmetic, the
 * same bits on every processor. The names with Low say that squares are formed in single precision, the others that
 * they are exact integers rounded to single precision: both round the exact square once, so that a name and its sibling
 * without Low give the same results.
 *
 * - Whole groups of eight elements: differences saturate to 16 bits. Squares are multiplied by the weights, the
 *   lanes of a group are added, and the groups in their order, all in single precision.
 * - The len % 8 elements behind them: differences do not saturate, terms are added one after the other. An element may
 *   therefore count differently in vectors of 7 and of 8 elements when its difference leaves 16 bits.
 *
 * Accuracy of D: reduction(len). Integer results are single-precision scores truncated toward zero; a score that does
 * not fit and a NaN give -2147483648. Integer val and old destination values are rounded to single precision first.
 * Destinations may not overlap sources. Errors write nothing.
 *
 * @code{.c}
 * const Kiv16s frames[2 * 2] = {100, -100, 260, -100}, mean[2] = {100, -100};  // real numbers times 2^6
 * const Kiv16s precision[2] = {512, 256};                                     // 2 and 1, times 2^8
 * Kiv32f score[2];
 * assert(kivsLogGauss_Scaled_16s32f_D2(frames, 2, mean, precision, 2, score, 2, -1, 2 * 6 + 8) == kivStatusOk);
 * assert(score[0] == -1 && score[1] == -7.25F);  // -1 - 1/2 (160 / 64)^2 2
 * @endcode
 * @{ */

/** @name Many vectors, one Gaussian
 * @{ */
/** pDst[j] = score of vector j, j < height.
 * @param[in] pSrc height vectors, step elements apart
 * @param[in] ppSrc pointers to height vectors
 * @param[in] step elements from one vector to the next, at least len
 * @param[in] pMean the mean, len elements
 * @param[in] pVar the inverse variances, len elements
 * @param[in] len features of a vector
 * @param[out] pDst height scores
 * @param[in] height number of vectors
 * @param[in] val constant of the Gaussian
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGauss_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Scaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                   int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pDst, int height, Kiv32f val,
                                                     int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_LowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                      const Kiv16s* pVar, int len, Kiv32f* pDst, int height, Kiv32f val,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                               int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                int len, Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                    Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                     Kiv32f* pDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                              int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                               int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_Low_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                   int len, Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVar_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                    Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVar_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                     Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGauss_IdVarLow_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32s* pDst, int height, Kiv32s val, int scaleFactor);
/** @} */

/** @name Many vectors, one Gaussian: maximum
 * @{ */
/** pSrcDst[j] = max(score of vector j, pSrcDst[j]); a NaN score keeps the old value. Compared in single precision.
 * @param[in] pSrc height vectors, step elements apart
 * @param[in] ppSrc pointers to height vectors
 * @param[in] step elements from one vector to the next, at least len
 * @param[in] pMean the mean, len elements
 * @param[in] pVar the inverse variances, len elements
 * @param[in] len features of a vector
 * @param[in,out] pSrcDst height values
 * @param[in] height number of vectors
 * @param[in] val constant of the Gaussian
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGaussMax_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                     Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Scaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                      const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                      Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                        const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                        Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_LowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                         const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                         Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                             Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                              Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar,
                                                 int len, Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int len, Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Low_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32s* pSrcDst, int height,
                                                     Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_Low_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                      const Kiv16s* pVar, int len, Kiv32s* pSrcDst, int height,
                                                      Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                       Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                        Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32s* pSrcDst, int height, Kiv32s val, int scaleFactor);
/** @} */

/** @name Many vectors, one Gaussian: log-addition
 * @{ */
/** pSrcDst[j] = ln(e^pSrcDst[j] + e^(score of vector j)), as kivsLogAdd_32f with kivLogAddHintAc.
 * @param[in] pSrc height vectors, step elements apart
 * @param[in] ppSrc pointers to height vectors
 * @param[in] step elements from one vector to the next, at least len
 * @param[in] pMean the mean, len elements
 * @param[in] pVar the inverse variances, len elements
 * @param[in] len features of a vector
 * @param[in,out] pSrcDst height values
 * @param[in] height number of vectors
 * @param[in] val constant of the Gaussian
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGaussAdd_Scaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                     const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                     Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_Scaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                      const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                      Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_LowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean,
                                                        const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                        Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_LowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean,
                                                         const Kiv16s* pVar, int len, Kiv32f* pSrcDst, int height,
                                                         Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                          Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                           Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len,
                                                             Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len,
                                                              Kiv32f* pSrcDst, int height, Kiv32f val, int scaleFactor);
/** @} */

/** @name One vector, many Gaussians
 * @{ */
/** pSrcDst[j], which holds the constant of Gaussian j, becomes the score under it.
 * @param[in] pMean height means, step elements apart
 * @param[in] pVar height vectors of inverse variances, step elements apart
 * @param[in] ppMean pointers to height means
 * @param[in] ppVar pointers to height vectors of inverse variances
 * @param[in] step elements from one Gaussian to the next, at least len
 * @param[in] pSrc the vector, len elements
 * @param[in] len features of a vector
 * @param[in,out] pSrcDst height constants, then scores
 * @param[in] height number of Gaussians
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                          const Kiv16s* pSrc, int len, Kiv32f* pSrcDst, int height,
                                                          int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                           const Kiv16s* pSrc, int len, Kiv32f* pSrcDst, int height,
                                                           int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                      const Kiv16s* pSrc, int len, Kiv32s* pSrcDst, int height,
                                                      int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMultiMix_16s32s_D2LSfs(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                       const Kiv16s* pSrc, int len, Kiv32s* pSrcDst, int height,
                                                       int scaleFactor);
/** @} */

/** @name One vector, many Gaussians: maximum and log-addition
 * @{ */
/** MaxMultiMix: pSrcDst[j] = max(score, pSrcDst[j]); AddMultiMix: pSrcDst[j] = ln(e^pSrcDst[j] + e^score); score that
 * under Gaussian j with the constant pVal[j].
 * @param[in] pMean height means, step elements apart
 * @param[in] pVar height vectors of inverse variances, step elements apart
 * @param[in] ppMean pointers to height means
 * @param[in] ppVar pointers to height vectors of inverse variances
 * @param[in] step elements from one Gaussian to the next, at least len
 * @param[in] pSrc the vector, len elements
 * @param[in] len features of a vector
 * @param[in] pVal height constants
 * @param[in,out] pSrcDst height values
 * @param[in] height number of Gaussians
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                             const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                             Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                              const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                              Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                         const Kiv16s* pSrc, int len, const Kiv32s* pVal,
                                                         Kiv32s* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_16s32s_D2LSfs(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                          const Kiv16s* pSrc, int len, const Kiv32s* pVal,
                                                          Kiv32s* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                             const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                             Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                              const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                              Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                                const Kiv16s* pSrc, int len, const Kiv32f* pVal,
                                                                Kiv32f* pSrcDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Kiv16s* const* ppMean,
                                                                 const Kiv16s* const* ppVar, const Kiv16s* pSrc,
                                                                 int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                                 int height, int scaleFactor);
/** @} */

/** @name One vector, a mixture
 * @{ */
/** *pResult = ln(sum over j < height of e^(score under component j)), as kivsLogSum_32f in blocks of 100 components.
 * @param[in] pSrc the vector, len elements
 * @param[in] pMean height means, step elements apart
 * @param[in] pVar height vectors of inverse variances, step elements apart
 * @param[in] ppMean pointers to height means
 * @param[in] ppVar pointers to height vectors of inverse variances
 * @param[in] height number of components
 * @param[in] step elements from one component to the next, at least len
 * @param[in] len features of a vector
 * @param[in] pVal height constants, log weights included
 * @param[out] pResult the score
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusNullPointer; kivStatusBadStep: D2, step < len; kivStatusBadSize: height or len < 1 */
KIVSR_API KivStatus kivsLogGaussMixture_Scaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                         int height, int step, int len, const Kiv32f* pVal,
                                                         Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_Scaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                          const Kiv16s* const* ppVar, int height, int len,
                                                          const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                            int height, int step, int len, const Kiv32f* pVal,
                                                            Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                             const Kiv16s* const* ppVar, int height, int len,
                                                             const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height,
                                                              int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                              int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                               int height, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                               int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height,
                                                                 int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                                 int scaleFactor);
KIVSR_API KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                                  int height, int len, const Kiv32f* pVal,
                                                                  Kiv32f* pResult, int scaleFactor);
/** @} */

/** @name One vector, one Gaussian
 * @{ */
/** *pResult = the score.
 *
 * DirectVar takes variances and divides 1 by each in single precision; where one is zero the score is what the
 * arithmetic gives. BlockDVar: D = d^T B d in double precision, d = x - m saturating in whole groups as above.
 *
 * @param[in] pSrc the vector, len elements
 * @param[in] pMean the mean, len elements
 * @param[in] pVar inverse variances, or variances (DirectVar), len elements
 * @param[in] pBlockDVar matrix object (kivsBlockDMatrixInitAlloc_16s), len rows
 * @param[in] len features of a vector
 * @param[out] pResult the score
 * @param[in] val constant of the Gaussian
 * @param[in] scaleFactor of squared, weighted differences
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1, or not the number of rows of the matrix; kivStatusNoMemory:
 * DirectVar, and BlockDVar for len >= 112; kivStatusDivByZero: DirectVar, a variance is zero, the score is written */
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
                                                              const Kiv16s* const* pBlockDVar, int len, Kiv32f* pResult,
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
                                                            const Kiv16s* const* pBlockDVar, int len, Kiv32s* pResult,
                                                            Kiv32s val, int scaleFactor);
/** @} */

/** @name Weighted squared distance
 * @{ */
/** *pResult = D, or D 2^-scaleFactor truncated toward zero.
 * @param[in] pSrc the vector, len elements
 * @param[in] pMean the mean, len elements
 * @param[in] pVar the inverse variances, len elements
 * @param[in] len features of a vector
 * @param[out] pResult the distance
 * @param[in] scaleFactor of the result
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMahDistSingle_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                             Kiv32f* pResult);
KIVSR_API KivStatus kivsMahDistSingle_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                                 Kiv32s* pResult, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
