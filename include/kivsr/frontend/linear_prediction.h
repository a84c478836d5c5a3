/* Linear prediction. */
#ifndef KIVSR_FRONTEND_LINEAR_PREDICTION_H
#define KIVSR_FRONTEND_LINEAR_PREDICTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup linearprediction Linear prediction
 *
 * Analysis of one frame by the autocorrelation method. The prediction-error filter is
 * A(z) = 1 + a1 z^-1 + ... + ap z^-p, so that the first order gives a1 = -r1/r0; arrays of coefficients hold a1 .. ap.
 * Samples may have any unit: autocorrelations and errors are in its square, coefficients have none.
 *
 * Source: J. D. Markel, A. H. Gray, "Linear Prediction of Speech", 1976.
 *
 * @code{.c}
 * Kiv32f x[200], r[3], a[2], k[2], c[2], error;
 * int n;
 * x[0] = x[1] = 1.0F;
 * for (n = 2; n < 200; ++n) x[n] = 1.2F * x[n - 1] - 0.7F * x[n - 2];  // A(z) = 1 - 1.2 z^-1 + 0.7 z^-2
 * assert(kivsAutoCorr_32f(x, 200, r, 3) == kivStatusOk);
 * assert(kivsDurbin_32f(r, a, 2, &error) == kivStatusOk && error > 0.0F);
 * assert(fabs(a[1] - 0.7F) < 0.2F);
 * assert(kivsLPToReflection_32f(a, k, 2) == kivStatusOk && fabs(k[0] - r[1] / r[0]) < 1e-5F);
 * assert(kivsLPToCepstrum_32f(a, c, 2) == kivStatusOk && c[0] == -a[0]);
 * @endcode
 * @{ */

/** Autocorrelation, not normalised:
 *
 *     r[k] = sum over i = 0 .. srcLen-1-k of x[i] x[i+k],    k < n = min(srcLen, dstLen)
 *
 * Accuracy: below 856 lags reduction(srcLen), and a lag does not depend on how many are computed; from 856 on the sums
 * go through an FFT and the error is that of the transform, about 1e-7 of r[0]. Then one block of memory is taken from
 * the allocator and returned.
 * @param[in] pSrc srcLen samples
 * @param[in] srcLen number of samples
 * @param[out] pDst r[0] .. r[n-1], then zeros
 * @param[in] dstLen number of lags
 * @return kivStatusNullPointer; kivStatusBadSize: srcLen or dstLen < 1; from 856 lags on kivStatusFftOrderError: a
 * frame beyond the largest order, and kivStatusNoMemory */
KIVSR_API KivStatus kivsAutoCorr_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int dstLen);

/** Levinson-Durbin recursion. With E = r0, for i = 1 .. p, p = order:
 *
 *     k = (r_i + sum over j < i of a_j r_(i-j)) / E
 *     a_j = a_j - a_(i-j) k for j < i,    a_i = 0 - k,    E = E (1 - k k)
 *
 * Single precision; reduction(order) in each sum.
 * @param[in] pAutoCorr r0 .. rp
 * @param[out] pLPC a1 .. ap
 * @param[in] order p; from 64 on scratch memory is allocated
 * @param[out] pErr E, the energy that prediction leaves
 * @return kivStatusNullPointer: pAutoCorr or pLPC; kivStatusBadSize: order < 1; kivStatusNullPointer: pErr;
 * kivStatusNoMemory; kivStatusNonPositiveError: r0 or an E that is not greater than zero, NaN included. pLPC then holds
 * the coefficients of the stages done (none if it was r0), and pErr is not written */
KIVSR_API KivStatus kivsDurbin_32f(const Kiv32f* pAutoCorr, Kiv32f* pLPC, int order, Kiv32f* pErr);

/** Schur recursion: reflection coefficients from the autocorrelation. With P[i] = r_i and V[i] = r_(i-1), for
 * m = 1 .. p, p = order:
 *
 *     k_m = (0 - P[m]) / V[m],    P[i] = k_m V[i] + P[i],    V[i] = k_m P[i-1] + V[i-1]    for i > m
 *
 * with old values on the right. k1 = -r1/r0: the opposite sign of kivsLPToReflection_32f. Never fails on its data:
 * silence gives NaN.
 * @param[in] pAutoCorr r0 .. rp
 * @param[out] pRefl k1 .. kp; may be pAutoCorr
 * @param[in] order p; from 1024 on scratch memory is allocated
 * @param[out] pErr P[p] k_p + V[p], the energy that prediction leaves
 * @return kivStatusNullPointer: pAutoCorr or pRefl; kivStatusBadSize: order < 1; kivStatusNullPointer: pErr;
 * kivStatusNoMemory */
KIVSR_API KivStatus kivsSchur_32f(const Kiv32f* pAutoCorr, Kiv32f* pRefl, int order, Kiv32f* pErr);

/** @name Autocorrelation and Levinson-Durbin recursion of a frame
 * @{ */
/** Autocorrelation and Levinson-Durbin recursion of a frame. Neg gives the predictor instead, x[n] ~ sum of
 * c_k x[n-k] with c_k = 0 - a_k; it negates what the array holds also when it returns kivStatusNonPositiveError, which
 * for a silent frame is what the caller left there.
 * @param[in] pSrc srcLen samples
 * @param[in] srcLen number of samples
 * @param[out] pLPC `order` coefficients
 * @param[in] order at most srcLen; from 63 on scratch memory is allocated
 * @return kivStatusNullPointer; kivStatusBadSize: srcLen or order < 1, or order > srcLen; kivStatusNoMemory: nothing is
 * written or negated; kivStatusNonPositiveError as of kivsDurbin_32f */
KIVSR_API KivStatus kivsLinearPrediction_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);
KIVSR_API KivStatus kivsLinearPredictionNeg_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);
/** @} */

/** Step-down recursion: prediction coefficients to reflection coefficients. For m = p, ... , 1, p = order, with
 * k = 0 - a_m and s = 1 / (1 - k k):
 *
 *     pRefl[m-1] = k,    a_j = (a_(m-j) k + a_j) s for j < m
 *
 * For the first order k1 = +r1/r0: kivsSchur_32f has the opposite sign. Magnitudes above 1 are no error.
 * @param[in] pLPC a1 .. ap
 * @param[out] pRefl k1 .. kp; may be pLPC
 * @param[in] order p; from 16 on scratch memory is allocated
 * @return kivStatusNullPointer; kivStatusBadSize: order < 1; kivStatusNoMemory; kivStatusUnitReflection: a coefficient
 * of exactly +1 or -1, or a NaN; those of the stages before it, with larger m, are written */
KIVSR_API KivStatus kivsLPToReflection_32f(const Kiv32f* pLPC, Kiv32f* pRefl, int order);

/** Cepstrum of 1/A(z):
 *
 *     c_n = 0 - (S / n + a_n),    S = sum over j = 1 .. n-1 of ((n - j) a_j) c_(n-j), in increasing j
 *
 * For len of 4 to 21 S is multiplied by the float nearest 1/n instead of divided by n: the two may differ in the last
 * bits. Single precision in the order written.
 * @param[in] pLPC a1 .. a_len
 * @param[out] pCep c1 .. c_len; must not overlap pLPC
 * @param[in] len number of coefficients
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsLPToCepstrum_32f(const Kiv32f* pLPC, Kiv32f* pCep, int len);
/** @} */

KIVSR_END_DECLS

#endif
