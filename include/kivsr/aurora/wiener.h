/* Noise spectrum and Wiener filter of the advanced front end. */
#ifndef KIVSR_AURORA_WIENER_H
#define KIVSR_AURORA_WIENER_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup wiener Noise spectrum and Wiener filter
 * Stateless kernels of a two-stage Wiener filter (ETSI ES 202 050, clause 5.1). The caller keeps the spectra of earlier
 * frames. Statuses: -8 a null array; then the ones named. Destinations may be sources where the lengths agree, except
 * in the smoothing, the taps and the residual filter.
 * @{ */

/** @name Smoothed power spectrum
 * From the packed spectrum s of a real transform of len points (s[0] bin 0, s[1] bin len/2, then the real and imaginary
 * parts of bins 1 .. len/2-1) the power of pairs of bins, len/4 + 1 values:
 *
 *   dst[0] = (s[2]^2 + s[3]^2 + s[0]^2) / 2
 *   dst[k] = (s[4k]^2 + s[4k+1]^2 + s[4k+2]^2 + s[4k+3]^2) / 2,  0 < k < len/4
 *   dst[len/4] = s[1]^2
 *
 * 32f: exact (rounded after each operation, from the left). 16s: each square is halved (truncated), sums saturate at
 * 32767. 32s: times 2^-scaleFactor; the first and last element are exact in 64 bits and shifted without rounding, the
 * others computed in double precision and rounded to nearest even; all saturate. Status -6: len < 1 or not a multiple
 * of 4.
 * @{ */
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
/** @} */

/** @name Noise spectrum update
 * With a = pSrc[i] the frame's power and b = pNoise[i] the estimate, len values each:
 *
 *   t = 0.1 a + b,  r = a / (a + b),  dst[i] = b (0.1 r (b/t + 1) + 0.9)
 *
 * and 0 where a + b = 0. 32f: also 0 where t = 0; both quotients use the processor's reciprocal estimate (class
 * estimate, 12 bits). Integer forms: also 0 where |t| < 1; single precision, times 2^-scaleFactor, truncated toward
 * zero; 16s saturates, 32s gives -2^31 for every result out of range, above as below. Status -6: len < 1.
 * @{ */
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Kiv16s* pSrc, const Kiv16s* pNoise, Kiv16s* pDst,
                                                           int len, int scaleFactor);
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Kiv32s* pSrc, const Kiv32s* pNoise, Kiv32s* pDst,
                                                           int len, int scaleFactor);
/** @} */

/** @name Wiener filter design
 * With P = pSrc[i] the frame's power, N = pNoise[i] the noise, S = pPrev[i] the noise-free spectrum of the previous
 * frame:
 *
 *   eta1 = (0.98 S + 0.02 max(P - N, 0)) / N;  H1 = eta1 / (eta1 + 1)
 *   eta2 = max(H1 P / N, 0.07943282);          dst[i] = eta2 / (eta2 + 1)
 *
 * 32f: 1/N is the processor's estimate (class estimate); N = 0 is not defined. 16s: gains in Q14, integer arithmetic
 * with intermediates of 64 bits: N = 0 gives 1206, the floored gain; D = max(P - N, 0), R = 16384 / N, eta1 = ((82 D +
 * 4014 S) R) >> 14, H1 = (eta1 << 14) / (eta1 + 4096) (a zero divisor, from negative input, gives 1206), eta2 = max(((P
 * H1) >> 14) R, 1301), gain = (eta2 << 7) / ((eta2 >> 7) + 128). Status -6: len < 1.
 * @{ */
KIVSR_API KivStatus kivsWienerFilterDesign_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, const Kiv32f* pPrev,
                                                      Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsWienerFilterDesign_Aurora_16s(const Kiv16s* pSrc, const Kiv16s* pNoise, const Kiv16s* pPrev,
                                                      Kiv16s* pDst, int len);
/** @} */

/** @name Filter taps
 * The 17 taps of a filter from 10 values s: taps[8] = s[0], taps[8-k] = s[k], taps[8+k] = s[k+1] for k = 1 .. 8. The
 * two halves are offset by one. Exact.
 * @{ */
KIVSR_API KivStatus kivsTabsCalculation_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pTaps);
KIVSR_API KivStatus kivsTabsCalculation_Aurora_16s(const Kiv16s* pSrc, Kiv16s* pTaps);
/** @} */

/** @name Residual filter
 * dst[n] = sum over k = 0 .. 16 of pTaps[k] pSrc[n + k], n = 0 .. 79; pSrc holds 96 samples. 32f: reduction(17). 16s:
 * pairs of products in 32 bits (which wrap), the pairs added in double precision, times 2^-scaleFactor, nearest even,
 * saturated.
 * @{ */
KIVSR_API KivStatus kivsResidualFilter_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, const Kiv32f* pTaps);
KIVSR_API KivStatus kivsResidualFilter_Aurora_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const Kiv16s* pTaps,
                                                      int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
