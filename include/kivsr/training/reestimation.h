/* Re-estimation of Gaussian parameters from accumulated statistics. */
#ifndef KIVSR_TRAINING_REESTIMATION_H
#define KIVSR_TRAINING_REESTIMATION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reestimation Parameter re-estimation
 *
 * Turns the statistics of a training pass (sums of feature vectors, of their squares, occupation counts) into new
 * parameters of diagonal Gaussians.
 *
 * | operation                                | 32f | 64f | integers              | in place |
 * |------------------------------------------|-----|-----|-----------------------|----------|
 * | UpdateMean, UpdateVar, UpdateWeight      | x   | x   |                       | (the mean) |
 * | UpdateGConst, UpdateGConst_DirectVar     | x   | x   |                       |          |
 * | OutProbPreCalc                           | x   | x   |                       | _I       |
 * | WeightedSum, WeightedSumHalf             | x   | x   | 16s                   | pDst may be a source |
 * | NewVar                                   | x   | x   | 32s_Sfs               | _I, _ISfs |
 * | MeanVarAcc                               | x   | x   |                       | (the sums) |
 *
 * 64f forms compute in double precision throughout; formulas are rounded after each operation. A destination may be one
 * of the sources, element for element. Errors write nothing.
 *
 * @code{.c}
 * const Kiv32f frames[4] = {1, 2, 4, 5}, floor[1] = {0.01F}, old_mean[1] = {0};
 * Kiv32f sum[1] = {0}, squares[1] = {0}, mean[1] = {0}, variance[1];
 * int t;
 * for (t = 0; t < 4; ++t) assert(kivsMeanVarAcc_32f(frames + t, old_mean, sum, squares, 1, 1) == kivStatusOk);
 * assert(kivsUpdateMean_32f(sum, mean, 1, 4) == kivStatusOk && mean[0] == 3);
 * assert(kivsUpdateVar_32f(sum, squares, floor, variance, 1, 4, 4) == kivStatusOk);
 * assert(variance[0] == 2.5F);  // (2^2 + 1 + 1 + 2^2) / 4
 * @endcode
 * @{ */

/** @name Means
 * @{ */
/** pMean[i] += pMeanAcc[i] * r,  r = 1 / meanOcc rounded to the type. The mean is added to: clear it first for the
 * plain quotient. Accuracy: exact.
 * @param[in] pMeanAcc len sums of weighted features
 * @param[in,out] pMean len means
 * @param[in] len features of the Gaussian
 * @param[in] meanOcc occupation: the sum of the weights
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNegOccupation: an occupation is
 * negative or NaN; kivStatusZeroOccupation: one does not exceed the smallest normal number of the type, nothing is
 * written */
KIVSR_API KivStatus kivsUpdateMean_32f(const Kiv32f* pMeanAcc, Kiv32f* pMean, int len, Kiv32f meanOcc);
KIVSR_API KivStatus kivsUpdateMean_64f(const Kiv64f* pMeanAcc, Kiv64f* pMean, int len, Kiv64f meanOcc);
/** @} */

/** @name Variances with a floor
 * @{ */
/** m = pMeanAcc[i] * (1/meanOcc),  v = pVarAcc[i] * (1/varOcc) - m * m,  pVar[i] = v > pVarFloor[i] ? v : pVarFloor[i].
 *
 * A variance equal to its floor counts as floored; a NaN does not. Accuracy: exact.
 * @param[in] pMeanAcc len sums of weighted features
 * @param[in] pVarAcc len sums of weighted squares
 * @param[in] pVarFloor len least variances
 * @param[out] pVar len variances
 * @param[in] len features of the Gaussian
 * @param[in] meanOcc occupation of pMeanAcc
 * @param[in] varOcc occupation of pVarAcc
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNegOccupation: an occupation is
 * negative or NaN; kivStatusZeroOccupation: one does not exceed the smallest normal number of the type, nothing is
 * written; kivStatusFloored: a variance was raised, all are written */
KIVSR_API KivStatus kivsUpdateVar_32f(const Kiv32f* pMeanAcc, const Kiv32f* pVarAcc, const Kiv32f* pVarFloor,
                                      Kiv32f* pVar, int len, Kiv32f meanOcc, Kiv32f varOcc);
KIVSR_API KivStatus kivsUpdateVar_64f(const Kiv64f* pMeanAcc, const Kiv64f* pVarAcc, const Kiv64f* pVarFloor,
                                      Kiv64f* pVar, int len, Kiv64f meanOcc, Kiv64f varOcc);
/** @} */

/** @name Mixture weights with a floor
 * @{ */
/** w = pWeightAcc[i] * (1/weightOcc), raised to weightFloor when weightFloor >= w; *pSumWeight is the sum of the
 * weights written. Accuracy: weights exact, their sum reduction(len).
 * @param[in] pWeightAcc len occupations of components
 * @param[out] pWeight len weights
 * @param[in] len number of components
 * @param[out] pSumWeight the sum of the weights
 * @param[in] weightOcc occupation of the mixture
 * @param[in] weightFloor least weight
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNegOccupation: an occupation is
 * negative or NaN; kivStatusZeroOccupation: one does not exceed the smallest normal number of the type, nothing is
 * written; kivStatusFloored: a weight was raised, all are written */
KIVSR_API KivStatus kivsUpdateWeight_32f(const Kiv32f* pWeightAcc, Kiv32f* pWeight, int len, Kiv32f* pSumWeight,
                                         Kiv32f weightOcc, Kiv32f weightFloor);
KIVSR_API KivStatus kivsUpdateWeight_64f(const Kiv64f* pWeightAcc, Kiv64f* pWeight, int len, Kiv64f* pSumWeight,
                                         Kiv64f weightOcc, Kiv64f weightFloor);
/** @} */

/** @name Gaussian constants
 * @{ */
/** *pDst = len ln(2 pi) + sum of ln variance, with ln(2 pi) = 1.8378770664093: all Gaussians of a length have the same
 * multiple of it, which cancels where scores are compared.
 *
 * UpdateGConst takes inverse variances and rounds once: type(len * c - S), S the sum of their logarithms (kivsSumLn)
 * and the product in double precision. The DirectVar form takes variances and rounds the product first: type(len * c) +
 * S. Accuracy: last-bit, given kivsSumLn.
 * @param[in] pVar len inverse variances, or variances (DirectVar)
 * @param[in] len features of the Gaussian
 * @param[out] pDst the constant
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusInfResult: a zero is met, *pDst is +infinity;
 * kivStatusNanResult: a negative or NaN is met, *pDst is NaN */
KIVSR_API KivStatus kivsUpdateGConst_32f(const Kiv32f* pVar, int len, Kiv32f* pDst);
KIVSR_API KivStatus kivsUpdateGConst_64f(const Kiv64f* pVar, int len, Kiv64f* pDst);
KIVSR_API KivStatus kivsUpdateGConst_DirectVar_32f(const Kiv32f* pVar, int len, Kiv32f* pDst);
KIVSR_API KivStatus kivsUpdateGConst_DirectVar_64f(const Kiv64f* pVar, int len, Kiv64f* pDst);
/** @} */

/** @name The constant term of a score
 * @{ */
/** pVal[i] = pWeight[i] - pGConst[i] * 0.5: what the kivsLogGauss functions take as val. The _I forms replace the log
 * weights. Accuracy: exact.
 * @param[in] pWeight len log weights
 * @param[in,out] pWeightVal len log weights, then constant terms
 * @param[in] pGConst len Gaussian constants
 * @param[out] pVal len constant terms
 * @param[in] len number of Gaussians
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsOutProbPreCalc_32f(const Kiv32f* pWeight, const Kiv32f* pGConst, Kiv32f* pVal, int len);
KIVSR_API KivStatus kivsOutProbPreCalc_64f(const Kiv64f* pWeight, const Kiv64f* pGConst, Kiv64f* pVal, int len);
KIVSR_API KivStatus kivsOutProbPreCalc_32f_I(Kiv32f* pWeightVal, const Kiv32f* pGConst, int len);
KIVSR_API KivStatus kivsOutProbPreCalc_64f_I(Kiv64f* pWeightVal, const Kiv64f* pGConst, int len);
/** @} */

/** @name Blends of two parameter sets
 * @{ */
/** WeightedSum: pDst[i] = (weight1 pSrc1[i] + weight2 pSrc2[i]) / (weight1 + weight2). WeightedSumHalf: the same with
 * weight2 / 2 in place of weight2.
 *
 * Float forms compute pSrc1[i] * (weight1 * r) + pSrc2[i] * (r * weight2), r = 1 / (weight1 + weight2). When the sum of
 * weights is zero or NaN the result is +infinity, -infinity or NaN by the sign of weight1 pSrc1[i] + weight2 pSrc2[i].
 * 16s: exact quotient to nearest even, saturated; for a zero sum -32768 everywhere. Accuracy: exact.
 * @param[in] pSrc1 len elements
 * @param[in] pSrc2 len elements
 * @param[out] pDst len blends
 * @param[in] len number of elements
 * @param[in] weight1 weight of pSrc1
 * @param[in] weight2 weight of pSrc2
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusDivByZero: the weights add up to zero or NaN, all
 * results are written */
KIVSR_API KivStatus kivsWeightedSum_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len, Kiv32f weight1,
                                        Kiv32f weight2);
KIVSR_API KivStatus kivsWeightedSum_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len, Kiv64f weight1,
                                        Kiv64f weight2);
KIVSR_API KivStatus kivsWeightedSum_16s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, Kiv16s weight1,
                                        Kiv16s weight2);
KIVSR_API KivStatus kivsWeightedSumHalf_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len,
                                            Kiv32f weight1, Kiv32f weight2);
KIVSR_API KivStatus kivsWeightedSumHalf_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len,
                                            Kiv64f weight1, Kiv64f weight2);
KIVSR_API KivStatus kivsWeightedSumHalf_16s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len,
                                            Kiv16s weight1, Kiv16s weight2);
/** @} */

/** @name Variances from moments
 * @{ */
/** pDst[i] = (pSrc2[i] - s * val1) * val2,  s = pSrc1[i] * pSrc1[i]: with a mean, a mean of squares and val1 = val2 = 1
 * the variance. s is formed in the type (32s: exactly), the rest in double precision, rounded once. The _I forms
 * replace the mean of squares. 32s: the result times 2^-scaleFactor, to nearest even, saturated. Accuracy: exact.
 * @param[in] pSrc1 len means
 * @param[in] pSrc2 len means of squares
 * @param[in,out] pSrcDst2 len means of squares, then variances
 * @param[out] pDst len variances
 * @param[in] len number of elements
 * @param[in] val1 factor of the square
 * @param[in] val2 factor of the difference
 * @param[in] scaleFactor of the result
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsNewVar_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len, Kiv32f val1,
                                   Kiv32f val2);
KIVSR_API KivStatus kivsNewVar_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len, Kiv64f val1,
                                   Kiv64f val2);
KIVSR_API KivStatus kivsNewVar_32f_I(const Kiv32f* pSrc1, Kiv32f* pSrcDst2, int len, Kiv32f val1, Kiv32f val2);
KIVSR_API KivStatus kivsNewVar_64f_I(const Kiv64f* pSrc1, Kiv64f* pSrcDst2, int len, Kiv64f val1, Kiv64f val2);
KIVSR_API KivStatus kivsNewVar_32s_Sfs(const Kiv32s* pSrc1, const Kiv32s* pSrc2, Kiv32s* pDst, int len, Kiv32f val1,
                                       Kiv32f val2, int scaleFactor);
KIVSR_API KivStatus kivsNewVar_32s_ISfs(const Kiv32s* pSrc1, Kiv32s* pSrcDst2, int len, Kiv32f val1, Kiv32f val2,
                                        int scaleFactor);
/** @} */

/** @name Accumulation of one vector
 * @{ */
/** pMeanAcc[i] += val * pSrc[i],  pVarAcc[i] += val * ((pSrc[i] - pSrcMean[i]) * (pSrc[i] - pSrcMean[i])).
 * Accuracy: exact.
 * @param[in] pSrc the vector, len elements
 * @param[in] pSrcMean the mean that squares are about, len elements
 * @param[in,out] pMeanAcc len sums of weighted features
 * @param[in,out] pVarAcc len sums of weighted squares
 * @param[in] len features of the vector
 * @param[in] val occupation of the vector
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMeanVarAcc_32f(const Kiv32f* pSrc, const Kiv32f* pSrcMean, Kiv32f* pMeanAcc, Kiv32f* pVarAcc,
                                       int len, Kiv32f val);
KIVSR_API KivStatus kivsMeanVarAcc_64f(const Kiv64f* pSrc, const Kiv64f* pSrcMean, Kiv64f* pMeanAcc, Kiv64f* pVarAcc,
                                       int len, Kiv64f val);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
