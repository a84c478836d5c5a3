/* Splitting and merging of diagonal Gaussians. */
#ifndef KIVSR_TRAINING_SPLIT_MERGE_H
#define KIVSR_TRAINING_SPLIT_MERGE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup splitmerge Gaussian splitting and merging
 * Statuses, in order: -6 len < 1; -8 a null argument.
 * @{ */

/** @name Splitting
 * e = value * sqrt(pVar[i]);  pMean2[i] = pMean1[i] - e;  pMean1[i] = pMean1[i] + e;  pVar2[i] = pVar[i].
 *
 * pMean1 (in: the mean, out: one new mean), pVar (in: variances), pMean2, pVar2 (out); value: the distance in standard
 * deviations. A negative variance gives NaN means and status 0. pVar2 may be pVar. Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsGaussianSplit_32f(Kiv32f* pMean1, const Kiv32f* pVar, Kiv32f* pMean2, Kiv32f* pVar2, int len,
                                          Kiv32f value);
KIVSR_API KivStatus kivsGaussianSplit_64f(Kiv64f* pMean1, const Kiv64f* pVar, Kiv64f* pMean2, Kiv64f* pVar2, int len,
                                          Kiv64f value);
/** @} */

/** @name Merging
 * The Gaussian with the first and second moments of the weighted pair, in double precision, W = weight1 + weight2:
 *
 *   m = (weight1 m1 + weight2 m2) / W
 *   v = ((m1^2 + v1) weight1 + (m2^2 + v2) weight2) / W - m^2
 *   *pDstDet = len * 1.8378770664093 - sum of ln v
 *
 * pDstMean, pDstVar, *pDstDet are rounded to the type at the end. At the first v that is negative *pDstDet = NaN with
 * warning 8, at the first that is zero or NaN *pDstDet = +infinity with warning 7; elements up to that one have been
 * written, later ones not. Destinations may be sources, element for element. Accuracy: last-bit.
 * @{ */
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
