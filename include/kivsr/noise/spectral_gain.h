/* Spectral gains. */
#ifndef KIVSR_NOISE_SPECTRAL_GAIN_H
#define KIVSR_NOISE_SPECTRAL_GAIN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup spectral_gain Spectral gains
 *
 * Two rules that turn signal-to-noise ratios (of powers, not in decibels) into gains, bin by bin. Multiply the
 * spectrum, not its power, by the gain.
 *
 * | form | ratios                      | gains                                                     |
 * |------|-----------------------------|-----------------------------------------------------------|
 * | 32f  | 1 = as loud as the noise    | 0 .. 1                                                    |
 * | 32s  | Q15: 32768 = as loud        | Q31: to nearest; 2147483647 stands for 1 and what exceeds it |
 *
 * @code{.c}
 * const Kiv32f noise[3] = {1, 1, 1}, power[3] = {101, 2, 1};
 * Kiv32f ratio[3], excess[3], gain[3];
 * int k;
 * for (k = 0; k < 3; ++k) {
 *   ratio[k] = power[k] / noise[k];
 *   excess[k] = ratio[k] - 1;  // what the noise leaves to the clean signal
 * }
 * assert(kivsFilterUpdateWiener_32f(excess, gain, 3) == kivStatusOk);
 * assert(fabs(gain[0] - 0.990) < 1e-3 && fabs(gain[1] - 0.5) < 1e-6 && gain[2] == 0);
 * assert(kivsFilterUpdateEMNS_32f(gain, ratio, gain, 3) == kivStatusOk);  // refined in place
 * assert(gain[0] > 0.98F && gain[1] > 0.5F && gain[1] < 0.8F && gain[2] == 0);
 * @endcode
 * @{ */

/** @name Wiener gain
 * @{ */
/** The Wiener rule: pDst[i] = x / (x + 1), x = max(pSrc[i], 0). Accuracy: exact.
 * @param[in] pSrc len a-priori ratios: clean signal over noise
 * @param[out] pDst len gains; may be pSrc
 * @param[in] len number of bins, 1 .. 65535
 * @return kivStatusNullPointer; kivStatusBadLength: len; kivStatusBadArgument: a ratio is negative, and the gains have
 * been computed from the clamped ratios all the same */
KIVSR_API KivStatus kivsFilterUpdateWiener_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFilterUpdateWiener_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
/** @} */

/** @name Amplitude estimator gain
 * @{ */
/** The amplitude estimator's rule: pDst[i] = g F(v), g = pPrior[i], v = clamp(pSNR[i], 0.000031, 100) g, F the factor
 * of the minimum mean-square error amplitude estimator (Y. Ephraim, D. Malah: Speech enhancement using a minimum
 * mean-square error short-time spectral amplitude estimator, 1984), which falls as 0.886 / sqrt(v) and tends to 1. In
 * that paper g is the Wiener gain.
 *
 * F comes from tables in units of q = trunc(2^22 v): 128 values, above them a parabola an octave, within 0.62 percent
 * of F (docs/numerics.md). q = 0 multiplies by the table's first entry, 2147483647. A NaN ratio counts as the lower
 * limit. Accuracy: exact, given the tables. 32f gains of small v may exceed 1; 32s saturates.
 * @param[in] pPrior len prior gains, 0 .. 1
 * @param[in] pSNR len a-posteriori ratios: signal with its noise over noise
 * @param[out] pDst len gains; may be a source
 * @param[in] len number of bins, 1 .. 65535
 * @return kivStatusNullPointer; kivStatusBadLength: len; kivStatusOutOfRange: a prior gain outside 0 .. 1 or NaN */
KIVSR_API KivStatus kivsFilterUpdateEMNS_32f(const Kiv32f* pPrior, const Kiv32f* pSNR, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFilterUpdateEMNS_32s(const Kiv32s* pPrior, const Kiv32s* pSNR, Kiv32s* pDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
