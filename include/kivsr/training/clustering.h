/* Statistics of decision-tree state clustering. */
#ifndef KIVSR_TRAINING_CLUSTERING_H
#define KIVSR_TRAINING_CLUSTERING_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup clustering Decision-tree clustering statistics
 *
 * How well one Gaussian fits the pooled data of a set of states (S. J. Young, J. J. Odell, P. C. Woodland: Tree-based
 * state tying for high accuracy acoustic modelling, 1994): statistics of each state, added up over the set, give the
 * log-likelihood of the pool.
 *
 * @code{.c}
 * const Kiv32f mean[2] = {0, 2}, variance[2] = {1, 1};  // two states of one feature, 10 frames each
 * Kiv32f sum[2], square[2], pooled_sum, pooled_square;
 * Kiv64f apart[2], together;
 * int s;
 * for (s = 0; s < 2; ++s) {
 *   kivsDcsClustLAccumulate_DirectVar_32f(mean + s, variance + s, sum + s, square + s, 1, 10);
 *   assert(kivsDcsClustLCompute_32f64f(sum + s, square + s, 1, apart + s, 10) == kivStatusOk);
 * }
 * pooled_sum = sum[0] + sum[1];
 * pooled_square = square[0] + square[1];
 * assert(kivsDcsClustLCompute_32f64f(&pooled_sum, &pooled_square, 1, &together, 20) == kivStatusOk);
 * assert(fabs(apart[0] + apart[1] - together - 10 * log(2.0)) < 1e-5);  // the pool's variance is 2
 * @endcode
 * @{ */

/** @name Statistics of one state
 * @{ */
/** pDstSum[i] = pMean[i] * occ;  pDstSqr[i] = (1/pVar[i] + pMean[i]^2) * occ, pVar holding inverse variances, or
 * (pMean[i]^2 + pVar[i]) * occ, pVar holding variances (DirectVar). Overwrites. The reciprocal is divided exactly; occ
 * is not checked. Accuracy: exact.
 * @param[in] pMean the mean, len elements
 * @param[in] pVar inverse variances, or variances (DirectVar), len elements
 * @param[out] pDstSum len first moments
 * @param[out] pDstSqr len second moments
 * @param[in] len features of the state
 * @param[in] occ occupation of the state, in frames
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Errors write nothing */
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
 * @{ */
/** *pDst = -occ/2 (len (1 + ln 2 pi) + sum of ln variance), evaluated in double precision as occ/2 (K - S),
 * K = len (2 ln occ - 1 - 1.8378770664093456), S the sum of ln t, t = pSqr[i] occ - pSum[i]^2. Accuracy: last-bit of
 * the terms, reduction(len).
 * @param[in] pSum len first moments
 * @param[in] pSqr len second moments
 * @param[in] len features of the states
 * @param[out] pDst the log-likelihood
 * @param[in] occ occupation of the pool
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNegOccupation: occ is negative or NaN: errors write
 * nothing; kivStatusZeroOccupation: occ is zero, *pDst is -1e10; kivStatusNanResult: a t is negative or NaN, *pDst is
 * NaN; kivStatusInfResult: a t is zero and none negative, *pDst is -infinity */
KIVSR_API KivStatus kivsDcsClustLCompute_32f64f(const Kiv32f* pSum, const Kiv32f* pSqr, int len, Kiv64f* pDst,
                                                Kiv32f occ);
KIVSR_API KivStatus kivsDcsClustLCompute_64f(const Kiv64f* pSum, const Kiv64f* pSqr, int len, Kiv64f* pDst, Kiv64f occ);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
