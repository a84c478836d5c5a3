/* Distances of vectors from Gaussians and between Gaussians. */
#ifndef KIVSR_SCORING_DISTANCES_H
#define KIVSR_SCORING_DISTANCES_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup distances Distances from Gaussians and between them
 *
 * A diagonal Gaussian is a vector of len means and a vector of len values: INVERSE variances (precisions) in the
 * Mahalanobis distances, variances in all others. Sources are read only; results may not overlap them.
 *
 * | operation              | 32f | 64f | 32f64f | layouts            |
 * |------------------------|-----|-----|--------|--------------------|
 * | MahDistSingle          | x   | x   | x      | (16 bits: gaussian_16s.h) |
 * | MahDist, MahDistMultiMix | x | x   |        | D2, D2L            |
 * | BhatDist, BhatDistSLog | x   |     | x      |                    |
 * | GaussianDist           | x   | x   |        |                    |
 *
 * 32f64f: single-precision vectors, each element widened before it is used, and a distance in double precision. The
 * order of step, len and height is that of the scores (table in gaussian.h).
 *
 * @code{.c}
 * const Kiv32f mean1[2] = {1, 2}, mean2[2] = {3, 2}, variance[2] = {4, 1}, precision[2] = {0.25F, 1};
 * Kiv32f mahalanobis, cost;
 * Kiv64f overlap;
 * assert(kivsMahDistSingle_32f(mean2, mean1, precision, 2, &mahalanobis) == kivStatusOk);
 * assert(mahalanobis == 1);  // 2^2 / 4
 * assert(kivsBhatDist_32f64f(mean1, variance, mean2, variance, 2, &overlap) == kivStatusOk);
 * assert(fabs(overlap - 0.125) < 1e-6);  // 1/4 2^2 / (4 + 4)
 * assert(kivsGaussianDist_32f(mean1, variance, mean2, variance, 2, &cost, 10, logf(4), 10, logf(4)) == kivStatusOk);
 * assert(fabs(cost - 10 * log(1.25)) < 1e-4);  // the merged variance is 4 + 1/4 2^2
 * @endcode
 * @{ */

/** @name Weighted squared (Mahalanobis) distance
 * @{ */
/** d(x, m, w) = sum over i < len of (x[i] - m[i])^2 w[i], without the factor 1/2 and the constant of a log-likelihood.
 *
 * - MahDistSingle: *pResult = d(pSrc, pMean, pVar)
 * - MahDist: pDst[j] = d(vector j, pMean, pVar)
 * - MahDistMultiMix: pDst[j] = d(pSrc, mean j, precisions j)
 *
 * Accuracy: reduction(len); a distance does not depend on alignment, layout or the number of rows.
 *
 * @param[in] pSrc the vector, len elements, or height vectors step elements apart (MahDist)
 * @param[in] ppSrc pointers to height vectors
 * @param[in] pMean the mean, or height means step elements apart (MahDistMultiMix)
 * @param[in] pVar the precisions, or height rows of them step elements apart (MahDistMultiMix)
 * @param[in] ppMean pointers to height means
 * @param[in] ppVar pointers to height vectors of precisions
 * @param[in] step elements from one row to the next, at least len
 * @param[in] len features of a vector
 * @param[out] pResult the distance
 * @param[out] pDst height distances
 * @param[in] height number of vectors or Gaussians
 * @return kivStatusBadStep: D2, step < len; kivStatusNullPointer; kivStatusBadSize: len or height < 1 */
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
KIVSR_API KivStatus kivsMahDist_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                        Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDist_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                                        Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc,
                                               int len, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc,
                                               int len, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                                const Kiv32f* pSrc, int len, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMahDistMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar,
                                                const Kiv64f* pSrc, int len, Kiv64f* pDst, int height);
/** @} */

/** @name Bhattacharyya distance of two diagonal Gaussians
 * @{ */
/** B = 1/4 sum (m1 - m2)^2 / (s1 + s2) + 1/2 sum ln((s1 + s2) / 2) - 1/4 sum ln s1 - 1/4 sum ln s2
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
 * The four vectors, means as well as variances, are searched for the first element that is zero or negative in one of
 * them: with a negative value there *pResult is NaN, else +infinity, and a warning says so. NaN elements are passed
 * over.
 *
 * @param[in] pMean1 first mean, len elements
 * @param[in] pVar1 first variances, len elements
 * @param[in] pMean2 second mean, len elements
 * @param[in] pVar2 second variances, len elements
 * @param[in] len features of a Gaussian
 * @param[out] pResult the distance
 * @param[in] sumLogVar1 sum of ln pVar1[i]
 * @param[in] sumLogVar2 sum of ln pVar2[i]
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNanResult or kivStatusInfResult: the search found a
 * negative or a zero, the result is written; kivStatusNoMemory: no room for len elements, nothing is written */
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

/** @name Cost of merging two weighted Gaussians
 * @{ */
/** D = 1/2 ((w1 + w2) sum ln v - w1 L1 - w2 L2),
 * v = a1 s1 + a2 s2 + a1 a2 (m1 - m2)^2,  a1 = w1 / (w1 + w2),  a2 = w2 / (w1 + w2)
 *
 * the loss of log-likelihood when the frames of two Gaussians, of occupation w1 and w2 and variances s1 and s2, are
 * modelled by one; L1, L2 are the sums of ln s1 and ln s2. It is 0 for equal Gaussians and never negative for exact L1,
 * L2 (S. Young, J. Odell, P. Woodland, "Tree-based state tying", HLT 1994). Computed in double precision.
 *
 * @param[in] pMean1 first mean, len elements
 * @param[in] pVar1 first variances, len elements
 * @param[in] pMean2 second mean, len elements
 * @param[in] pVar2 second variances, len elements
 * @param[in] len features of a Gaussian
 * @param[out] pResult the cost
 * @param[in] weight1 occupation w1, in frames
 * @param[in] logTerm1 L1
 * @param[in] weight2 occupation w2, in frames
 * @param[in] logTerm2 L2
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer; kivStatusInfResult: some v is zero, *pResult is +infinity;
 * kivStatusNanResult: some v is negative or NaN (weights that add up to zero), *pResult is NaN */
KIVSR_API KivStatus kivsGaussianDist_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2,
                                         const Kiv32f* pVar2, int len, Kiv32f* pResult, Kiv32f weight1, Kiv32f logTerm1,
                                         Kiv32f weight2, Kiv32f logTerm2);
KIVSR_API KivStatus kivsGaussianDist_64f(const Kiv64f* pMean1, const Kiv64f* pVar1, const Kiv64f* pMean2,
                                         const Kiv64f* pVar2, int len, Kiv64f* pResult, Kiv64f weight1, Kiv64f logTerm1,
                                         Kiv64f weight2, Kiv64f logTerm2);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
