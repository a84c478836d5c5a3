/* Gaussian log-likelihoods, floating point: frames against one Gaussian, one frame against many, mixtures. */
#ifndef KIVSR_SCORING_GAUSSIAN_H
#define KIVSR_SCORING_GAUSSIAN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup gaussian Gaussian log-likelihoods
 *
 * The score of a vector x under a diagonal Gaussian with mean m, inverse variances w and constant val is
 *
 *     val - 1/2 * sum over i < len of (x[i] - m[i])^2 * w[i]
 *
 * val is the logarithm of the normalising constant, -1/2 * sum of ln(2 pi / w[i]), with the logarithm of a mixture
 * weight added where there is one: kivsUpdateGConst and kivsOutProbPreCalc (training/reestimation.h) compute it. pVar
 * holds INVERSE variances except in the DirectVar forms; the IdVar forms have none, every w[i] is 1.
 *
 * Step, len and height stand in three orders, and pMean is not always second. D2L forms have the same order without
 * step and with row pointers for the matrices; IdVar forms have no pVar. The 16-bit siblings (gaussian_16s.h) add a
 * last argument scaleFactor.
 *
 * | function                             | arguments of the D2 form                                                  |
 * |--------------------------------------|---------------------------------------------------------------------------|
 * | LogGauss, LogGaussMax, LogGaussAdd   | pSrc, step, pMean, pVar, len, pDst, height, val                           |
 * | LogGaussMultiMix                     | pMean, pVar, step, pSrc, len, pSrcDst, height                             |
 * | LogGaussMaxMultiMix, ..AddMultiMix   | pMean, pVar, step, pSrc, len, pVal, pSrcDst, height                       |
 * | LogGaussMixture                      | pSrc, pMean, pVar, height, step, len, pVal, pResult                       |
 * | ..Mixture_Select (selection.h)       | pSrc, pMean, pVar, step, len, pVal, pSign, nMix, pDst, nFrames, noneValue |
 * | LogGaussSingle                       | pSrc, pMean, pVar, len, pResult, val                                      |
 * | MahDist, ..MultiMix (distances.h)    | as LogGauss and LogGaussMultiMix, without val                             |
 *
 * Every operation but LogGaussSingle has these members; LogGaussSingle has one vector and no layouts:
 *
 * | types  | vectors, means, pVar | constants and results | D2 | D2L | IdVar D2 | IdVar D2L |
 * |--------|----------------------|-----------------------|----|-----|----------|-----------|
 * | 32f    | single precision     | single                | x  | x   | x        | x         |
 * | 64f    | double precision     | double                | x  | x   | x        | x         |
 * | 32f64f | single, each widened before anything is computed | double | x | x | x | x      |
 *
 * D2: rows of len elements, step elements apart, means and variances at the same step. D2L: arrays of row pointers.
 *
 * Rounding: in single precision the score of frames and single vectors is (2 val - sum) / 2, so that a val above half
 * of the largest number overflows; everything else is val - sum / 2. Accuracy: reduction(len), and that of the
 * log-domain functions where scores are added. The order of the sum depends on len alone: not on alignment, layout or
 * the place of a row. Sources and destinations must not overlap. Nothing is allocated except by the DirectVar and
 * BlockDVar forms. Errors write nothing.
 *
 * @code{.c}
 * const Kiv32f mean[2 * 2] = {0, 0, 3, 1}, precision[2 * 2] = {1, 1, 4, 0.25F};  // two Gaussians of two features
 * const Kiv32f log_weight[2] = {-0.5F, -0.9F}, frame[2] = {3, 1};
 * Kiv32f constant[2], val[2], score[2], mixture;
 * int j;
 * for (j = 0; j < 2; ++j) assert(kivsUpdateGConst_32f(precision + 2 * j, 2, &constant[j]) == kivStatusOk);
 * kivsOutProbPreCalc_32f(log_weight, constant, val, 2);
 * score[0] = val[0];
 * score[1] = val[1];
 * assert(kivsLogGaussMultiMix_32f_D2(mean, precision, 2, frame, 2, score, 2) == kivStatusOk);
 * assert(score[0] == val[0] - 5 && score[1] == val[1]);  // 1/2 (3^2 + 1^2); the frame is the second mean
 * assert(kivsLogGaussMixture_32f_D2(frame, mean, precision, 2, 2, 2, val, &mixture) == kivStatusOk);
 * assert(fabs(mixture - log(exp(score[0]) + exp(score[1]))) < 1e-6);
 * @endcode
 * @{ */

/** @name Many vectors, one Gaussian
 * @{ */
/** Scores each of height vectors under one Gaussian, s[j] that of row j:
 *
 * - LogGauss: pDst[j] = s[j]
 * - LogGaussMax: pSrcDst[j] = max(s[j], pSrcDst[j]); the old value stays where the score is a NaN (the Viterbi
 *   approximation of a mixture: one call a component, from kivLogZero)
 * - LogGaussAdd: pSrcDst[j] = ln(e^pSrcDst[j] + e^s[j]), as kivsLogAdd with kivLogAddHintAc
 *
 * @param[in] pSrc height vectors, step elements apart
 * @param[in] ppSrc pointers to height vectors
 * @param[in] step elements from one vector to the next, at least len
 * @param[in] pMean the mean, len elements
 * @param[in] pVar the inverse variances, len elements
 * @param[in] len features of a vector
 * @param[out] pDst height scores
 * @param[in,out] pSrcDst height values that the scores are compared with or added to
 * @param[in] height number of vectors
 * @param[in] val constant of the Gaussian
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGauss_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                        Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                         Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv32f* pDst,
                                              int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len, Kiv32f* pDst,
                                               int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                        Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                         Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len, Kiv64f* pDst,
                                              int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, int len, Kiv64f* pDst,
                                               int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                            int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len,
                                                  Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                            int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len,
                                                  Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar,
                                           int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, const Kiv64f* pVar,
                                            int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len,
                                                 Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, int len,
                                                  Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                              int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                               int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                    Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len,
                                                     Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                            int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len,
                                                  Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar,
                                           int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, const Kiv64f* pVar,
                                            int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len,
                                                 Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, int len,
                                                  Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                              int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                               int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                    Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, int len,
                                                     Kiv64f* pSrcDst, int height, Kiv64f val);
/** @} */

/** @name One vector, many Gaussians
 * @{ */
/** Scores one vector under each of height Gaussians, s[j] that under Gaussian j:
 *
 * - LogGaussMultiMix: pSrcDst[j], which holds the constant of Gaussian j, becomes s[j]
 * - LogGaussMaxMultiMix: pSrcDst[j] = max(s[j], pSrcDst[j]), s[j] with the constant pVal[j]; the old value stays where
 *   the score is a NaN
 * - LogGaussAddMultiMix: pSrcDst[j] = ln(e^pSrcDst[j] + e^s[j]), s[j] with the constant pVal[j], as kivsLogAdd with
 *   kivLogAddHintAc
 *
 * @param[in] pMean height means, step elements apart
 * @param[in] pVar height vectors of inverse variances, step elements apart
 * @param[in] ppMean pointers to height means
 * @param[in] ppVar pointers to height vectors of inverse variances
 * @param[in] step elements from one Gaussian to the next, at least len
 * @param[in] pSrc the vector, len elements
 * @param[in] len features of a vector
 * @param[in] pVal height constants
 * @param[in,out] pSrcDst height constants, or values that the scores are compared with or added to; scores
 * @param[in] height number of Gaussians
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc,
                                                int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                 const Kiv32f* pSrc, int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                      Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                       Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc,
                                                int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar,
                                                 const Kiv64f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                      Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* pSrc, int len,
                                                       Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                    const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                          Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                    const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                    int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                          const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step,
                                                   const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar,
                                                    const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                    int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                         const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* pSrc, int len,
                                                          const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                      const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                      int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                       const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                       int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                            const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                             const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                    const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                    int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                          const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step,
                                                   const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar,
                                                    const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                    int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                         const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* pSrc, int len,
                                                          const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                      const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                      int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                       const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                       int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                            const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                             const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
/** @} */

/** @name One vector, a mixture
 * @{ */
/** *pResult = ln(sum over j < height of e^s[j]), s[j] the score under component j with the constant pVal[j]: the scores
 * are summed in blocks of 100 as kivsLogSum of the result's type does, each block behind the sum of the blocks before.
 *
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
 * @return kivStatusNullPointer; kivStatusBadStep: D2, step < len; kivStatusBadSize: height or len < 1 */
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height,
                                               int step, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean,
                                                const Kiv32f* const* ppVar, int height, int len, const Kiv32f* pVal,
                                                Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step,
                                                     int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, int height,
                                                      int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int height,
                                               int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2L(const Kiv64f* pSrc, const Kiv64f* const* ppMean,
                                                const Kiv64f* const* ppVar, int height, int len, const Kiv64f* pVal,
                                                Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, int height, int step,
                                                     int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2L(const Kiv64f* pSrc, const Kiv64f* const* ppMean, int height,
                                                      int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                  int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean,
                                                   const Kiv32f* const* ppVar, int height, int len, const Kiv64f* pVal,
                                                   Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step,
                                                        int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, int height,
                                                         int len, const Kiv64f* pVal, Kiv64f* pResult);
/** @} */

/** @name One vector, one Gaussian
 * @{ */
/** *pResult = the score.
 *
 * DirectVar: pVar holds variances, which are inverted as kivsDiv does (32f: last-bit; otherwise exact, in double
 * precision); where one is zero the score is what the arithmetic gives, -infinity or NaN. BlockDVar: the inverse
 * covariance is a block-diagonal matrix B (frame/block_diagonal.h), *pResult = val - 1/2 d^T B d, d = x - m, computed
 * in double precision.
 *
 * @param[in] pSrc the vector, len elements
 * @param[in] pMean the mean, len elements
 * @param[in] pVar inverse variances, or variances (DirectVar), len elements
 * @param[in] pBlockDVar matrix object of the type of pSrc, len rows
 * @param[in] len features of a vector
 * @param[out] pResult the score
 * @param[in] val constant of the Gaussian
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1, or not the number of rows of the matrix; kivStatusNoMemory:
 * DirectVar, and BlockDVar for len >= 112; kivStatusDivByZero: DirectVar, a variance is zero, the score is written */
KIVSR_API KivStatus kivsLogGaussSingle_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                           Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv32f* pResult,
                                                 Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                           Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, int len, Kiv64f* pResult,
                                                 Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                              Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv64f* pResult,
                                                    Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                     int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar,
                                                     int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                        int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean,
                                                     const Kiv32f* const* pBlockDVar, int len, Kiv32f* pResult,
                                                     Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean,
                                                     const Kiv64f* const* pBlockDVar, int len, Kiv64f* pResult,
                                                     Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean,
                                                        const Kiv32f* const* pBlockDVar, int len, Kiv64f* pResult,
                                                        Kiv64f val);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
