/* Spectral gains. */
#ifndef KIVSR_NOISE_SPECTRAL_GAIN_H
#define KIVSR_NOISE_SPECTRAL_GAIN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup spectral_gain Spectral gains
 * Two rules that turn signal-to-noise ratios into gains. Statuses: -8 a null argument first, then as named.
 * @{ */

/** @name Wiener gain
 * pDst[i] = x / (x + 1), x = max(pSrc[i], 0). 32s: x in Q15, gains in Q31, to nearest. Statuses: -119 len outside
 * 1 .. 65535; -5 an input is negative, with the gains computed from the clamped values all the same. Exact.
 * @{ */
KIVSR_API KivStatus kivsFilterUpdateWiener_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFilterUpdateWiener_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
/** @} */

/** @name Amplitude estimator gain
 * pDst[i] = g F(v), g = pPrior[i] the prior gain, v = clamp(pSNR[i], 0.000031, 100) g, F the factor of the minimum
 * mean-square error amplitude estimator (Y. Ephraim, D. Malah, 1984), by tables: 128 values of q = trunc(2^22 v), above
 * that a parabola per octave of q (docs/numerics.md). q = 0 multiplies by the table's first entry, 2147483647. A NaN
 * ratio counts as the lower limit. 32s: gains in Q31, ratios in Q15, to nearest, saturated. Statuses: -119 len outside
 * 1 .. 65535; -7 a prior gain outside 0 .. 1 or NaN.
 * @{ */
KIVSR_API KivStatus kivsFilterUpdateEMNS_32f(const Kiv32f* pPrior, const Kiv32f* pSNR, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFilterUpdateEMNS_32s(const Kiv32s* pPrior, const Kiv32s* pSNR, Kiv32s* pDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
