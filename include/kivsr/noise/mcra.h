/* MCRA noise estimation. */
#ifndef KIVSR_NOISE_MCRA_H
#define KIVSR_NOISE_MCRA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup mcra MCRA noise estimation
 * Noise power by minima-controlled recursive averaging (I. Cohen, B. Berdugo: Noise estimation by minima controlled
 * recursive averaging for robust speech enhancement, 2002). Statuses: -8 a null argument first, then as named.
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

/** @} */

KIVSR_END_DECLS

#endif
