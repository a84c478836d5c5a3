/* Linear prediction. */
#ifndef KIVSR_FRONTEND_LINEAR_PREDICTION_H
#define KIVSR_FRONTEND_LINEAR_PREDICTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup linearprediction Linear prediction
 *
 * Analysis of one frame by the autocorrelation method. The prediction-error filter is
 * A(z) = 1 + a1 z^-1 + ... + ap z^-p, so that the first order gives a1 = -r1/r0; arrays of coefficients hold a1 .. ap.
 *
 * Source: J. D. Markel, A. H. Gray, "Linear Prediction of Speech", 1976.
 * @{ */

/** Autocorrelation, not normalised:
 *
 *     r[k] = sum over i = 0 .. srcLen-1-k of x[i] x[i+k],    k < n = min(srcLen, dstLen)
 *
 * pDst[n .. dstLen-1] = 0. Accuracy: below 856 lags reduction(srcLen), and a lag does not depend on how many are
 * computed; from 856 on the sums go through an FFT and the error is that of the transform, about 1e-7 of r[0].
 * Then memory is taken from the allocator and returned.
 *
 * Statuses in order: -8 a null pointer; -6 srcLen or dstLen < 1; from 856 lags on those of the FFT: -9 out of memory,
 * -15 a frame beyond the largest order. */
KIVSR_API KivStatus kivsAutoCorr_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int dstLen);

/** Levinson-Durbin recursion. pAutoCorr: r0 .. rp, p = order. With E = r0, for i = 1 .. p:
 *
 *     k = (r_i + sum over j < i of a_j r_(i-j)) / E,    a_j = a_j - a_(i-j) k for j < i,    a_i = 0 - k,    E = E (1 -
 * k k)
 *
 * *pErr = E, the energy that prediction leaves. Single precision; reduction(order) in each sum.
 *
 * Statuses in order: -8 null pAutoCorr or pLPC; -6 order < 1; -8 null pErr; -9 out of memory (only orders from 64 on
 * allocate); -117 r0 or an E that is not greater than zero, NaN included: pLPC holds the coefficients of the stages
 * done (none if it was r0), *pErr is not written. */
KIVSR_API KivStatus kivsDurbin_32f(const Kiv32f* pAutoCorr, Kiv32f* pLPC, int order, Kiv32f* pErr);

/** Schur recursion: reflection coefficients k1 .. kp from r0 .. rp, with P[i] = r_i and V[i] = r_(i-1). For m = 1 .. p:
 *
 *     k_m = (0 - P[m]) / V[m],    P[i] = k_m V[i] + P[i],    V[i] = k_m P[i-1] + V[i-1]    for i > m
 *
 * with old values on the right. *pErr = P[p] k_p + V[p]. k1 = -r1/r0: the opposite sign of kivsLPToReflection_32f.
 * Never fails on its data: silence gives NaN.
 *
 * Statuses in order: -8 null pAutoCorr or pRefl; -6 order < 1; -8 null pErr; -9 out of memory (only orders from 1024
 * on allocate). pRefl may be pAutoCorr. */
KIVSR_API KivStatus kivsSchur_32f(const Kiv32f* pAutoCorr, Kiv32f* pRefl, int order, Kiv32f* pErr);

/** Autocorrelation and Levinson-Durbin recursion of a frame of srcLen samples. Neg gives the predictor instead,
 * x[n] ~ sum of c_k x[n-k] with c_k = 0 - a_k; it negates what the array holds also when it returns -117, which for
 * a silent frame is what the caller left there.
 *
 * Statuses in order: -8 a null pointer; -6 srcLen or order < 1, or order > srcLen; -9 out of memory (only orders from
 * 63 on allocate; nothing is written or negated); -117 as of kivsDurbin_32f. */
KIVSR_API KivStatus kivsLinearPrediction_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);
KIVSR_API KivStatus kivsLinearPredictionNeg_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);

/** Step-down recursion: a1 .. ap to reflection coefficients. For m = p, ... , 1, with k = 0 - a_m and
 * s = 1 / (1 - k k):
 *
 *     pRefl[m-1] = k,    a_j = (a_(m-j) k + a_j) s for j < m
 *
 * For the first order k1 = +r1/r0: kivsSchur_32f has the opposite sign. Magnitudes above 1 are no error.
 *
 * Statuses in order: -8 a null pointer; -6 order < 1; -9 out of memory (only orders from 16 on allocate); -116 a
 * coefficient of exactly +1 or -1, or a NaN: those of the stages before it, with larger m, are written. pRefl may
 * be pLPC. */
KIVSR_API KivStatus kivsLPToReflection_32f(const Kiv32f* pLPC, Kiv32f* pRefl, int order);

/** Cepstrum of 1/A(z), len coefficients c1 .. from as many a1 .. :
 *
 *     c_n = 0 - (S / n + a_n),    S = sum over j = 1 .. n-1 of ((n - j) a_j) c_(n-j), in increasing j
 *
 * For len of 4 to 21 S is multiplied by the float nearest 1/n instead of divided by n: the two may differ in the last
 * bits. Single precision in the order written.
 *
 * Statuses in order: -8 a null pointer; -6 len < 1. */
KIVSR_API KivStatus kivsLPToCepstrum_32f(const Kiv32f* pLPC, Kiv32f* pCep, int len);

/** @} */

KIVSR_END_DECLS

#endif
