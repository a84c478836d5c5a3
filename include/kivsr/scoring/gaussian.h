/* Gaussian log-likelihoods, floating point: frames against one Gaussian, one frame against many, mixtures. */
#ifndef KIVSR_SCORING_GAUSSIAN_H
#define KIVSR_SCORING_GAUSSIAN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup gaussian Gaussian log-likelihoods
 *
 * The score of a vector x under a diagonal Gaussian with mean m, inverse variances w and constant val is
 *
 *   val - 1/2 * sum over i < len of (x[i] - m[i])^2 * w[i].
 *
 * val is the logarithm of the normalising constant, -1/2 * sum of ln(2 pi / w[i]), with the logarithm of a mixture
 * weight added where there is one; the caller computes it. pVar holds INVERSE variances except in the DirectVar forms;
 * the IdVar forms have none, every w[i] is 1.
 *
 *  - Matrices: one vector or Gaussian a row, `len` elements. D2: rows `step` elements apart, means and variances at the
 *    same step. D2L: arrays of row pointers.
 *  - Types: 32f single precision; 64f double precision; 32f64f single-precision vectors, means and variances, each
 *    widened before anything is computed, with constants and results in double precision.
 *  - Rounding: in single precision the score of frames and single vectors is (2 val - sum) / 2, so that a val above
 *    half of the largest number overflows; everything else is val - sum / 2.
 *  - Accuracy: reduction(len), and that of the log-domain functions where scores are added. The order of the sum
 *    depends on len alone: not on alignment, layout or the place of a row.
 *  - Nothing is allocated except in the DirectVar and BlockDVar forms.
 *
 * Sources and destinations must not overlap.
 * @{ */

/** Many vectors, one Gaussian: pDst[j] = score of row j of pSrc, j < height.
 * LogGaussMax: pSrcDst[j] = max(pSrcDst[j], score); the old value stays where the score is a NaN.
 * LogGaussAdd: pSrcDst[j] = ln(e^pSrcDst[j] + e^score), as kivsLogAdd with kivLogAddHintAc.
 *
 * Statuses, in order: D2 -37 step < len; -8 a null pointer; -6 len < 1 or height < 1.
 * @{ */
KIVSR_API KivStatus kivsLogGauss_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                        Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                         Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv32f* pDst,
                                              int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pDst,
                                               int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                        Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                         Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len, Kiv64f* pDst,
                                              int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pDst,
                                               int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                            Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv64f* pDst,
                                                  int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                            Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pSrcDst,
                                                  int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar,
                                           int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                            Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len,
                                                 Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pSrcDst,
                                                  int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                              int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                               Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                    Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len,
                                                     Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                           int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                            Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                 Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pSrcDst,
                                                  int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar,
                                           int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                            Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len,
                                                 Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pSrcDst,
                                                  int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar,
                                              int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                               Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len,
                                                    Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len,
                                                     Kiv64f* pSrcDst, int height, Kiv64f val);
/** @} */

/** One vector, many Gaussians: pSrcDst[j] = pSrcDst[j] - 1/2 * sum for Gaussian j < height, whose constant pSrcDst[j]
 * holds on entry.
 * MaxMultiMix: pSrcDst[j] = max(pSrcDst[j], score of Gaussian j with the constant pVal[j]); the old value stays where
 * the score is a NaN.
 * AddMultiMix: pSrcDst[j] = ln(e^pSrcDst[j] + e^score), as kivsLogAdd with kivLogAddHintAc.
 *
 * Statuses, in order: D2 -37 step < len; -8 a null pointer; -6 len < 1 or height < 1.
 * @{ */
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc,
                                                int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                 int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                      Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                       Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc,
                                                int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc,
                                                 int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                      Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len,
                                                       Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                    int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                          Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                    int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                          const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step,
                                                   const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc,
                                                    int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                         const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len,
                                                          const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                      const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                      int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                       int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                            const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                             const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                   const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                    int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                         const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                          const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step,
                                                   const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                   int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc,
                                                    int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len,
                                                         const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len,
                                                          const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                                      const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst,
                                                      int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                       int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                                            const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len,
                                                             const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
/** @} */

/** One vector, a mixture: *pResult = ln(sum over j < height of e^score[j]), score[j] that of Gaussian j with the
 * constant pVal[j], summed in blocks of 100 as kivsLogSum of the result's type does, each block behind the sum of the
 * blocks before it.
 *
 * Statuses, in order: -8 a null pointer; D2 -37 step < len; -6 height < 1 or len < 1.
 * @{ */
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height,
                                               int step, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, const Kiv32f** ppVar,
                                                int height, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step,
                                                     int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, int height, int len,
                                                      const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int height,
                                               int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2L(const Kiv64f* pSrc, const Kiv64f** ppMean, const Kiv64f** ppVar,
                                                int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, int height, int step,
                                                     int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2L(const Kiv64f* pSrc, const Kiv64f** ppMean, int height, int len,
                                                      const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar,
                                                  int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, const Kiv32f** ppVar,
                                                   int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step,
                                                        int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, int height, int len,
                                                         const Kiv64f* pVal, Kiv64f* pResult);
/** @} */

/** One vector, one Gaussian: *pResult = score.
 *
 * DirectVar: pVar holds variances, which are inverted as kivsDiv does (32f: last-bit; otherwise exact, in double
 * precision). The status is that of the division: 6 where a variance is zero, with the score that the arithmetic gives,
 * -infinity or NaN.
 *
 * BlockDVar: pBlockDVar is a block-diagonal matrix object B, the inverse covariance, from kivsBlockDMatrixInitAlloc of
 * the type of pSrc: *pResult = val - 1/2 * d^T B d, d = x - m, computed in double precision.
 *
 * Statuses, in order: -8 a null pointer; -6 len < 1; BlockDVar -6 len differs from the rows of the matrix; DirectVar,
 * and BlockDVar for len >= 112, -9 out of memory; DirectVar 6.
 * @{ */
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
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f** pBlockDVar,
                                                     int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f** pBlockDVar,
                                                     int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean,
                                                        const Kiv32f** pBlockDVar, int len, Kiv64f* pResult,
                                                        Kiv64f val);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
