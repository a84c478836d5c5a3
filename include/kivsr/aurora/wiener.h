/* Noise spectrum and Wiener filter of the advanced front end. */
#ifndef KIVSR_AURORA_WIENER_H
#define KIVSR_AURORA_WIENER_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup wiener Noise spectrum and Wiener filter
 *
 * Stateless kernels of a two-stage Wiener filter (ETSI ES 202 050, clause 5.1) at 8 kHz: frames of 80 samples, windows
 * of 200 in a transform of 256, 65 bins of 62.5 Hz. The caller keeps the spectra of earlier frames. A stage runs
 *
 *   FFT -> smoothed power (5.1.3) -> mean of two frames (5.1.4) -> noise estimate and gains (5.1.5) -> mel bank of 25
 *   bands (5.1.7, kivsMelFBankInitLow_Aurora) -> inverse mel transform (5.1.9) -> taps, residual filter (5.1.10)
 *
 * The standard takes samples as 16-bit integers (as floats in the 32f forms) and floors its noise at e^-10 in those
 * units; the kernels here have no such constant, but what they are given has to keep to one unit.
 *
 * @code{.c}
 * Kiv32f power[65], noise[65], clean[65], gains[65];
 * int k;
 * for (k = 0; k < 65; ++k) {  // magnitudes: noise of 10, a tone a hundred times as loud in bin 20
 *   power[k] = k == 20 ? 1000.0F : 10.0F;
 *   noise[k] = 10;
 *   clean[k] = k == 20 ? 990.0F : 0.0F;
 * }
 * assert(kivsWienerFilterDesign_Aurora_32f(power, noise, clean, gains, 65) == kivStatusOk);
 * assert(gains[20] > 0.98F);               // the tone passes
 * assert(fabs(gains[19] - 0.0736) < 1e-3);  // the rest falls to the floor, -22 dB before the rule
 * @endcode
 * @{ */

/** @name Smoothed power spectrum
 * @{ */
/** The power of pairs of bins from the packed spectrum s of a real transform of len points (s[0] bin 0, s[1] bin len/2,
 * then the real and imaginary parts of bins 1 .. len/2-1), clause 5.1.3:
 *
 *   dst[0] = (s[2]^2 + s[3]^2 + s[0]^2) / 2
 *   dst[k] = (s[4k]^2 + s[4k+1]^2 + s[4k+2]^2 + s[4k+3]^2) / 2,  0 < k < len/4
 *   dst[len/4] = s[1]^2
 *
 * 32f: exact (rounded after each operation, from the left). 16s: each square is halved (truncated), sums saturate at
 * 32767. 32s: times 2^-scaleFactor; the first and last element are exact in 64 bits and shifted without rounding, the
 * others computed in double precision and rounded to nearest even; all saturate.
 * @param[in] pSrc len values of the packed spectrum
 * @param[out] pDst len/4 + 1 powers, not pSrc
 * @param[in] len points of the transform, a multiple of 4
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 or not a multiple of 4 */
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsSmoothedPowerSpectrumAurora_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
/** @} */

/** @name Noise spectrum update
 * @{ */
/** The noise estimate of the second stage behind its first frames (clause 5.1.5), with a = pSrc[i], b = pNoise[i]:
 *
 *   t = 0.1 a + b,  r = a / (a + b),  dst[i] = b (0.1 r (b/t + 1) + 0.9)
 *
 * and 0 where a + b = 0. 32f: also 0 where t = 0; both quotients use the processor's reciprocal estimate (class
 * estimate, 12 bits). Integer forms: also 0 where |t| < 1; single precision, times 2^-scaleFactor, truncated toward
 * zero; 16s saturates, 32s gives -2^31 for every result out of range, above as below.
 * @param[in] pSrc len powers of the frame
 * @param[in] pNoise len powers, the estimate before
 * @param[out] pDst len powers, the estimate after; may be a source
 * @param[in] len number of bins
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Kiv16s* pSrc, const Kiv16s* pNoise, Kiv16s* pDst,
                                                           int len, int scaleFactor);
KIVSR_API KivStatus kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Kiv32s* pSrc, const Kiv32s* pNoise, Kiv32s* pDst,
                                                           int len, int scaleFactor);
/** @} */

/** @name Wiener filter design
 * @{ */
/** Gains by two passes of the Wiener rule on the a-priori signal-to-noise ratio, the second above a floor of -22 dB
 * (clause 5.1.5). With P = pSrc[i], N = pNoise[i], S = pPrev[i]:
 *
 *   eta1 = (0.98 S + 0.02 max(P - N, 0)) / N;  H1 = eta1 / (eta1 + 1)
 *   eta2 = max(H1 P / N, 0.07943282);          dst[i] = eta2 / (eta2 + 1)
 *
 * In the standard P, N and S are magnitudes, the square roots of mean powers, and the gain times the magnitude of the
 * frame is the next S.
 *
 * 32f: 1/N is the processor's estimate (class estimate); N = 0 is not defined. 16s: exact, gains in Q14, on integers: N
 * = 0 gives 1206, the floored gain; D = max(P - N, 0), R = 16384 / N, eta1 = ((82 D + 4014 S) R) >> 14, H1 = (eta1 <<
 * 14) / (eta1 + 4096) (a zero divisor, from negative input, gives 1206), eta2 = max(((P H1) >> 14) R, 1301), gain =
 * (eta2 << 7) / ((eta2 >> 7) + 128); quotients are truncated toward zero, shifts round down.
 * @param[in] pSrc len values of the frame
 * @param[in] pNoise len values of the noise, above 0 in the 32f form
 * @param[in] pPrev len values of the previous frame without its noise
 * @param[out] pDst len gains, 0.0736 .. 1 for input that is not negative; may be a source
 * @param[in] len number of bins
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsWienerFilterDesign_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, const Kiv32f* pPrev,
                                                      Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsWienerFilterDesign_Aurora_16s(const Kiv16s* pSrc, const Kiv16s* pNoise, const Kiv16s* pPrev,
                                                      Kiv16s* pDst, int len);
/** @} */

/** @name Filter taps
 * @{ */
/** The 17 taps of a filter from an impulse response s: taps[8] = s[0], taps[8-k] = s[k], taps[8+k] = s[k+1] for k = 1
 * .. 8, as clause 5.1.9 reads: the right half is the left one moved by a sample. For a filter of linear phase, which
 * delays all frequencies by 8 samples, form taps[8+k] = s[k] yourself. Exact.
 * @param[in] pSrc 10 values of the response
 * @param[out] pTaps 17 taps, not pSrc
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsTabsCalculation_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pTaps);
KIVSR_API KivStatus kivsTabsCalculation_Aurora_16s(const Kiv16s* pSrc, Kiv16s* pTaps);
/** @} */

/** @name Residual filter
 * @{ */
/** Filters a frame (clause 5.1.10): dst[n] = sum over k = 0 .. 16 of pTaps[k] pSrc[n + k], n = 0 .. 79.
 *
 * 32f: reduction(17). 16s: pairs of products (k = 0 and 1, 2 and 3, ...) in 32 bits, which wrap; the pairs are added
 * exactly, times 2^-scaleFactor, nearest even, saturated.
 * @param[in] pSrc 96 samples, the centre of the filter on samples 8 .. 87
 * @param[out] pDst 80 samples, not pSrc
 * @param[in] pTaps 17 taps
 * @param[in] scaleFactor any; 15 for taps in Q15
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsResidualFilter_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, const Kiv32f* pTaps);
KIVSR_API KivStatus kivsResidualFilter_Aurora_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const Kiv16s* pTaps,
                                                      int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
