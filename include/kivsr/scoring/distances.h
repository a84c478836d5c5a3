/* Distances of vectors from Gaussians and between Gaussians.
 *
 * A diagonal Gaussian is a vector of len means and a vector of len values: inverse variances (precisions) in the
 * Mahalanobis distances, variances in all others. Sources are read only; results may not overlap them. Types: T = 32f
 * or 64f, and 32f64f for single-precision vectors with a distance in double precision. */
#ifndef KIVSR_SCORING_DISTANCES_H
#define KIVSR_SCORING_DISTANCES_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup mahalanobis Weighted squared (Mahalanobis) distance
 *
 *     d(x, m, w) = sum over i < len of (x[i] - m[i])^2 w[i]
 *
 * without the factor 1/2 and the constant of a log-likelihood.
 *
 * - MahDistSingle: *pResult = d(pSrc, pMean, pVar).
 * - MahDist: pDst[j] = d(row j of the frames, pMean, pVar), j < height.
 * - MahDistMultiMix: pDst[j] = d(pSrc, row j of the means, row j of the precisions), j < height.
 *
 * 32f64f widens every operand before it is used. Accuracy: reduction(len); a distance does not depend on alignment,
 * layout or the number of rows.
 *
 * Statuses, first failure wins, nothing written: D2 forms kivStatusBadStep (len > step), kivStatusNullPointer,
 * kivStatusBadSize (len or height < 1); the others kivStatusNullPointer, kivStatusBadSize. @{ */
KIVSR_API KivStatus kivsMahDistSingle_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                          Kiv32f* pResult);
KIVSR_API KivStatus kivsMahDistSingle_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                          Kiv64f* pResult);
KIVSR_API KivStatus kivsMahDistSingle_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                             Kiv64f* pResult);
KIVSR_API KivStatus kivsMahDist_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                       Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDist_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                       Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsMahDist_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                        Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDist_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                        Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc,
                                               int len, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc,
                                               int len, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc,
                                                int len, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc,
                                                int len, Kiv64f* pDst, int height);
/** @} */

/** @defgroup bhattacharyya Bhattacharyya distance of two diagonal Gaussians
 *
 *     B = 1/4 sum (m1 - m2)^2 / (s1 + s2) + 1/2 sum ln((s1 + s2) / 2) - 1/4 sum ln s1 - 1/4 sum ln s2
 *
 * (A. Bhattacharyya, Bull. Calcutta Math. Soc. 35, 1943), with s1, s2 the variances and q the first sum:
 *
 * - BhatDist: (0.5 S - 0.5 len 1.386294) 0.5 + 0.25 q, S = sum of ln(2 + s2/s1 + s1/s2). In 32f the quotients are the
 *   processor's 12-bit reciprocal estimates: r = s2 rcp(s1), then 2 + r + rcp(r). 32f64f divides exactly.
 * - BhatDistSLog: 0.5 (S - 0.693147 len) - 0.25 (sumLogVar1 + sumLogVar2) + 0.25 q, S = sum of ln(s1 + s2), with the
 *   caller's sums of ln s1 and ln s2.
 *
 * 1.386294 and 0.693147 stand for 2 ln 2 and ln 2: equal Gaussians are close to 0 apart, not exactly 0. Terms are
 * formed in the result's type, the last line in double precision. Accuracy: reduction(len), of estimates in
 * kivsBhatDist_32f.
 *
 * Statuses in order, nothing written for errors: kivStatusNullPointer; kivStatusBadSize (len < 1). Then the four
 * vectors, means as well as variances, are searched for the first element that is zero or negative in one of them: with
 * a negative value there *pResult is NaN and the status the warning kivStatusNanResult, else it is +infinity and the
 * warning kivStatusInfResult. NaN elements are passed over. Last kivStatusNoMemory: a vector of len elements is taken
 * from the allocator. @{ */
KIVSR_API KivStatus kivsBhatDist_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                     const Kiv32f* pVar2, int len, Kiv32f* pResult);
KIVSR_API KivStatus kivsBhatDistSLog_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                         const Kiv32f* pVar2, int len, Kiv32f* pResult, Kiv32f sumLogVar1,
                                         Kiv32f sumLogVar2);
KIVSR_API KivStatus kivsBhatDist_32f64f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                        const Kiv32f* pVar2, int len, Kiv64f* pResult);
KIVSR_API KivStatus kivsBhatDistSLog_32f64f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                            const Kiv32f* pVar2, int len, Kiv64f* pResult, Kiv32f sumLogVar1,
                                            Kiv32f sumLogVar2);
/** @} */

/** @defgroup merger_cost Cost of merging two weighted Gaussians
 *
 *     D = 1/2 ((w1 + w2) sum ln v - w1 L1 - w2 L2)
 *     v = a1 s1 + a2 s2 + a1 a2 (m1 - m2)^2,  a1 = w1 / (w1 + w2),  a2 = w2 / (w1 + w2)
 *
 * the loss of log-likelihood when the frames of two Gaussians, of occupation w1 and w2 and variances s1 and s2, are
 * modelled by one; L1, L2 are the sums of ln s1 and ln s2. It is 0 for equal Gaussians and never negative for exact L1,
 * L2 (S. Young, J. Odell, P. Woodland, "Tree-based state tying", HLT 1994). Computed in double precision.
 *
 * Statuses: kivStatusBadSize (len < 1) before kivStatusNullPointer, nothing written. When some v is zero *pResult is
 * +infinity, with the warning kivStatusInfResult; when one is negative or NaN (weights that add up to zero) it is NaN,
 * with kivStatusNanResult. @{ */
KIVSR_API KivStatus kivsGaussianDist_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                         const Kiv32f* pVar2, int len, Kiv32f* pResult, Kiv32f weight1, Kiv32f logTerm1,
                                         Kiv32f weight2, Kiv32f logTerm2);
KIVSR_API KivStatus kivsGaussianDist_64f(const Kiv64f* pMean1, const Kiv64f* pVar1, const Kiv64f* pMean2,
                                         const Kiv64f* pVar2, int len, Kiv64f* pResult, Kiv64f weight1, Kiv64f logTerm1,
                                         Kiv64f weight2, Kiv64f logTerm2);
/** @} */

KIVSR_END_DECLS

#endif
