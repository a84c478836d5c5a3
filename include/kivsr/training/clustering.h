/* Statistics of decision-tree state clustering. */
#ifndef KIVSR_TRAINING_CLUSTERING_H
#define KIVSR_TRAINING_CLUSTERING_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup clustering Decision-tree clustering statistics
 * How well one Gaussian fits the pooled data of a set of states (Young, Odell, Woodland: Tree-based state tying for
 * high accuracy acoustic modelling, 1994). Statuses, in order: -8 a null argument; -6 len < 1.
 * @{ */

/** @name Statistics of one state
 * pDstSum[i] = pMean[i] * occ;  pDstSqr[i] = (1/pVar[i] + pMean[i]^2) * occ, pVar holding inverse variances, or
 * (pMean[i]^2 + pVar[i]) * occ, pVar holding variances (DirectVar). Overwrites; pool states by addition. The reciprocal
 * is divided exactly; occ is not checked. Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsDcsClustLAccumulate_32f(const Kiv32f* pMean, const Kiv32f* pVar, Kiv32f* pDstSum,
                                                Kiv32f* pDstSqr, int len, Kiv32f occ);
KIVSR_API KivStatus kivsDcsClustLAccumulate_64f(const Kiv64f* pMean, const Kiv64f* pVar, Kiv64f* pDstSum,
                                                Kiv64f* pDstSqr, int len, Kiv64f occ);
KIVSR_API KivStatus kivsDcsClustLAccumulate_DirectVar_32f(const Kiv32f* pMean, const Kiv32f* pVar, Kiv32f* pDstSum,
                                                          Kiv32f* pDstSqr, int len, Kiv32f occ);
KIVSR_API KivStatus kivsDcsClustLAccumulate_DirectVar_64f(const Kiv64f* pMean, const Kiv64f* pVar, Kiv64f* pDstSum,
                                                          Kiv64f* pDstSqr, int len, Kiv64f occ);
/** @} */

/** @name Log-likelihood of a pool
 * *pDst = -occ/2 (len (1 + ln 2 pi) + sum of ln variance), evaluated in double precision as occ/2 (K - S),
 * K = len (2 ln occ - 1 - 1.8378770664093456), S the sum of ln t, t = pSqr[i] occ - pSum[i]^2.
 *
 * Further statuses: -67 occ negative or NaN; 16 occ zero, *pDst = -1e10; 8 a t negative or NaN, *pDst = NaN; 7 a t zero
 * and none negative, *pDst = -infinity. Accuracy: last-bit of the terms, reduction(len).
 * @{ */
KIVSR_API KivStatus kivsDcsClustLCompute_32f64f(const Kiv32f* pSum, const Kiv32f* pSqr, int len, Kiv64f* pDst,
                                                Kiv32f occ);
KIVSR_API KivStatus kivsDcsClustLCompute_64f(const Kiv64f* pSum, const Kiv64f* pSqr, int len, Kiv64f* pDst, Kiv64f occ);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
