/* MCRA noise estimation and spectral gains. */
#ifndef KIVSR_AURORA_MCRA_H
#define KIVSR_AURORA_MCRA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup mcra MCRA noise estimation and spectral gains
 * Noise power by minima-controlled recursive averaging (I. Cohen, B. Berdugo, 2002), and two rules that turn
 * signal-to-noise ratios into gains. Statuses: -8 a null argument first, then as named.
 * @{ */

/** @name State
 * GetSize: bytes of the state for a transform of fftLen points; the caller's block needs the alignment of a pointer.
 * Init: hop fftLen/2, minimum search over L = trunc((sampleRate * 0.008 / P) * 125) frames, P the largest power of two
 * not above fftLen/2. AltInit: the caller's hop, L = trunc((sampleRate * 0.008 / hop) * 125), one second.
 *
 * The smoothing factors are 0.7^T (noise), 0.2^T (presence), 0.8^T (power), T = 125 hop / sampleRate in units of 8 ms;
 * the presence threshold is 5. 32s: factors as fractions of 2^31 to nearest, the threshold of 2^15.
 *
 * Statuses: GetSize -6 fftLen outside 8 .. 8192. Init -7 sampleRate outside 8000 .. 48000, AltInit also hop outside
 * 1 .. fftLen/2; then -6 fftLen outside 8 .. 8192.
 * @{ */
KIVSR_API KivStatus kivsGetSizeMCRA_32f(int fftLen, int* pSize);
KIVSR_API KivStatus kivsGetSizeMCRA_32s(int fftLen, int* pSize);
KIVSR_API KivStatus kivsInitMCRA_32f(int sampleRate, int fftLen, KivsMCRAState_32f* pState);
KIVSR_API KivStatus kivsInitMCRA_32s(int sampleRate, int fftLen, KivsMCRAState_32s* pState);
KIVSR_API KivStatus kivsAltInitMCRA_32f(int sampleRate, int fftLen, int hop, KivsMCRAState_32f* pState);
KIVSR_API KivStatus kivsAltInitMCRA_32s(int sampleRate, int fftLen, int hop, KivsMCRAState_32s* pState);
/** @} */

/** @name Noise update
 * One call per frame; pPower (in) and pNoise (in and out): fftLen/2 + 1 values. The first frame initialises everything
 * with its power. Then, per bin,
 *
 *   S = as S + (1 - as) pPower;  Smin = min(Smin, S), over windows of L frames
 *   p = ap p + (S > 5 Smin ? 1 - ap : 0);  a = ad + (1 - ad) p;  pNoise = a pNoise + (1 - a) pPower
 *
 * 32f: single precision, rounded after each operation: exact. 32s: S in 64 bits, shifted by 31; p and the noise in
 * double precision to nearest; nothing wraps.
 * @{ */
KIVSR_API KivStatus kivsUpdateNoisePSDMCRA_32f_I(const Kiv32f* pPower, KivsMCRAState_32f* pState, Kiv32f* pNoise);
KIVSR_API KivStatus kivsUpdateNoisePSDMCRA_32s_I(const Kiv32s* pPower, KivsMCRAState_32s* pState, Kiv32s* pNoise);
/** @} */

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
