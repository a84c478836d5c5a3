/* Splitting and merging of diagonal Gaussians. */
#ifndef KIVSR_TRAINING_SPLIT_MERGE_H
#define KIVSR_TRAINING_SPLIT_MERGE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup splitmerge Gaussian splitting and merging
 *
 * Mixtures grow by splitting a Gaussian into two on either side of its mean, and shrink by merging two into one.
 *
 * @code{.c}
 * const Kiv32f variance[1] = {4};
 * Kiv32f mean1[1] = {10}, mean2[1], variance2[1], mean[1], merged[1], determinant;
 * assert(kivsGaussianSplit_32f(mean1, variance, mean2, variance2, 1, 0.5F) == kivStatusOk);
 * assert(mean1[0] == 11 && mean2[0] == 9 && variance2[0] == 4);
 * assert(kivsGaussianMerge_32f(mean1, variance, mean2, variance2, mean, merged, 1, &determinant, 1, 1) == kivStatusOk);
 * assert(mean[0] == 10 && merged[0] == 5);  // 4, and the means' own variance
 * @endcode
 * @{ */

/** @name Splitting
 * @{ */
/** e = value * sqrt(pVar[i]);  pMean2[i] = pMean1[i] - e;  pMean1[i] = pMean1[i] + e;  pVar2[i] = pVar[i]. A negative
 * variance gives NaN means and kivStatusOk. pVar2 may be pVar. Accuracy: exact.
 * @param[in,out] pMean1 the mean, then one new mean, len elements
 * @param[in] pVar len variances
 * @param[out] pMean2 the other new mean, len elements
 * @param[out] pVar2 len variances
 * @param[in] len features of the Gaussian
 * @param[in] value distance of the new means from the old one, in standard deviations
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer. Errors write nothing */
KIVSR_API KivStatus kivsGaussianSplit_32f(Kiv32f* pMean1, const Kiv32f* pVar, Kiv32f* pMean2, Kiv32f* pVar2, int len,
                                          Kiv32f value);
KIVSR_API KivStatus kivsGaussianSplit_64f(Kiv64f* pMean1, const Kiv64f* pVar, Kiv64f* pMean2, Kiv64f* pVar2, int len,
                                          Kiv64f value);
/** @} */

/** @name Merging
 * @{ */
/** The Gaussian with the first and second moments of the weighted pair, in double precision, W = weight1 + weight2:
 *
 *     m = (weight1 m1 + weight2 m2) / W
 *     v = ((m1^2 + v1) weight1 + (m2^2 + v2) weight2) / W - m^2
 *     *pDstDet = len * 1.8378770664093 - sum of ln v
 *
 * pDstMean, pDstVar, *pDstDet are rounded to the type at the end. At the first v that is not positive the function
 * stops: elements up to that one have been written, later ones not. Destinations may be sources, element for element.
 * Accuracy: last-bit.
 * @param[in] pMean1 first mean, len elements
 * @param[in] pVar1 first variances, len elements
 * @param[in] pMean2 second mean, len elements
 * @param[in] pVar2 second variances, len elements
 * @param[out] pDstMean merged mean, len elements
 * @param[out] pDstVar merged variances, len elements
 * @param[in] len features of a Gaussian
 * @param[out] pDstDet the determinant term
 * @param[in] weight1 weight of the first
 * @param[in] weight2 weight of the second
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer: errors write nothing; kivStatusNanResult: a v is negative,
 * *pDstDet is NaN; kivStatusInfResult: a v is zero or NaN, *pDstDet is +infinity */
KIVSR_API KivStatus kivsGaussianMerge_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                          const Kiv32f* pVar2, Kiv32f* pDstMean, Kiv32f* pDstVar, int len,
                                          Kiv32f* pDstDet, Kiv32f weight1, Kiv32f weight2);
KIVSR_API KivStatus kivsGaussianMerge_64f(const Kiv64f* pMean1, const Kiv64f* pVar1, const Kiv64f* pMean2,
                                          const Kiv64f* pVar2, Kiv64f* pDstMean, Kiv64f* pDstVar, int len,
                                          Kiv64f* pDstDet, Kiv64f weight1, Kiv64f weight2);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
